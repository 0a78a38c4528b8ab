#include "driver/barcode_samples.h"

#include <cstdio>

#include "driver/engine_text.h"
#include "json/json_tree.h"

using namespace larkspur;
using namespace quillbrook;

namespace {

constexpr int kUtf8CodePage = 65001;

// Written with its members in the order of their names, whatever the order here.
lkstr BarcodeRequest(tagQBBarcodeType type, const wchar_t* text) {
    ClkObjectJson request;
    ClkJsonObjectNode& root = request.Root();
    root.AddIntegerMember(u"type", type);
    root.AddStringMember(u"text", lkstr_fromw(text).c_str());
    root.AddIntegerMember(u"codepage", kUtf8CodePage);
    root.AddBooleanMember(u"requireShowText", true);
    return request.Stringify(nullptr);
}

}  // namespace

wstr GenBarcodeGraphText(tagQBBarcodeType type, const wchar_t* text) {
    const lkstr request = BarcodeRequest(type, text);
    const lkstr graph = RequireText(QBGenerateBarcodeGraph(request.c_str()), "QBGenerateBarcodeGraph");
    std::printf("params=%s, graph=%s\n", UnicodeTextToPrintf(request).c_str(),
                UnicodeTextToPrintf(graph).c_str());
    return lkstr_tow(graph.c_str());
}

void TestBarcode() {
    GenBarcodeGraphText(QBBarcodeType_Digits, L"123456");
    GenBarcodeGraphText(QBBarcodeType_AppIdentifier, L"190419");
    GenBarcodeGraphText(QBBarcodeType_AppIdentifier, L"(11)190419");
    GenBarcodeGraphText(QBBarcodeType_LongText52,
                        L"Quillbrook 可用于C/S报表与WEB报表，开发桌面报表与WEB报表共享相同的开发知识与资源");
    GenBarcodeGraphText(
        QBBarcodeType_LongText50,
        L"Quillbrook 可用于开发桌面C/S报表与WEB报表(B/S报表)，开发桌面报表与WEB报表共享相同的开发知识与资源");
    GenBarcodeGraphText(QBBarcodeType_LongText51, L"Quillbrook is the best report tools,larkspur(2003-2010)");
    for (const tagQBBarcodeType type : {QBBarcodeType_AppIdentifier53, QBBarcodeType_AppIdentifier54}) {
        GenBarcodeGraphText(type, L"(01)03453120000011(17)120508(10)ABCD1234(410)9501101020917");
    }
    GenBarcodeGraphText(QBBarcodeType_AppIdentifier,
                        L"(01)26932992101633(11)190419(17)220410(91)09A(21)0001");
}

void DoTestFormat(tagQBUtility* utility, double value, const wchar_t* format) {
    const lkstr formatText = lkstr_fromw(format);
    const str result = UnicodeTextToPrintf(
        RequireText(QBUtilityNumberFormat(utility, formatText.c_str(), value), "QBUtilityNumberFormat"));
    std::printf("%f foramtted by %s is %s\n", value, UnicodeTextToPrintf(formatText).c_str(), result.c_str());
}

void TestFormat() {
    tagQBReport* report = QBReportCreate();
    DoTestFormat(QBReportGetUtility(report), 0.0, L"#,##0.00;;#");
    QBReportRelease(report);
}
