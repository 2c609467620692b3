//===- kivfilepath.h - The one normal form of a path, and opening files -*- C++ -*-===//
//
// Paths reach the component as 16-bit text written with either kind of slash.
// KivFilePath holds such a text in its one normal form, and the helpers below
// are the only code that knows about separators, drive letters and
// extensions. A KivFilePath is always normal: its constructor and append()
// normalize what they produce.
//
// The normal form on this platform (POSIX), and why (decided, and kept: the
// POSIX form of backslash paths is safer here than passing a backslash on
// as part of a file name):
//  - "/" is the only separator; every "\" becomes "/". Paths written on
//    Windows (in settings, configuration files, older documents) then name
//    the same place, and the normal form can be handed to the system as it
//    is. The price: a POSIX file name that contains a backslash cannot be
//    reached through these helpers.
//  - Two separators, one character that is not a separator, and a separator
//    at the start make a drive path: "//c/dir" and "\\c\dir" both become
//    "c:/dir". Backslashes count here too, so that normalizing a normal form
//    changes nothing; a network path whose server name is one letter long is
//    the price. Longer server names keep their two leading slashes:
//    "\\server\share" becomes "//server/share".
//  - Trailing separators are cut, but at least one character stays: "/"
//    stays the root, while "c:\" becomes "c:" and needs withDriveRoot to be a
//    root again.
//  - Nothing else changes: no folding of "." or "..", no merging of inner
//    separators, no change of case.
// Normalizing a normal form gives it back unchanged. A null text stays null.
//
// Wide text becomes UTF-8 only where it is handed to the system: openFile and
// removeFile hand over withDriveRoot of the normal form, through the platform
// layer.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "kivbasictypes/kivstring.h"

#include <cstdio>

// Brings `path` to the normal form above, in place.
void normalizePath(KivString& path);

class KivFilePath {
public:
  KivFilePath() = default;
  // Copies, then normalizes.
  explicit KivFilePath(const KivString& path);

  const KivString& text() const { return path_; }
  bool isEmpty() const { return path_.isEmpty(); }

  // An empty path becomes `part`; any other gets a separator (unless it ends
  // in one, as the root does) and then `part`. The result is normalized.
  KivFilePath& append(const KivString& part);

private:
  KivString path_;
};

// The text, with a separator behind a bare drive ("c:" gives "c:/"); the form
// in which a path goes to the system.
KivString withDriveRoot(const KivFilePath& path);

// The text behind the last dot if that dot stands behind the last separator
// (either kind); otherwise empty. The dot is not part of the result.
KivString pathExtension(const KivString& path);
// Cuts the extension, if any, then adds `extension` with a dot in front
// unless it already has one. An empty `extension` only removes the old one.
void setPathExtension(KivString& path, const KivString& extension);

// The one way the component opens a file: null for an empty or null path,
// without asking the system; otherwise the normal form with its drive root,
// as UTF-8, opened with `mode` (fopen modes, below 256 characters).
std::FILE* openFile(const KivString& path, const char* mode);
// Removes the file; whether that worked is not looked at.
void removeFile(const KivString& path);

// The host's directory of that name ("temp", "components", ...) through the
// first operation of "IKivDirService"; empty without the service. The service
// is looked up at the first call and kept, found or not, until
// resetServiceCaches(). The text comes by value because the host's service
// makes a new one per call; it binds to a const reference at the call site.
KivString namedDirectory(const char* name);
