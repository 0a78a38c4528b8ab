#include "qbsvrl6/paint/pdf/pdf_file.h"

#include <array>

#include "qbsvrl6/paint/pdf/pdf_syntax.h"
#include "qbsvrl6/support/byte_words.h"
#include "qbsvrl6/support/error.h"

namespace qbsvrl6 {

// The file consists of a header, streams ("5 0 obj<<...>>stream ... endstream endobj"), among them object
// streams that hold all other objects, the cross-reference stream, and its offset. In PDF 1.4, all objects
// are in the file itself, and a table in text has their offsets.

namespace {

constexpr std::size_t kWorthCompressing = 96;  // below it, the filter's entry costs more than it saves
constexpr int kObjectsPerStream = 200;
constexpr int kHurriedObjectsPerStream = 1'000;
constexpr std::size_t kObjectStreamBytes = 64 << 10;
constexpr char kUp = 2;  // the PNG filter for a row of differences
constexpr std::size_t kMostColumns = 16;

}  // namespace

PdfFile::PdfFile(Spool& output, Version version) : output_(output), version_(version), places_(1) {
    // Four bytes above 127 mark the file as binary.
    output_.append(version == Version::Pdf14 ? "%PDF-1.4\n%\xE2\xE3\xCF\xD3\n"
                                             : "%PDF-1.7\n%\xE2\xE3\xCF\xD3\n");
}

int PdfFile::reserve() {
    places_.emplace_back();
    return static_cast<int>(places_.size()) - 1;
}

void PdfFile::beginPlainObject(int number) {
    places_[static_cast<std::size_t>(number)] = {Place::Kind::Offset, output_.size()};
    output_.end() += std::to_string(number);
    output_.end() += " 0 obj\n";
}

void PdfFile::writeObject(int number, std::string_view body) {
    beginObject(number).append(body);
    endObject();
}

ByteBuffer& PdfFile::beginObject(int number) {
    if (version_ == Version::Pdf14) {
        plainObject_ = number;
        return objects_;
    }
    if (objectCount_ == 0) objectStream_ = reserve();
    places_[static_cast<std::size_t>(number)] = {Place::Kind::InStream,
                                                 static_cast<std::uint64_t>(objectStream_), objectCount_};
    objectIndex_.add(std::int64_t{number}, ' ', static_cast<std::int64_t>(objects_.size()), ' ');
    return objects_;
}

void PdfFile::endObject() {
    if (version_ == Version::Pdf14) {
        writePlainObject(plainObject_, objects_.view());
        addToHash(objects_.view());
        return objects_.clear();
    }
    objects_.append('\n');
    ++objectCount_;
    const int most = objectCompression_ == Compression::Speed ? kHurriedObjectsPerStream : kObjectsPerStream;
    if (objectCount_ == most || objects_.size() > kObjectStreamBytes) flushObjects();
}

void PdfFile::flushObjects() {
    if (objectCount_ == 0) return;
    const std::string entries =
        "/Type/ObjStm/N " + std::to_string(objectCount_) + "/First " + std::to_string(objectIndex_.size());
    objectIndex_.append(objects_.view());
    writeStream(objectStream_, entries, objectIndex_.view(), false, objectCompression_);
    objects_.clear();
    objectIndex_.clear();
    objectCount_ = 0;
}

void PdfFile::writeStream(int number, std::string_view entries, std::string_view bytes, bool encoded,
                          Compression aim) {
    const bool deflated = !encoded && bytes.size() >= kWorthCompressing;
    if (deflated) bytes = compress(bytes, aim);
    const std::string all = std::string(entries) + (deflated ? "/Filter/FlateDecode" : "");
    if (encryption_ == nullptr) return writeBytes(number, all, bytes);
    writeBytes(number, all, encryption_->encrypt(bytes));
}

void PdfFile::writeBytes(int number, std::string_view entries, std::string_view bytes) {
    beginPlainObject(number);
    std::string& out = output_.end();
    out += "<<";
    out += entries;
    out += "/Length ";
    out += std::to_string(bytes.size());
    out += ">>stream\n";
    out += bytes;
    out += "\nendstream\nendobj\n";
    output_.writeIfLarge();
    addToHash(entries);
    addToHash(bytes);
}

std::uint64_t PdfFile::writePlainObject(int number, std::string_view body) {
    beginPlainObject(number);
    const std::uint64_t offset = output_.size();
    output_.end() += body;
    output_.end() += "\nendobj\n";
    output_.writeIfLarge();
    return offset;
}

void PdfFile::finish(int catalog, int info) {
    flushObjects();
    const int encryption = encryption_ == nullptr ? 0 : reserve();
    if (encryption != 0) writePlainObject(encryption, encryption_->dictionary());
    encryption_.reset();  // readers find the rest without a password
    const std::string id = contentHash();
    const int number = version_ == Version::Pdf14 ? 0 : reserve();
    const std::uint64_t start = output_.size();
    std::string trailer =
        "/Size " + std::to_string(places_.size()) + "/Root " + std::to_string(catalog) + " 0 R";
    if (info != 0) trailer += "/Info " + std::to_string(info) + " 0 R";
    if (encryption != 0) trailer += "/Encrypt " + std::to_string(encryption) + " 0 R";
    trailer += "/ID[<" + id + "><" + id + ">]";
    if (version_ == Version::Pdf14) {
        writeCrossReferenceTable(trailer);
    } else {
        writeCrossReferences(number, trailer);
    }
    output_.append("startxref\n" + std::to_string(start) + "\n%%EOF\n");
}

// Rows of type (1 byte), offset or stream (`width` bytes) and index (2 bytes). Hundreds of thousands of them
// are written as differences from the row above, which are nearly all the same.
void PdfFile::writeCrossReferences(int number, std::string_view trailer) {
    places_[static_cast<std::size_t>(number)] = {Place::Kind::Offset, output_.size()};
    int width = 2;
    while (output_.size() >> (8 * width) != 0) ++width;
    const bool asDifferences = objectCompression_ == Compression::Speed;
    const int columns = width + 3;
    std::array<unsigned char, kMostColumns> row{};
    std::array<unsigned char, kMostColumns> above{};
    ByteBuffer rows;
    rows.room(places_.size() * (kMostColumns + 1));  // a larger buffer would be copied
    for (const Place& place : places_) {
        unsigned char* to = row.data();
        *to++ = static_cast<unsigned char>(place.kind());
        for (int shift = 8 * (width - 1); shift >= 0; shift -= 8) {
            *to++ = static_cast<unsigned char>(place.offsetOrStream() >> shift);
        }
        const int index = place.kind() == Place::Kind::Free ? 0xFFFF : place.index();
        *to++ = static_cast<unsigned char>(index >> 8);
        *to++ = static_cast<unsigned char>(index);
        char* out = rows.room(kMostColumns + 1);
        if (asDifferences) *out++ = kUp;
        for (std::size_t i = 0; i < static_cast<std::size_t>(columns); ++i) {
            *out++ = static_cast<char>(row[i] - above[i]);
        }
        rows.commit(out);
        if (asDifferences) above = row;
    }
    std::string entries = "/Type/XRef/W[1 " + std::to_string(width) + " 2]";
    if (asDifferences) {
        entries += "/DecodeParms<</Predictor 12/Columns " + std::to_string(columns) + ">>";
    }
    entries += trailer;
    writeStream(number, entries, rows.view(), false, objectCompression_);
}

// Rows of 20 bytes: offset, generation, and whether the number is in use.
void PdfFile::writeCrossReferenceTable(std::string_view trailer) {
    constexpr std::uint64_t kMostBytes = 9'999'999'999;
    if (output_.size() > kMostBytes) {
        throw EngineError(ErrorCode::LimitExceeded, "a document of PDF 1.4 has at most 10 GB");
    }
    output_.append("xref\n0 " + std::to_string(places_.size()) + "\n");
    for (const Place& place : places_) {
        const bool isFree = place.kind() == Place::Kind::Free;
        const std::string offset = std::to_string(isFree ? 0 : place.offsetOrStream());
        std::string& out = output_.end();
        out.append(10 - offset.size(), '0');
        out += offset;
        out += isFree ? " 65535 f \n" : " 00000 n \n";
        output_.writeIfLarge();
    }
    output_.append("trailer\n<<" + std::string(trailer) + ">>\n");
}

void PdfFile::addToHash(std::string_view bytes) {
    std::uint64_t low = lowHash_;
    std::uint64_t high = highHash_;
    forEachWord(bytes, [&](std::uint64_t word) {
        low = (low ^ word) * 0x100000001B3u;
        high = (high + word) * 0xD6E8FEB86659FD93u;
        high ^= high >> 32;
    });
    lowHash_ = low;
    highHash_ = high;
}

// The document's identifier, from its content: the same input gives the same file.
std::string PdfFile::contentHash() const {
    ByteBuffer hex;
    for (const std::uint64_t half : {lowHash_, highHash_}) {
        appendHex(hex, static_cast<unsigned>(half >> 32), 8);
        appendHex(hex, static_cast<unsigned>(half), 8);
    }
    return std::string(hex.view());
}

}  // namespace qbsvrl6
