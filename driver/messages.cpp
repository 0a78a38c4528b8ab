#include "driver/messages.h"

#include <cstdio>

using larkspur::UnicodeTextToPrintf;

namespace {

const char* OutcomeWord(bool succeeded) { return succeeded ? "成功" : "失败"; }

}  // namespace

void PrintCreateFailed() { std::puts("Create report failed, please view log file to find reason."); }

void PrintTemplateLoadFailed(const lkstr& templateFile) {
    std::printf("载入报表模板文件 %s 失败。\n", UnicodeTextToPrintf(templateFile).c_str());
}

void PrintDataLoadFailed(const lkstr& dataFile) {
    std::printf("载入报表数据文件 %s 失败。\n", UnicodeTextToPrintf(dataFile).c_str());
}

void PrintTemplateLoaded(const lkstr& templateFile, bool succeeded) {
    std::printf("载入报表模板文件 %s %s\n", UnicodeTextToPrintf(templateFile).c_str(),
                OutcomeWord(succeeded));
}

void PrintTemplateSaved(const lkstr& templateFile, bool succeeded) {
    std::printf("保存报表模板文件 %s %s\n", UnicodeTextToPrintf(templateFile).c_str(),
                OutcomeWord(succeeded));
}
