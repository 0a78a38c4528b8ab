#include "qbsvrl6/fonts/aliases.h"

#include <algorithm>
#include <array>
#include <utility>

#include "qbsvrl6/support/ascii.h"
#include "qbsvrl6/support/utf.h"
#include "qbsvrl6/support/white_space.h"

namespace qbsvrl6 {

namespace {

constexpr auto kNames = std::to_array<std::pair<std::string_view, FamilyKind>>({
    {"simsun", FamilyKind::Song},
    {"nsimsun", FamilyKind::Song},
    {"simsun-extb", FamilyKind::Song},
    {"stsong", FamilyKind::Song},
    {"stzhongsong", FamilyKind::Song},
    {"mingliu", FamilyKind::Song},
    {"pmingliu", FamilyKind::Song},
    {"ms mincho", FamilyKind::Song},
    {"ms pmincho", FamilyKind::Song},
    {"batang", FamilyKind::Song},
    {"fangsong", FamilyKind::FangSong},
    {"fangsong_gb2312", FamilyKind::FangSong},
    {"stfangsong", FamilyKind::FangSong},
    {"kaiti", FamilyKind::Kai},
    {"kaiti_gb2312", FamilyKind::Kai},
    {"simkai", FamilyKind::Kai},
    {"stkaiti", FamilyKind::Kai},
    {"dfkai-sb", FamilyKind::Kai},
    {"simhei", FamilyKind::Hei},
    {"microsoft yahei", FamilyKind::Hei},
    {"microsoft yahei ui", FamilyKind::Hei},
    {"microsoft jhenghei", FamilyKind::Hei},
    {"dengxian", FamilyKind::Hei},
    {"youyuan", FamilyKind::Hei},
    {"stheiti", FamilyKind::Hei},
    {"stxihei", FamilyKind::Hei},
    {"pingfang sc", FamilyKind::Hei},
    {"ms gothic", FamilyKind::Hei},
    {"ms pgothic", FamilyKind::Hei},
    {"meiryo", FamilyKind::Hei},
    {"gulim", FamilyKind::Hei},
    {"malgun gothic", FamilyKind::Hei},
    {"等线", FamilyKind::Hei},
    {"微软雅黑", FamilyKind::Hei},
    {"幼圆", FamilyKind::Hei},
    {"arial", FamilyKind::Sans},
    {"arial unicode ms", FamilyKind::Sans},
    {"helvetica", FamilyKind::Sans},
    {"helvetica neue", FamilyKind::Sans},
    {"tahoma", FamilyKind::Sans},
    {"segoe ui", FamilyKind::Sans},
    {"trebuchet ms", FamilyKind::Sans},
    {"ms sans serif", FamilyKind::Sans},
    {"microsoft sans serif", FamilyKind::Sans},
    {"system", FamilyKind::Sans},
    {"sans-serif", FamilyKind::Sans},
    {"sans", FamilyKind::Sans},
    {"verdana", FamilyKind::Verdana},
    {"times new roman", FamilyKind::Serif},
    {"times", FamilyKind::Serif},
    {"ms serif", FamilyKind::Serif},
    {"georgia", FamilyKind::Serif},
    {"garamond", FamilyKind::Serif},
    {"serif", FamilyKind::Serif},
    {"courier new", FamilyKind::Mono},
    {"courier", FamilyKind::Mono},
    {"consolas", FamilyKind::Mono},
    {"lucida console", FamilyKind::Mono},
    {"fixedsys", FamilyKind::Mono},
    {"monospace", FamilyKind::Mono},
    {"calibri", FamilyKind::Calibri},
    {"cambria", FamilyKind::Cambria},
});

// Parts of names ("华文楷体", "方正仿宋简体", "Foo Mono"); the first row that occurs in a name decides.
constexpr auto kWords = std::to_array<std::pair<std::string_view, FamilyKind>>({
    {"仿宋", FamilyKind::FangSong},
    {"fangsong", FamilyKind::FangSong},
    {"楷", FamilyKind::Kai},
    {"kaiti", FamilyKind::Kai},
    {"宋", FamilyKind::Song},
    {"song", FamilyKind::Song},
    {"明體", FamilyKind::Song},
    {"明朝", FamilyKind::Song},
    {"黑", FamilyKind::Hei},
    {"yahei", FamilyKind::Hei},
    {"mono", FamilyKind::Mono},
    {"courier", FamilyKind::Mono},
    {"sans", FamilyKind::Sans},
    {"serif", FamilyKind::Serif},
    {"times", FamilyKind::Serif},
});

struct KindFamilies {
    FamilyKind kind;
    std::array<std::string_view, 7> families;  // folded, best first
    FamilyKind next;                           // tried after them; the same kind: none
};

constexpr KindFamilies kFamilies[] = {
    {FamilyKind::FangSong, {"stfangsong"}, FamilyKind::Song},
    {FamilyKind::Kai, {"ar pl ukai cn", "lxgw wenkai", "tw-kai"}, FamilyKind::Song},
    {FamilyKind::Song,
     {"noto serif cjk sc", "noto serif sc", "source han serif sc", "source han serif cn", "ar pl uming cn"},
     FamilyKind::Hei},
    {FamilyKind::Hei,
     {"noto sans cjk sc", "noto sans sc", "source han sans sc", "source han sans cn", "wenquanyi micro hei",
      "wenquanyi zen hei", "droid sans fallback"},
     FamilyKind::Hei},
    {FamilyKind::Calibri, {"carlito"}, FamilyKind::Sans},
    {FamilyKind::Verdana, {"dejavu sans"}, FamilyKind::Sans},
    {FamilyKind::Sans, {"liberation sans", "arimo", "nimbus sans", "dejavu sans"}, FamilyKind::Sans},
    {FamilyKind::Cambria, {"caladea"}, FamilyKind::Serif},
    {FamilyKind::Serif, {"liberation serif", "tinos", "nimbus roman", "dejavu serif"}, FamilyKind::Serif},
    {FamilyKind::Mono,
     {"liberation mono", "cousine", "nimbus mono ps", "dejavu sans mono"},
     FamilyKind::Mono},
};

bool isAscii(std::string_view text) {
    return std::all_of(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

}  // namespace

std::string foldFamily(std::u16string_view family) {
    family = trimmed(family);
    while (family.starts_with(u'@')) family = trimmed(family.substr(1));
    return toUtf8(lowerCase(family));
}

FamilyKind familyKind(std::string_view folded) {
    for (const auto& [name, kind] : kNames) {
        if (name == folded) return kind;
    }
    for (const auto& [word, kind] : kWords) {
        if (folded.find(word) != std::string_view::npos) return kind;
    }
    return isAscii(folded) ? FamilyKind::Sans : FamilyKind::Hei;
}

std::vector<std::string_view> familiesOf(FamilyKind kind) {
    std::vector<std::string_view> families;
    for (const KindFamilies& row : kFamilies) {  // each row is before its next one
        if (row.kind != kind) continue;
        for (const std::string_view family : row.families) {
            if (!family.empty()) families.push_back(family);
        }
        kind = row.next;
    }
    return families;
}

FamilyKind fallbackOf(FamilyKind kind) {
    switch (kind) {
        case FamilyKind::Song:
        case FamilyKind::FangSong:
        case FamilyKind::Kai:
        case FamilyKind::Serif:
        case FamilyKind::Cambria:
            return FamilyKind::Song;
        default:
            return FamilyKind::Hei;
    }
}

std::string_view genericFamily(FamilyKind kind) {
    if (kind == FamilyKind::Mono) return "monospace";
    return fallbackOf(kind) == FamilyKind::Song ? "serif" : "sans-serif";
}

}  // namespace qbsvrl6
