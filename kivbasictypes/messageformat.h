//===- messageformat.h - Messages with placeholders -------------*- C++ -*-===//
//
// formatMessage replaces "%1" to "%6" once, left to right, through the current
// translator; inserted text is never scanned again. Keys are the English
// 8-bit literals. The translator pointer is process-wide and unlocked.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "kivbasictypes/ikivtranslator.h"
#include "kivbasictypes/kivstring.h"

// Translator that leaves every key as it is.
class KivTrivialTranslator : public IKivTranslator {
public:
  void queryInterface(const char* name, void** out) override;
  const char* className() const override { return "KivTrivialTranslator"; }

  void format(KivString& out, const char* key, int count, const KivString* args) override;
  void format(KivString& out, const char* key, const KivString& a1, const KivString& a2,
              const KivString& a3, const KivString& a4, const KivString& a5,
              const KivString& a6) override;
  void format(KivString& out, const char* key, const KivString& a1, const KivString& a2,
              const KivString& a3, const KivString& a4, const KivString& a5) override;
  void format(KivString& out, const char* key, const KivString& a1, const KivString& a2,
              const KivString& a3, const KivString& a4) override;
  void format(KivString& out, const char* key, const KivString& a1, const KivString& a2,
              const KivString& a3) override;
  void format(KivString& out, const char* key, const KivString& a1,
              const KivString& a2) override;
  void format(KivString& out, const char* key, const KivString& a1) override;
  void translate(KivString& out, const char* key) override;
  bool lookup(const char* key, KivString* out) override;
};

// Rewrites `text` in place. `args` ends with a null pointer. A string without
// an owned buffer is left untouched.
void substitute(KivString& text, const KivString* const* args);

IKivTranslator* currentTranslator();
void setTranslator(IKivTranslator* translator);
// Forgets the held translator and the set-up state (process end and tests).
void resetTranslator();

void formatMessage(KivString& out, const char* key, const KivString& a1);
void formatMessage(KivString& out, const char* key, const KivString& a1, const KivString& a2);
void formatMessage(KivString& out, const char* key, const KivString& a1, const KivString& a2,
                   const KivString& a3);
void formatMessage(KivString& out, const char* key, const KivString& a1, const KivString& a2,
                   const KivString& a3, const KivString& a4);
void formatMessage(KivString& out, const char* key, const KivString& a1, const KivString& a2,
                   const KivString& a3, const KivString& a4, const KivString& a5);
void formatMessage(KivString& out, const char* key, const KivString& a1, const KivString& a2,
                   const KivString& a3, const KivString& a4, const KivString& a5,
                   const KivString& a6);
void translateMessage(KivString& out, const char* key);
