// A report that is released at the end of the scope, unless it was only wrapped.
#ifndef QBSVR_ENGINE_REPORT_HANDLE_H
#define QBSVR_ENGINE_REPORT_HANDLE_H

#include "engine/qbsvr.h"

namespace quillbrook {

// The two fields, in this order and with no virtual functions, are part of the interface.
class CQBReportHandle {
public:
    // Creates a report; `m_report` is null if that fails.
    CQBReportHandle() : m_owned(true), m_report(QBReportCreate()) {}
    // Wraps a report that its owner releases.
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
