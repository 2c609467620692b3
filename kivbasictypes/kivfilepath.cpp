//===- kivfilepath.cpp - The one normal form of a path, and opening files -===//
#include "kivbasictypes/kivfilepath.h"

#include "core/ikivdirservice.h"
#include "core/kivassert.h"
#include "core/servicecache.h"
#include "kivbasictypes/kivplatform.h"

#include <cstring>
#include <string>

namespace {

constexpr const char* kFile = "kivbasictypes/kivfilepath";
constexpr KivChar kSeparator = u'/';
constexpr KivChar kWindowsSeparator = u'\\';
constexpr KivChar kDot = u'.';
constexpr size_t kMaxModeLength = 256;

bool isSeparator(KivChar c) { return c == kSeparator || c == kWindowsSeparator; }

// Index of the dot that starts the extension, or -1.
int32_t extensionDot(const KivString& path) {
  for (int32_t i = path.length() - 1; i >= 0; --i) {
    KivChar c = path.at(i);
    if (c == kDot)
      return i;
    if (isSeparator(c))
      return -1;
  }
  return -1;
}

} // namespace

void normalizePath(KivString& path) {
  if (path.isNull())
    return;
  std::u16string text(path.wide(), static_cast<size_t>(path.length()));

  // The drive form: //c/dir -> c:/dir.
  if (text.size() >= 4 && isSeparator(text[0]) && isSeparator(text[1]) && !isSeparator(text[2]) &&
      isSeparator(text[3])) {
    text[0] = text[2];
    text[1] = u':';
    text[2] = kSeparator;
    text.erase(3, 1);
  }
  for (char16_t& c : text)
    if (c == kWindowsSeparator)
      c = kSeparator;
  while (text.size() > 1 && text.back() == kSeparator)
    text.pop_back();

  path.assign(text.data(), static_cast<int32_t>(text.size()));
}

KivFilePath::KivFilePath(const KivString& path) : path_(path) { normalizePath(path_); }

KivFilePath& KivFilePath::append(const KivString& part) {
  if (path_.isEmpty()) {
    path_ = part;
  } else {
    if (!isSeparator(path_.at(path_.length() - 1)))
      path_.append(kSeparator);
    path_.append(part);
  }
  normalizePath(path_);
  return *this;
}

KivString withDriveRoot(const KivFilePath& path) {
  const KivString& text = path.text();
  KivString result = text;
  if (text.length() == 2 && text.at(1) == u':')
    result.append(kSeparator);
  return result;
}

KivString pathExtension(const KivString& path) {
  int32_t dot = extensionDot(path);
  return dot < 0 ? KivString() : path.from(dot + 1);
}

void setPathExtension(KivString& path, const KivString& extension) {
  int32_t dot = extensionDot(path);
  if (dot >= 0)
    path.truncate(dot);
  if (extension.isEmpty())
    return;
  if (extension.at(0) != kDot)
    path.append(kDot);
  path.append(extension);
}

std::FILE* openFile(const KivString& path, const char* mode) {
  if (path.isEmpty() || !mode)
    return nullptr;
  if (std::strlen(mode) >= kMaxModeLength) {
    kivAssert("strlen(mode) < 256", kFile, __LINE__);
    return nullptr;
  }
  KivString system = withDriveRoot(KivFilePath(path));
  return kivplatform::openStream(system.utf8Text(), mode);
}

void removeFile(const KivString& path) {
  if (path.isEmpty())
    return;
  KivString system = withDriveRoot(KivFilePath(path));
  kivplatform::removeFile(system.utf8Text());
}

KivString namedDirectory(const char* name) {
  // Never destroyed: the kept reference is dropped by nobody at exit, when
  // the host may already be gone.
  static auto* service = new CachedService<IKivDirService>("IKivDirService");
  IKivDirService* directories = service->get();
  return directories ? directories->directory(name) : KivString();
}
