// What the handles of the recording engine point at. A report owns all that hangs from it.
#ifndef QBSVR_TESTS_ENGINE_HANDLES_H
#define QBSVR_TESTS_ENGINE_HANDLES_H

#include <cstddef>
#include <deque>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "tests/engine/recorder.h"

namespace quillbrook {

using recording::Books;
using recording::Handle;

struct tagQBRecordset : Handle {
    using Handle::Handle;
    std::u16string query;
};

struct tagQBDetailGrid : Handle {
    tagQBDetailGrid(Books* ownBooks, const std::string& ownName)
        : Handle(ownBooks, ownName), recordset(ownBooks, ownName + ".recordset") {}
    tagQBRecordset recordset;
};

struct tagQBSubReport : Handle {
    using Handle::Handle;
    tagQBReport* report = nullptr;
};

struct tagQBControl : Handle {
    tagQBControl(Books* ownBooks, const std::string& ownName, std::u16string controlName,
                 tagQBControlType controlType)
        : Handle(ownBooks, ownName),
          label(std::move(controlName)),
          type(controlType),
          subReport(ownBooks, ownName + ".sub") {}
    std::u16string label;
    tagQBControlType type;
    tagQBSubReport subReport;
};

// A chart is a control, as QBControlGetName wants it.
struct tagQBChart : tagQBControl {
    using tagQBControl::tagQBControl;
    bool asking = false;
};

struct tagQBControls : Handle {
    using Handle::Handle;
    tagQBReport* report = nullptr;
};

struct tagQBSection : Handle {
    tagQBSection(Books* ownBooks, const std::string& ownName)
        : Handle(ownBooks, ownName), controls(ownBooks, ownName + ".controls") {}
    tagQBControls controls;
};

struct tagQBReportHeaders : Handle {
    using Handle::Handle;
    tagQBReport* report = nullptr;
};

struct Narrowed : Handle {
    Narrowed(tagQBExportOption* whole, Books* ownBooks, const std::string& ownName)
        : Handle(ownBooks, ownName), option(whole) {}
    tagQBExportOption* option;
};
struct tagQBE2CellOption : Narrowed {
    using Narrowed::Narrowed;
};
struct tagQBE2XLSOption : Narrowed {
    using Narrowed::Narrowed;
};
struct tagQBE2IMGOption : Narrowed {
    using Narrowed::Narrowed;
};
struct tagQBE2PDFOption : Narrowed {
    using Narrowed::Narrowed;
};

struct tagQBExportOption : Handle {
    tagQBExportOption(Books* ownBooks, const std::string& ownName, tagQBExportType exportType)
        : Handle(ownBooks, ownName),
          type(exportType),
          cell(this, ownBooks, ownName + ".cell"),
          xls(this, ownBooks, ownName + ".xls"),
          img(this, ownBooks, ownName + ".img"),
          pdf(this, ownBooks, ownName + ".pdf") {}
    tagQBExportType type;
    bool open = true;
    tagQBE2CellOption cell;
    tagQBE2XLSOption xls;
    tagQBE2IMGOption img;
    tagQBE2PDFOption pdf;
};

struct tagQBBinaryObject : Handle {
    using Handle::Handle;
    bool valid = true;
    std::string bytes;
};

struct tagQBPrinter : Handle {
    using Handle::Handle;
    std::u16string printerName = u"recording printer";
};

struct tagQBFont : Handle {
    using Handle::Handle;
};

struct tagQBUtility : Handle {
    using Handle::Handle;
};

struct tagQBReport : Handle {
    tagQBReport(Books* ownBooks, const std::string& ownName, bool createdByCaller)
        : Handle(ownBooks, ownName),
          created(createdByCaller),
          headers(ownBooks, ownName + ".headers"),
          printer(ownBooks, ownName + ".printer"),
          font(ownBooks, ownName + ".font"),
          utility(ownBooks, ownName + ".utility") {
        headers.report = this;
    }

    bool created;
    std::string path;
    std::u16string query;
    std::unique_ptr<tagQBDetailGrid> grid;
    std::deque<tagQBControl> controls;
    std::deque<tagQBChart> charts;
    std::vector<std::unique_ptr<tagQBReport>> subReports;
    std::size_t walk = 0;
    std::deque<tagQBSection> sections;
    tagQBReportHeaders headers;
    tagQBPrinter printer;
    tagQBFont font;
    tagQBUtility utility;
    // Options and objects stay behind their end, so that later calls with them are seen.
    std::deque<tagQBExportOption> options;
    std::deque<tagQBBinaryObject> objects;
    std::unique_ptr<CqbExportEventInfo> exportBegin;
    std::unique_ptr<CqbGeneralEventInfo> initialize;
    std::unique_ptr<CqbChartEventInfo> chartRequestData;

    bool Prepared() const { return !options.empty() && options.back().open; }

    tagQBControl* AddControl(tagQBControlType type) {
        tagQBControl& control = controls.emplace_back(
            books, name + ".control" + std::to_string(controls.size() + 1), u"control", type);
        if (type == QBControlType_SubReport) {
            subReports.push_back(std::make_unique<tagQBReport>(
                books, name + ".sub" + std::to_string(subReports.size() + 1), false));
            control.subReport.report = subReports.back().get();
        }
        return &control;
    }

    void Fill(const recording::Template& content) {
        query = content.query;
        grid.reset();
        controls.clear();
        charts.clear();
        subReports.clear();
        sections.clear();
        if (content.hasGrid) {
            grid = std::make_unique<tagQBDetailGrid>(books, name + ".grid");
            grid->recordset.query = content.gridQuery;
        }
        AddControl(QBControlType_StaticText);
        for (const recording::Template& inner : content.subReports) {
            AddControl(QBControlType_SubReport)->subReport.report->Fill(inner);
        }
        for (const std::u16string& chart : content.charts) {
            charts.emplace_back(books, name + ".chart" + std::to_string(charts.size() + 1), chart,
                                QBControlType_Chart);
        }
    }

    // What a load, an export or the end of one makes of the bytes handed out before.
    void EndObjects() {
        for (tagQBBinaryObject& object : objects) {
            object.valid = false;
            std::string().swap(object.bytes);
        }
    }

    // Runs the handlers as an export does; null when this export was told to fail.
    tagQBBinaryObject* Export(const char* function, tagQBExportOption& option) {
        EndObjects();
        if (initialize) initialize->Execute();
        if (exportBegin) exportBegin->Execute(&option);
        for (tagQBChart& chart : charts) {
            chart.asking = true;
            if (chartRequestData) chartRequestData->Execute(&chart);
            chart.asking = false;
        }
        if (recording::Fails(function, path)) return nullptr;
        tagQBBinaryObject& object =
            objects.emplace_back(books, name + ".object" + std::to_string(objects.size() + 1));
        object.bytes = "type " + std::to_string(option.type) + " of " + path;
        return &object;
    }

    tagQBExportOption& AddOption(tagQBExportType type) {
        return options.emplace_back(books, name + ".option" + std::to_string(options.size() + 1), type);
    }

    tagQBBinaryObject* ExportDirect(const char* function, tagQBExportType type) {
        if (Prepared()) books->Violation(name + ": direct export inside a prepared one");
        tagQBExportOption& option = AddOption(type);
        tagQBBinaryObject* object = Export(function, option);
        option.open = false;
        return object;
    }
};

}  // namespace quillbrook

#endif
