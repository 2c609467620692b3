//===- dynamicobjectundoinfo.cpp - The record of a DynamicDataObject ------===//
#include "undo/dynamicobjectundoinfo.h"

#include "model/dataobject.h"

uint64_t DynamicObjectUndoInfo::getSize() { return object() ? object()->memorySize() : 0; }
