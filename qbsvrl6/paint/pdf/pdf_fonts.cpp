#include "qbsvrl6/paint/pdf/pdf_fonts.h"

#include <hb.h>

#include <algorithm>
#include <cmath>
#include <iterator>

#include "qbsvrl6/paint/pdf/font_subset.h"
#include "qbsvrl6/paint/pdf/pdf_syntax.h"
#include "qbsvrl6/support/enough_memory.h"

namespace qbsvrl6 {

namespace {

constexpr int kDefaultWidth = 1000;

bool isBlank(char16_t unit) { return unit <= u' ' || unit == 0x7F || unit == 0xA0 || unit == 0x3000; }

// Characters without ink and width: soft hyphens, joiners, byte order marks.
bool isInvisible(char16_t unit) {
    return unit == 0xAD || (unit >= 0x200B && unit <= 0x200F) || (unit >= 0x2060 && unit <= 0x2064) ||
           unit == 0xFEFF;
}

// What no code may represent in a document that keeps its text.
bool isNoText(char16_t unit) { return unit == 0 || unit >= 0xFFFE || unit == 0xFEFF; }

bool isBlank(std::u16string_view text) { return text.size() == 1 && isBlank(text.front()); }

std::string reference(int number) { return std::to_string(number) + " 0 R"; }

// The texts of codes with this many hexadecimal digits.
std::string toUnicodeMap(int digits, std::string_view texts) {
    std::string map =
        "/CIDInit/ProcSet findresource begin\n12 dict begin\nbegincmap\n"
        "/CIDSystemInfo<</Registry(Adobe)/Ordering(UCS)/Supplement 0>>def\n"
        "/CMapName/Adobe-Identity-UCS def\n/CMapType 2 def\n1 begincodespacerange\n";
    map += '<' + std::string(static_cast<std::size_t>(digits), '0') + "><" +
           std::string(static_cast<std::size_t>(digits), 'F') + ">\nendcodespacerange\n";
    map += texts;
    return map + "endcmap\nCMapName currentdict/CMap defineresource pop\nend\nend\n";
}

// Six letters that distinguish subsets of one font.
std::string subsetTag(const std::vector<std::uint32_t>& glyphs) {
    std::uint64_t hash = 0xCBF29CE484222325u;
    for (const std::uint32_t glyph : glyphs) hash = (hash ^ glyph) * 0x100000001B3u;
    hash ^= hash >> 32;
    std::string tag;
    for (int i = 0; i < 6; ++i) {
        tag += static_cast<char>('A' + hash % 26);
        hash /= 26;
    }
    return tag + "+";
}

}  // namespace

PdfFont::PdfFont(const FontFace& face, int resource) : face_(face), resource_(resource), codes_(1) {
    codes_.front().width = MissingGlyph::kAdvance;
    if (!face.cff) return;
    const auto table = withEnoughMemory([&] {
        return std::unique_ptr<hb_blob_t, void (*)(hb_blob_t*)>(
            hb_face_reference_table(face.face, HB_TAG('C', 'F', 'F', ' ')), hb_blob_destroy);
    });
    unsigned length = 0;
    const char* data = hb_blob_get_data(table.get(), &length);
    charset_ = CffCharset::read({data, length}, hb_face_get_glyph_count(face.face));
}

void PdfFont::addCode(std::uint32_t glyph) {
    const std::size_t index = codes_.size();
    if (face_.cff && charset_.cidOf(glyph) == 0) return;  // of a damaged font
    indexes_[glyph] = static_cast<std::uint16_t>(index);
    Code& code = codes_.emplace_back();
    code.glyph = glyph;
    code.code = static_cast<std::uint16_t>(face_.cff ? charset_.cidOf(glyph) : index);
    const float advance = static_cast<float>(hb_font_get_glyph_h_advance(face_.font, glyph));
    code.width = std::round(advance * 10000.0f / static_cast<float>(face_.unitsPerEm)) / 10.0f;
    literal_.clear();
    const char bytes[] = {static_cast<char>(code.code >> 8), static_cast<char>(code.code & 0xFF)};
    appendByteString(literal_, {bytes, 2});
    const std::string_view escaped = literal_.view().substr(1, literal_.size() - 2);
    code.byteCount = static_cast<std::uint8_t>(escaped.size());
    std::copy(escaped.begin(), escaped.end(), code.bytes);
}

bool PdfFont::take(const GlyphRun& run, std::u16string_view text) {
    const std::vector<Glyph>& glyphs = run.glyphs;
    const std::size_t end = std::min<std::size_t>(run.firstUnit + run.unitCount, text.size());
    const bool rightToLeft = glyphs.size() > 1 && glyphs.front().cluster > glyphs.back().cluster;
    bool reads = true;
    for (std::size_t i = 0; i < glyphs.size(); ++i) {
        Code& code = codeOf(glyphs[i].id);
        if (code.code == 0) {
            reads = false;
            continue;
        }
        const bool shared = (i > 0 && glyphs[i - 1].cluster == glyphs[i].cluster) ||
                            (i + 1 < glyphs.size() && glyphs[i + 1].cluster == glyphs[i].cluster);
        if (shared) {  // several glyphs share the text: none of them represents all of it
            reads = false;
            continue;
        }
        const std::size_t start = std::min<std::size_t>(glyphs[i].cluster, end);
        std::size_t next = end;
        if (rightToLeft && i > 0) next = glyphs[i - 1].cluster;
        if (!rightToLeft && i + 1 < glyphs.size()) next = glyphs[i + 1].cluster;
        const bool known = next == start + 1 && code.unitCount == 1 && code.firstUnit == text[start];
        if (!known && !assignText(code, text.substr(start, std::min(next, end) - start))) reads = false;
    }
    return reads;
}

bool PdfFont::assignText(Code& code, std::u16string_view text) {
    constexpr std::size_t kLongest = 200;
    if (text.empty() || text.size() > kLongest) return false;
    if (text.size() == 1 && isInvisible(text.front())) return false;  // the code is that of the space
    if (std::any_of(text.begin(), text.end(), isNoText) && !isBlank(text)) return false;
    if (code.unitCount == 0) {
        code.text = isBlank(text) ? u" " : std::u16string(text);
        code.firstUnit = code.text.front();
        code.unitCount = static_cast<std::uint8_t>(text.size());
        return true;
    }
    return code.text == text || (isBlank(text) && isBlank(code.text));
}

std::string PdfFont::widths(const std::vector<const Code*>& codes) const {
    ByteBuffer out;
    int last = -1;
    bool open = false;
    for (const Code* code : codes) {
        if (code->width == kDefaultWidth) continue;
        if (open && code->code != last + 1) {
            out.append(']');
            open = false;
        }
        if (open) {
            out.append(' ');
        } else {
            out.add(std::int64_t{code->code}, '[');
            open = true;
        }
        appendNumber(out, code->width, 1);
        last = code->code;
    }
    if (open) out.append(']');
    return std::string(out.view());
}

// The characters of glyphs whose text was always written with them: the first one that the font maps to each.
std::map<std::uint32_t, char32_t> PdfFont::charactersOf(const std::vector<const Code*>& codes) const {
    std::map<std::uint32_t, char32_t> characters;
    for (const Code* code : codes) {
        if (code->unitCount == 0) characters.emplace(code->glyph, U'\uFFFD');
    }
    if (characters.empty()) return characters;
    const std::unique_ptr<hb_set_t, void (*)(hb_set_t*)> known(hb_set_create(), hb_set_destroy);
    hb_face_collect_unicodes(face_.face, known.get());
    std::size_t missing = characters.size();
    for (hb_codepoint_t character = U' '; missing > 0 && hb_set_next(known.get(), &character);) {
        hb_codepoint_t glyph = 0;
        if (character > 0xFFFF || isNoText(static_cast<char16_t>(character))) continue;
        if (!hb_font_get_nominal_glyph(face_.font, character, &glyph)) continue;
        const auto found = characters.find(glyph);
        if (found == characters.end() || found->second != U'\uFFFD') continue;
        found->second = character;
        --missing;
    }
    return characters;
}

std::string PdfFont::toUnicode(const std::vector<const Code*>& codes) const {
    constexpr std::size_t kCharactersPerBlock = 100;
    ByteBuffer out;
    const std::map<std::uint32_t, char32_t> characters = charactersOf(codes);
    for (std::size_t start = 0; start < codes.size(); start += kCharactersPerBlock) {
        const std::size_t end = std::min(start + kCharactersPerBlock, codes.size());
        out.add(static_cast<std::int64_t>(end - start), std::string_view(" beginbfchar\n"));
        for (std::size_t i = start; i < end; ++i) {
            out.append('<');
            appendHex(out, codes[i]->code, 4);
            out.append(std::string_view("><"));
            if (codes[i]->unitCount > 0) {
                appendUtf16Hex(out, codes[i]->text);
            } else {
                appendHex(out, characters.at(codes[i]->glyph), 4);
            }
            out.append(std::string_view(">\n"));
        }
        out.append(std::string_view("endbfchar\n"));
    }
    return toUnicodeMap(4, out.view());
}

std::string PdfFont::descriptor(const std::string& name, int fontFile, int cidSet) const {
    const double scale = 1000.0 / face_.unitsPerEm;
    constexpr int kFixedPitch = 1;
    constexpr int kSerif = 2;
    constexpr int kSymbolic = 4;
    constexpr int kItalic = 64;
    const int flags = kSymbolic + (face_.fixedPitch ? kFixedPitch : 0) + (face_.serif ? kSerif : 0) +
                      (face_.italicAngle != 0 ? kItalic : 0);
    constexpr int kStem = 80;  // required, but without effect for embedded fonts
    ByteBuffer out;
    const auto scaled = [&](std::string_view key, int value) {
        out.append(key);
        appendNumber(out, value * scale, 0);
    };
    out.add(std::string_view("<</Type/FontDescriptor/FontName/"), std::string_view(name),
            std::string_view("/Flags "), std::int64_t{flags});
    scaled("/FontBBox[", face_.xMin);
    scaled(" ", face_.yMin);
    scaled(" ", face_.xMax);
    scaled(" ", face_.yMax);
    out.append(std::string_view("]/ItalicAngle "));
    appendNumber(out, face_.italicAngle, 1);
    scaled("/Ascent ", face_.ascent);
    scaled("/Descent ", -face_.descent);
    scaled("/CapHeight ", face_.capHeight);
    out.add(std::string_view("/StemV "), std::int64_t{kStem},
            std::string_view(face_.cff ? "/FontFile3 " : "/FontFile2 "), std::int64_t{fontFile},
            std::string_view(" 0 R"));
    if (cidSet != 0) out.add(std::string_view("/CIDSet "), std::int64_t{cidSet}, std::string_view(" 0 R"));
    out.append(std::string_view(">>"));
    return std::string(out.view());
}

// A bit per CID, from the highest bit of the first byte. CID 0 is that of the glyph for missing characters,
// which every font has. A font that keeps the numbers of its glyphs has all of them up to the last one.
std::string PdfFont::cidSet(const std::vector<const Code*>& codes) const {
    const std::size_t last = codes.empty() ? 0 : codes.back()->code;
    std::string bits(last / 8 + 1, '\0');
    const auto add = [&](std::size_t cid) {
        bits[cid / 8] = static_cast<char>(bits[cid / 8] | 0x80 >> cid % 8);
    };
    add(0);
    if (keepsNumbers()) {
        for (std::size_t cid = 1; cid <= last; ++cid) add(cid);
    } else {
        for (const Code* code : codes) add(code->code);
    }
    return bits;
}

// The numbers of the glyphs in the embedded file.
std::vector<std::uint32_t> PdfFont::writeFontFile(PdfFile& file, int number,
                                                  const std::vector<std::uint32_t>& glyphs,
                                                  bool whole) const {
    const auto entries = [this](std::size_t size) {
        return face_.cff ? "/Subtype/CIDFontType0C" : "/Length1 " + std::to_string(size);
    };
    const std::shared_ptr<const EmbeddedFont> font =
        whole ? wholeFont(face_) : subsetFont(face_, glyphs, keepsNumbers());
    file.writeStream(number, entries(font->plainSize) + "/Filter/FlateDecode", font->bytes, true);
    return whole ? glyphs : font->newGlyphs;
}

void PdfFont::write(PdfFile& file, int number, const PdfFontRules& rules) const {
    const bool whole = rules.embedWhole;
    std::vector<const Code*> codes;
    for (std::size_t i = 1; i < codes_.size(); ++i) codes.push_back(&codes_[i]);
    std::sort(codes.begin(), codes.end(), [](const Code* a, const Code* b) { return a->code < b->code; });
    std::vector<std::uint32_t> glyphs;
    glyphs.reserve(codes.size());
    for (const Code* code : codes) glyphs.push_back(code->glyph);

    const std::string name = (whole ? "" : subsetTag(glyphs)) + toName(face_.postScriptName);
    const int fontFile = file.reserve();
    const std::vector<std::uint32_t> newGlyphs = writeFontFile(file, fontFile, glyphs, whole);
    const int descriptorNumber = file.reserve();
    int cidSetNumber = 0;
    if (rules.listCids && !whole) {
        cidSetNumber = file.reserve();
        file.writeStream(cidSetNumber, "", cidSet(codes));
    }
    file.writeObject(descriptorNumber, descriptor(name, fontFile, cidSetNumber));
    const int unicodeNumber = file.reserve();
    file.writeStream(unicodeNumber, "", toUnicode(codes));

    std::string map;
    if (!face_.cff) {
        std::string glyphOfCode(2, '\0');
        for (const std::uint32_t glyph : newGlyphs) {
            glyphOfCode += static_cast<char>(glyph >> 8);
            glyphOfCode += static_cast<char>(glyph & 0xFF);
        }
        const int mapNumber = file.reserve();
        file.writeStream(mapNumber, "", glyphOfCode);
        map = "/CIDToGIDMap " + reference(mapNumber);
    }
    const int descendant = file.reserve();
    file.writeObject(descendant, std::string("<</Type/Font/Subtype/") +
                                     (face_.cff ? "CIDFontType0" : "CIDFontType2") + "/BaseFont/" + name +
                                     "/CIDSystemInfo<</Registry(Adobe)/Ordering(Identity)/Supplement 0>>"
                                     "/FontDescriptor " +
                                     reference(descriptorNumber) + "/DW " + std::to_string(kDefaultWidth) +
                                     "/W[" + widths(codes) + "]" + map + ">>");
    file.writeObject(number, "<</Type/Font/Subtype/Type0/BaseFont/" + name +
                                 (face_.cff ? "-Identity-H" : "") + "/Encoding/Identity-H/DescendantFonts[" +
                                 reference(descendant) + "]/ToUnicode " + reference(unicodeNumber) + ">>");
}

PdfFont& PdfFonts::find(const FontFace& face) {
    requireDrawable(face);
    for (const std::unique_ptr<PdfFont>& font : fonts_) {
        if (&font->face() == &face) return *font;
    }
    return *fonts_.emplace_back(std::make_unique<PdfFont>(face, static_cast<int>(fonts_.size()) + 1));
}

void MissingGlyph::writeFont(PdfFile& file, int number) {
    const int glyph = file.reserve();
    file.writeStream(glyph, "", "600 0 60 0 540 700 d1 60 0 480 700 re 100 40 400 620 re f*");
    const int unicode = file.reserve();
    file.writeStream(unicode, "", toUnicodeMap(2, "1 beginbfchar\n<01><FFFD>\nendbfchar\n"));
    file.writeObject(number,
                     "<</Type/Font/Subtype/Type3/FontBBox[0 0 600 700]/FontMatrix[.001 0 0 .001 0 0]"
                     "/CharProcs<</box " +
                         reference(glyph) +
                         ">>/Encoding<</Type/Encoding/Differences[1/box]>>/FirstChar 1/LastChar 1/Widths[600]"
                         "/Resources<<>>/ToUnicode " +
                         reference(unicode) + ">>");
}

std::string PdfFonts::write(PdfFile& file) const {
    std::string dictionary = "<<";
    if (hasMissingGlyph_) {
        const int number = file.reserve();
        MissingGlyph::writeFont(file, number);
        dictionary += "/F" + std::to_string(MissingGlyph::kResource) + " " + reference(number);
    }
    for (const std::unique_ptr<PdfFont>& font : fonts_) {
        const int number = file.reserve();
        font->write(file, number, rules_);
        dictionary += "/F" + std::to_string(font->resource()) + " " + reference(number);
    }
    return dictionary + ">>";
}

}  // namespace qbsvrl6
