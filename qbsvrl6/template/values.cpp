#include "qbsvrl6/template/values.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <cmath>
#include <cstdint>

#include "common/base64.h"
#include "qbsvrl6/bind/sort_terms.h"
#include "qbsvrl6/bind/text_template.h"
#include "qbsvrl6/bind/values.h"
#include "qbsvrl6/support/append.h"
#include "qbsvrl6/support/ascii.h"
#include "qbsvrl6/support/utf.h"

namespace qbsvrl6 {

namespace {

constexpr std::string_view kLengthForm = "a length with its unit, like \"12.5mm\" (mm, cm, in, pt)";
constexpr std::string_view kColorForm = "a colour like \"#336699\"";
constexpr std::string_view kNumberForm = "a number like \"1.5\"";

template <class Parse>
void checkGrammar(const Parse& parse) {
    try {
        parse();
    } catch (const EngineError& error) {
        throw ValueError(expressionError(error));
    }
}

[[noreturn]] void reject(std::string_view expected) { throw ValueError("expected " + std::string(expected)); }

[[noreturn]] void outOfRange(const std::string& least, const std::string& most) {
    throw ValueError("out of range: expected " + least + " to " + most);
}

// A number at the start of `text`, which is removed from it. Numbers out of range, such as "1e999", are none.
double takeNumber(std::string_view& text, std::string_view expected) {
    double value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || !std::isfinite(value)) reject(expected);
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    return value;
}

std::string shortest(double value) {
    std::array<char, 32> buffer;
    return {buffer.data(), std::to_chars(buffer.data(), buffer.data() + buffer.size(), value).ptr};
}

struct Unit {
    std::string_view name;
    double micrometres;
};
constexpr std::array kUnits = {Unit{"mm", 1000}, Unit{"cm", 10000}, Unit{"in", 25400},
                               Unit{"pt", kMicrometresPerPoint}};

struct Measure {
    double number = 0;
    const Unit* unit = nullptr;
};

Measure readMeasure(std::string_view text) {
    const double number = takeNumber(text, kLengthForm);
    const auto unit =
        std::find_if(kUnits.begin(), kUnits.end(), [&](const Unit& known) { return known.name == text; });
    if (unit == kUnits.end()) reject(kLengthForm);
    return {number, &*unit};
}

// The parts of a text, separated by spaces.
std::vector<std::string_view> split(std::string_view text) {
    std::vector<std::string_view> parts;
    while (true) {
        const std::size_t start = text.find_first_not_of(' ');
        if (start == std::string_view::npos) return parts;
        text.remove_prefix(start);
        parts.push_back(text.substr(0, text.find(' ')));
        text.remove_prefix(parts.back().size());
    }
}

}  // namespace

// The message of an error with a position ends in "column 4: the cause". The reader reports the text before
// that itself, and the column may count within one placeholder of the text.
std::string expressionError(const EngineError& error) {
    const std::string_view message = error.what();
    if (error.place().position.column == 0) return std::string(message);
    const std::size_t column = std::min(message.rfind("column "), message.size());
    const std::size_t colon = std::min(message.find(": ", column), message.size());
    return "column " + std::to_string(error.place().position.column) + std::string(message.substr(colon));
}

std::u16string TextCodec::read(std::string_view text) const { return toUtf16(text); }
std::string TextCodec::write(const std::u16string& value) const { return toUtf8(value); }

std::u16string ExpressionCodec::read(std::string_view text) const {
    std::u16string value = toUtf16(text);
    checkGrammar([&] {
        if (!mayBeBlank || !trimmed(value).empty()) Expression::parse(value);
    });
    return value;
}
std::string ExpressionCodec::write(const std::u16string& value) const { return toUtf8(value); }

std::u16string SortCodec::read(std::string_view text) const {
    std::u16string value = toUtf16(text);
    checkGrammar([&] { parseSortTerms(value); });
    return value;
}
std::string SortCodec::write(const std::u16string& value) const { return toUtf8(value); }

std::u16string PlaceholderCodec::read(std::string_view text) const {
    std::u16string value = toUtf16(text);
    checkGrammar([&] { TextTemplate::parse(value); });
    return value;
}
std::string PlaceholderCodec::write(const std::u16string& value) const { return toUtf8(value); }

bool SwitchCodec::read(std::string_view text) const {
    if (text == "true") return true;
    if (text == "false") return false;
    reject("\"true\" or \"false\"");
}

int IntegerCodec::read(std::string_view text) const {
    int value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error == std::errc::invalid_argument || end != text.data() + text.size()) reject("a whole number");
    if (error != std::errc() || value < least || value > most) {
        outOfRange(std::to_string(least), std::to_string(most));
    }
    return value;
}

double NumberCodec::read(std::string_view text) const {
    const double value = takeNumber(text, kNumberForm);
    if (!text.empty()) reject(kNumberForm);
    if (value < least || value > most) outOfRange(shortest(least), shortest(most));
    return value;
}

std::string NumberCodec::write(double value) const { return shortest(value); }

