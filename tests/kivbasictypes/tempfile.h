//===- tempfile.h - Scratch files for the file tests ------------*- C++ -*-===//
//
// TempPath names a file under /tmp that no other test process uses and
// removes it at scope end; fileBytes reads a whole file.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "kivbasictypes/kivplatform.h"
#include "kivbasictypes/kivstring.h"

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

struct TempPath {
  explicit TempPath(const std::string& suffix = "") {
    static int counter = 0;
    path = "/tmp/kivbasictypes-test-" + std::to_string(kivplatform::processId()) + "-" +
           std::to_string(++counter) + suffix;
  }
  ~TempPath() { std::remove(path.c_str()); }
  TempPath(const TempPath&) = delete;
  TempPath& operator=(const TempPath&) = delete;
  KivString kiv() const { return KivString(path.c_str()); }
  std::string path;
};

// Empty if the file can't be opened.
inline std::vector<uint8_t> fileBytes(const std::string& path) {
  std::vector<uint8_t> out;
  std::FILE* f = std::fopen(path.c_str(), "rb");
  if (!f)
    return out;
  int c;
  while ((c = std::fgetc(f)) != EOF)
    out.push_back(static_cast<uint8_t>(c));
  std::fclose(f);
  return out;
}
