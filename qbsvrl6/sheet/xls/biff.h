// Records of XLS workbooks, BIFF8 ([MS-XLS]): a number, a length and bytes, all little-endian.
#ifndef QBSVR_QBSVRL6_SHEET_XLS_BIFF_H
#define QBSVR_QBSVRL6_SHEET_XLS_BIFF_H

#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

#include "qbsvrl6/support/byte_writer.h"

namespace qbsvrl6 {

namespace biff {

// Bytes of a record; longer ones continue in CONTINUE records.
inline constexpr std::size_t kMaxRecord = 8224;

inline constexpr std::uint16_t kFormula = 0x0006;
inline constexpr std::uint16_t kEof = 0x000A;
inline constexpr std::uint16_t kHeader = 0x0014;
inline constexpr std::uint16_t kFooter = 0x0015;
inline constexpr std::uint16_t kExternSheet = 0x0017;
inline constexpr std::uint16_t kName = 0x0018;
inline constexpr std::uint16_t kHorizontalPageBreaks = 0x001B;
inline constexpr std::uint16_t kLeftMargin = 0x0026;
inline constexpr std::uint16_t kRightMargin = 0x0027;
inline constexpr std::uint16_t kTopMargin = 0x0028;
inline constexpr std::uint16_t kBottomMargin = 0x0029;
inline constexpr std::uint16_t kFont = 0x0031;
inline constexpr std::uint16_t kContinue = 0x003C;
inline constexpr std::uint16_t kWindow1 = 0x003D;
inline constexpr std::uint16_t kPane = 0x0041;
inline constexpr std::uint16_t kCodePage = 0x0042;
inline constexpr std::uint16_t kObj = 0x005D;
inline constexpr std::uint16_t kColInfo = 0x007D;
inline constexpr std::uint16_t kGuts = 0x0080;
inline constexpr std::uint16_t kWsBool = 0x0081;
inline constexpr std::uint16_t kBoundSheet = 0x0085;
inline constexpr std::uint16_t kPalette = 0x0092;
inline constexpr std::uint16_t kSetup = 0x00A1;
inline constexpr std::uint16_t kMulBlank = 0x00BE;
inline constexpr std::uint16_t kXf = 0x00E0;
inline constexpr std::uint16_t kMergeCells = 0x00E5;
inline constexpr std::uint16_t kDrawingGroup = 0x00EB;
inline constexpr std::uint16_t kDrawing = 0x00EC;
inline constexpr std::uint16_t kSst = 0x00FC;
inline constexpr std::uint16_t kLabelSst = 0x00FD;
inline constexpr std::uint16_t kSupBook = 0x01AE;
inline constexpr std::uint16_t kHyperlink = 0x01B8;
inline constexpr std::uint16_t kDimensions = 0x0200;
inline constexpr std::uint16_t kBlank = 0x0201;
inline constexpr std::uint16_t kNumber = 0x0203;
inline constexpr std::uint16_t kBoolean = 0x0205;
inline constexpr std::uint16_t kRow = 0x0208;
inline constexpr std::uint16_t kWindow2 = 0x023E;
inline constexpr std::uint16_t kRk = 0x027E;
inline constexpr std::uint16_t kStyle = 0x0293;
inline constexpr std::uint16_t kFormat = 0x041E;
inline constexpr std::uint16_t kBof = 0x0809;

// Parts of the stream.
inline constexpr std::uint16_t kWorkbookPart = 0x0005;
inline constexpr std::uint16_t kSheetPart = 0x0010;

}  // namespace biff

// Appends a record to a string: its header immediately, its length when the object is destroyed.
class BiffRecord : public ByteWriter {
public:
    BiffRecord(std::string& out, std::uint16_t number) : ByteWriter(out), out_(out), start_(out.size()) {
        put(number, std::uint16_t{0});
    }
    ~BiffRecord() {
        const auto length = static_cast<std::uint16_t>(out_.size() - start_ - 4);
        std::memcpy(out_.data() + start_ + 2, &length, sizeof length);
    }
    BiffRecord(const BiffRecord&) = delete;
    BiffRecord& operator=(const BiffRecord&) = delete;

private:
    std::string& out_;
    std::size_t start_;
};

// A record without bytes.
inline void putEmptyRecord(std::string& out, std::uint16_t number) {
    ByteWriter(out).put(number, std::uint16_t{0});
}

// BOF, which begins a part of the stream:
//   u16 version | u16 part | u16 build, year of the program | u32 history | u32 lowest version that reads it
inline void putBof(std::string& out, std::uint16_t part) {
    constexpr std::uint16_t kVersion = 0x0600;  // BIFF8
    constexpr std::uint16_t kBuild = 0x0DBB;
    constexpr std::uint16_t kYear = 1996;
    BiffRecord(out, biff::kBof).put(kVersion, part, kBuild, kYear, std::uint32_t{0}, std::uint32_t{6});
}

// Appends a record of any length, divided into a first record and CONTINUE records if it is too long for one.
void putLongRecord(std::string& out, std::uint16_t number, std::string_view bytes);

}  // namespace qbsvrl6

#endif
