#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <set>
#include <sstream>
#include <string>

#include "tests/source_directory.h"

namespace {

// The names that follow QBSVR_API in a header of the interface.
std::set<std::string> functionsOf(const std::string& file) {
    std::ostringstream text;
    text << std::ifstream(QBSVR_SOURCE_DIR "/engine/" + file).rdbuf();
    const std::string header = text.str();
    std::set<std::string> names;
    for (std::size_t at = 0; (at = header.find("\nQBSVR_API ", at)) != std::string::npos; ++at) {
        const std::size_t name = header.find(" QB", at);
        const std::size_t pointer = header.find("*QB", at);
        const std::size_t start = std::min(name, pointer) + 1;
        names.insert(header.substr(start, header.find('(', start) - start));
    }
    return names;
}

TEST(ExportList, IsTheInterfaceAndNothingElse) {
    std::FILE* output = ::popen("nm -D --defined-only " QBSVR_ENGINE_FILE, "r");
    ASSERT_NE(output, nullptr);
    std::set<std::string> exported;
    for (char line[1024]; std::fgets(line, sizeof line, output) != nullptr;) {
        const std::string text(line);
        const std::string name = text.substr(text.rfind(' ') + 1, text.rfind('\n') - text.rfind(' ') - 1);
        const std::size_t version = name.find("@@");
        EXPECT_EQ(version != std::string::npos, name.starts_with("QBX") && name != "QBX_1.0") << name;
        if (name != "QBX_1.0") exported.insert(name.substr(0, version));
    }
    EXPECT_EQ(::pclose(output), 0);
    std::set<std::string> declared = functionsOf("qbsvr.h");
    EXPECT_EQ(declared.size(), 71u);
    declared.merge(functionsOf("qbsvr_more.h"));
    EXPECT_EQ(exported, declared);
}

}  // namespace
