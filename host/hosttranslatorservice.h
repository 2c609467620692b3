//===- hosttranslatorservice.h - The reference host's translations -*- C++ -*-===//
//
// One table serves every component. Until a table is loaded, translatorFor
// gives null and the component keeps its English texts. A table is a UTF-8
// text file of "key<TAB>translation" lines; blank lines and lines starting
// with '#' are skipped, as is a line without a TAB (counted in badLines()).
// Formatting translates the key, then replaces "%1" to "%6" once, left to
// right; inserted text is not scanned again.
// The service holds the translator with one reference; the pointer handed
// out carries none. Load a table before handing the service to threads.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "core/kivptr.h"
#include "kivbasictypes/ikivtranslator.h"

#include <string>
#include <unordered_map>

class HostTranslator;

class HostTranslatorService : public IKivTranslatorService {
public:
  HostTranslatorService();
  ~HostTranslatorService() override;

  void queryInterface(const char* name, void** out) override;
  const char* className() const override { return "HostTranslatorService"; }

  IKivTranslator* translatorFor(const KivClassId& componentId) override;

  // Replaces the table; false when the file cannot be read.
  bool loadTable(const char* path);
  int badLines() const { return badLines_; }

private:
  IPtr<HostTranslator> translator_;
  int badLines_ = 0;
};

class HostTranslator : public IKivTranslator {
public:
  explicit HostTranslator(std::unordered_map<std::string, std::string> table);
  ~HostTranslator() override;

  void queryInterface(const char* name, void** out) override;
  const char* className() const override { return "HostTranslator"; }

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

private:
  void formatWith(KivString& out, const char* key, const KivString* const* args, int count);

  std::unordered_map<std::string, std::string> table_;  // key -> UTF-8 translation
};
