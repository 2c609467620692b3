// libFuzzer target: arbitrary bytes loaded as a document through
// Document::load, behind the reference host with this binary's copy of the
// component. A crash, a hang, a sanitizer report or an assertion is a
// finding: a damaged file must only make load() give false, or raise the
// system's own failure: a stored value that breaks its property's rule (a
// bounded number out of range) is refused by the property's set() while it
// is read, and that failure is a PlatformException, not a crash.
#include "core/kivptr.h"
#include "core/lookup.h"
#include "core/platformexception.h"
#include "documents/document.h"
#include "host/referencehost.h"
#include "kivbasictypes/kivplatform.h"

#include <cstdio>
#include <string>

namespace {

ReferenceHost& host() {
  static ReferenceHost* h = [] {
    ReferenceHostOptions options;
    options.echo = false;
    options.logFile = false;
    options.abortOnAssert = true;
    auto* made = new ReferenceHost(options);
    made->addLinkedComponent("datamodelcmp (fuzz)");
    return made;
  }();
  return *h;
}

// In memory where the system offers it: a load reads a path.
std::string inputPath() {
  static const std::string path = "/dev/shm/document-fuzz-" +
                                  std::to_string(kivplatform::processId()) + ".kiv";
  return path;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  host();
  const std::string& path = inputPath();
  std::FILE* file = std::fopen(path.c_str(), "wb");
  if (!file)
    return 0;
  std::fwrite(data, 1, size, file);
  std::fclose(file);
  void* out = nullptr;
  getObject("IKivDocument", &out);
  IPtr<IKivDocument> document(static_cast<IKivDocument*>(out));
  if (!document)
    return 0;
  try {
    document->load(KivString(path.c_str()));
  } catch (PlatformException* e) {
    delete e;
  }
  return 0;
}
