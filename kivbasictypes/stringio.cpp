//===- stringio.cpp - Strings stored as blocks on a bare stream -----------===//
#include "kivbasictypes/stringio.h"

#include "kivbasictypes/binio.h"
#include "kivbasictypes/kivfile.h"

// Local readers and writers stand in for one shared pair: the format is the
// same, and nothing depends on the sharing.

bool writeKivString(BinOutput& out, const KivString& s) {
  KivFileWrite writer(&out, false);
  writer.writeString(s);
  return writer.good();
}

bool readKivString(BinInput& in, KivString* s) {
  KivFileRead reader(&in);
  reader.readString(s);
  return reader.good() && reader.stringsGood();
}

bool writeKivCString(BinOutput& out, const KivCString& s) {
  KivFileWrite writer(&out, false);
  writer.writeCString(s);
  return writer.good();
}

bool readKivCString(BinInput& in, KivCString* s) {
  KivFileRead reader(&in);
  reader.readCString(s);
  return reader.good();
}
