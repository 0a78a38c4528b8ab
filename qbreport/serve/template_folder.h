// The templates below one folder, by names that cannot lead out of it.
#ifndef QBSVR_QBREPORT_SERVE_TEMPLATE_FOLDER_H
#define QBSVR_QBREPORT_SERVE_TEMPLATE_FOLDER_H

#include <sys/stat.h>

#include <optional>
#include <string>
#include <vector>

#include "qbreport/descriptor.h"

namespace qbreport {

struct TemplateFile {
    std::string path;  // from the folder: "eu/invoice.qbf"
    Descriptor file;
    struct stat status {};
};

class TemplateFolder {
public:
    // The path is made absolute. Raises Failure.
    explicit TemplateFolder(const std::string& path);

    int number() const { return folder_.number(); }
    const std::string& path() const { return path_; }
    // "eu/invoice" and "eu/invoice.qbf" are one template. Nothing, if there is none of the name, or if the
    // name or a symbolic link leads out of the folder.
    std::optional<TemplateFile> find(const std::string& name) const;
    // In alphabetical order, without the extension. Symbolic links to folders are not followed.
    std::vector<std::string> names() const;

private:
    std::string path_;
    Descriptor folder_;
};

}  // namespace qbreport

#endif
