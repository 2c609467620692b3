//===- safefile.h - Replacing a file so that a crash leaves the old one -*- C++ -*-===//
//
// replaceFileSafely() has `write` fill a temporary file beside the target
// (same folder, so the rename stays on one file system), then renames it
// over the target and syncs the folder. `write` is expected to flush and
// sync what it wrote (KivFileWrite::close() does). If `write` fails, or
// anything after it does, the temporary file is removed and the target is
// untouched, byte for byte; a kill at any point leaves either the old or
// the new file under the target's name.
//
//===----------------------------------------------------------------------===//
#pragma once

#include <functional>
#include <string>

// `write(temporaryPath, error)` gives false, with *error set, on failure.
bool replaceFileSafely(const std::string& target,
                       const std::function<bool(const std::string&, std::string*)>& write,
                       std::string* error);
