#include "qbsvrl6/api/guard.h"

#include <exception>
#include <new>

#include "qbsvrl6/support/log.h"
#include "qbsvrl6/template/template_io.h"

namespace qbsvrl6 {

void logCaughtException(std::string_view function) noexcept {
    try {
        throw;
    } catch (const std::bad_alloc&) {
        logFailure(function, {}, "out of memory");
    } catch (const TemplateError& failure) {
        for (const EngineError& error : failure.errors()) logFailure(function, error);
    } catch (const EngineError& error) {
        logFailure(function, error);
    } catch (const std::exception& error) {
        logFailure(function, {}, error.what());
    } catch (...) {
        logFailure(function, {}, "unknown failure");
    }
}

Messages& processMessages() {
    thread_local Messages messages;
    return messages;
}

}  // namespace qbsvrl6
