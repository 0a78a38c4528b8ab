// Owning wrapper of a report: releases on scope exit what it created, and nothing that it only wraps.
#ifndef QBSVR_ENGINE_REPORT_HANDLE_H
#define QBSVR_ENGINE_REPORT_HANDLE_H

#include "engine/qbsvr.h"

namespace quillbrook {

// The two fields, in this order and with no virtual functions, are part of the interface.
class CQBReportHandle {
public:
    // Creates a report of its own; `m_report` is null when that fails.
    CQBReportHandle() : m_owned(true), m_report(QBReportCreate()) {}
    // Wraps a report that somebody else releases.
    explicit CQBReportHandle(tagQBReport* report) : m_owned(false), m_report(report) {}
    ~CQBReportHandle() {
        if (m_owned) QBReportRelease(m_report);
    }
    CQBReportHandle(const CQBReportHandle&) = delete;
    CQBReportHandle& operator=(const CQBReportHandle&) = delete;

    bool m_owned;
    tagQBReport* m_report;
};

}  // namespace quillbrook

#endif
