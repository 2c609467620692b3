//===- documentgroup.h - An inner node of the tree ---------------*- C++ -*-===//
//
// DocumentGroup holds children and works out bounds and visibility from them
// at every read: the union of the children's (view) bounds, optionally only
// of visible ones. A child is hidden when its "visible" (for a group:
// "hasVisibleChildren") is a bool property that is false; a bounds is empty
// when its minimum x exceeds its maximum x. An empty result is six zeros.
// The group's own "visible" and "viewTransform" play no part.
//
// Its stored form writes each child as a graph section, so whatever a
// child's properties refer to stands behind the child.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "documents/documentitem.h"

class DocumentGroup : public DocumentItem, public IKivDocumentGroup {
public:
  static constexpr const char* kClassName = "DocumentGroup";

  DocumentGroup();

  void queryInterface(const char* name, void** out) override;
  const char* className() const override { return kClassName; }
  const char* scriptClassName() const override;
  const KivClassId* classId() override;
  bool writeExtra(IKivDataModelWriter* writer) override;
  bool readExtra(IKivDataModelReader* reader, int version) override;

  void removeAllChildren() override { DocumentItem::removeAllChildren(); }

  KivBounds getBoundingBox() const override;
  KivBounds getViewBoundingBox() const override;
  virtual KivBounds getVisibleBoundingBox() const;
  virtual KivBounds getVisibleViewBoundingBox() const;
  virtual bool hasVisibleChildren() const;

private:
  KivBounds computeBounds(bool visibleOnly, bool view) const;
};
