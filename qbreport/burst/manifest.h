// The manifest: a JSON object that describes the run, and then one per document, each on a line of its own.
#ifndef QBSVR_QBREPORT_BURST_MANIFEST_H
#define QBSVR_QBREPORT_BURST_MANIFEST_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "qbreport/burst/descriptor.h"

namespace qbreport {

// A document that is finished.
struct Entry {
    std::string key;
    std::string file;          // its name within the folder of the documents, or within the archive
    std::uint64_t offset = 0;  // of its bytes in the archive
    std::uint64_t bytes = 0;
    std::string digest;
    std::uint64_t pages = 0;
    std::uint64_t at = 0;  // as Document::at
    std::uint64_t rows = 0;
    std::string data;   // the digest of its rows
    std::string total;  // "1234.50"; empty: none
    std::vector<std::string> warnings;

    // One line of JSON. `hasOffset`: the document is in an archive.
    std::string line(bool hasOffset) const;
    // Nothing for a line that is torn, or is none of a document.
    static std::optional<Entry> read(const std::string& line);
};

// The members of a JSON object with their values as JSON text; empty for what is no object.
std::vector<std::pair<std::string, std::string>> membersOf(const std::string& json);
// A JSON string as a text.
std::string textOf(const std::string& json);
// The value of a member; empty: it has none.
std::string memberOf(const std::string& json, std::string_view name);

// Reads the lines of a manifest. A torn last line ends it.
class ManifestReader {
public:
    // A file that does not exist has no lines.
    explicit ManifestReader(const std::string& path);

    const std::string& path() const { return path_; }
    const std::string& head() const { return head_; }
    bool next(Entry& entry);
    // The text of the last entry.
    const std::string& line() const { return line_; }
    // Where the last entry ends in the file.
    std::uint64_t offset() const { return offset_; }

private:
    bool readLine(std::string& line);

    std::string path_;
    Descriptor file_;
    std::string text_;
    std::size_t begin_ = 0;
    std::uint64_t readTo_ = 0;
    std::uint64_t offset_ = 0;
    std::string head_;
    std::string line_;
};

// Several manifests of one run as one, in the order of the data. Of entries for one document, the first
// manifest counts.
class MergedManifests {
public:
    void add(const std::string& path);
    // Returns false at the end.
    bool next(Entry& entry);

private:
    struct Input {
        ManifestReader reader;
        Entry entry;
        bool hasEntry = false;
    };
    std::vector<Input> inputs_;
};

// Appends to a manifest. Lines reach the disk in batches.
class ManifestWriter {
public:
    // Continues a file after `size` bytes; 0: begins anew with the head.
    ManifestWriter(const std::string& path, const std::string& head, std::uint64_t size);
    void add(const std::string& line);
    // Writes what is waiting. `isSafe`: it also survives a loss of power.
    void flush(bool isSafe);

private:
    std::string path_;
    Descriptor file_;
    std::string waiting_;
};

}  // namespace qbreport

#endif
