// Tells a program where each control of the template is on the pages.
#ifndef QBSVR_QBSVRL6_API_ITEM_LOCATOR_H
#define QBSVR_QBSVRL6_API_ITEM_LOCATOR_H

#include <memory>

#include "engine/qbsvr_more.h"
#include "qbsvrl6/items/page_sink.h"

namespace qbsvrl6 {

// Passes every item that shows a control to `take`. Raises EngineError (Cancelled) if it returns zero.
std::unique_ptr<PageSink> makeItemLocator(QBXOnShownItem take, void* context);

}  // namespace qbsvrl6

#endif
