// The structure of a PDF 1.7 file: numbered objects, object streams, the cross-reference stream.
#ifndef QBSVR_QBSVRL6_PAINT_PDF_PDF_FILE_H
#define QBSVR_QBSVRL6_PAINT_PDF_PDF_FILE_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "qbsvrl6/paint/pdf/byte_buffer.h"

namespace qbsvrl6 {

class PdfFile {
public:
    // Writes to `output` from its start.
    explicit PdfFile(std::string& output);

    // The number of an object that is written later.
    [[nodiscard]] int reserve();

    // An object that isn't a stream; `body` is a dictionary, an array or the like.
    void writeObject(int number, std::string_view body);

    // A stream, compressed if that makes it smaller. `entries` are the entries of its dictionary except
    // length and filter. A stream that is already `encoded` is written unchanged; its entries name its
    // filter.
    void writeStream(int number, std::string_view entries, std::string_view bytes, bool encoded = false);

    // Writes the rest of the file. Reserved objects that were never written are marked as free.
    void finish(int catalog, int info);

private:
    // Where an object is: at an offset of the file, or at an index of an object stream.
    struct Place {
        enum class Kind : std::uint8_t { Free, Offset, InStream } kind = Kind::Free;
        std::uint64_t offsetOrStream = 0;
        std::uint16_t index = 0;
    };

    void beginObject(int number);
    void flushObjects();
    void writeCrossReferences(int number, std::string_view trailer);
    std::string contentHash() const;

    std::string& output_;
    std::vector<Place> places_;  // by number
    ByteBuffer objects_;         // of the current object stream
    ByteBuffer objectIndex_;     // its pairs of number and offset
    int objectCount_ = 0;
    int objectStream_ = 0;
};

}  // namespace qbsvrl6

#endif
