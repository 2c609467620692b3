//===- hostdirservice.cpp - The reference host's named directories --------===//
#include "host/hostdirservice.h"

#include "kivbasictypes/kivstring.h"

#include <cctype>
#include <cstdlib>

namespace {

// Lower case, and the long forms folded onto the short ones.
std::string canonicalName(const char* name) {
  std::string key;
  for (const char* p = name ? name : ""; *p; ++p)
    key += static_cast<char>(std::tolower(static_cast<unsigned char>(*p)));
  if (key == "logs directory")
    return "logs";
  if (key == "temp directory")
    return "temp";
  if (key == "components directory")
    return "components";
  if (key == "home directory")
    return "home";
  return key;
}

std::string environment(const char* name) {
  const char* value = std::getenv(name);
  return value ? value : "";
}

std::string withoutTrailingSlash(std::string path) {
  while (path.size() > 1 && path.back() == '/')
    path.pop_back();
  return path;
}

} // namespace

HostDirService::HostDirService() {
  std::string home = withoutTrailingSlash(environment("HOME"));
  std::string temp = withoutTrailingSlash(environment("TMPDIR"));
  directories_["home"] = home;
  directories_["logs"] = home.empty() ? std::string() : home + "/.datamodel/logs";
  directories_["temp"] = temp.empty() ? std::string("/tmp") : temp;
  directories_["components"] = std::string();
}

HostDirService::~HostDirService() = default;

void HostDirService::queryInterface(const char* name, void** out) {
  if (!name)
    return;
  *out = nullptr;
  if (kivAnswer(name, "HostDirService", this, out) ||
      kivAnswer(name, "IKivUnknown", static_cast<IKivUnknown*>(this), out))
    return;
  kivAnswer(name, "IKivDirService", static_cast<IKivDirService*>(this), out);
}

std::string HostDirService::path(const char* name) const {
  std::lock_guard<std::mutex> lock(mutex_);
  auto it = directories_.find(canonicalName(name));
  return it == directories_.end() ? std::string() : it->second;
}

void HostDirService::setPath(const char* name, const std::string& path) {
  std::lock_guard<std::mutex> lock(mutex_);
  directories_[canonicalName(name)] = withoutTrailingSlash(path);
}

KivString HostDirService::directory(const char* name) {
  std::string text = path(name);
  KivString result = KivString::fromUtf8(text.c_str());
  // A directory name that is not UTF-8 is passed on byte by byte.
  if (result.isEmpty() && !text.empty())
    result = KivString(text.c_str());
  return result;
}

void HostDirService::setDirectory(const char* name, const KivString& path) {
  setPath(name, path.utf8Text() ? path.utf8Text() : "");
}
