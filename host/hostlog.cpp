//===- hostlog.cpp - The reference host's log -----------------------------===//
#include "host/hostlog.h"

#include "core/ikivdirservice.h"
#include "kivbasictypes/kivstring.h"

#include <ctime>
#include <filesystem>
#include <system_error>

HostLog::HostLog(IKivDirService* directories) : directories_(directories) {}

HostLog::~HostLog() { closeFile(); }

void HostLog::queryInterface(const char* name, void** out) {
  if (!name)
    return;
  *out = nullptr;
  if (kivAnswer(name, "HostLog", this, out) ||
      kivAnswer(name, "IKivUnknown", static_cast<IKivUnknown*>(this), out))
    return;
  kivAnswer(name, "IKivLog3", static_cast<IKivLog3*>(this), out);
}

void HostLog::closeFile() {
  if (file_)
    std::fclose(file_);
  file_ = nullptr;
  fileFailed_ = false;
}

bool HostLog::setLogFile(const char* path) {
  std::lock_guard<std::mutex> lock(mutex_);
  closeFile();
  if (!path) {
    mode_ = FileMode::kOff;
    path_.clear();
    return true;
  }
  mode_ = FileMode::kExplicit;
  path_ = path;
  return !path_.empty();
}

const std::string& HostLog::resolvePath() {
  if (mode_ == FileMode::kDefault && path_.empty() && directories_) {
    KivString directory = directories_->directory("Logs Directory");
    const char* text = directory.utf8Text();
    if (text && *text)
      path_ = std::string(text) + "/datamodel.log";
  }
  return path_;
}

const char* HostLog::logFile() {
  std::lock_guard<std::mutex> lock(mutex_);
  if (mode_ == FileMode::kOff)
    return nullptr;
  const std::string& path = resolvePath();
  return path.empty() ? nullptr : path.c_str();
}

void HostLog::setLevel(int level) {
  std::lock_guard<std::mutex> lock(mutex_);
  level_ = level;
}

int HostLog::level() {
  std::lock_guard<std::mutex> lock(mutex_);
  return level_;
}

void HostLog::setEcho(bool echo) {
  std::lock_guard<std::mutex> lock(mutex_);
  echo_ = echo;
}

int HostLog::lineCount() {
  std::lock_guard<std::mutex> lock(mutex_);
  return lineCount_;
}

void HostLog::logDebug(const KivString& text) { write(kDebug, "debug", text); }
void HostLog::logInfo(const KivString& text) { write(kInfo, "info", text); }
void HostLog::logWarning(const KivString& text) { write(kWarning, "warning", text); }
void HostLog::logError(const KivString& text) { write(kError, "error", text); }

void HostLog::flush() {
  std::lock_guard<std::mutex> lock(mutex_);
  if (file_)
    std::fflush(file_);
  std::fflush(stderr);
}

void HostLog::write(int level, const char* levelName, const KivString& text) {
  std::string body = text.utf8Text() ? text.utf8Text() : "";
  for (char& c : body)
    if (c == '\n' || c == '\r')
      c = ' ';
  char stamp[32];
  std::time_t now = std::time(nullptr);
  std::tm local{};
  localtime_r(&now, &local);
  std::strftime(stamp, sizeof stamp, "%Y-%m-%d %H:%M:%S", &local);
  std::string line = std::string(stamp) + " " + levelName + ": " + body + "\n";

  std::lock_guard<std::mutex> lock(mutex_);
  if (level < level_)
    return;
  ++lineCount_;
  if (echo_)
    std::fputs(line.c_str(), stderr);
  if (mode_ == FileMode::kOff || fileFailed_)
    return;
  if (!file_) {
    const std::string& path = resolvePath();
    if (path.empty())
      return;
    std::error_code ignored;
    std::filesystem::path parent = std::filesystem::path(path).parent_path();
    if (!parent.empty())
      std::filesystem::create_directories(parent, ignored);
    file_ = std::fopen(path.c_str(), "a");
    if (!file_) {
      fileFailed_ = true;
      std::fprintf(stderr, "log: cannot open %s; logging to stderr only\n", path.c_str());
      return;
    }
  }
  std::fputs(line.c_str(), file_);
  // One flush per line: the last lines before a crash are the ones wanted.
  std::fflush(file_);
}
