// Substitutes for font families that reports name but that few machines have.
#ifndef QBSVR_QBSVRL6_FONTS_ALIASES_H
#define QBSVR_QBSVRL6_FONTS_ALIASES_H

#include <string>
#include <string_view>
#include <vector>

namespace qbsvrl6 {

// Kinds of families that replace each other.
enum class FamilyKind { Song, FangSong, Kai, Hei, Sans, Serif, Mono, Calibri, Cambria, Verdana };

// The form of a name in the tables: UTF-8, in ASCII lower case, without surrounding spaces and without the
// "@" of vertical faces.
std::string foldFamily(std::u16string_view family);

// The kind of a folded name, by the table of names or else by the words in it. Any name has one.
FamilyKind familyKind(std::string_view folded);

// Folded families that serve for a kind, best first.
std::vector<std::string_view> familiesOf(FamilyKind kind);

// The kind of Chinese family that best matches this kind, for characters that it lacks.
FamilyKind fallbackOf(FamilyKind kind);

// The nearest generic family of style sheets: "serif", "sans-serif" or "monospace".
std::string_view genericFamily(FamilyKind kind);

}  // namespace qbsvrl6

#endif
