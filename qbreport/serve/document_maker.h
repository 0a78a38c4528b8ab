// Makes documents in a worker process.
#ifndef QBSVR_QBREPORT_SERVE_DOCUMENT_MAKER_H
#define QBSVR_QBREPORT_SERVE_DOCUMENT_MAKER_H

#include <sys/stat.h>

#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "qbreport/kept_messages.h"
#include "qbreport/report.h"
#include "qbreport/serve/document_request.h"
#include "qbreport/serve/template_folder.h"

namespace qbreport {

class DocumentMaker {
public:
    // `folder` is the working directory, so that messages name files from there.
    explicit DocumentMaker(const TemplateFolder& folder);

    // The answer and its document are valid until the next call.
    DocumentAnswer make(const DocumentRequest& request);

private:
    struct Loaded {
        explicit Loaded(const std::string& folder) : messages(folder), report(messages) {}
        KeptMessages messages;
        Report report;
        struct stat status {};
        // The files of libraries that the template includes, as they were when it was loaded.
        std::vector<std::pair<std::string, struct stat>> libraries;

        void noteLibraries();
        bool hasOtherLibraries() const;
    };

    Loaded& load(const DocumentRequest& request);
    void render(const DocumentRequest& request, Loaded& loaded, DocumentAnswer& answer);
    static void requireData(const DocumentRequest& request, const Report& report);
    void tidy();

    const TemplateFolder& folder_;
    std::map<std::string, std::unique_ptr<Loaded>> loaded_;  // by path
    std::string path_;                                       // of the template that was used last
    NamedValues parameters_;                                 // that it got
    bool isReusable_ = false;
};

// Answers the requests that arrive at a socket, until it is closed.
void makeDocuments(const TemplateFolder& folder, int socket);

}  // namespace qbreport

#endif
