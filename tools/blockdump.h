//===- blockdump.h - Print the block tree of a data-model file --*- C++ -*-===//
//
// dumpBlocks() prints a file's tree of length-prefixed blocks, one line per
// block, indented by depth, with the typed blocks' values and the class
// names of sections. It works on the bytes alone, without the classes that
// wrote them, so it can show any file, also one this build can't load.
//
// Bare values (counts, flags, numbers written without a block) can't be told
// apart from block heads by their bytes. Inside a block, a run of bytes is
// taken as a child block only if its tag is one the file format names and its
// length fits the parent; anything else is shown as a run of bare bytes.
//
//===----------------------------------------------------------------------===//
#pragma once

#include <cstdio>
#include <string>

struct BlockDumpOptions {
  // Deeper blocks are counted, not printed.
  int maxDepth = 64;
  // Bare runs show at most this many bytes in hexadecimal.
  int bareBytesShown = 16;
};

// Prints the tree of the file at `path` to `out`. False with *error set if
// the file can't be read or doesn't begin with a root block; a root that is
// cut short or holds broken lengths is printed as far as it goes, with a
// note, and still gives true.
bool dumpBlocks(const char* path, std::FILE* out, const BlockDumpOptions& options,
                std::string* error);
