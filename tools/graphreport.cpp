//===- graphreport.cpp - Graph reports and settings, for dmtool -----------===//
#include "tools/graphreport.h"

#include "core/kivptr.h"
#include "core/lookup.h"
#include "core/platformexception.h"
#include "documents/document.h"
#include "documents/ikivdocument.h"
#include "host/hostdatastore.h"
#include "host/hostpersistentrefmap.h"
#include "host/referencehost.h"
#include "kivbasictypes/kivstring.h"
#include "model/databaseutil.h"
#include "model/datastorevalue.h"
#include "tools/graphfile.h"
#include "tools/safefile.h"

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <unistd.h>

namespace {

std::string utf8(const KivString& s) { return s.utf8Text() ? s.utf8Text() : ""; }

bool writeText(std::FILE* out, const std::string& text) {
  return std::fwrite(text.data(), 1, text.size(), out) == text.size();
}

bool fsyncStream(std::ofstream& file, const std::string& path) {
  file.flush();
  file.close();
  if (!file)
    return false;
  // The stream has no descriptor to sync; reopen to sync what was written.
  std::FILE* again = std::fopen(path.c_str(), "rb");
  if (!again)
    return false;
  const bool synced = fsync(fileno(again)) == 0;
  std::fclose(again);
  return synced;
}

} // namespace

void printLeakReport(std::FILE* out) {
  std::ostringstream text;
  DatabaseUtil::writeLeakReport(text);
  writeText(out, text.str());
}

bool writeDocumentGraph(const std::string& path, const std::string& dotPath, bool leaks,
                        std::FILE* out, std::string* error) {
  ReferenceHost* host = inProcessComponentHost(error);
  if (!host)
    return false;
  {
    void* made = nullptr;
    getObject("IKivDocument", &made);
    IPtr<IKivDocument> handle(static_cast<IKivDocument*>(made));
    IPtr<Document> document(kivQuery<Document>(handle.get(), Document::kClassName));
    handle = nullptr;
    if (!document) {
      *error = "cannot create a document";
      return false;
    }
    bool loaded = false;
    try {
      loaded = document->load(KivString::fromUtf8(path.c_str()));
    } catch (PlatformException* e) {
      *error = utf8(e->message);
      delete e;
      return false;
    }
    if (!loaded) {
      *error = "cannot load the document '" + path + "'";
      return false;
    }
    std::ostringstream dot;
    DatabaseUtil::writeDatabaseGraph(dot);
    if (dotPath.empty()) {
      if (out && !writeText(out, dot.str())) {
        *error = "cannot write the output";
        return false;
      }
    } else {
      const bool written = replaceFileSafely(
          dotPath,
          [&](const std::string& temporary, std::string* why) {
            std::ofstream file(temporary, std::ios::out | std::ios::trunc);
            file << dot.str();
            if (!fsyncStream(file, temporary)) {
              *why = "cannot write '" + dotPath + "'";
              return false;
            }
            return true;
          },
          error);
      if (!written)
        return false;
    }
    // The document goes here, with this block.
  }
  // The host's table of persistent references keeps what the load numbered
  // until it is reset; only after that is an object still alive a leak.
  host->persistentRefMap()->reset();
  if (leaks)
    printLeakReport(out);
  return true;
}

std::string defaultSettingsPath() {
  if (const char* explicitPath = std::getenv("DMTOOL_SETTINGS"); explicitPath && *explicitPath)
    return explicitPath;
  std::string base;
  if (const char* xdg = std::getenv("XDG_CONFIG_HOME"); xdg && *xdg)
    base = xdg;
  else if (const char* home = std::getenv("HOME"); home && *home)
    base = std::string(home) + "/.config";
  else
    base = ".";
  return base + "/dmtool/settings";
}

namespace {

// Runs a modifier; its failure text, or empty.
template <class M>
bool runModifier(M& modifier, std::string* error) {
  try {
    modifier.run();
    return true;
  } catch (PlatformException* e) {
    *error = utf8(e->message);
    delete e;
    return false;
  }
}

// The host's store with the settings file loaded; a missing file is an
// empty store, a damaged one an error (nothing would be saved over it).
HostDataStore* loadedStore(const std::string& settingsPath, std::string* error) {
  ReferenceHost* host = inProcessComponentHost(error);
  if (!host)
    return nullptr;
  HostDataStore* store = host->dataStore();
  if (std::filesystem::exists(settingsPath)) {
    if (!store->load(settingsPath.c_str())) {
      std::string problems;
      for (const std::string& problem : store->loadProblems())
        problems += (problems.empty() ? "" : "; ") + problem;
      *error = "cannot read the settings file: " + problems;
      return nullptr;
    }
  }
  return store;
}

const char* typeName(int type) {
  switch (type) {
  case 1: return "wide";
  case 2: return "string";
  case 3: return "int";
  case 4: return "double";
  default: return "unknown";
  }
}

} // namespace

