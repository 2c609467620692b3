//===- kivassert.h - Assertions for programmer faults -----------*- C++ -*-===//
//
// kivAssert reports a condition that only a programmer's fault can reach. It
// calls the installed callback, else the host's IKivAssertHandlerCB service,
// else ends the process with status 255. Execution goes on when a handler
// returns, so call sites still take their safe way out.
// `file` is the source path without its leading part ("basic_types/map").
//
//===----------------------------------------------------------------------===//
#pragma once

using KivAssertFunction = void (*)(void* context, const char* expression, const char* file,
                                   int line);

void kivAssert(const char* expression, const char* file, int line);
// Installs (or with a null function removes) the component's own handler.
void setAssertHandler(KivAssertFunction function, void* context);

// KIV_ASSERT(cond, "basic_types/map"): reports the literal text of `cond`.
#define KIV_ASSERT(cond, file)                                                                    \
  do {                                                                                            \
    if (!(cond))                                                                                  \
      kivAssert(#cond, file, __LINE__);                                                           \
  } while (0)
