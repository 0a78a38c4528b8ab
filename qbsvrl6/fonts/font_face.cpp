#include "qbsvrl6/fonts/font_face.h"

#include <fcntl.h>
#include <hb-ot.h>
#include <hb.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <system_error>
#include <utility>

#include "qbsvrl6/support/descriptor.h"
#include "qbsvrl6/support/enough_memory.h"
#include "qbsvrl6/support/error.h"

namespace qbsvrl6 {

namespace {

// The bytes of a file, mapped during its lifetime or for the life of the process.
class MappedFile {
public:
    // Empty if the file can't be read. Raises MachineError for a shortage, which does not mean that the file
    // is bad.
    explicit MappedFile(const std::string& file) {
        const Descriptor descriptor(::open(file.c_str(), O_RDONLY | O_CLOEXEC));
        struct stat status {};
        if (!descriptor.valid() || ::fstat(descriptor.number(), &status) != 0) {
            failIfShort(file);
        } else if (status.st_size > 0) {
            const auto size = static_cast<std::size_t>(status.st_size);
            void* const address = ::mmap(nullptr, size, PROT_READ, MAP_PRIVATE, descriptor.number(), 0);
            if (address == MAP_FAILED) {
                failIfShort(file);
            } else {
                bytes_ = {static_cast<const char*>(address), size};
            }
        }
    }
    ~MappedFile() {
        if (!bytes_.empty()) ::munmap(const_cast<char*>(bytes_.data()), bytes_.size());
    }
    MappedFile(const MappedFile&) = delete;
    MappedFile& operator=(const MappedFile&) = delete;

    std::string_view bytes() const { return bytes_; }
    std::string_view keepForGood() { return std::exchange(bytes_, {}); }

private:
    static void failIfShort(const std::string& file) {
        if (!isShortage(errno)) return;
        throw MachineError("font file " + file + ": " + std::generic_category().message(errno));
    }

    std::string_view bytes_;
};

// A table of big-endian fields; beyond its end everything reads as 0.
class FontTable {
public:
    FontTable(hb_face_t* face, hb_tag_t tag) : blob_(hb_face_reference_table(face, tag)) {
        unsigned length = 0;
        const char* data = hb_blob_get_data(blob_, &length);
        bytes_ = std::string_view(data, length);
    }
    ~FontTable() { hb_blob_destroy(blob_); }
    FontTable(const FontTable&) = delete;
    FontTable& operator=(const FontTable&) = delete;

