//===- documentgroup.cpp - An inner node of the tree ----------------------===//
#include "documents/documentgroup.h"

#include "core/classids.h"
#include "core/classwalk.h"
#include "kivbasictypes/ikivdatamodelwriter.h"
#include "model/ikivrelationship.h"
#include "properties/boolproperty.h"
#include "properties/kivboundsproperty.h"
#include "properties/routedproperty.h"

namespace {

using BoundsProperty = RoutedPropertyTemplate<KivBounds, KivBoundsProperty, DocumentGroup>;
using FlagProperty = RoutedPropertyTemplate<bool, BoolProperty, DocumentGroup>;

// A bool property that is false; a missing one, or one of another type,
// counts as shown.
bool hiddenBy(const DataObject* child, const char* name) {
  if (!child->hasProperty(name))
    return false;
  auto* flag = kivQuery<IKivBoolProperty>(child->getProperty(name), "IKivBoolProperty");
  return flag && !flag->get();
}

} // namespace

DocumentGroup::DocumentGroup() {
  if (hasProperty("dataObject"))
    removeProperty("dataObject");
  addProperty(new BoundsProperty(KivString("visibleBoundingBox"), true, this,
                                 &DocumentGroup::getVisibleBoundingBox));
  addProperty(new BoundsProperty(KivString("visibleViewBoundingBox"), true, this,
                                 &DocumentGroup::getVisibleViewBoundingBox));
  addProperty(new FlagProperty(KivString("hasVisibleChildren"), true, this,
                               &DocumentGroup::hasVisibleChildren));
}

void DocumentGroup::queryInterface(const char* name, void** out) {
  if (!name) {
    KivClassWalk* walk = kivWalkOf(out);
    kivWalkClass(walk, kClassName);
    DocumentItem::queryInterface(nullptr, out);
    kivWalkEnd(walk);
    kivWalkInterface(walk, "IKivDocumentGroup");
    return;
  }
  *out = nullptr;
  if (kivAnswer(name, kClassName, this, out) ||
      kivAnswer(name, "IKivDocumentGroup", static_cast<IKivDocumentGroup*>(this), out))
    return;
  DocumentItem::queryInterface(name, out);
}

const char* DocumentGroup::scriptClassName() const { return "kivapi.datamodel.DocumentGroup"; }

const KivClassId* DocumentGroup::classId() { return &classIdOf(kClassName); }

KivBounds DocumentGroup::getBoundingBox() const { return computeBounds(false, false); }
KivBounds DocumentGroup::getViewBoundingBox() const { return computeBounds(false, true); }
KivBounds DocumentGroup::getVisibleBoundingBox() const { return computeBounds(true, false); }
KivBounds DocumentGroup::getVisibleViewBoundingBox() const { return computeBounds(true, true); }

KivBounds DocumentGroup::computeBounds(bool visibleOnly, bool view) const {
  IKivRelationship* relationship = childrenRelationship();
  if (!relationship || boundsDepth_ > 0)
    return originBounds();
  ++boundsDepth_;
  struct Leave {
    int& depth;
    ~Leave() { --depth; }
  } leave{boundsDepth_};
  bool empty = true;
  KivBounds acc;
  for (int i = 0; i < relationship->childCount(); ++i) {
    DataObject* child = relationship->child(i);
    if (!kivQuery<DocumentItem>(child, DocumentItem::kClassName))
      continue;
    const char* boundsName = view ? "viewBoundingBox" : "boundingBox";
    const char* visName = "visible";
    if (kivQuery<DocumentGroup>(child, kClassName)) {
      visName = "hasVisibleChildren";
      if (visibleOnly)
        boundsName = view ? "visibleViewBoundingBox" : "visibleBoundingBox";
    }
    if (visibleOnly && hiddenBy(child, visName))
      continue;
    auto* p = child->hasProperty(boundsName)
                  ? kivQuery<IKivBoundsProperty>(child->getProperty(boundsName),
                                                 "IKivBoundsProperty")
                  : nullptr;
    if (!p)
      continue;
    const KivBounds b = p->get();
    if (b.min.x > b.max.x)
      continue;
    if (empty) {
      acc = b;
      empty = false;
      continue;
    }
    acc.min = KivVector(std::min(acc.min.x, b.min.x), std::min(acc.min.y, b.min.y),
                        std::min(acc.min.z, b.min.z));
    acc.max = KivVector(std::max(acc.max.x, b.max.x), std::max(acc.max.y, b.max.y),
                        std::max(acc.max.z, b.max.z));
  }
  return empty ? originBounds() : acc;
}

bool DocumentGroup::hasVisibleChildren() const {
  IKivRelationship* relationship = childrenRelationship();
  if (!relationship)
    return false;
  for (int i = 0; i < relationship->childCount(); ++i) {
    DataObject* child = relationship->child(i);
    if (!kivQuery<DocumentItem>(child, DocumentItem::kClassName))
      continue;
    const char* name = kivQuery<DocumentGroup>(child, kClassName) ? "hasVisibleChildren" : "visible";
    if (!hiddenBy(child, name))
      return true;
  }
  return false;
}

bool DocumentGroup::writeExtra(IKivDataModelWriter* writer) {
  IKivRelationship* relationship = childrenRelationship();
  const int count = relationship ? relationship->childCount() : 0;
  writer->writeInt32(count);
  for (int i = 0; i < count; ++i)
    relationship->child(i)->writeGraph(writer);
  return true;
}

bool DocumentGroup::readExtra(IKivDataModelReader* reader, int) {
  return readChildren(reader, true);
}