std::vector<double> NumberListCodec::read(std::string_view text) const {
    std::vector<double> values;
    for (std::string_view part : split(text)) {
        values.push_back(takeNumber(part, kNumberForm));
        if (!part.empty()) reject(kNumberForm);
    }
    return values;
}

std::string NumberListCodec::write(const std::vector<double>& values) const {
    std::string text;
    for (const double value : values) {
        if (!text.empty()) text += ' ';
        text += shortest(value);
    }
    return text;
}

Micrometres LengthCodec::read(std::string_view text) const {
    const Measure measure = readMeasure(text);
    const double value = std::round(measure.number * measure.unit->micrometres);
    if (value < least || value > most) outOfRange(write(least), write(most));
    return static_cast<Micrometres>(value);
}

std::string LengthCodec::write(Micrometres value) const {
    const std::int64_t magnitude = std::abs(static_cast<std::int64_t>(value));
    std::string text = (value < 0 ? "-" : "") + std::to_string(magnitude / kMicrometresPerMillimetre);
    const std::string digits = std::to_string(magnitude % kMicrometresPerMillimetre);
    std::string fraction = std::string(3 - digits.size(), '0') + digits;
    fraction.erase(fraction.find_last_not_of('0') + 1);
    if (!fraction.empty()) text += '.' + fraction;
    return text + "mm";
}

ColumnWidth ColumnWidthCodec::read(std::string_view text) const {
    constexpr NumberCodec kShare{0.001, 1000};
    if (text == "auto") return {0, 0, true};
    if (!text.empty() && text.back() == '*') {
        text.remove_suffix(1);
        return {0, text.empty() ? 1 : kShare.read(text), false};
    }
    return {LengthCodec{}.read(text), 0, false};
}

std::string ColumnWidthCodec::write(const ColumnWidth& value) const {
    if (value.fitsContent) return "auto";
    return value.isLength() ? LengthCodec{}.write(value.length) : shortest(value.share) + '*';
}

double FontSizeCodec::read(std::string_view text) const {
    const Measure measure = readMeasure(text);
    // Points are read as written: a conversion to micrometres and back would round them.
    const double points = measure.unit->name == "pt"
                              ? measure.number
                              : measure.number * measure.unit->micrometres / kMicrometresPerPoint;
    if (points < 1 || points > most) outOfRange("1pt", write(most));
    return points;
}

std::string FontSizeCodec::write(double value) const { return shortest(value) + "pt"; }

Edges EdgesCodec::read(std::string_view text) const {
    const std::vector<std::string_view> parts = split(text);
    const LengthCodec length;
    if (parts.size() == 1) {
        const Micrometres all = length.read(parts[0]);
        return {all, all, all, all};
    }
    if (parts.size() != 4) reject("one length, or four: left, top, right, bottom");
    return {length.read(parts[0]), length.read(parts[1]), length.read(parts[2]), length.read(parts[3])};
}

std::string EdgesCodec::write(const Edges& value) const {
    const LengthCodec length;
    if (value == Edges{value.left, value.left, value.left, value.left}) return length.write(value.left);
    return length.write(value.left) + ' ' + length.write(value.top) + ' ' + length.write(value.right) + ' ' +
           length.write(value.bottom);
}

Color ColorCodec::read(std::string_view text) const {
    unsigned value = 0;
    if (text.size() != 7 || text[0] != '#') reject(kColorForm);
    const auto [end, error] = std::from_chars(text.data() + 1, text.data() + 7, value, 16);
    if (error != std::errc() || end != text.data() + 7) reject(kColorForm);
    return {static_cast<std::uint8_t>(value >> 16), static_cast<std::uint8_t>(value >> 8 & 0xFF),
            static_cast<std::uint8_t>(value & 0xFF)};
}

std::string ColorCodec::write(const Color& value) const {
    std::string text;
    appendColor(text, value);
    return text;
}

