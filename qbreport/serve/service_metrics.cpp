#include "qbreport/serve/service_metrics.h"

#include <algorithm>
#include <charconv>

namespace qbreport {

namespace {

// The shortest text of the number.
std::string shown(double number) {
    char text[32];
    return {text, std::to_chars(text, text + sizeof text, number).ptr};
}

class MetricsText {
public:
    void begin(const std::string& name, const char* type, const char* help) {
        name_ = "qbreport_" + name;
        text_ += "# HELP " + name_ + " " + help + "\n# TYPE " + name_ + " " + type + "\n";
    }
    void add(const std::string& value, const std::string& suffix = "") {
        text_ += name_ + suffix + " " + value + "\n";
    }
    void addOne(const std::string& name, const char* type, const char* help, std::uint64_t value) {
        begin(name, type, help);
        add(std::to_string(value));
    }
    void addAll(const std::string& name, const char* help, const char* label,
                const std::map<std::string, std::uint64_t>& values) {
        begin(name, "counter", help);
        for (const auto& [key, value] : values) {
            add(std::to_string(value), "{" + std::string(label) + "=\"" + key + "\"}");
        }
    }
    const std::string& text() const { return text_; }

private:
    std::string name_;
    std::string text_;
};

}  // namespace

void ServiceMetrics::addDocument(const std::string& format, std::uint64_t pages, std::size_t received,
                                 std::size_t sent, std::chrono::duration<double> time) {
    const auto bucket = std::lower_bound(kBuckets.begin(), kBuckets.end(), time.count()) - kBuckets.begin();
    const std::scoped_lock lock(mutex_);
    ++documents_[format];
    ++times_.at(static_cast<std::size_t>(bucket));
    seconds_ += time.count();
    pages_ += pages;
    received_ += received;
    sent_ += sent;
}

void ServiceMetrics::addFailure(const std::string& reason) {
    const std::scoped_lock lock(mutex_);
    ++failures_[reason];
}

std::string ServiceMetrics::text(const Gauges& gauges) const {
    MetricsText to;
    const std::scoped_lock lock(mutex_);
    to.addAll("documents_total", "Documents that were made.", "format", documents_);
    to.addAll("failures_total", "Requests for documents that failed.", "reason", failures_);
    to.begin("document_seconds", "histogram", "From a request with its body to its document.");
    std::uint64_t sum = 0;
    for (std::size_t i = 0; i < times_.size(); ++i) {
        sum += times_.at(i);
        const std::string limit = i < kBuckets.size() ? shown(kBuckets.at(i)) : "+Inf";
        to.add(std::to_string(sum), "_bucket{le=\"" + limit + "\"}");
    }
    to.add(shown(seconds_), "_sum");
    to.add(std::to_string(sum), "_count");
    to.addOne("pages_total", "counter", "Pages of the documents.", pages_);
    to.addOne("received_bytes_total", "counter", "Data of the documents.", received_);
    to.addOne("document_bytes_total", "counter", "Bytes of the documents.", sent_);
    to.addOne("workers", "gauge", "Worker processes.", gauges.workers.workers);
    to.addOne("workers_busy", "gauge", "Worker processes that make a document.", gauges.workers.busy);
    to.addOne("workers_lost_total", "counter", "Worker processes that were killed or died.",
              gauges.workers.killed);
    to.addOne("queue", "gauge", "Requests that wait for a worker.", gauges.workers.waiting);
    to.addOne("connections", "gauge", "Open connections.", gauges.connections);
    to.addOne("buffered_bytes", "gauge", "Bodies and documents in memory.", gauges.bufferedBytes);
    return to.text();
}

}  // namespace qbreport
