// Splitting and validating paths, and creating directories. The separator is "/"; paths are passed to the
// system as UTF-8.
#ifndef QBSVR_COMMON_PATHS_H
#define QBSVR_COMMON_PATHS_H

#include "common/text.h"

namespace larkspur {

// Splits a path into drive (without ":"), directory (without the last "/"), name, and extension (without the
// dot). A "/" at the very start belongs to the name: "/abc.txt" has the name "/abc". Buffers may be null;
// they hold 3 units for the drive and 256 for each other part. Longer parts are cut to fit.
void lk_splitpath(const lkchar* path, lkchar* drive, lkchar* dir, lkchar* name, lkchar* ext);

// Joins the parts in a buffer that is large enough. A directory that doesn't end in "/" gets a "/" and a zero
// unit, so that name and extension come after the end of the text.
void lk_makepath(lkchar* to, const lkchar* drive, const lkchar* dir, const lkchar* name, const lkchar* ext);

lkstr ExtractFilePath(const lkchar* path);  // "/home/x/a.txt" gives "/home/x", "/a.txt" gives empty text
lkstr ExtractFileName(const lkchar* path);  // loses the dot: "dir/report.txt" gives "reporttxt"
bool IsExistExtFileName(const lkchar* path);

bool IsFileExist(const lkchar* path);  // directories count
int GetFileSize(const lkchar* path);   // cut to 32 bits; -1 if the file is missing or can't be read
lkstr GetCurrentWorkPath();            // raises std::logic_error if the system can't return it

// Return whether the directory exists afterwards, whoever created it. OnNeed also creates missing parents.
bool CreateLocalDir(const lkchar* path);
bool CreateLocalDirOnNeed(const lkchar* path);

// False for " * , / < > ? [ ] | and, by function, PathName: ";"; FileName: ";" and ":"; PathFile: ":".
bool IsValidPathNameChar(lkchar c);
bool IsValidFileNameChar(lkchar c);
bool IsValidPathFileChar(lkchar c);

// Every unit passes IsValidPathFileChar or is "/", or is one ":" before the first "/". Empty text is not
// valid.
bool IsPathFileValid(const lkchar* path);

// The text without the units that IsValidPathFileChar rejects, "/" and ":" included.
lkstr ConformPathFile(const lkchar* path);
lkstr ConformFileName(const lkchar* name);

}  // namespace larkspur

#endif
