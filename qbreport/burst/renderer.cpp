#include "qbreport/burst/renderer.h"

#include <algorithm>
#include <filesystem>

#include "qbreport/failure.h"
#include "qbreport/interrupt.h"

namespace qbreport {

namespace {

int continues(void*, const QBXProgress*) { return isInterrupted() ? 0 : 1; }

}  // namespace

Renderer::Renderer(const RenderPlan& plan) : plan_(plan), report_(QBReportCreate()) {
    if (report_ == nullptr) throw std::bad_alloc();
    QBXReportSetProgress(report_, continues, nullptr);
    bool isLoaded = QBXReportLoadTemplate(report_, plan.templateBytes.data(), plan.templateBytes.size(),
                                          plan.templateFile.c_str()) != 0;
    for (const auto& [name, value] : plan.parameters) {
        isLoaded = isLoaded && QBXReportSetParameter(report_, name.c_str(), value.c_str()) != 0;
    }
    if (isLoaded && !plan.connection.empty()) {
        const std::u16string connection = std::filesystem::path(plan.connection).u16string();
        QBReportSetConnectionString(report_, connection.c_str());
    }
    Rendered messages;
    takeMessages(messages);
    if (isLoaded) return;
    QBReportRelease(report_);
    throw Failure(messages.errors.empty() ? "the template cannot be loaded" : messages.errors.front());
}

Renderer::~Renderer() { QBReportRelease(report_); }

Rendered Renderer::render(const Document& document) {
    Rendered rendered;
    QBReportUnprepareExport(report_);
    rendered.isMade = load(document) && run(rendered);
    takeMessages(rendered);
    rendered.isMade = rendered.isMade && rendered.errors.empty();
    return rendered;
}

bool Renderer::load(const Document& document) {
    if (plan_.isKeyList) {
        for (std::size_t i = 0; i < plan_.columnNames.size(); ++i) {
            const bool isSet =
                QBXReportSetParameter(report_, plan_.columnNames[i].c_str(), document.values[i].c_str()) != 0;
            if (!isSet) return false;
        }
        return true;
    }
    const std::string& data = dataOf(document);
    return QBXReportLoadData(report_, plan_.dataKind.c_str(), data.data(), data.size(),
                             plan_.dataName.c_str()) != 0;
}

const std::string& Renderer::dataOf(const Document& document) {
    if (plan_.dataHead.empty()) return document.data;
    (data_ = plan_.dataHead) += document.data;
    if (plan_.dataTail.empty()) return data_;
    std::replace(data_.begin() + static_cast<std::ptrdiff_t>(plan_.dataHead.size()), data_.end(), '\n', ',');
    data_.back() = ' ';  // after the last row
    return data_ += plan_.dataTail;
}

bool Renderer::run(Rendered& rendered) {
    bool isPrepared = QBXReportPrepareExport(report_, plan_.format.c_str()) != 0;
    for (const auto& [name, value] : plan_.exportOptions.values()) {
        isPrepared = isPrepared && QBXReportSetExportOption(report_, name.c_str(), value.c_str()) != 0;
    }
    const void* bytes = nullptr;
    std::uint64_t size = 0;
    if (!isPrepared || QBXReportExportToMemory(report_, &bytes, &size) == 0) return false;
    rendered.bytes = {static_cast<const char*>(bytes), static_cast<std::size_t>(size)};
    rendered.pages = QBXReportGetPageCount(report_);
    return true;
}

void Renderer::takeMessages(Rendered& rendered) {
    const std::uint64_t count = QBXReportGetMessageCount(report_);
    for (std::uint64_t i = 0; i < count; ++i) {
        QBXMessage message{};
        message.size = sizeof message;
        if (QBXReportGetMessage(report_, i, &message) == 0) break;
        std::string text = message.text;
        if (*message.file != '\0') {
            std::string place = message.file;
            if (message.line > 0) place += ":" + std::to_string(message.line);
            if (message.line > 0 && message.column > 0) place += ":" + std::to_string(message.column);
            text.insert(0, place + ": ");
        }
        if (message.severity == QBXSeverity_Error) rendered.errors.push_back(text);
        if (message.severity == QBXSeverity_Warning) rendered.warnings.push_back(text);
    }
    QBXReportClearMessages(report_);
}

}  // namespace qbreport
