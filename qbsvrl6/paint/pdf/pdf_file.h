// The structure of a PDF file: numbered objects, and where each of them is.
#ifndef QBSVR_QBSVRL6_PAINT_PDF_PDF_FILE_H
#define QBSVR_QBSVRL6_PAINT_PDF_PDF_FILE_H

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "qbsvrl6/paint/compressor.h"
#include "qbsvrl6/paint/pdf/byte_buffer.h"
#include "qbsvrl6/paint/pdf/pdf_encryption.h"
#include "qbsvrl6/support/spool.h"

namespace qbsvrl6 {

class PdfFile {
public:
    // PDF 1.4 has neither object streams nor cross-reference streams, which make a file smaller.
    enum class Version { Pdf14, Pdf17 };

    // Writes to `output`, which is empty.
    explicit PdfFile(Spool& output, Version version = Version::Pdf17);

    // The number of an object that is written later.
    [[nodiscard]] int reserve();

    // An object that isn't a stream; `body` is a dictionary, an array or the like.
    void writeObject(int number, std::string_view body);
    // The same without a copy: the body is appended to the result until endObject(), the next call.
    ByteBuffer& beginObject(int number);
    void endObject();

    // A stream, compressed if that makes it smaller. `entries` are the entries of its dictionary except
    // length and filter. A stream that is already `encoded` is written unchanged; its entries name its
    // filter.
    void writeStream(int number, std::string_view entries, std::string_view bytes, bool encoded = false,
                     Compression aim = Compression::Size);

    // An object outside of object streams, and not encrypted. Returns the offset of its body.
    std::uint64_t writePlainObject(int number, std::string_view body);

    // From now on, streams are encrypted.
    void encrypt(std::shared_ptr<const PdfEncryption> encryption) { encryption_ = std::move(encryption); }

    // Objects are compressed quickly, and more of them together: there is one per cell.
    void hurry() { objectCompression_ = Compression::Speed; }

    // Writes the rest of the file. Reserved objects that were never written are marked as free.
    void finish(int catalog, int info);

private:
    // Where an object is: at an offset of the file, or at an index of an object stream. In one word, since
    // there are some per page.
    class Place {
    public:
        enum class Kind { Free, Offset, InStream };

        Place() = default;
        Place(Kind kind, std::uint64_t offsetOrStream, int index = 0)
            : bits_(offsetOrStream << kShift | static_cast<std::uint64_t>(index) << kKindBits |
                    static_cast<std::uint64_t>(kind)) {}
        Kind kind() const { return static_cast<Kind>(bits_ & ((1 << kKindBits) - 1)); }
        int index() const { return static_cast<int>(bits_ >> kKindBits & ((1 << kIndexBits) - 1)); }
        std::uint64_t offsetOrStream() const { return bits_ >> kShift; }

    private:
        static constexpr int kKindBits = 2, kIndexBits = 10, kShift = kKindBits + kIndexBits;
        std::uint64_t bits_ = 0;
    };

    void beginPlainObject(int number);
    void writeBytes(int number, std::string_view entries, std::string_view bytes);
    void flushObjects();
    void writeCrossReferences(int number, std::string_view trailer);
    void writeCrossReferenceTable(std::string_view trailer);
    void addToHash(std::string_view bytes);
    std::string contentHash() const;

    Spool& output_;
    Version version_;
    std::vector<Place> places_;  // by number
    ByteBuffer objects_;         // of the current object stream; of PDF 1.4, the current object
    ByteBuffer objectIndex_;     // its pairs of number and offset
    int objectCount_ = 0;
    int objectStream_ = 0;
    int plainObject_ = 0;  // of PDF 1.4: the number of the current object
    Compression objectCompression_ = Compression::Size;
    std::shared_ptr<const PdfEncryption> encryption_;  // may be null
    // Of all content so far.
    std::uint64_t lowHash_ = 0xCBF29CE484222325u;
    std::uint64_t highHash_ = 0x9E3779B97F4A7C15u;
};

}  // namespace qbsvrl6

#endif
