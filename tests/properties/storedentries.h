//===- storedentries.h - A map's entries as an owner stores them -*- C++ -*-===//
//
// writeEntries stores the properties of a map the way a data object stores
// its own: inside a root block, the count of the entries that are writable
// and persistent, then for each its name and its section. `extra` may add
// hand-made entries behind them (counted by `extraCount`).
//
// readEntries is the matching reader: each entry's class is created through
// the class table and reads its section; an entry whose class can't be
// created is stepped over whole. It gives the number of entries skipped,
// or -1 when the reader stopped being good.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "core/kivclassid.h"
#include "core/lookup.h"
#include "kivbasictypes/binstreams.h"
#include "kivbasictypes/ikivwriteable.h"
#include "kivbasictypes/kivfile.h"
#include "properties/propertymap.h"

#include <functional>

inline Bytes writeEntries(const PropertyMap& map,
                          const std::function<void(KivFileWrite&)>& extra = nullptr,
                          int32_t extraCount = 0) {
  MemoryOutput out;
  out.setFileVersion(10);
  KivFileWrite writer(&out, true);
  writer.writeRootHead();
  auto stored = [](IKivProperty* p) {
    auto* w = kivQuery<IKivWriteable>(p, "IKivWriteable");
    return w && !p->isReadOnly() && w->isPersistent() ? w : nullptr;
  };
  int32_t count = extraCount;
  for (const auto& entry : map.properties())
    count += stored(entry.second.get()) ? 1 : 0;
  writer.writeInt32(count);
  for (const auto& [key, property] : map.properties()) {
    if (IKivWriteable* w = stored(property.get())) {
      writer.beginProperty(key);
      w->write(&writer);
      writer.endProperty(key);
    }
  }
  if (extra)
    extra(writer);
  writer.close();
  return out.bytes();
}

inline int readEntries(const Bytes& bytes, PropertyMap& map) {
  MemoryInput in(bytes);
  KivFileRead reader(&in);
  if (!reader.readRootHead())
    return -1;
  int32_t count = 0;
  reader.readInt32(&count);
  int skipped = 0;
  for (int32_t i = 0; i < count && reader.good(); ++i) {
    KivString name;
    KivClassId id;
    reader.beginProperty(&name, &id);
    void* out = nullptr;
    if (id == KivClassId() || createObject(&id, "IKivProperty", &out) != 1 || !out) {
      reader.skipBlock();
      ++skipped;
    } else {
      IPtr<IKivProperty> p(static_cast<IKivProperty*>(out));
      p->setName(name);
      kivQuery<IKivWriteable>(p.get(), "IKivWriteable")->read(&reader);
      map.addProperty(p.get());
    }
    reader.endProperty(name);
  }
  return reader.good() ? skipped : -1;
}
