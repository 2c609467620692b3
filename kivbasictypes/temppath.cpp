//===- temppath.cpp - Unique names for temporary files --------------------===//
#include "kivbasictypes/temppath.h"

#include "core/idatastore.h"
#include "core/ikivdirservice.h"
#include "core/kivptr.h"
#include "kivbasictypes/kivplatform.h"
#include "kivbasictypes/kivstring.h"

#include <cstdint>
#include <cstdio>

void temporaryPath(KivString& out) {
  uint32_t counter = static_cast<uint32_t>(kivplatform::highResolutionCounter());
  uint32_t pid = kivplatform::processId();

  KivString base;
  {
    SPtr<IDataStore> store("IDataStore");
    if (store)
      base = store->getString("Directories/Temp Directory", nullptr);
  }
  if (base.isEmpty()) {
    SPtr<IKivDirService> dirs("IKivDirService");
    if (dirs)
      base = dirs->directory("temp");
    // A bare drive ("D:") names the drive's current directory, not its root.
    if (base.length() == 2 && base.at(1) == u':')
      base.append(KivChar(u'\\'));
  }
  // A host without settings or a directory service still has to spill
  // somewhere sensible; /tmp is the one folder every POSIX system provides.
  if (base.isEmpty())
    base = "/tmp";

  // The name is joined with '/', the separator of this platform; a base that
  // already ends in a separator (the drive rule's backslash included) gets none.
  KivChar last = base.at(base.length() - 1);
  if (last != u'/' && last != u'\\')
    base.append(KivChar(u'/'));
  char name[40];
  std::snprintf(name, sizeof name, "kiv-%08x-%08x-temp", static_cast<unsigned>(pid),
                static_cast<unsigned>(counter));
  base.append(name);
  out = base;
}
