// libFuzzer target: arbitrary bytes read as a data-model file, every block
// walked and every typed value read. Any assertion is a finding too: bad
// input must never reach one.
#include "core/kivassert.h"
#include "kivfilewalk.h"

#include <cstdio>
#include <cstdlib>

namespace {

void abortOnAssert(void*, const char* expression, const char* file, int line) {
  std::fprintf(stderr, "assertion %s at %s:%d\n", expression, file, line);
  std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const bool installed = [] {
    setAssertHandler(abortOnAssert, nullptr);
    return true;
  }();
  (void)installed;
  Bytes bytes(data, data + size);
  kivfilewalk::walkKivFile(bytes);
  // A source that trickles must see the same file.
  if (size < 4096)
    kivfilewalk::walkKivFile(bytes, 3);
  return 0;
}
