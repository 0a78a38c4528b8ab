// The examples in the comments of engine/qbsvr.h, made into functions when the build is configured.
#ifndef QBSVR_TESTS_ENGINE_HEADER_EXAMPLES_H
#define QBSVR_TESTS_ENGINE_HEADER_EXAMPLES_H

#include <vector>

#include "engine/qbsvr.h"

struct HeaderExample {
    int line;  // of the header
    void (*run)(quillbrook::tagQBReport* report);
};

extern const std::vector<HeaderExample> kHeaderExamples;

#endif