bool getSetting(const std::string& settingsPath, const std::string& key, bool details,
                std::FILE* out, std::string* error) {
  if (!loadedStore(settingsPath, error))
    return false;
  IPtr<GetDataStoreValue> get(new GetDataStoreValue);
  get->set("option", KivString::fromUtf8(key.c_str()));
  if (!runModifier(*get, error))
    return false;
  const int type = get->getInt("type");
  std::string line;
  switch (type) {
  case 3:
    line = std::to_string(get->getInt("intValue"));
    if (details)
      line += " (int, from " + std::to_string(get->getInt("minIntValue")) + " to " +
              std::to_string(get->getInt("maxIntValue")) + ")";
    break;
  case 4: {
    char text[128];
    std::snprintf(text, sizeof text, "%.17g", get->getDouble("floatValue"));
    line = text;
    if (details) {
      std::snprintf(text, sizeof text, " (double, from %.17g to %.17g)",
                    get->getDouble("minFloatValue"), get->getDouble("maxFloatValue"));
      line += text;
    }
    break;
  }
  case 1:
  case 2:
    line = utf8(get->getString("stringValue"));
    if (details)
      line += std::string(" (") + typeName(type) + ")";
    break;
  default:
    *error = "the value of '" + key + "' could not be read";
    return false;
  }
  if (!writeText(out, line + "\n")) {
    *error = "cannot write the output";
    return false;
  }
  return true;
}

bool setSetting(const std::string& settingsPath, const std::string& key, const std::string& value,
                const std::string& type, std::string* error) {
  HostDataStore* store = loadedStore(settingsPath, error);
  if (!store)
    return false;
  char* end = nullptr;
  errno = 0;
  const long asLong = std::strtol(value.c_str(), &end, 10);
  const bool isInt = !value.empty() && *end == '\0' && errno == 0 && asLong >= INT32_MIN &&
                     asLong <= INT32_MAX;
  errno = 0;
  const double asDouble = std::strtod(value.c_str(), &end);
  const bool isDouble = !value.empty() && *end == '\0' && errno == 0;

  int kind = 0;  // the modifier's numbering
  if (type == "int")
    kind = 3;
  else if (type == "double")
    kind = 4;
  else if (type == "string")
    kind = 2;
  else if (type == "wide")
    kind = 1;
  else if (!type.empty()) {
    *error = "unknown type '" + type + "' (int, double, string or wide)";
    return false;
  } else if (!store->hasKey(key.c_str())) {
    kind = isInt ? 3 : isDouble ? 4 : 2;
  }
  // A number that the key's kind needs must be one.
  int existing = kDataStoreUnknown;
  if (store->hasKey(key.c_str()))
    store->getKind(key.c_str(), &existing);
  const bool wantsInt = kind == 3 || (kind == 0 && existing == kDataStoreInt);
  const bool wantsDouble = kind == 4 || (kind == 0 && existing == kDataStoreDouble);
  if ((wantsInt && !isInt) || (wantsDouble && !isDouble)) {
    *error = "'" + value + "' is not " + (wantsInt ? "an integer" : "a number");
    return false;
  }

  IPtr<SetDataStoreValue> put(new SetDataStoreValue);
  put->set("option", KivString::fromUtf8(key.c_str()));
  put->set("type", kind);
  if (isInt)
    put->set("intValue", static_cast<int>(asLong));
  if (isDouble)
    put->set("floatValue", asDouble);
  put->set("stringValue", KivString::fromUtf8(value.c_str()));
  // A new number gets no bounds: min and max stay 0, which the store reads
  // as none.
  if (!runModifier(*put, error))
    return false;

  const std::filesystem::path target(settingsPath);
  if (target.has_parent_path()) {
    std::error_code ignored;
    std::filesystem::create_directories(target.parent_path(), ignored);
  }
  return replaceFileSafely(
      settingsPath,
      [&](const std::string& temporary, std::string* why) {
        if (!store->save(temporary.c_str())) {
          *why = "cannot write the settings file '" + settingsPath + "'";
          return false;
        }
        return true;
      },
      error);
}
