// What the service counts, in the text format of Prometheus.
#ifndef QBSVR_QBREPORT_SERVE_SERVICE_METRICS_H
#define QBSVR_QBREPORT_SERVE_SERVICE_METRICS_H

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <mutex>
#include <string>

#include "qbreport/workers/worker_pool.h"

namespace qbreport {

class ServiceMetrics {
public:
    void addDocument(const std::string& format, std::uint64_t pages, std::size_t received, std::size_t sent,
                     std::chrono::duration<double> time);
    // `reason`: one of a few words.
    void addFailure(const std::string& reason);

    struct Gauges {
        WorkerPool::Figures workers;
        std::size_t connections = 0;
        std::size_t bufferedBytes = 0;
    };
    std::string text(const Gauges& gauges) const;

private:
    // Seconds; the last bucket has no limit.
    static constexpr std::array kBuckets{0.005, 0.01, 0.025, 0.05, 0.1, 0.25, 0.5, 1.0, 2.5, 5.0, 10.0, 30.0};

    mutable std::mutex mutex_;
    std::map<std::string, std::uint64_t> documents_;
    std::map<std::string, std::uint64_t> failures_;
    std::array<std::uint64_t, kBuckets.size() + 1> times_{};
    double seconds_ = 0;
    std::uint64_t pages_ = 0;
    std::uint64_t received_ = 0;
    std::uint64_t sent_ = 0;
};

}  // namespace qbreport

#endif
