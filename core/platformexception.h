//===- platformexception.h - The one exception and its shapes ---*- C++ -*-===//
//
// Every broken rule throws `new PlatformException(...)`: a pointer to a heap
// object that the receiver owns and deletes. Nothing in the component catches
// it by type. Codes: 1 missing property, 2 read-only write, 3 wrong type,
// 6 any other class rule. Texts are English 8-bit literals that double as
// translation keys.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "kivbasictypes/kivstring.h"

#include <cstdint>

struct PlatformException {
  PlatformException(int32_t code, const KivString& message) : code(code), message(message) {}

  int32_t code;
  KivString message;
};

// The shape of a broken class rule: interrupt IProgress, translate `text`,
// build "Error in class %1: %2.", log "[%1] %2" through IKivLog3, throw code 6.
[[noreturn]] void throwClassError(const char* className, const char* text);
// As throwClassError with "Internal Error in class %1: %2.", for conditions
// the caller could not have caused.
[[noreturn]] void throwInternalError(const char* className, const char* text);
// As throwClassError for a text that the caller has already translated and
// filled in (formatMessage), such as a message with the offending values.
[[noreturn]] void throwClassErrorText(const char* className, const KivString& translatedText);

// Codes 1 to 3: formatted and thrown at once; nothing is told or logged.
[[noreturn]] void throwNoSuchProperty(const KivString& name);                 // code 1
[[noreturn]] void throwReadOnly(const KivString& name);                       // code 2
[[noreturn]] void throwWrongType(const KivString& given, const KivString& name,
                                 const KivString& expected);                  // code 3
