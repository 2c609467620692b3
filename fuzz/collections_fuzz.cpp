// libFuzzer target: arbitrary bytes read as the entries of a property map,
// the way an object reads its properties, so that every collection, mesh
// value and their properties meet damaged stored forms: counts that lie,
// negative counts, 2D sizes that overflow. A crash, a sanitizer report, a
// huge allocation or an assertion is a finding.
#include "core/kivptr.h"
#include "host/referencehost.h"
#include "properties/propertymap.h"
#include "storedentries.h"

namespace {

void host() {
  static ReferenceHost* h = [] {
    ReferenceHostOptions options;
    options.echo = false;
    options.logFile = false;
    options.abortOnAssert = true;
    auto* made = new ReferenceHost(options);
    made->addLinkedComponent("datamodelcmp (fuzz)");
    return made;
  }();
  (void)h;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  host();
  PropertyMap map;
  readEntries(Bytes(data, data + size), map);
  return 0;
}
