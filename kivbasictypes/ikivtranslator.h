//===- ikivtranslator.h - Translators of message keys -----------*- C++ -*-===//
//
// Every operation writes into `out`. `key` is the English 8-bit format string,
// which doubles as the translation key. Slot order is a contract.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "core/kivobject.h"

class KivString;
struct KivClassId;

class IKivTranslator : public virtual IKivUnknown {
public:
  virtual void format(KivString& out, const char* key, int count, const KivString* args) = 0;
  virtual void format(KivString& out, const char* key, const KivString& a1, const KivString& a2,
                      const KivString& a3, const KivString& a4, const KivString& a5,
                      const KivString& a6) = 0;
  virtual void format(KivString& out, const char* key, const KivString& a1, const KivString& a2,
                      const KivString& a3, const KivString& a4, const KivString& a5) = 0;
  virtual void format(KivString& out, const char* key, const KivString& a1, const KivString& a2,
                      const KivString& a3, const KivString& a4) = 0;
  virtual void format(KivString& out, const char* key, const KivString& a1, const KivString& a2,
                      const KivString& a3) = 0;
  virtual void format(KivString& out, const char* key, const KivString& a1,
                      const KivString& a2) = 0;
  virtual void format(KivString& out, const char* key, const KivString& a1) = 0;
  virtual void translate(KivString& out, const char* key) = 0;
  virtual bool reserved9() { return false; }
  // Places the translated text of `key` in *out; false when there is none.
  virtual bool lookup(const char* key, KivString* out) = 0;
};

// Optional host service: gives a translator for a component's class identifier.
class IKivTranslatorService : public virtual IKivUnknown {
public:
  virtual void reserved1() {}
  virtual IKivTranslator* translatorFor(const KivClassId& componentId) = 0;
};
