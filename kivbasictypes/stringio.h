//===- stringio.h - Strings stored as blocks on a bare stream ---*- C++ -*-===//
//
// KivString goes into a block of tag 0x10005 holding its 16-bit units,
// KivCString into a block of tag 0x10003 holding its bytes; neither carries
// a terminator, the block's length gives the size, and an empty or null string
// writes an empty block. The width of the block length is the stream's: the
// file version on the way out, the width the root block set on the way in.
//
// Each call makes its own short-lived block reader or writer, so strings of
// different streams may be read on different threads. A failed read gives an
// empty string and false; only a damaged block, not one of another tag,
// leaves the stream somewhere unexpected.
//
//===----------------------------------------------------------------------===//
#pragma once

class BinInput;
class BinOutput;
class KivCString;
class KivString;

bool writeKivString(BinOutput& out, const KivString& s);
bool readKivString(BinInput& in, KivString* s);
bool writeKivCString(BinOutput& out, const KivCString& s);
bool readKivCString(BinInput& in, KivCString* s);
