// A number tree: objects by number, so that a reader finds one of many thousands in a few steps.
#ifndef QBSVR_QBSVRL6_PAINT_PDF_NUMBER_TREE_H
#define QBSVR_QBSVRL6_PAINT_PDF_NUMBER_TREE_H

#include <vector>

#include "qbsvrl6/paint/pdf/byte_buffer.h"
#include "qbsvrl6/paint/pdf/pdf_file.h"

namespace qbsvrl6 {

class NumberTree {
public:
    explicit NumberTree(PdfFile& file) : file_(file) {}

    // Adds an object under the next key, and returns the key: from 0.
    int add(int object);
    // The number of keys.
    int size() const { return next_; }
    // Writes the rest of the tree and returns the number of its root.
    int finish();

private:
    struct Node {
        int number = 0;
        int first = 0, last = 0;  // keys
    };

    void writeLeaf();

    PdfFile& file_;
    ByteBuffer entries_;  // of the open leaf
    int first_ = 0;       // its first key
    int next_ = 0;
    std::vector<Node> leaves_;
};

}  // namespace qbsvrl6

#endif
