// The format ustar, with a header of pax before a name that has no place in it.
#include <algorithm>
#include <cstdio>

#include "qbreport/burst/archive.h"

namespace qbreport {

namespace {

constexpr std::size_t kBlock = 512;
constexpr std::size_t kMostName = 100;
constexpr long kTime = 315532800;  // 1980-01-01: the clock is no part of an archive

std::string padded(std::string text) {
    text.resize((text.size() + kBlock - 1) / kBlock * kBlock, '\0');
    return text;
}

std::string header(const std::string& name, std::uint64_t size, char type) {
    std::string block(kBlock, '\0');
    const auto put = [&](std::size_t at, const std::string& text) { block.replace(at, text.size(), text); };
    const auto octal = [&](std::size_t at, int digits, std::uint64_t number) {
        char text[16];
        std::snprintf(text, sizeof text, "%0*llo", digits, static_cast<unsigned long long>(number));
        put(at, text);
    };
    put(0, name.substr(0, kMostName));
    octal(100, 7, 0644);
    octal(108, 7, 0);  // user and group
    octal(116, 7, 0);
    octal(124, 11, size);
    octal(136, 11, static_cast<std::uint64_t>(kTime));
    put(148, "        ");
    block[156] = type;
    put(257, std::string("ustar\00000", 8));
    std::uint64_t sum = 0;
    for (const char c : block) sum += static_cast<unsigned char>(c);
    octal(148, 6, sum);
    block[154] = '\0';
    return block;
}

// "30 path=a/b.pdf\n": the number is that of all its bytes.
std::string record(const std::string& name) {
    const std::string text = " path=" + name + "\n";
    std::size_t size = text.size() + 1;
    while (std::to_string(size).size() + text.size() != size) ++size;
    return std::to_string(size) + text;
}

class Tar : public ArchiveWriter {
public:
    explicit Tar(const std::string& path) : ArchiveWriter(path) {}

    std::uint64_t endOf(std::uint64_t offset, std::uint64_t size) const override {
        return offset + (size + kBlock - 1) / kBlock * kBlock;
    }
    std::uint64_t offsetAfter(std::uint64_t size, const std::string& name) const override {
        return size + headerOf(name, "").size();
    }
    void finish(const std::string&) override { append(std::string(2 * kBlock, '\0')); }

protected:
    std::string headerOf(const std::string& name, std::string_view bytes) const override {
        const std::string own = header(name, bytes.size(), '0');
        if (name.size() <= kMostName) return own;
        const std::string path = record(name);
        return header("././@PaxHeader", path.size(), 'x') + padded(path) + own;
    }
};

}  // namespace

std::unique_ptr<ArchiveWriter> openTar(const std::string& path) { return std::make_unique<Tar>(path); }

}  // namespace qbreport
