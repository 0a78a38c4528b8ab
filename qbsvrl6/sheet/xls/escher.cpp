// clang-format off
// Nesting of the records:
//   workbook  DggContainer { Dgg, BStoreContainer { BSE { Blip } ... }, Opt, SplitMenuColors }
//   sheet     DgContainer { Dg, SpgrContainer { SpContainer { Spgr, Sp },
//                                               SpContainer { Sp, Opt, ClientAnchor, ClientData } ... } }
// A record:
//   u16 version (4 bits), instance (12 bits) | u16 type | u32 length of the content | content
// clang-format on
#include "qbsvrl6/sheet/xls/escher.h"

#include <algorithm>
#include <cmath>

#include "qbsvrl6/sheet/xls/biff.h"

namespace qbsvrl6 {

namespace {

using u8 = std::uint8_t;
using u16 = std::uint16_t;
using u32 = std::uint32_t;

// Types of records.
constexpr u16 kDggContainer = 0xF000;
constexpr u16 kBStoreContainer = 0xF001;
constexpr u16 kDgContainer = 0xF002;
constexpr u16 kSpgrContainer = 0xF003;
constexpr u16 kSpContainer = 0xF004;
constexpr u16 kDgg = 0xF006;
constexpr u16 kBse = 0xF007;
constexpr u16 kDg = 0xF008;
constexpr u16 kSpgr = 0xF009;
constexpr u16 kSp = 0xF00A;
constexpr u16 kOpt = 0xF00B;
constexpr u16 kClientAnchor = 0xF010;
constexpr u16 kClientData = 0xF011;
constexpr u16 kBlipJpeg = 0xF01D;
constexpr u16 kBlipPng = 0xF01E;
constexpr u16 kSplitMenuColors = 0xF11E;

constexpr u16 kContainerVersion = 0xF;  // of records that contain records

// Properties of shapes (Opt), each with a value of 32 bits. The upper half of flags selects the bits that the
// lower half sets.
constexpr u16 kTextFlags = 0x00BF;
constexpr u16 kCutBottom = 0x0101;  // shares of the picture that are not shown
constexpr u16 kCutRight = 0x0103;
constexpr u16 kPicture = 0x4104;  // its number
constexpr u16 kFillColor = 0x0181;
constexpr u16 kFillFlags = 0x01BF;
constexpr u16 kLineColor = 0x01C0;
constexpr u16 kLineWidth = 0x01CB;
constexpr u16 kLineDash = 0x01CE;
constexpr u16 kLineFlags = 0x01FF;

constexpr u32 kFitsShapeToText = 0x00080008;
constexpr u32 kNotFilled = 0x00100000;
constexpr u32 kHasNoLine = 0x00080000;
constexpr u32 kHasLine = 0x00080008;
constexpr u32 kSystemColor = 0x08000000;  // with its number

std::string head(u16 version, u16 instance, u16 type, std::size_t length) {
    std::string out;
    ByteWriter(out).put(static_cast<u16>(instance << 4 | version), type, static_cast<u32>(length));
    return out;
}

std::string record(u16 version, u16 instance, u16 type, const std::string& content) {
    return head(version, instance, type, content.size()) + content;
}

template <typename... Values>
std::string packed(Values... values) {
    std::string out;
    ByteWriter(out).put(values...);
    return out;
}

std::string container(u16 instance, u16 type, const std::string& content) {
    return record(kContainerVersion, instance, type, content);
}

// Sp, a shape: its kind is the instance.
//   u32 id | u32 flags
std::string shape(u16 kind, u32 id, u32 flags) {
    constexpr u16 kVersion = 2;
    return record(kVersion, kind, kSp, packed(id, flags));
}

// Opt, the properties of a shape: their count is the instance.
//   u16 property | u32 value, for each
template <typename... Values>
std::string properties(Values... propertiesAndValues) {
    constexpr u16 kVersion = 3;
    return record(kVersion, sizeof...(Values) / 2, kOpt, packed(propertiesAndValues...));
}

// BSE, an entry of the list of pictures, which contains the picture. Readers treat pictures with equal
// identifiers as equal.
//   u8 format on Windows, on the Macintosh | 16 bytes identifier | u16 tag
//   u32 bytes of the picture's record | u32 uses | u32 offset in another stream
//   u32 usage, length of the name, unused
// Blip:
//   16 bytes identifier | u8 tag | the picture's file
std::string listedPicture(const Picture& picture) {
    constexpr u8 kJpeg = 5;
    constexpr u8 kPng = 6;
    constexpr u16 kJpegInstance = 0x46A;
    constexpr u16 kPngInstance = 0x6E0;
    constexpr u16 kEntryVersion = 2;
    constexpr char kTag = '\xFF';
    const bool isJpeg = picture.encoding == Picture::Encoding::Jpeg;
    const u8 format = isJpeg ? kJpeg : kPng;
    const std::string identifier = packed(picture.id, std::uint64_t{0});
    const std::string blip = record(0, isJpeg ? kJpegInstance : kPngInstance, isJpeg ? kBlipJpeg : kBlipPng,
                                    identifier + kTag + picture.bytes);
    const std::string entry = packed(format, format) + identifier +
                              packed(u16{0xFF}, static_cast<u32>(blip.size()), u32{1}, u32{0}, u32{0});
    return record(kEntryVersion, format, kBse, entry + blip);
}

// ClientAnchor:
//   u16 flags | 16 bytes anchor
std::string anchoredShape(const std::string& shape, const std::string& properties, std::string_view anchor) {
    constexpr u16 kMovesWithCells = 2;
    return container(0, kSpContainer,
                     shape + properties +
                         record(0, 0, kClientAnchor, packed(kMovesWithCells) + std::string(anchor)) +
                         record(0, 0, kClientData, {}));
}

// Flags of shapes.
constexpr u32 kIsGroup = 0x0001;
constexpr u32 kIsTopmost = 0x0004;
constexpr u32 kIsUpsideDown = 0x0080;
constexpr u32 kHasAnchorAndKind = 0x0A00;

}  // namespace

std::string escherPicture(const EscherSheet& sheet, u32 number, u32 picture, const PictureCut& cut,
                          std::string_view anchor) {
    constexpr u16 kPictureFrame = 75;
    const auto fixed = [](double share) { return static_cast<u32>(std::lround(share * 65'536)); };
    return anchoredShape(shape(kPictureFrame, sheet.shapeId(number), kHasAnchorAndKind),
                         cut.isEmpty()
                             ? properties(kPicture, picture, kFillFlags, kNotFilled, kLineFlags, kHasNoLine)
                             : properties(kCutBottom, fixed(cut.bottom), kCutRight, fixed(cut.right),
                                          kPicture, picture, kFillFlags, kNotFilled, kLineFlags, kHasNoLine),
                         anchor);
}

std::string escherLine(const EscherSheet& sheet, u32 number, const LineContent& line,
                       std::string_view anchor) {
    constexpr u16 kStraightLine = 20;
    constexpr u32 kEmuPerMicrometre = 36;
    constexpr u32 kSolid = 0;
    constexpr u32 kDashed = 6;
    const Color& color = line.color;
    const u32 bgr = color.red | static_cast<u32>(color.green) << 8 | static_cast<u32>(color.blue) << 16;
    const u32 width = static_cast<u32>(std::max(line.width, 0)) * kEmuPerMicrometre;
    const u32 flags = kHasAnchorAndKind | (line.rising ? kIsUpsideDown : 0);
    return anchoredShape(shape(kStraightLine, sheet.shapeId(number), flags),
                         properties(kLineColor, bgr, kLineWidth, width, kLineDash,
                                    line.dashed ? kDashed : kSolid, kLineFlags, kHasLine),
                         anchor);
}

// Spgr, the coordinates of the group of all shapes:
//   u32 left, top, right, bottom
// Dg, the drawing; its number is the instance:
//   u32 shapes | u32 id of the last one
std::string escherFrame(const EscherSheet& sheet, std::size_t shapeBytes) {
    constexpr u16 kSpgrVersion = 1;
    const std::string frame =
        container(0, kSpContainer,
                  record(kSpgrVersion, 0, kSpgr, packed(u32{0}, u32{0}, u32{0}, u32{0})) +
                      shape(0, sheet.shapeId(0), kIsGroup | kIsTopmost));
    const std::string drawing =
        record(0, static_cast<u16>(sheet.number), kDg, packed(sheet.shapes, sheet.shapeId(sheet.shapes - 1)));
    const std::string group = head(kContainerVersion, 0, kSpgrContainer, frame.size() + shapeBytes) + frame;
    return head(kContainerVersion, 0, kDgContainer, drawing.size() + group.size() + shapeBytes) + drawing +
           group;
}

// Dgg, what all drawings share:
//   u32 an id above all others | u32 clusters + 1 | u32 shapes | u32 drawings
//   u32 number of the drawing | u32 shapes in use, for each cluster
// SplitMenuColors:
//   u32 colours that menus suggest for fills, lines, shadows and 3-D effects
std::string escherWorkbook(const std::vector<EscherSheet>& sheets,
                           const std::vector<std::shared_ptr<const Picture>>& pictures) {
    constexpr u16 kSplitMenuCount = 4;
    u32 shapes = 0;
    u32 clusterCount = 0;
    u32 nextId = 0;
    std::string clusters;
    for (const EscherSheet& sheet : sheets) {
        for (u32 i = 0; i < sheet.clusters(); ++i) {
            const u32 used = std::min(sheet.shapes - kShapesPerCluster * i, kShapesPerCluster);
            ByteWriter(clusters).put(static_cast<u32>(sheet.number), used);
        }
        shapes += sheet.shapes;
        clusterCount += sheet.clusters();
        nextId = sheet.shapeId(sheet.shapes);
    }
    const std::string drawings =
        packed(nextId, clusterCount + 1, shapes, static_cast<u32>(sheets.size())) + clusters;
    std::string list;
    for (const auto& picture : pictures) list += listedPicture(*picture);
    return container(
        0, kDggContainer,
        record(0, 0, kDgg, drawings) + container(static_cast<u16>(pictures.size()), kBStoreContainer, list) +
            properties(kTextFlags, kFitsShapeToText, kFillColor, kSystemColor | 0x41, kLineColor,
                       kSystemColor | 0x40) +
            record(0, kSplitMenuCount, kSplitMenuColors,
                   packed(kSystemColor | 0x0D, kSystemColor | 0x0C, kSystemColor | 0x17, u32{0x100000F7})));
}

}  // namespace qbsvrl6
