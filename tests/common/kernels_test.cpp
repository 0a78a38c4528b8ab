// The kernels of all vector levels of this processor against plain loops, on random and invalid blocks of all
// short lengths, which end before an unreadable page.
#include <gtest/gtest.h>
#include <sys/mman.h>

#include <cstring>
#include <random>
#include <vector>

#include "common/internal/base64_kernels.h"
#include "common/internal/utf8_kernels.h"
#include "common/unicode.h"

namespace larkspur {
namespace {

using utf8::Byte;

std::vector<VectorLevel> Levels() {
    std::vector<VectorLevel> levels;
    for (const auto level : {VectorLevel::kPlain, VectorLevel::kAvx2, VectorLevel::kAvx512}) {
        if (level <= BestVectorLevel()) levels.push_back(level);
    }
    return levels;
}

class Kernels : public testing::Test {
protected:
    Kernels() { mprotect(m_Pages + kPage, kPage, PROT_NONE); }
    ~Kernels() override { munmap(m_Pages, 2 * kPage); }

    // Copies the text to the end of the readable page.
    template <typename Text>
    const typename Text::value_type* Guarded(const Text& text) {
        const std::size_t size = text.size() * sizeof(text[0]);
        return static_cast<const typename Text::value_type*>(
            std::memcpy(m_Pages + kPage - size, text.data(), size));
    }

    std::mt19937 m_Random{7};

private:
    static constexpr std::size_t kPage = 65536;
    char* m_Pages = static_cast<char*>(
        mmap(nullptr, 2 * kPage, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
};

TEST_F(Kernels, Utf8IsDecodedAsUnitByUnit) {
    const str samples[] = {"a",        str(1, 0),      "\x7F",         "é",
                           "\xDF\xBF", "中",           "\xED\xA0\xBD", "Latin text",
                           "\xD6\x41", "\xE0\x80\x81", "\xC3\xC3",     "报表",
                           "\xE4\xB8", "\xE4\x41中",   "\x80",         "\xF0\x9F\x98\x80"};
    for (std::size_t round = 0; round < 20000; ++round) {
        // Mostly valid, since the first invalid sequence ends the text.
        const std::size_t used = m_Random() % 4 == 0 ? std::size(samples) : std::size(samples) - 4;
        str text;
        while (text.size() < round % 201) {
            const str& sample = samples[m_Random() % used];
            for (auto run = 1 + m_Random() % 24; run > 0; --run) text += sample;
        }
        text.resize(round % 201);
        const auto* const from = reinterpret_cast<const Byte*>(Guarded(text));
        const Byte* const end = from + text.size();
        const Byte* const limit = end - m_Random() % (std::min<std::size_t>(text.size(), 9) + 1);

        lkstr expected;
        const Byte* at = from;
        for (lkchar unit; at < limit; expected += unit) {
            const std::size_t length = utf8::DecodeUnit(at, static_cast<std::size_t>(end - at), unit);
            if (length == 0) break;
            at += length;
        }
        for (const VectorLevel level : Levels()) {
            std::vector<lkchar> units(expected.size() + utf8::kSlack);
            const Byte* p = from;
            lkchar* to = units.data();
            const bool isValid = utf8::KernelsFor(level).decode(p, limit, end, to);
            ASSERT_EQ(lkstr(units.data(), to), expected) << int(level) << testing::PrintToString(text);
            ASSERT_TRUE(p == at && isValid == (at >= limit)) << int(level) << testing::PrintToString(text);
        }
    }
}

TEST_F(Kernels, UnitsAreEncodedOneByOne) {
    const lkchar samples[] = {u'a', 0, 0x7F, 0x80, u'é', 0x7FF, 0x800, u'中', u'文', 0xD83D, 0xFFFF};
    for (std::size_t round = 0; round < 8000; ++round) {
        lkstr text;
        while (text.size() < round % 201) text.append(1 + m_Random() % 24, samples[m_Random() % 11]);
        text.resize(round % 201);
        str expected(3 * text.size(), '\0');
        std::size_t size = 0;
        for (const lkchar unit : text) {
            size += utf8::EncodeUnit(unit, reinterpret_cast<Byte*>(expected.data() + size));
        }
        expected.resize(size);
        const lkchar* const from = Guarded(text);
        for (const VectorLevel level : Levels()) {
            std::vector<Byte> bytes(expected.size() + utf8::kSlack);
            Byte* const to = utf8::KernelsFor(level).encode(from, from + text.size(), bytes.data());
            ASSERT_EQ(str(bytes.data(), to), expected) << int(level) << testing::PrintToString(text);
        }
    }
}

// Decodes from the first character to the last one of a group; stops at a zero where a group starts.
str DecodedBase64(const str& text) {
    const str alphabet = base64::kAlphabet;
    str bytes;
    unsigned int bits = 0;
    int count = 0;
    for (const char c : text) {
        if (c == 0 && count == 0) break;
        const std::size_t value = alphabet.find(c);
        if (value == str::npos) continue;
        bits = bits << 6 | static_cast<unsigned int>(value);
        if (++count < 4) continue;
        for (const int shift : {16, 8, 0}) bytes += static_cast<char>(bits >> shift);
        bits = 0;
        count = 0;
    }
    return bytes;
}

TEST_F(Kernels, Base64GroupsRoundTrip) {
    const std::string_view noise("\r\n=\0-\xFF z\x80_", 10);
    for (std::size_t round = 0; round < 8000; ++round) {
        str bytes(round % 201 * 3, '\0');
        for (char& byte : bytes) byte = static_cast<char>(m_Random());
        for (const VectorLevel level : Levels()) {
            const base64::Kernels kernels = base64::KernelsFor(level);
            const auto* const from = reinterpret_cast<const Byte*>(Guarded(bytes));
            std::vector<char> chars(bytes.size() / 3 * 4);
            const std::size_t groups = kernels.encode(from, bytes.size() / 3, chars.data());
            ASSERT_TRUE(level == VectorLevel::kPlain || groups + 17 > bytes.size() / 3) << int(level);
            str text(chars.data(), 4 * groups);
            ASSERT_EQ(DecodedBase64(text), bytes.substr(0, 3 * groups)) << int(level);

            for (std::size_t k = m_Random() % 6; k > 0; --k) {
                text.insert(m_Random() % (text.size() + 1), 1, noise[m_Random() % noise.size()]);
            }
            const auto* p = reinterpret_cast<const Byte*>(Guarded(text));
            const Byte* const start = p;
            std::vector<Byte> decoded((text.size() + 3) / 4 * 3);
            Byte* to = decoded.data();
            kernels.decode(p, start + text.size(), to);
            const str read = text.substr(0, static_cast<std::size_t>(p - start));
            ASSERT_EQ(str(decoded.data(), to), DecodedBase64(read))
                << int(level) << testing::PrintToString(text);
        }
    }
}

}  // namespace
}  // namespace larkspur
