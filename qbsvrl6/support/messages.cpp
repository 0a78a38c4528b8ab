#include "qbsvrl6/support/messages.h"

#include <utility>

#include "qbsvrl6/support/limits.h"

namespace qbsvrl6 {

namespace {

thread_local MessagesScope* innermost = nullptr;

}  // namespace

const char* codeName(ErrorCode code) {
    switch (code) {
        case ErrorCode::FileNotFound:
            return "file-not-found";
        case ErrorCode::FileUnreadable:
            return "file-unreadable";
        case ErrorCode::FileUnwritable:
            return "file-unwritable";
        case ErrorCode::NotXml:
            return "not-xml";
        case ErrorCode::UnknownVersion:
            return "unknown-version";
        case ErrorCode::BadTemplate:
            return "bad-template";
        case ErrorCode::BadExpression:
            return "bad-expression";
        case ErrorCode::BadData:
            return "bad-data";
        case ErrorCode::BadEncoding:
            return "bad-encoding";
        case ErrorCode::BadPicture:
            return "bad-picture";
        case ErrorCode::FetchFailed:
            return "fetch-failed";
        case ErrorCode::LimitExceeded:
            return "limit";
        case ErrorCode::BudgetExceeded:
            return "budget";
        case ErrorCode::NotAllowed:
            return "not-allowed";
        case ErrorCode::Cancelled:
            return "cancelled";
        case ErrorCode::NotSupported:
        case ErrorCode::MissingLibrary:
            return "not-supported";
        case ErrorCode::Internal:
            return "internal";
    }
    return "";
}

Messages::~Messages() {
    for (MessagesScope* scope = innermost; scope != nullptr; scope = scope->outer_) {
        if (scope->messages_ == this) scope->messages_ = nullptr;
    }
}

void Messages::add(Message message) {
    if (message.severity == Severity::Error) {
        ++errorCount_;
        lastError_ = message;
    }
    if (all_.size() < limits::kKeptMessages) all_.push_back(std::move(message));
}

void Messages::clear() {
    all_.clear();
    lastError_.reset();
    errorCount_ = 0;
}

Messages* Messages::current() noexcept { return innermost == nullptr ? nullptr : innermost->messages_; }

MessagesScope::MessagesScope(Messages& messages) noexcept : messages_(&messages), outer_(innermost) {
    innermost = this;
}

MessagesScope::~MessagesScope() { innermost = outer_; }

}  // namespace qbsvrl6
