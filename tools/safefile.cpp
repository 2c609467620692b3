//===- safefile.cpp - Replacing a file so that a crash leaves the old one -===//
#include "tools/safefile.h"

#include "kivbasictypes/kivplatform.h"

#include <filesystem>
#include <system_error>

bool replaceFileSafely(const std::string& target,
                       const std::function<bool(const std::string&, std::string*)>& write,
                       std::string* error) {
  namespace fs = std::filesystem;
  const fs::path path(target);
  const fs::path folder = path.has_parent_path() ? path.parent_path() : fs::path(".");
  const std::string temporary =
      (folder / ("." + path.filename().string() + ".tmp" +
                 std::to_string(kivplatform::processId())))
          .string();
  std::string why;
  bool ok = write(temporary, &why);
  if (!ok && why.empty())
    why = "cannot write '" + target + "'";
  if (ok) {
    std::error_code failure;
    fs::rename(temporary, target, failure);
    if (failure) {
      ok = false;
      why = "cannot replace '" + target + "': " + failure.message();
    }
  }
  if (!ok) {
    kivplatform::removeFile(temporary.c_str());
    *error = why;
    return false;
  }
  if (!kivplatform::syncDirectory(folder.string().c_str())) {
    *error = "'" + target + "' was written, but its folder could not be synced";
    return false;
  }
  return true;
}
