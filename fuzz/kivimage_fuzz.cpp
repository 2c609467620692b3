// libFuzzer target: arbitrary bytes read as an image's stored form, with
// 64-bit and with 32-bit block lengths. Whatever the sizes claim, reading
// stays inside the block and allocates no more than the block holds; an
// image that reads back is written and read again to the same bytes. Any
// assertion is a finding too.
#include "base/basic/kivimage.h"
#include "binstreams.h"
#include "abortonassert.h"
#include "core/kivptr.h"

#include <cstdio>
#include <cstdlib>

namespace {

void readOnce(const Bytes& bytes, bool narrow) {
  MemoryInput in(bytes);
  if (narrow)
    in.useLength32();
  IPtr<KivImage> image(new KivImage);
  if (!image->read(in))
    return;
  MemoryOutput out;
  out.setFileVersion(narrow ? 9 : 10);
  image->write(out);
  out.flush();
  MemoryInput again(out.bytes());
  if (narrow)
    again.useLength32();
  IPtr<KivImage> copy(new KivImage);
  if (!copy->read(again) || !copy->equals(static_cast<const IKivImage&>(*image)))
    std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  installAbortingAssertHandler();
  const Bytes bytes(data, data + size);
  readOnce(bytes, false);
  readOnce(bytes, true);
  return 0;
}
