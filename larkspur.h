// larkspur: 16-bit text, conversions, memory and streams, files, JSON and the format language.
//
// This header includes every public header of the library. All names are in namespace larkspur.
//
//     larkspur::lkstr text = larkspur::FormatNumber(1234567.891, u"#,##0.00");   // 1,234,567.89
//     std::puts(larkspur::UnicodeTextToPrintf(text).c_str());
#ifndef LARKSPUR_H
#define LARKSPUR_H

#endif
