// The names of documents: a pattern such as "out/{Branch}/{Account}.pdf", or an archive.
#ifndef QBSVR_QBREPORT_BURST_OUTPUT_NAMES_H
#define QBSVR_QBREPORT_BURST_OUTPUT_NAMES_H

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace qbreport {

class OutputNames {
public:
    // `output`: of the command line; `key`: the column by which data is divided; `format`: empty if it is
    // named by an extension only. Raises WrongUse.
    OutputNames(const std::string& output, const std::string& key, const std::string& format);

    // The folder of the documents, or of the archive; "" or with a final slash.
    const std::string& folder() const { return folder_; }
    // The documents have been moved, with their folder.
    void moveTo(const std::string& folder);
    bool isArchive() const { return !archive_.empty(); }
    // The path of the archive: "out/statements.tar".
    const std::string& archive() const { return archive_; }
    const std::string& format() const { return format_; }

    // The columns in the pattern.
    std::vector<std::string> columns() const;
    // The name within the folder or archive. `values` are those of `columns`.
    std::string nameOf(const std::vector<std::string>& columns, const std::vector<std::string>& values) const;
    // Whether different keys always have different names.
    bool isOneToOne(const std::string& key) const;

private:
    struct Part {
        std::string text;
        bool isColumn = false;
    };
    void parse(std::string_view pattern);

    std::string folder_;
    std::string archive_;
    std::string format_;
    std::vector<Part> parts_;
};

// The value as a part of a file's name. Characters that would lead to another folder, that a file system does
// not allow or that are no UTF-8 are written like "%2F", so that different values have different names.
std::string safeName(std::string_view value);

}  // namespace qbreport

#endif
