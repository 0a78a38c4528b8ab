// Messages for those who ask over HTTP.
#ifndef QBSVR_QBREPORT_KEPT_MESSAGES_H
#define QBSVR_QBREPORT_KEPT_MESSAGES_H

#include <cstddef>
#include <string>

#include "qbreport/messages.h"

namespace qbreport {

// Messages that are kept as JSON, and written nowhere. Paths of the service's own folder are left out.
class KeptMessages : public Messages {
public:
    // `folder`: with a slash at its end; empty: all paths are shown.
    explicit KeptMessages(std::string folder);
    // Elements of an array.
    const std::string& json() const { return json_; }
    // Removes the messages so far.
    void forget();
    std::size_t warningsSince() const { return warnings() - forgotten_; }

private:
    void show(const Message& message) override;

    std::string folder_;
    std::string json_;
    std::size_t count_ = 0;
    std::size_t forgotten_ = 0;  // warnings
};

}  // namespace qbreport

#endif
