// Nesting of the records:
//   workbook  DggContainer { Dgg, BStoreContainer { BSE { Blip } ... }, Opt, SplitMenuColors }
//   sheet     DgContainer { Dg, SpgrContainer { SpContainer { Spgr, Sp }, SpContainer { Sp, Opt,
//   ClientAnchor,
//             ClientData } ... } }
// A record is version and instance (4 and 12 bits), its type, the length of what is in it, and that.
#include "qbsvrl6/sheet/xls/escher.h"

#include <algorithm>

#include "qbsvrl6/sheet/xls/biff.h"

namespace qbsvrl6 {

namespace {

using u8 = std::uint8_t;
using u16 = std::uint16_t;
using u32 = std::uint32_t;

constexpr u16 kContainer = 0xF;  // the version of records that hold records

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

// A picture with its entry in the list. Equal marks would be taken for equal pictures; ours are their ids.
std::string listedPicture(const Picture& picture) {
    const bool isJpeg = picture.encoding == Picture::Encoding::Jpeg;
    const u8 kind = isJpeg ? 5 : 6;
    const std::string mark = packed(picture.id, std::uint64_t{0});
    const std::string blip = isJpeg ? record(0, 0x46A, 0xF01D, mark + '\xFF' + picture.bytes)
                                    : record(0, 0x6E0, 0xF01E, mark + '\xFF' + picture.bytes);
    return record(2, kind, 0xF007,
                  packed(kind, kind) + mark +
                      packed(u16{0xFF}, static_cast<u32>(blip.size()), u32{1}, u32{0}, u32{0}) + blip);
}

// `type` and `flags` of the shape, its options and how many they are.
std::string shapeRecord(u32 id, u16 type, u32 flags, u16 optionCount, const std::string& options,
                        std::string_view anchor) {
    constexpr u16 kMoveOnly = 2;
    return record(kContainer, 0, 0xF004,
                  record(2, type, 0xF00A, packed(id, flags)) + record(3, optionCount, 0xF00B, options) +
                      record(0, 0, 0xF010, packed(kMoveOnly) + std::string(anchor)) +
                      record(0, 0, 0xF011, {}));
}

constexpr u32 kAnchoredShape = 0x0A00;

}  // namespace

std::string escherPicture(const EscherSheet& sheet, u32 shape, u32 picture, std::string_view anchor) {
    constexpr u16 kPicture = 75;
    const std::string options = packed(u16{0x4104}, picture,        // the picture
                                       u16{0x01BF}, u32{0x100000},  // no fill behind it
                                       u16{0x01FF}, u32{0x80000});  // no line around it
    return shapeRecord(sheet.shapeId(shape), kPicture, kAnchoredShape, 3, options, anchor);
}

std::string escherLine(const EscherSheet& sheet, u32 shape, const LineContent& line,
                       std::string_view anchor) {
    constexpr u16 kLine = 20;
    constexpr u32 kUpsideDown = 0x80;
    constexpr u32 kEmuPerMicrometre = 36;
    constexpr u32 kDash = 6;
    const Color& color = line.color;
    const u32 bgr = color.red | static_cast<u32>(color.green) << 8 | static_cast<u32>(color.blue) << 16;
    const std::string options =
        packed(u16{0x01C0}, bgr, u16{0x01CB}, static_cast<u32>(std::max(line.width, 0)) * kEmuPerMicrometre,
               u16{0x01CE}, line.dashed ? kDash : u32{0}, u16{0x01FF}, u32{0x80008});
    return shapeRecord(sheet.shapeId(shape), kLine, kAnchoredShape | (line.rising ? kUpsideDown : 0), 4,
                       options, anchor);
}

std::string escherFrame(const EscherSheet& sheet, std::size_t shapeBytes) {
    const std::string group = record(kContainer, 0, 0xF004,
                                     record(1, 0, 0xF009, packed(u32{0}, u32{0}, u32{0}, u32{0})) +
                                         record(2, 0, 0xF00A, packed(sheet.shapeId(0), u32{5})));
    const std::string drawing = record(0, static_cast<u16>(sheet.number), 0xF008,
                                       packed(sheet.shapes, sheet.shapeId(sheet.shapes - 1)));
    const std::string groupHead = head(kContainer, 0, 0xF003, group.size() + shapeBytes);
    return head(kContainer, 0, 0xF002, drawing.size() + groupHead.size() + group.size() + shapeBytes) +
           drawing + groupHead + group;
}

std::string escherWorkbook(const std::vector<EscherSheet>& sheets,
                           const std::vector<std::shared_ptr<const Picture>>& pictures) {
    u32 shapes = 0;
    u32 clusterCount = 0;
    u32 lastId = 0;
    std::string clusters;
    for (const EscherSheet& sheet : sheets) {
        for (u32 i = 0; i < sheet.clusters(); ++i) {
            const u32 used = std::min<u32>(sheet.shapes - 1024 * i, 1024);
            ByteWriter(clusters).put(static_cast<u32>(sheet.number), used);
        }
        shapes += sheet.shapes;
        clusterCount += sheet.clusters();
        lastId = sheet.shapeId(sheet.shapes);
    }
    std::string list;
    for (const auto& picture : pictures) list += listedPicture(*picture);
    return record(
        kContainer, 0, 0xF000,
        record(0, 0, 0xF006,
               packed(lastId, clusterCount + 1, shapes, static_cast<u32>(sheets.size())) + clusters) +
            record(kContainer, static_cast<u16>(pictures.size()), 0xF001, list) +
            record(3, 3, 0xF00B,
                   packed(u16{0xBF}, u32{0x80008}, u16{0x181}, u32{0x8000041}, u16{0x1C0}, u32{0x8000040})) +
            record(0, 4, 0xF11E, packed(u32{0x800000D}, u32{0x800000C}, u32{0x8000017}, u32{0x100000F7})));
}

}  // namespace qbsvrl6
