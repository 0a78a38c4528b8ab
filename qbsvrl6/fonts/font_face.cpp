#include "qbsvrl6/fonts/font_face.h"

#include <fcntl.h>
#include <hb-ot.h>
#include <hb.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>

namespace qbsvrl6 {

namespace {

std::string_view mapFile(const std::string& file) {
    const int descriptor = ::open(file.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0) return {};
    struct stat status {};
    void* address = MAP_FAILED;
    if (::fstat(descriptor, &status) == 0 && status.st_size > 0) {
        address =
            ::mmap(nullptr, static_cast<std::size_t>(status.st_size), PROT_READ, MAP_PRIVATE, descriptor, 0);
    }
    ::close(descriptor);
    if (address == MAP_FAILED) return {};
    return {static_cast<const char*>(address), static_cast<std::size_t>(status.st_size)};
}

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
    face.capHeight = os2.u16(0) >= 2 ? os2.i16(88) : 0;
    if (face.capHeight <= 0) face.capHeight = face.ascent * 3 / 4;
    face.italicAngle = post.i16(4) + post.u16(6) / 65536.0;
    face.fixedPitch = post.u16(12) != 0 || post.u16(14) != 0;
    face.serif = looksSerif(os2, face.familyName);
}

bool hasTable(hb_face_t* face, hb_tag_t tag) { return !FontTable(face, tag).empty(); }

}  // namespace

std::unique_ptr<const FontFace> openFontFace(const std::string& file, int index) {
    auto face = std::make_unique<FontFace>();
    face->file = file;
    face->index = index;
    face->bytes = mapFile(file);
    if (face->bytes.empty()) return nullptr;
    hb_blob_t* blob = hb_blob_create(face->bytes.data(), static_cast<unsigned>(face->bytes.size()),
                                     HB_MEMORY_MODE_READONLY, nullptr, nullptr);
    face->face = hb_face_create(blob, static_cast<unsigned>(index));
    hb_blob_destroy(blob);
    face->cff = hasTable(face->face, HB_TAG('C', 'F', 'F', ' '));
    if (!face->cff && !hasTable(face->face, HB_TAG('g', 'l', 'y', 'f'))) {
        hb_face_destroy(face->face);
        ::munmap(const_cast<char*>(face->bytes.data()), face->bytes.size());
        return nullptr;
    }
    face->unitsPerEm = hb_face_get_upem(face->face);
    face->familyName = nameOf(face->face, HB_OT_NAME_ID_FONT_FAMILY);
    face->postScriptName = nameOf(face->face, HB_OT_NAME_ID_POSTSCRIPT_NAME);
    readTables(*face);
    hb_face_make_immutable(face->face);
    face->font = hb_font_create(face->face);
    hb_font_make_immutable(face->font);
    return face;
}

LineMetrics lineMetricsOf(const FontFace& face) {
    const double em = face.unitsPerEm;
    const FontTable os2(face.face, HB_TAG('O', 'S', '/', '2'));
    const int typoAscent = os2.i16(68);
    const int typoDescent = std::abs(os2.i16(70));
    // Chinese fonts draw each character in a square of one em. Their other metrics leave space for all
    // scripts of the world and would put half an em between the lines of a table.
    const bool square = typoAscent > 0 && typoAscent + typoDescent == static_cast<int>(face.unitsPerEm);
    if (square && face.ascent + face.descent > 1.3 * em) return {typoAscent / em, typoDescent / em, 1.2};
    return {face.ascent / em, face.descent / em, (face.ascent + face.descent + face.lineGap) / em};
}

}  // namespace qbsvrl6
