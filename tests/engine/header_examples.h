// The examples in the comments of the headers in engine/, converted to functions at configuration.
#ifndef QBSVR_TESTS_ENGINE_HEADER_EXAMPLES_H
#define QBSVR_TESTS_ENGINE_HEADER_EXAMPLES_H

#include <vector>

#include "engine/qbsvr.h"

struct HeaderExample {
    const char* header;
    int line;
    void (*run)(quillbrook::tagQBReport* report);
};

extern const std::vector<HeaderExample> kHeaderExamples;

#endif
