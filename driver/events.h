// Event handlers that the driver attaches to reports. A handler is made with `new` just before it is attached
// and belongs to the report from then on.
#ifndef QBSVR_DRIVER_EVENTS_H
#define QBSVR_DRIVER_EVENTS_H

#include "driver/driver_types.h"

// Images come out with all pages in one.
class CqbExportBeginEventInfo : public quillbrook::CqbExportEventInfo {
public:
    void Execute(tagQBExportOption* option) override;
};

// PDF comes out with its fonts embedded.
class CqbExportBeginEventInfo2 : public quillbrook::CqbExportEventInfo {
public:
    void Execute(tagQBExportOption* option) override;
};

// Spreadsheets come out as .xlsx, also from an export that has no step at which to set options.
class CqbExportBeginEventXLSX : public quillbrook::CqbExportEventInfo {
public:
    void Execute(tagQBExportOption* option) override;
};

// Says that it was called.
class CqbInitializeEventInfo : public quillbrook::CqbGeneralEventInfo {
public:
    void Execute() override;
};

#endif
