// A directory for one test, removed at its end, and the files in it.
#ifndef QBSVR_TESTS_SCRATCH_DIRECTORY_H
#define QBSVR_TESTS_SCRATCH_DIRECTORY_H

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

inline std::string ReadFile(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

inline void WriteFile(const std::filesystem::path& path, const std::string& text) {
    std::filesystem::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << text;
}

// All files below a directory, as sorted relative paths.
inline std::vector<std::string> FilesBelow(const std::filesystem::path& directory) {
    std::vector<std::string> files;
    if (!std::filesystem::is_directory(directory)) return files;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(directory)) {
        if (entry.is_regular_file()) files.push_back(entry.path().lexically_relative(directory).string());
    }
    std::sort(files.begin(), files.end());
    return files;
}

class ScratchDirectory {
public:
    ScratchDirectory() {
        std::string pattern = (std::filesystem::temp_directory_path() / "qbsvrtest-XXXXXX").string();
        path = mkdtemp(pattern.data());
    }
    ~ScratchDirectory() { std::filesystem::remove_all(path); }
    std::filesystem::path path;
};

#endif
