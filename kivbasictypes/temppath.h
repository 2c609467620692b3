//===- temppath.h - Unique names for temporary files ------------*- C++ -*-===//
//
// temporaryPath names a file that no other process and, short of two calls
// in the same nanosecond, no other thread of this process will name: the
// process id and the low 32 bits of the high-resolution counter. The file is
// not created; whoever creates it removes it after use.
//
// Decided, and kept: the POSIX form. Without a setting or a "temp" directory
// the folder is /tmp, and the name is joined with "/"; that is safer on
// this platform than a name no POSIX system can open.
//
//===----------------------------------------------------------------------===//
#pragma once

class KivString;

// out = <temp folder>/kiv-<pid %08x>-<counter %08x>-temp. The folder is the
// setting "Directories/Temp Directory", else the host's directory "temp",
// else /tmp.
void temporaryPath(KivString& out);
