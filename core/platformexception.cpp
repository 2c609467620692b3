//===- platformexception.cpp - The one exception and its shapes -----------===//
#include "core/platformexception.h"

#include "core/ikivlog3.h"
#include "core/servicecache.h"
#include "kivbasictypes/messageformat.h"
#include "model/iprogress.h"

namespace {

// Tells the running operation that it is interrupted. The progress service
// comes from this component's own class table, so it exists once the
// component is initialised; before that there is nothing to tell.
void interruptProgress() {
  static CachedService<IProgress> progress("IProgress");
  if (IProgress* p = progress.get())
    p->interrupt();
}

IKivLog3* hostLog() {
  static CachedService<IKivLog3> log("IKivLog3");
  return log.get();
}

[[noreturn]] void throwRuleError(const char* shape, const char* className,
                                const KivString& translated) {
  interruptProgress();
  KivString name(className);
  KivString message;
  formatMessage(message, shape, name, translated);
  auto* exception = new PlatformException(6, message);
  if (IKivLog3* log = hostLog()) {
    KivString line;
    formatMessage(line, "[%1] %2", name, translated);
    log->logError(line);
  }
  throw exception;
}

[[noreturn]] void throwRuleError(const char* shape, const char* className, const char* text) {
  KivString translated;
  translateMessage(translated, text);
  throwRuleError(shape, className, translated);
}

} // namespace

void throwClassError(const char* className, const char* text) {
  throwRuleError("Error in class %1: %2.", className, text);
}

void throwInternalError(const char* className, const char* text) {
  throwRuleError("Internal Error in class %1: %2.", className, text);
}

void throwClassErrorText(const char* className, const KivString& translatedText) {
  throwRuleError("Error in class %1: %2.", className, translatedText);
}

void throwNoSuchProperty(const KivString& name) {
  KivString message;
  formatMessage(message, "Property '%1' does not exist.", name);
  throw new PlatformException(1, message);
}

void throwReadOnly(const KivString& name) {
  KivString message;
  formatMessage(message, "Cannot modify read only attribute '%1'", name);
  throw new PlatformException(2, message);
}

void throwWrongType(const KivString& given, const KivString& name, const KivString& expected) {
  KivString message;
  formatMessage(message, "Wrong type (%1) for attribute '%2'. Should be %3", given, name,
                expected);
  throw new PlatformException(3, message);
}
