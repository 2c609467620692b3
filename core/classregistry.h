//===- classregistry.h - Registration of the class table --------*- C++ -*-===//
//
// registerClasses() runs once, from the component's initialize: for each row
// of the class table whose class exists, in table order, it constructs the
// item factory (a static object that registers itself in the class factory)
// and then registers the interface name with the host's manager. The manager
// must be installed by then.
//
//===----------------------------------------------------------------------===//
#pragma once

class KivCString;
template <class T>
class IterStack;
struct KivClassId;

bool registerClasses();
// Remembers `name` for the class and passes the pair on to the manager.
void registerInterface(const KivClassId& id, const char* name);
// The interface names registered for a class, or null.
const IterStack<KivCString>* registeredInterfaces(const KivClassId& id);
