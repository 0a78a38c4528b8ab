// Lets a file in the making be finished or taken away before the program ends.
#ifndef QBSVR_DRIVER_FINISH_FILES_H
#define QBSVR_DRIVER_FINISH_FILES_H

// From here on SIGTERM, SIGINT and SIGHUP end the program as before, but not while a FileInTheMaking lives; a
// second signal doesn't wait. A signal that is ignored stays ignored. An exception that nobody catches waits
// for the files of other threads, for a few seconds at most.
void FinishFilesBeforeTheEnd();

// Around the writing of one file. An exception that leaves its scope has to be caught outside, and may be
// raised again there: without that no destructor runs. Once the program is about to end, the constructor
// doesn't return.
class FileInTheMaking {
public:
    FileInTheMaking();
    ~FileInTheMaking();
    FileInTheMaking(const FileInTheMaking&) = delete;
    FileInTheMaking& operator=(const FileInTheMaking&) = delete;
};

#endif
