//===- kivassert.cpp - Assertions for programmer faults -------------------===//
#include "core/kivassert.h"

#include "core/ikivasserthandlercb.h"
#include "core/kivptr.h"

#include <cstdlib>

namespace {

struct AssertCallback {
  KivAssertFunction function = nullptr;
  void* context = nullptr;
};

AssertCallback& assertCallback() {
  static AssertCallback callback;
  return callback;
}

} // namespace

void setAssertHandler(KivAssertFunction function, void* context) {
  assertCallback().function = function;
  assertCallback().context = context;
}

void kivAssert(const char* expression, const char* file, int line) {
  const AssertCallback& callback = assertCallback();
  if (callback.function) {
    callback.function(callback.context, expression, file, line);
    return;
  }
  SPtr<IKivAssertHandlerCB> handler("IKivAssertHandlerCB");
  if (!handler)
    std::exit(255);
  handler->handleAssert(expression, file, line);
}
