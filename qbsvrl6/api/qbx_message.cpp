// QBXReportGetMessageCount, QBXReportGetMessage, QBXReportGetLastError, QBXReportClearMessages,
// QBXGetLastError.
#include "engine/qbsvr_more.h"
#include "qbsvrl6/api/guard.h"
#include "qbsvrl6/api/handles.h"
#include "qbsvrl6/api/structures.h"

using namespace qbsvrl6;

namespace {

int giveMessage(QBXMessage* to, const Message& message) {
    const TextPosition& position = message.place.position;
    return give(to, QBXMessage{0, static_cast<int32_t>(message.severity), position.line, position.column,
                               message.place.file.c_str(), message.text.c_str(), message.code})
               ? 1
               : 0;
}

int giveLastError(QBXMessage* to, const Messages& messages) {
    return messages.lastError() ? giveMessage(to, *messages.lastError()) : 0;
}

}  // namespace

uint64_t QBXReportGetMessageCount(tagQBReport* handle) {
    return withObject(__func__, handle,
                      [](Report& report) -> uint64_t { return runtimeOf(report).messages.all().size(); });
}

int QBXReportGetMessage(tagQBReport* handle, uint64_t index, QBXMessage* message) {
    return withObject(__func__, handle, [&](Report& report) {
        const std::vector<Message>& all = runtimeOf(report).messages.all();
        return index < all.size() ? giveMessage(message, all[static_cast<std::size_t>(index)]) : 0;
    });
}

int QBXReportGetLastError(tagQBReport* handle, QBXMessage* message) {
    return withObject(__func__, handle,
                      [&](Report& report) { return giveLastError(message, runtimeOf(report).messages); });
}

void QBXReportClearMessages(tagQBReport* handle) {
    withObject(__func__, handle, [](Report& report) { runtimeOf(report).messages.clear(); });
}

int QBXGetLastError(QBXMessage* message) {
    return guarded(__func__, 0, [&] { return giveLastError(message, processMessages()); });
}
