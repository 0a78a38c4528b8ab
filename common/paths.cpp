#include "common/paths.h"

#include <sys/stat.h>
#include <unistd.h>

#include <stdexcept>
#include <string_view>

#include "common/files.h"
#include "common/unicode.h"

namespace larkspur {

namespace {

using View = std::u16string_view;

View ViewOf(const lkchar* text) { return text == nullptr ? View() : View(text); }

struct PathParts {
    View drive, dir, name, ext;
};

// path = [ drive ":" ] [ dir "/" ] name [ "." ext ], with a drive of one or two units
PathParts SplitPath(View path) {
    PathParts parts;
    const std::size_t colon = path.substr(0, 3).find(u':');
    if (colon == 1 || colon == 2) {
        parts.drive = path.substr(0, colon);
        path.remove_prefix(colon + 1);
    }
    const std::size_t slash = path.rfind(u'/');
    if (slash != View::npos && slash > 0) {
        parts.dir = path.substr(0, slash);
        path.remove_prefix(slash + 1);
    }
    const std::size_t dot = path.rfind(u'.');
    parts.name = path.substr(0, dot);
    if (dot != View::npos) parts.ext = path.substr(dot + 1);
    return parts;
}

void CopyPart(View part, lkchar* to, std::size_t capacity) {
    if (to == nullptr) return;
    to[part.copy(to, capacity - 1)] = 0;
}

bool IsOneOf(lkchar c, View set) { return set.find(c) != View::npos; }

}  // namespace

void lk_splitpath(const lkchar* path, lkchar* drive, lkchar* dir, lkchar* name, lkchar* ext) {
    const PathParts parts = SplitPath(ViewOf(path));
    CopyPart(parts.drive, drive, 3);
    CopyPart(parts.dir, dir, 256);
    CopyPart(parts.name, name, 256);
    CopyPart(parts.ext, ext, 256);
}

void lk_makepath(lkchar* to, const lkchar* drive, const lkchar* dir, const lkchar* name, const lkchar* ext) {
    const auto append = [&to](View text) { to += text.copy(to, text.size()); };
    const View driveText = ViewOf(drive);
    if (!driveText.empty()) {
        append(driveText);
        if (driveText.back() != u':') *to++ = u':';
    }
    const View dirText = ViewOf(dir);
    if (!dirText.empty()) {
        if (!driveText.empty() && dirText.front() != u'/') *to++ = u'/';
        append(dirText);
        if (dirText.back() != u'/') {
            // The text ends at this "/": the name comes after the zero unit. To include the name, callers
            // pass a directory that ends in "/".
            *to++ = u'/';
            *to++ = 0;
        }
    }
    append(ViewOf(name));
    const View extText = ViewOf(ext);
    if (!extText.empty()) {
        if (extText.front() != u'.') *to++ = u'.';
        append(extText);
    }
    *to = 0;
}

lkstr ExtractFilePath(const lkchar* path) {
    const PathParts parts = SplitPath(ViewOf(path));
    const lkstr drive(parts.drive);
    const lkstr dir(parts.dir);
    lkstr joined(drive.size() + dir.size() + 5, 0);
    lk_makepath(joined.data(), drive.c_str(), dir.c_str(), nullptr, nullptr);
    joined.resize(static_cast<std::size_t>(lkstr_len(joined.c_str())));
    if (!joined.empty() && IsOneOf(joined.back(), u"/\\")) joined.pop_back();
    return joined;
}

lkstr ExtractFileName(const lkchar* path) {
    const PathParts parts = SplitPath(ViewOf(path));
    return lkstr(parts.name).append(parts.ext);
}

bool IsExistExtFileName(const lkchar* path) { return !SplitPath(ViewOf(path)).ext.empty(); }

bool IsFileExist(const lkchar* path) { return access(UnicodeTextToPrintf(path).c_str(), F_OK) == 0; }

int GetFileSize(const lkchar* path) {
    ClkFile file;
    if (IsFileExist(path)) file.Open(path, ClkFile::OpenReadBinary);
    return file.Length();
}

lkstr GetCurrentWorkPath() {
    char path[4096];
    const auto length = static_cast<unsigned int>(readlink("/proc/self/cwd", path, sizeof path));
    // A failure is -1, which exceeds every length.
    if (length > sizeof path - 1) throw std::logic_error("basic_string::_M_construct null not valid");
    return Utf8ToUnicode(path, static_cast<int>(length));
}

bool CreateLocalDir(const lkchar* path) {
    if (path == nullptr) return false;
    // Checks again after a failure: another thread may have created the directory meanwhile.
    return IsFileExist(path) || mkdir(UnicodeTextToPrintf(path).c_str(), 0775) == 0 || IsFileExist(path);
}

bool CreateLocalDirOnNeed(const lkchar* path) {
    if (IsFileExist(path)) return true;
    const View whole = ViewOf(path);
    for (std::size_t slash = whole.find(u'/', 1); slash != View::npos; slash = whole.find(u'/', slash + 1)) {
        if (whole[slash - 1] == u':') continue;
        if (!CreateLocalDir(lkstr(whole.substr(0, slash)).c_str())) return false;
    }
    return CreateLocalDir(path);
}

bool IsValidPathNameChar(lkchar c) { return !IsOneOf(c, u"\"*,/;<>?[]|"); }
bool IsValidFileNameChar(lkchar c) { return !IsOneOf(c, u"\"*,/:;<>?[]|"); }
bool IsValidPathFileChar(lkchar c) { return !IsOneOf(c, u"\"*,/:<>?[]|"); }

bool IsPathFileValid(const lkchar* path) {
    const View text = ViewOf(path);
    if (text.empty()) return false;
    bool colonAllowed = true;
    for (const lkchar unit : text) {
        if (unit == u'/' || (unit == u':' && colonAllowed)) {
            colonAllowed = false;
        } else if (!IsValidPathFileChar(unit)) {
            return false;
        }
    }
    return true;
}

lkstr ConformPathFile(const lkchar* path) {
    lkstr result;
    for (const lkchar unit : ViewOf(path)) {
        if (IsValidPathFileChar(unit)) result.push_back(unit);
    }
    return result;
}

lkstr ConformFileName(const lkchar* name) { return ConformPathFile(name); }

}  // namespace larkspur
