#include "qbsvrl6/support/messages.h"

#include <utility>

#include "qbsvrl6/support/limits.h"

namespace qbsvrl6 {

namespace {

thread_local MessagesScope* innermost = nullptr;

}  // namespace

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
