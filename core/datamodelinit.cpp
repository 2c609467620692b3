//===- datamodelinit.cpp - Settings and shutdown of the data model --------===//
#include "core/datamodelinit.h"

#include "core/classwalk.h"
#include "core/idatastore.h"
#include "core/kivptr.h"
#include "kivbasictypes/kivstring.h"
#include "model/ikivdatabase.h"

DatamodelInit::DatamodelInit() {
  SPtr<IDataStore> store("IDataStore");
  if (!store)
    return;
  store->addGroup("Platform");
  store->addInt("Platform/int", 0, 0, 1, 0);
  store->addDouble("Platform/double", 0.0, 0.0, 1.0, 0);
  store->addString("Platform/string", 5, KivString(), 0);
  store->addInt("Platform/myData", 1, 0, 1, 0);
  store->addString("Platform/Status", 255, KivString("Not Started"), 0);
}

void DatamodelInit::queryInterface(const char* name, void** out) {
  if (!name) {
    KivClassWalk* walk = kivWalkOf(out);
    kivWalkClass(walk, "DatamodelInit");
    kivWalkEnd(walk);
    kivWalkInterface(walk, "IKivInitializer");
    return;
  }
  *out = nullptr;
  if (kivAnswer(name, "DatamodelInit", this, out) ||
      kivAnswer(name, "IKivUnknown", static_cast<IKivUnknown*>(this), out))
    return;
  kivAnswer(name, "IKivInitializer", static_cast<IKivInitializer*>(this), out);
}

void DatamodelShutdownListener::queryInterface(const char* name, void** out) {
  if (!name) {
    KivClassWalk* walk = kivWalkOf(out);
    kivWalkClass(walk, "DatamodelShutdownListener");
    kivWalkEnd(walk);
    kivWalkInterface(walk, "IShutdownListener");
    return;
  }
  *out = nullptr;
  if (kivAnswer(name, "DatamodelShutdownListener", this, out) ||
      kivAnswer(name, "IKivUnknown", static_cast<IKivUnknown*>(this), out))
    return;
  kivAnswer(name, "IShutdownListener", static_cast<IShutdownListener*>(this), out);
}

void DatamodelShutdownListener::onShutdown() {
  SPtr<IKivDatabase> database("IKivDatabase");
  if (database)
    database->shutdown();
}
