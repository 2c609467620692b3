//===- qtanchor.cpp - Qt property sets with a change signal ---------------===//
#include "anchors.h"
#include "qtanchor.h"

#include <QByteArray>
#include <QVariant>

#include <vector>

QtAnchor runQtAnchor(QtPath path, int slotCount, int64_t count) {
  QtAnchorObject object;
  std::vector<QtAnchorSlot> receivers(static_cast<size_t>(slotCount));
  for (QtAnchorSlot& receiver : receivers)
    QObject::connect(&object, &QtAnchorObject::valueChanged, &receiver, &QtAnchorSlot::onValue,
                     Qt::DirectConnection);
  // Names made once, as a caller with a fixed property would.
  static const char* const kDeclared = "value";
  static const char* const kDynamic = "dynamic";
  object.setProperty(kDynamic, QVariant(0));
  QtAnchor out;
  out.available = true;
  if (path == QtPath::Declared) {
    out.set = measurePerOp(count, [&](int64_t i) {
      object.setProperty(kDeclared, QVariant(static_cast<int>(i + 1)));
    });
  } else {
    out.set = measurePerOp(count, [&](int64_t i) {
      const int v = static_cast<int>(i + 1);
      object.setProperty(kDynamic, QVariant(v));
      emit object.valueChanged(v);
    });
  }
  return out;
}
