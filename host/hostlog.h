//===- hostlog.h - The reference host's log ---------------------*- C++ -*-===//
//
// Each message becomes one line, "YYYY-MM-DD hh:mm:ss level: text", with line
// breaks inside the text turned into spaces. Lines go to stderr (unless echo
// is off) and to the log file. Levels: 0 debug, 1 info, 2 warning, 3 error;
// messages below the level are dropped (default 1).
// The file defaults to "<Logs Directory>/datamodel.log" of the directory
// service and is opened, with its directory, at the first line written;
// setLogFile(path) replaces it and setLogFile(nullptr) switches it off. A file
// that cannot be opened is said once on stderr and then left alone.
// logFile()'s pointer stays valid until the next setLogFile. Thread-safe.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "core/ikivlog3.h"
#include "core/kivptr.h"

#include <cstdio>
#include <mutex>
#include <string>

class IKivDirService;

class HostLog : public IKivLog3 {
public:
  enum Level { kDebug = 0, kInfo = 1, kWarning = 2, kError = 3 };

  // `directories` gives the default file's directory; may be null (no file
  // until setLogFile).
  explicit HostLog(IKivDirService* directories);
  ~HostLog() override;

  void queryInterface(const char* name, void** out) override;
  const char* className() const override { return "HostLog"; }

  bool setLogFile(const char* path) override;
  const char* logFile() override;
  void setLevel(int level) override;
  int level() override;
  void logDebug(const KivString& text) override;
  void logInfo(const KivString& text) override;
  void logPlain(const KivString& text) override { logInfo(text); }
  void logWarning(const KivString& text) override;
  void flush() override;
  void logError(const KivString& text) override;

  void setEcho(bool echo);
  // Lines written since construction, whatever their destination.
  int lineCount();

private:
  enum class FileMode { kDefault, kExplicit, kOff };

  void write(int level, const char* levelName, const KivString& text);
  // Under the lock: the path the file has or will have; empty when none.
  const std::string& resolvePath();
  void closeFile();

  IPtr<IKivDirService> directories_;
  std::mutex mutex_;
  FileMode mode_ = FileMode::kDefault;
  std::string path_;
  std::FILE* file_ = nullptr;
  bool fileFailed_ = false;
  bool echo_ = true;
  int level_ = kInfo;
  int lineCount_ = 0;
};
