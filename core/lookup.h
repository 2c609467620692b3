//===- lookup.h - Reaching the host's manager and its services --*- C++ -*-===//
//
// The component manager is stored process-wide by IKivComponent::initialize;
// no reference is taken on it. Every look-up hands out a raw pointer without a
// reference, like queryInterface: a caller that keeps it puts it in an IPtr.
// The functions take no lock; the manager must be safe to call from workers.
//
//===----------------------------------------------------------------------===//
#pragma once

#include <cstdint>

class IKivComponentManager;
class KivCString;
struct KivClassId;

IKivComponentManager* componentManager();
// Installs (or, with null, removes) the manager. From then on reference counts
// run through its atomic counter operations.
void setComponentManager(IKivComponentManager* manager);

// The container this component lives in; empty at load, set by the host.
const KivCString& componentContainerName();
void setComponentContainerName(const KivCString& name);

// 1 on success. Without a manager: 0, and *out is left as it was.
int getObject(const char* name, void** out);
int createObject(const KivClassId* id, const char* name, void** out);
int getObjectIn(const char* name, const char* containerName, void** out);
int createObjectIn(const KivClassId* id, const char* name, const char* containerName, void** out);
