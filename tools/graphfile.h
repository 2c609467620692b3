//===- graphfile.h - Object graphs in data-model files for dmtool -*- C++ -*-===//
//
// A graph file is what DataObject::writeGraph leaves in a root block: one
// section holding the top object and, behind it, every object it reaches
// through ObjectProperty values, each stored once.
//
// Both operations run this binary's own copy of the component behind an
// in-process host, made at the first call and kept until the process ends
// (the component's static caches release through its manager at exit). A
// process that uses them must not load the component library as well.
//
// Output goes to a temporary file beside the target, renamed over it only
// when everything was written: a failure leaves no partial file behind.
// Failures come back as false with one line in *error; a PlatformException
// from the library passes through, and the temporary file is gone then too.
// On a terminal both show the host's progress line on stderr; a Ctrl-C seen
// before writing begins ends them with "cancelled by the user".
//
//===----------------------------------------------------------------------===//
#pragma once

#include <cstdint>
#include <string>

class ReferenceHost;

// The in-process host behind this binary's copy of the component; null with
// *error set if it could not start.
ReferenceHost* inProcessComponentHost(std::string* error);

struct GraphFileResult {
  int objects = 0;     // objects in the written graph, the top one included
  uint64_t bytes = 0;  // size of the written file
};

// Writes a sample document: a top DynamicDataObject with `children` child
// objects, values of several classes on each, a child shared between the top
// object and another child, and a reference from the last child back to the
// top, which closes a cycle. `fileVersion` picks the length width (1 to 9:
// 32 bits, else 64).
bool createSampleGraphFile(const std::string& path, int children, int fileVersion,
                           GraphFileResult* result, std::string* error);

// Reads the graph of `in` and writes it to `out` with `fileVersion`. Refuses,
// rather than writing less than the input holds: a file that isn't a graph
// file, is damaged or cut short, holds an object or property of a class this
// build can't create, refers to objects it doesn't hold, or has objects or
// bytes that the graph doesn't reach.
bool convertGraphFile(const std::string& in, const std::string& out, int fileVersion,
                      GraphFileResult* result, std::string* error);
