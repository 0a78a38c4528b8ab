#include "qbsvrl6/api/report_files.h"

#include <filesystem>
#include <optional>
#include <set>
#include <system_error>
#include <utility>
#include <variant>

#include "qbsvrl6/api/report_data.h"
#include "qbsvrl6/api/runtime.h"
#include "qbsvrl6/bind/text_template.h"
#include "qbsvrl6/fonts/font_library.h"
#include "qbsvrl6/model/connection.h"
#include "qbsvrl6/support/ascii.h"
#include "qbsvrl6/support/reach.h"
#include "qbsvrl6/support/utf.h"
#include "qbsvrl6/template/contents.h"

namespace qbsvrl6 {

namespace {

class FileList {
public:
    // `connection` is that of the report around. `readsData`: no program has given the report its data.
    void add(ReportDefinition& report, const std::u16string& connection, bool readsData) {
        const std::u16string own = connectionOf(report.data, connection);
        if (readsData) {
            addData(report.data, own);
            if (report.grid) addData(report.grid->recordset, connectionOf(report.grid->recordset, own));
        }
        for (const Include& include : report.includes) {
            addAddress("library", include.href);
            for (const Address& inner : include.library->files) addAddress("library", inner);
        }
        addAddress("picture", report.backgroundPicture);
        for (const NamedPage& page : report.namedPages) addAddress("picture", page.background);
        for (const Attachment& attachment : report.pdf.attachments)
            addSource("attachment", attachment.source, attachment.folder);
        for (const Control* const control : allControls(report)) {
            const auto* const picture = std::get_if<PictureContent>(&control->content);
            if (picture != nullptr) addSource("picture", picture->source, picture->folder);
        }
        forEachSubReport(report, [&](Control&, Report& inner) { add(inner.definition, own, true); });
    }

    void addFonts(const std::u16string& family) {
        for (const bool bold : {false, true}) {
            for (const bool italic : {false, true}) {
                const FontSet& fonts = resolveFont(family, bold, italic);
                for (std::size_t i = 0; const FontSet::Member* const member = fonts.member(i); ++i)
                    addFile("font", family, member->face->file);
            }
        }
    }

    std::vector<ReportItem> take() { return std::move(items_); }

private:
    static std::u16string connectionOf(const DataSource& source, const std::u16string& outer) {
        return source.connection.empty() ? outer : source.connection.name;
    }

    void addData(const DataSource& source, const std::u16string& connection) {
        const std::optional<ConnectionParts> parts = connectionParts(connection);
        if (!connection.empty() && (!parts || parts->readsSql())) return;
        addAddress("data", source.query);
    }

    // A text with placeholders names no file yet. Pictures may also be Base64 or data URLs.
    void addSource(const char* type, const std::u16string& source, const Address& folder) {
        constexpr std::size_t kLongestName = 4096;
        if (source.empty() || source.size() > kLongestName) return;
        try {
            const TextTemplate text = TextTemplate::parse(source);
            if (!text.isConstant()) return;
            Address address = folder;
            address.folder = folderAt(folder);
            address.name.clear();
            for (const TextPart& part : text.parts) address.name += part.literal;
            addAddress(type, address);
        } catch (const EngineError&) {  // NOLINT(bugprone-empty-catch): an export reports what is wrong
        }
    }

    void addAddress(const char* type, const Address& address) {
        if (address.empty() || isWebAddress(address.name)) return;
        try {
            addFile(type, address.name, reachablePath(address).path);
        } catch (const EngineError&) {  // NOLINT(bugprone-empty-catch): as above
        }
    }

    void addFile(const char* type, const std::u16string& name, const std::string& path) {
        std::error_code error;
        if (!std::filesystem::is_regular_file(path, error) || !known_.insert(path).second) return;
        ReportItem& item = items_.emplace_back();
        item.name = toUtf8(name);
        item.type = type;
        item.value = path;
    }

    std::vector<ReportItem> items_;
    std::set<std::string> known_;  // paths
};

}  // namespace

std::vector<ReportItem> filesOf(Runtime& runtime) {
    ReportDefinition& report = runtime.report.definition;
    FileList files;
    files.add(report, {}, runtime.loadedData == nullptr);
    const auto fonts = contentsOf(report).fonts;
    for (const Mention& mention : fonts) files.addFonts(mention.name);
    if (!report.font.fontFamily) files.addFonts(ResolvedStyle().fontFamily);
    return files.take();
}

}  // namespace qbsvrl6
