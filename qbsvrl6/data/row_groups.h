// The rows of a table as a list of groups. The tables of all reports together keep a limited amount of
// memory; the groups beyond it are in a temporary file, and are read from there one by one.
#ifndef QBSVR_QBSVRL6_DATA_ROW_GROUPS_H
#define QBSVR_QBSVRL6_DATA_ROW_GROUPS_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "qbsvrl6/data/row_group.h"
#include "qbsvrl6/support/temporary_file.h"

namespace qbsvrl6 {

inline constexpr std::uint64_t kDefaultRowMemory = 48u << 20;
inline constexpr std::size_t kLoadedRowGroups = 16;  // of a table: those that have been read from its file

// Limits the memory for rows of the whole process: groups that are completed later go to a file if it is used
// up. A table of up to a megabyte, or up to the limit if that is less, stays in memory in any case.
void limitRowMemory(std::uint64_t bytes);

// For tests: the most rows of a group, and the most groups that a table keeps after reading them from its
// file.
void limitRowGroups(std::size_t rows, std::size_t loaded);

// The file of the tables that one thread makes while a SharedRowFile exists.
struct RowFile {
    std::optional<TemporaryFile> file;  // made on first use
};
class SharedRowFile {
public:
    SharedRowFile();
    ~SharedRowFile();
    SharedRowFile(const SharedRowFile&) = delete;
    SharedRowFile& operator=(const SharedRowFile&) = delete;

    // A new one if none exists on this thread.
    static std::shared_ptr<RowFile> current();

private:
    std::shared_ptr<RowFile> file_ = std::make_shared<RowFile>();
    SharedRowFile* outer_;
};

// An object belongs to one thread at a time, also for reading.
class RowGroups {
public:
    RowGroups() = default;
    ~RowGroups();
    RowGroups(const RowGroups&) = delete;
    RowGroups& operator=(const RowGroups&) = delete;

    // Adds a row to the open group, which then has `bytes` more than at the last call.
    void beginRow(std::size_t bytes);
    // The row in the open group to which values are added.
    std::size_t lastRow() const { return open_.rows - 1; }
    std::vector<OpenColumn>& columns() { return open_.columns; }
    // After the last row: makes all rows readable.
    void end();

    std::size_t count() const { return sealedRows_ + open_.rows; }
    // Whether rows are in a file: then the texts of a value live until another row is read.
    bool arePaged() const { return isPaged_; }
    // Null beyond the rows that are readable.
    Value value(std::size_t row, std::size_t column) const {
        if (row - current_.first >= current_.rows && !enter(row)) return {};
        return current_.group.value(row - current_.first, column);
    }

private:
    struct Group {
        std::size_t first = 0;
        std::size_t size = 0;
        std::uint64_t offset = 0;       // in the file
        std::unique_ptr<char[]> bytes;  // null: in the file
    };
    // A group of the file that has been read.
    struct Loaded {
        std::size_t index = 0;
        std::size_t size = 0;
        std::unique_ptr<char[]> bytes;
    };
    struct Current {
        std::size_t first = 0;
        std::size_t rows = 0;
        RowGroup group;
    };

    void seal();
    bool takeMemory(std::size_t size);
    bool enter(std::size_t row) const;
    const char* load(std::size_t index) const;
    void makeRoom(std::size_t size) const;

    OpenGroup open_;
    std::size_t openBytes_ = 0;
    std::size_t sealedRows_ = 0;
    std::size_t bytesInMemory_ = 0;
    std::vector<Group> groups_;
    std::shared_ptr<RowFile> file_ = SharedRowFile::current();
    bool isPaged_ = false;
    mutable Current current_;
    mutable std::vector<Loaded> loaded_;  // the latest last
};

}  // namespace qbsvrl6

#endif
