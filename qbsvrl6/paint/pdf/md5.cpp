#include "qbsvrl6/paint/pdf/md5.h"

#include <array>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>

namespace qbsvrl6 {

namespace {

constexpr std::size_t kBlock = 64, kSteps = 64;

using State = std::array<std::uint32_t, 4>;

std::array<std::uint32_t, kSteps> constants() {
    std::array<std::uint32_t, kSteps> sines{};
    for (std::size_t i = 0; i < kSteps; ++i) {
        sines[i] =
            static_cast<std::uint32_t>(std::floor(std::fabs(std::sin(static_cast<double>(i + 1))) * 0x1p32));
    }
    return sines;
}

void addBlock(State& state, const char* block) {
    static const std::array<std::uint32_t, kSteps> sines = constants();
    static constexpr int kShifts[4][4] = {{7, 12, 17, 22}, {5, 9, 14, 20}, {4, 11, 16, 23}, {6, 10, 15, 21}};
    auto [a, b, c, d] = state;
    for (std::size_t i = 0; i < kSteps; ++i) {
        std::uint32_t mixed = 0;
        std::size_t word = i;
        switch (i / 16) {
            case 0:
                mixed = (b & c) | (~b & d);
                break;
            case 1:
                mixed = (d & b) | (~d & c);
                word = 5 * i + 1;
                break;
            case 2:
                mixed = b ^ c ^ d;
                word = 3 * i + 5;
                break;
            default:
                mixed = c ^ (b | ~d);
                word = 7 * i;
        }
        std::uint32_t value = 0;
        for (std::size_t byte = 4; byte-- > 0;) {
            value = value << 8 | static_cast<unsigned char>(block[4 * (word % 16) + byte]);
        }
        const std::uint32_t next = b + std::rotl(a + mixed + sines[i] + value, kShifts[i / 16][i % 4]);
        a = d;
        d = c;
        c = b;
        b = next;
    }
    state = {state[0] + a, state[1] + b, state[2] + c, state[3] + d};
}

void addNumber(std::string& out, std::uint64_t number, int bytes) {
    for (int shift = 0; shift < 8 * bytes; shift += 8) out += static_cast<char>(number >> shift & 0xFF);
}

}  // namespace

std::string md5(std::string_view bytes) {
    State state{0x67452301, 0xEFCDAB89, 0x98BADCFE, 0x10325476};
    std::size_t at = 0;
    for (; at + kBlock <= bytes.size(); at += kBlock) addBlock(state, bytes.data() + at);
    std::string end(bytes.substr(at));
    end += '\x80';
    while (end.size() % kBlock != kBlock - 8) end += '\0';
    addNumber(end, 8 * std::uint64_t{bytes.size()}, 8);
    for (at = 0; at < end.size(); at += kBlock) addBlock(state, end.data() + at);
    std::string sum;
    for (const std::uint32_t word : state) addNumber(sum, word, 4);
    return sum;
}

}  // namespace qbsvrl6
