#include "qbsvrl6/paint/pdf/srgb_profile.h"

#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <string_view>

namespace qbsvrl6 {

// A profile: a header of 128 bytes; a table of tags, each with its name, offset and size; the tags' data,
// each with its type. All numbers are big-endian.

namespace {

void addNumber(std::string& out, std::uint32_t value, int bytes) {
    while (bytes-- > 0) out += static_cast<char>(value >> (8 * bytes) & 0xFF);
}

// The name of a type, followed by four reserved bytes.
std::string dataOf(std::string_view type) { return std::string(type) + std::string(4, '\0'); }

using Xyz = std::array<double, 3>;

void addXyz(std::string& out, const Xyz& value) {
    for (const double part : value) addNumber(out, static_cast<std::uint32_t>(std::lround(part * 65536)), 4);
}

std::string xyzData(const Xyz& value) {
    std::string data = dataOf("XYZ ");
    addXyz(data, value);
    return data;
}

std::string descriptionData(std::string_view name) {
    std::string data = dataOf("desc");
    addNumber(data, static_cast<std::uint32_t>(name.size() + 1), 4);
    data += name;
    constexpr std::size_t kOtherNames =
        4 + 4 + 2 + 1 + 67;  // empty ones, in Unicode and a script of old systems
    data.append(1 + kOtherNames, '\0');
    return data;
}

// From a channel's value to its light, IEC 61966-2-1: linear near black, a power above.
double lightOf(double value) {
    return value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
}

std::string curveData() {
    constexpr std::uint32_t kPoints = 256;
    std::string data = dataOf("curv");
    addNumber(data, kPoints, 4);
    for (std::uint32_t i = 0; i < kPoints; ++i) {
        addNumber(data, static_cast<std::uint32_t>(std::lround(lightOf(i / (kPoints - 1.0)) * 65535)), 2);
    }
    return data;
}

std::string headerOf(std::size_t size) {
    constexpr Xyz kConnectionWhite{0.9642, 1, 0.8249};  // D50
    std::string header;
    addNumber(header, static_cast<std::uint32_t>(size), 4);
    header.append(4, '\0');
    addNumber(header, 0x02100000, 4);  // version 2.1
    header += "mntrRGB XYZ ";
    for (const std::uint32_t part : {1999u, 10u, 18u, 0u, 0u, 0u})
        addNumber(header, part, 2);  // of IEC 61966-2-1
    header += "acsp";
    header.append(28, '\0');  // platform, flags, maker, model, attributes, intent
    addXyz(header, kConnectionWhite);
    header.append(48, '\0');
    return header;
}

std::string makeProfile() {
    struct Tag {
        std::string_view name;
        std::string data;  // empty: that of the tag before
    };
    // White is D65; the primaries of IEC 61966-2-1 are adapted to D50 by the Bradford matrix.
    const Tag tags[] = {{"desc", descriptionData("sRGB")},
                        {"cprt", dataOf("text") + "No copyright" + '\0'},
                        {"wtpt", xyzData({0.95045, 1, 1.08905})},
                        {"rXYZ", xyzData({0.4360747, 0.2225045, 0.0139322})},
                        {"gXYZ", xyzData({0.3850649, 0.7168786, 0.0971045})},
                        {"bXYZ", xyzData({0.1430804, 0.0606169, 0.7141733})},
                        {"rTRC", curveData()},
                        {"gTRC", {}},
                        {"bTRC", {}}};
    constexpr std::size_t kHeader = 128, kEntry = 12;
    std::string table, content;
    addNumber(table, static_cast<std::uint32_t>(std::size(tags)), 4);
    std::size_t offset = 0;
    std::size_t size = 0;
    for (const Tag& tag : tags) {
        if (!tag.data.empty()) {
            content.append((4 - content.size() % 4) % 4, '\0');
            offset = kHeader + 4 + kEntry * std::size(tags) + content.size();
            size = tag.data.size();
            content += tag.data;
        }
        table += tag.name;
        addNumber(table, static_cast<std::uint32_t>(offset), 4);
        addNumber(table, static_cast<std::uint32_t>(size), 4);
    }
    content.append((4 - content.size() % 4) % 4, '\0');
    return headerOf(kHeader + table.size() + content.size()) + table + content;
}

}  // namespace

const std::string& srgbProfile() {
    static const std::string& profile = *new std::string(makeProfile());
    return profile;
}

}  // namespace qbsvrl6
