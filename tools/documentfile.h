//===- documentfile.h - Documents in files, for dmtool -----------*- C++ -*-===//
//
// The document commands of dmtool: create a new document file, print the
// item tree of one, verify one, and convert one to another length width.
// They run this binary's own copy of the component behind the in-process
// host of graphfile.h (one per process, never taken down).
//
// Every file written goes through replaceFileSafely(): a failure leaves the
// old file as it was. Failures come back as false with one line in *error;
// a PlatformException from the library passes through.
//
//===----------------------------------------------------------------------===//
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>

// Whether the file's top section is a stored Document (false if it can't be
// read at all).
bool isDocumentFile(const std::string& path);

// A new empty document named `name`, with the records of `configPath` (if
// not empty) applied, saved to `path`.
bool createDocumentFile(const std::string& path, const std::string& name,
                        const std::string& configPath, uint64_t* bytes, std::string* error);

// Prints the tree: the document, then each item indented below its parent,
// with its class, name and stored properties; a data item also shows its
// object. With `json` one JSON object instead. Gives 0 for a sound file, 2
// when the file is damaged (what could be read is printed, and *error says
// so), 1 when it can't be opened.
int printDocumentTree(const std::string& path, bool json, std::FILE* out, std::string* error);

// Reads the whole file and reports whether it is sound. For a damaged file
// the report names the offset and the block where the damage starts and
// what could still be read. Gives 0 sound, 2 damaged, 1 not a readable file.
int verifyDocumentFile(const std::string& path, bool json, std::FILE* out, std::string* error);

// Loads the document of `in` and writes it to `out` with `fileVersion`
// (9: 32-bit lengths, 10: 64-bit). Refuses a damaged input.
bool convertDocumentFile(const std::string& in, const std::string& out, int fileVersion,
                         int* items, uint64_t* bytes, std::string* error);

// The library's main job in a few steps, printed as it goes: a small
// document built under the configuration `configPath` (groups, data items
// over objects with properties and references), saved to `path`, loaded
// into a fresh document and compared, then an edit undone and redone with a
// listener reporting what it hears.
bool runDocumentSample(const std::string& path, const std::string& configPath, std::FILE* out,
                       std::string* error);