    bool empty() const { return bytes_.empty(); }
    int u8(std::size_t at) const { return at < bytes_.size() ? static_cast<unsigned char>(bytes_[at]) : 0; }
    int u16(std::size_t at) const { return (u8(at) << 8) | u8(at + 1); }
    int i16(std::size_t at) const { return static_cast<std::int16_t>(u16(at)); }

private:
    hb_blob_t* blob_;
    std::string_view bytes_;
};

std::string nameOf(hb_face_t* face, hb_ot_name_id_t id) {
    unsigned length = hb_ot_name_get_utf8(face, id, HB_LANGUAGE_INVALID, nullptr, nullptr);
    std::string name(length + 1, '\0');
    ++length;
    hb_ot_name_get_utf8(face, id, HB_LANGUAGE_INVALID, &length, name.data());
    name.resize(length);
    return name;
}

bool looksSerif(const FontTable& os2, const std::string& family) {
    constexpr int kPanoseLatinText = 2;
    const int serifStyle = os2.u8(33);
    if (os2.u8(32) == kPanoseLatinText && serifStyle > 1) return serifStyle <= 10;
    return family.find("Serif") != std::string::npos || family.find("Song") != std::string::npos ||
           family.find("Ming") != std::string::npos;
}

void readTables(FontFace& face) {
    const FontTable head(face.face, HB_TAG('h', 'e', 'a', 'd'));
    const FontTable hhea(face.face, HB_TAG('h', 'h', 'e', 'a'));
    const FontTable os2(face.face, HB_TAG('O', 'S', '/', '2'));
    const FontTable post(face.face, HB_TAG('p', 'o', 's', 't'));
    face.xMin = head.i16(36);
    face.yMin = head.i16(38);
    face.xMax = head.i16(40);
    face.yMax = head.i16(42);
    face.ascent = hhea.i16(4);
    face.descent = std::abs(hhea.i16(6));
    face.lineGap = hhea.i16(8);
    face.typoAscent = os2.i16(68);
    face.typoDescent = std::abs(os2.i16(70));
    face.capHeight = os2.u16(0) >= 2 ? os2.i16(88) : 0;
    if (face.capHeight <= 0) face.capHeight = face.ascent * 3 / 4;
    face.italicAngle = post.i16(4) + post.u16(6) / 65536.0;
    face.fixedPitch = post.u16(12) != 0 || post.u16(14) != 0;
    face.serif = looksSerif(os2, face.familyName);
}

bool hasTable(hb_face_t* face, hb_tag_t tag) { return !FontTable(face, tag).empty(); }

// HarfBuzz reads a table when it first needs it, and if memory runs out then, the table stays empty. So all
// tables that shaping needs are read here.
void readAhead(const FontFace& face) {
    hb_face_get_glyph_count(face.face);
    hb_codepoint_t glyph = 0;
    hb_font_get_nominal_glyph(face.font, U'A', &glyph);
    hb_font_get_glyph_h_advance(face.font, glyph);
    hb_glyph_extents_t extents;
    hb_font_get_glyph_extents(face.font, glyph, &extents);
    hb_segment_properties_t properties = HB_SEGMENT_PROPERTIES_DEFAULT;
    properties.direction = HB_DIRECTION_LTR;
    properties.script = HB_SCRIPT_LATIN;
    hb_shape_plan_destroy(hb_shape_plan_create(face.face, &properties, nullptr, 0, nullptr));
}

}  // namespace

std::unique_ptr<const FontFace> readFontFace(const std::string& file, int index, std::string_view bytes) {
    auto face = std::make_unique<FontFace>();
    face->file = file;
    face->index = index;
    face->bytes = bytes;
    hb_blob_t* blob = hb_blob_create(bytes.data(), static_cast<unsigned>(bytes.size()),
                                     HB_MEMORY_MODE_READONLY, nullptr, nullptr);
    face->face = hb_face_create(blob, static_cast<unsigned>(index));
    hb_blob_destroy(blob);
    face->cff = hasTable(face->face, HB_TAG('C', 'F', 'F', ' '));
    if (!face->cff && !hasTable(face->face, HB_TAG('g', 'l', 'y', 'f'))) return nullptr;
    face->unitsPerEm = hb_face_get_upem(face->face);
    face->familyName = nameOf(face->face, HB_OT_NAME_ID_FONT_FAMILY);
    face->postScriptName = nameOf(face->face, HB_OT_NAME_ID_POSTSCRIPT_NAME);
    readTables(*face);
    hb_face_make_immutable(face->face);
    face->font = hb_font_create(face->face);
    hb_font_make_immutable(face->font);
    readAhead(*face);
    return face;
}

FontFace::~FontFace() {
    hb_font_destroy(font);
    hb_face_destroy(face);
}

std::unique_ptr<const FontFace> openFontFace(const std::string& file, int index) {
    MappedFile mapped(file);
    if (mapped.bytes().empty()) return nullptr;
    auto face = withEnoughMemory([&] { return readFontFace(file, index, mapped.bytes()); });
    if (face != nullptr) mapped.keepForGood();
    return face;
}

LineMetrics lineMetricsOf(const FontFace& face) {
    const double em = face.unitsPerEm;
    // Chinese fonts draw each character in a square of one em. Their other metrics leave space for all
    // scripts of the world and would put half an em between the lines of a table.
    const bool square =
        face.typoAscent > 0 && face.typoAscent + face.typoDescent == static_cast<int>(face.unitsPerEm);
    if (square && face.ascent + face.descent > 1.3 * em)
        return {face.typoAscent / em, face.typoDescent / em, 1.2};
    return {face.ascent / em, face.descent / em, (face.ascent + face.descent + face.lineGap) / em};
}

}  // namespace qbsvrl6
