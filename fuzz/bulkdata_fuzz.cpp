// libFuzzer target: arbitrary bytes read as the stored forms of the bulk
// data - a bit vector record (into both vector classes), a point array record
// and a colour record. Whatever reads must write back and read again to the
// same bytes. Any assertion is a finding too: bad input must never reach one.
#include "bulkrecords.h"
#include "abortonassert.h"

#include <cstdio>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  installAbortingAssertHandler();
  if (!bulkrecords::readAll(Bytes(data, data + size))) {
    std::fprintf(stderr, "a record read back differently\n");
    std::abort();
  }
  return 0;
}
