// libFuzzer target: arbitrary bytes read as a data-model file, every block
// walked and every typed value read. Any assertion is a finding too: bad
// input must never reach one.
#include "abortonassert.h"
#include "kivfilewalk.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  installAbortingAssertHandler();
  Bytes bytes(data, data + size);
  kivfilewalk::walkKivFile(bytes);
  // A source that trickles must see the same file.
  if (size < 4096)
    kivfilewalk::walkKivFile(bytes, 3);
  return 0;
}
