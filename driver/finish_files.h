// Lets files that are being written be completed or removed before the program ends.
#ifndef QBSVR_DRIVER_FINISH_FILES_H
#define QBSVR_DRIVER_FINISH_FILES_H

// After this call, SIGTERM, SIGINT and SIGHUP wait until no FileInTheMaking exists before they end the
// program; a second signal doesn't wait. An ignored signal stays ignored. An uncaught exception waits for the
// files of other threads, for a few seconds at most.
void FinishFilesBeforeTheEnd();

// Exists while one file is being written. An exception that leaves its scope must be caught outside, where it
// may be raised again: otherwise no destructor runs. Once the program is about to end, the constructor
// doesn't return.
class FileInTheMaking {
public:
    FileInTheMaking();
    ~FileInTheMaking();
    FileInTheMaking(const FileInTheMaking&) = delete;
    FileInTheMaking& operator=(const FileInTheMaking&) = delete;
};

#endif
