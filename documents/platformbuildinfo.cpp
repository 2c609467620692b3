//===- platformbuildinfo.cpp - Which build of the application runs --------===//
#include "documents/platformbuildinfo.h"

#include "core/classwalk.h"
#include "kivbasictypes/kivfilepath.h"
#include "properties/routedproperty.h"
#include "properties/stringproperty.h"

#include <cstdio>
#include <cstring>
#include <vector>

// On Windows the text is the "ProductVersion" of the library's version
// resource. POSIX has no version resources, so a build here embeds the same
// block (the key as 16-bit little-endian text with its null, then the value)
// in the host's core library, and the whole file is searched with the same
// rule: the first match wins, nothing is parsed. A file larger than kMaxRead
// is searched in its first kMaxRead bytes only.

namespace {

using BuildVersionProperty = RoutedPropertyTemplate<KivString, StringProperty, PlatformBuildInfo>;

constexpr size_t kKeyBytes = 30;  // "ProductVersion" in 16 bits with its null
constexpr size_t kMaxRead = size_t(64) << 20;

const char* const kUnknownVersion = "0.0.0.0";

KivString& cachedVersion() {
  static KivString text;
  return text;
}

const uint8_t* productVersionKey() {
  static uint8_t key[kKeyBytes];
  static bool made = false;
  if (!made) {
    const char* word = "ProductVersion";
    for (size_t i = 0; i < 15; ++i) {
      key[2 * i] = static_cast<uint8_t>(word[i]);  // the null ends it at i = 14
      key[2 * i + 1] = 0;
    }
    made = true;
  }
  return key;
}

} // namespace

PlatformBuildInfo::PlatformBuildInfo() { PlatformBuildInfo::initialize(); }

void PlatformBuildInfo::initialize() {
  addProperty(new BuildVersionProperty(KivString("buildVersion"), true, this,
                                       &PlatformBuildInfo::getBuildVersion));
}

void PlatformBuildInfo::queryInterface(const char* name, void** out) {
  if (!name) {
    KivClassWalk* walk = kivWalkOf(out);
    kivWalkClass(walk, kClassName);
    DataObject::queryInterface(nullptr, out);
    kivWalkEnd(walk);
    kivWalkInterface(walk, "IKivPlatformBuildInfo");
    return;
  }
  *out = nullptr;
  if (kivAnswer(name, kClassName, this, out) ||
      kivAnswer(name, "IKivUnknown", static_cast<IKivUnknown*>(static_cast<DataObject*>(this)),
                out) ||
      kivAnswer(name, "IKivPlatformBuildInfo", static_cast<IKivPlatformBuildInfo*>(this), out))
    return;
  DataObject::queryInterface(name, out);
}

const char* PlatformBuildInfo::scriptClassName() const {
  return "kivapi.datamodel.PlatformBuildInfo";
}

bool PlatformBuildInfo::findProductVersion(const uint8_t* bytes, size_t size,
                                           std::u16string& out) {
  const uint8_t* key = productVersionKey();
  size_t at = 0;
  while (at < size) {
    const void* p = std::memchr(bytes + at, 'P', size - at);
    if (!p)
      return false;
    const size_t place = static_cast<size_t>(static_cast<const uint8_t*>(p) - bytes);
    if (size - place >= kKeyBytes && std::memcmp(bytes + place, key, kKeyBytes) == 0) {
      // The value stops at its null, or at the end of the bytes: nothing is
      // read past them.
      std::u16string& value = out;
      value.clear();
      for (size_t i = place + kKeyBytes; i + 1 < size; i += 2) {
        const char16_t unit = static_cast<char16_t>(bytes[i] | (bytes[i + 1] << 8));
        if (unit == 0)
          break;
        value.push_back(unit);
      }
      return true;
    }
    at = place + 2;
  }
  return false;
}

KivString PlatformBuildInfo::versionOfFile(const KivString& path, bool* readable) {
  *readable = false;
  std::FILE* file = openFile(path, "rb");
  if (!file)
    return KivString(kUnknownVersion);
  std::vector<uint8_t> bytes;
  uint8_t chunk[65536];
  size_t got = 0;
  while (bytes.size() < kMaxRead && (got = std::fread(chunk, 1, sizeof chunk, file)) > 0)
    bytes.insert(bytes.end(), chunk, chunk + got);
  const bool failed = std::ferror(file) != 0;
  std::fclose(file);
  if (failed || bytes.empty())
    return KivString(kUnknownVersion);
  *readable = true;
  std::u16string text;
  if (!findProductVersion(bytes.data(), bytes.size(), text))
    return KivString();
  for (char16_t& unit : text)
    if (unit == u',')
      unit = u'.';
  return KivString(reinterpret_cast<const KivChar*>(text.c_str()),
                   static_cast<int32_t>(text.size()));
}

KivString PlatformBuildInfo::getBuildVersion() const {
  KivString& cached = cachedVersion();
  if (!cached.isEmpty())
    return cached;
  KivFilePath path{KivString(namedDirectory("components"))};
  KivString full = withDriveRoot(path);
  full.append("/");
  full.append(kLibraryName);
  bool readable = false;
  KivString text = versionOfFile(full, &readable);
  if (!readable)
    return text;
  cached = text;
  return cached;
}