BorderLine BorderLineCodec::read(std::string_view text) const {
    if (text == "none") return {};
    const std::vector<std::string_view> parts = split(text);
    if (parts.empty() || parts.size() > 2) reject("\"none\", or a width and a colour like \"0.2mm #808080\"");
    BorderLine line{LengthCodec{0, 20'000}.read(parts[0]), {}};
    if (parts.size() == 2) line.color = ColorCodec{}.read(parts[1]);
    return line;
}

std::string BorderLineCodec::write(const BorderLine& value) const {
    if (value == BorderLine{}) return "none";
    const std::string width = LengthCodec{}.write(value.width);
    return value.color == Color{} ? width : width + ' ' + ColorCodec{}.write(value.color);
}

std::string wordsError(std::span<const std::string_view> words) {
    std::string text = "expected ";
    for (std::size_t i = 0; i < words.size(); ++i) {
        if (i > 0) text += i + 1 == words.size() ? " or " : ", ";
        text += '"';
        text += words[i];
        text += '"';
    }
    return text;
}

std::u16string LanguageTagCodec::read(std::string_view text) const {
    constexpr std::size_t kLongestPart = 8;
    std::size_t length = 0;  // of the part
    bool isFirst = true;
    bool isValid = true;
    for (const char c : text) {
        if (c == '-') {
            isValid = isValid && length >= (isFirst ? 2u : 1u);
            isFirst = false;
            length = 0;
        } else {
            isValid = isValid && (isLatinLetter(c) || (isDigit(c) && !isFirst)) && ++length <= kLongestPart;
        }
    }
    if (!isValid || length < (isFirst ? 2u : 1u)) reject("a language like \"en\" or \"zh-CN\"");
    return toUtf16(text);
}

std::string LanguageTagCodec::write(const std::u16string& value) const { return toUtf8(value); }

std::u16string MomentCodec::read(std::string_view text) const {
    constexpr std::string_view kForm = "0000-00-00T00:00:00+00:00";
    constexpr std::size_t kDate = 10, kTime = 19;  // where they end
    std::string moment(text);
    if (moment.size() == kDate) moment += "T00:00:00Z";
    const bool isUtc = moment.size() == kTime + 1 && moment.back() == 'Z';
    bool isValid = isUtc || moment.size() == kForm.size();
    for (std::size_t i = 0; isValid && i < (isUtc ? kTime : kForm.size()); ++i) {
        const bool isSign = i == kTime && moment[i] == '-';
        isValid = kForm[i] == '0' ? isDigit(moment[i]) : isSign || moment[i] == kForm[i];
    }
    const auto two = [&](std::size_t at) { return 10 * (moment[at] - '0') + (moment[at + 1] - '0'); };
    isValid = isValid && two(11) < 24 && two(14) < 60 && two(17) < 60 &&
              (isUtc || (two(20) < 24 && two(23) < 60)) &&
              std::chrono::year_month_day(std::chrono::year(100 * two(0) + two(2)),
                                          std::chrono::month(static_cast<unsigned>(two(5))),
                                          std::chrono::day(static_cast<unsigned>(two(8))))
                  .ok();
    if (!isValid) reject("a moment like \"2026-03-01T09:30:00+08:00\", or a date like \"2026-03-01\"");
    return toUtf16(moment);
}

std::u16string MimeTypeCodec::read(std::string_view text) const {
    const std::size_t slash = text.find('/');
    const bool isValid = slash != 0 && slash != std::string_view::npos && slash + 1 < text.size() &&
                         text.size() < 100 && std::all_of(text.begin(), text.end(), [&](const char& c) {
                             return isLatinLetter(c) || isDigit(c) || c == '-' || c == '.' || c == '+' ||
                                    &c == text.data() + slash;
                         });
    if (!isValid) reject("a MIME type like \"text/xml\"");
    return toUtf16(text);
}

std::string MimeTypeCodec::write(const std::u16string& value) const { return toUtf8(value); }

std::u16string InvoiceProfileCodec::read(std::string_view text) const {
    static constexpr std::string_view kProfiles[] = {"MINIMUM",  "BASIC WL", "BASIC",
                                                     "EN 16931", "EXTENDED", "XRECHNUNG"};
    if (std::find(std::begin(kProfiles), std::end(kProfiles), text) == std::end(kProfiles)) {
        throw ValueError(wordsError(kProfiles));
    }
    return toUtf16(text);
}

std::string InvoiceProfileCodec::write(const std::u16string& value) const { return toUtf8(value); }

std::string MomentCodec::write(const std::u16string& value) const { return toUtf8(value); }

namespace {

constexpr std::array<Word<PdfStandard>, 8> kPdfStandards = {{{"none", PdfStandard::None},
                                                             {"a-1b", PdfStandard::A1b},
                                                             {"a-2a", PdfStandard::A2a},
                                                             {"a-2b", PdfStandard::A2b},
                                                             {"a-2u", PdfStandard::A2u},
                                                             {"a-3a", PdfStandard::A3a},
                                                             {"a-3b", PdfStandard::A3b},
                                                             {"a-3u", PdfStandard::A3u}}};

}  // namespace

PdfStandard PdfStandardCodec::read(std::string_view text) const {
    if (text == "a-1a") {
        throw ValueError("level a needs part 2 or 3, whose tags can express more: \"a-2a\" or \"a-3a\"");
    }
    return WordCodec<PdfStandard>{kPdfStandards}.read(text);
}

std::string PdfStandardCodec::write(PdfStandard value) const {
    return WordCodec<PdfStandard>{kPdfStandards}.write(value);
}

std::string readBase64(std::string_view text) {
    static constexpr std::string_view kExpected =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/= \t\r\n";
    // The decoder skips characters outside the alphabet.
    if (text.find_first_not_of(kExpected) != std::string_view::npos) reject("Base64 text");
    larkspur::ClkMemory bytes;
    larkspur::Base64_Decode(text.data(), static_cast<int>(text.size()), bytes);
    return {static_cast<const char*>(bytes.Data()), static_cast<std::size_t>(bytes.Size())};
}

std::string writeBase64(std::string_view bytes) {
    return larkspur::Base64_Encode(bytes.data(), static_cast<int>(bytes.size()));
}

}  // namespace qbsvrl6
