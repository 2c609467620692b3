//===- relationshipiter.h - Iterators over the Database's lists -*- C++ -*-===//
//
// RelationshipIter and ActionIter walk their own copy of a list taken when
// they are made (SmallIterStackIter), so later changes of the list don't
// reach them: call next() first; current() gives null past the end. Each
// entry of the interface list becomes the implementation class through
// queryInterface ("Relationship", "Action"), null for a foreign object.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "basic_types/iterstack.h"

class Action;
class IKivRelationship;
class Relationship;

class RelationshipIter : public SmallIterStackIter<Relationship*, IterStack<Relationship*>> {
public:
  explicit RelationshipIter(const IterStack<IKivRelationship*>& list);
};

class ActionIter : public SmallIterStackIter<Action*, IterStack<Action*>> {
public:
  explicit ActionIter(const IterStack<Action*>& list);
};
