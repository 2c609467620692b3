//===- graphreport.h - Graph reports and settings, for dmtool ---*- C++ -*-===//
//
// dmtool's dot, leaks and config commands. They run this binary's own copy
// of the component behind the in-process host of graphfile.h.
//
// The DOT text goes through replaceFileSafely() when written to a file, so a
// failure leaves no partial file. The leak report is printed after the
// document is closed: what it lists is what the load left alive.
//
// Settings live in a text file of the host's data store (one
// "key = kind:value" line per key); a value is written through
// SetDataStoreValue and read through GetDataStoreValue, so the checks and
// the failure texts are the library's own.
//
//===----------------------------------------------------------------------===//
#pragma once

#include <cstdio>
#include <string>

// Loads the document at `path` and writes the DOT text of the live graph to
// `dotPath`, or to `out` if it is empty (nowhere if `out` is null too). With `leaks`, closes the document
// and prints the leak report to `out` afterwards. False, with one line in
// *error, if the document can't be loaded or the output can't be written.
bool writeDocumentGraph(const std::string& path, const std::string& dotPath, bool leaks,
                        std::FILE* out, std::string* error);

// The leak report of the live graph as it stands, on `out`.
void printLeakReport(std::FILE* out);

// The settings file dmtool uses unless told otherwise:
// $DMTOOL_SETTINGS, else $XDG_CONFIG_HOME/dmtool/settings, else
// $HOME/.config/dmtool/settings.
std::string defaultSettingsPath();

// Prints the value of `key` from the settings at `settingsPath` (a missing
// file is an empty store). With `details`, the kind and bounds follow.
bool getSetting(const std::string& settingsPath, const std::string& key, bool details,
                std::FILE* out, std::string* error);

// Sets `key` to `value` and saves the file. `type` is "", "int", "double",
// "string" or "wide"; empty keeps the kind of an existing key and, for a new
// key, takes int, double or string by the form of `value`.
bool setSetting(const std::string& settingsPath, const std::string& key, const std::string& value,
                const std::string& type, std::string* error);
