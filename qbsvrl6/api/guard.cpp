#include "qbsvrl6/api/guard.h"

#include <exception>
#include <new>
#include <string>

#include "qbsvrl6/support/log.h"
#include "qbsvrl6/template/template_io.h"

namespace qbsvrl6 {

namespace {

void logFailure(std::string_view function, std::string_view cause) noexcept {
    try {
        logError(std::string(function) + ": " + std::string(cause));
    } catch (const std::bad_alloc&) {
        logError("out of memory");
    }
}

}  // namespace

void logCaughtException(std::string_view function) noexcept {
    try {
        throw;
    } catch (const std::bad_alloc&) {
        logFailure(function, "out of memory");
    } catch (const TemplateError& failure) {
        for (const EngineError& error : failure.errors()) logFailure(function, error.what());
    } catch (const std::exception& error) {
        logFailure(function, error.what());
    } catch (...) {
        logFailure(function, "unknown failure");
    }
}

}  // namespace qbsvrl6
