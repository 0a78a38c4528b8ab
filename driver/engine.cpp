#include "driver/engine.h"

#include <stdexcept>
#include <string>

#include "driver/console.h"

const lkchar* RequireText(const lkchar* text, const char* function) {
    if (!text) throw std::logic_error(std::string(function) + " gave no text");
    return text;
}

tagQBReport* CreateReport() {
    tagQBReport* const report = QBReportCreate();
    if (!report) PrintCreateFailed();
    return report;
}
