//===- modifier.cpp - The unit of work on the data model ------------------===//
#include "model/modifier.h"

#include "core/classwalk.h"
#include "core/ikivlog3.h"
#include "core/kivptr.h"
#include "kivbasictypes/ikivprogress.h"
#include "kivbasictypes/messageformat.h"
#include "model/database.h"
#include "model/progressproperty.h"
#include "properties/routedproperty.h"
#include "properties/stringproperty.h"

#include <cinttypes>
#include <cstdio>

namespace {

using NameProperty = RoutedPropertyTemplate<KivString, StringProperty, Modifier>;

IKivLog3* modifierLog() {
  static SPtr<IKivLog3> log("IKivLog3");
  return log.get();
}

} // namespace

Modifier::Modifier() : name_("None") { commonSetUp(); }

Modifier::Modifier(uint8_t flags, const KivString& name, int64_t id) : name_(name), id_(id) {
  setFlags(flags);
  createNameProperty();
  if ((PropertyMap::flags_ & kMapRegisters) != 0)
    if (Database* database = Database::instance())
      database->registerModifier(this);
}

Modifier::~Modifier() {
  if ((PropertyMap::flags_ & kMapRegisters) != 0)
    if (Database* database = Database::instance())
      database->unregisterModifier(this);
}

void Modifier::commonSetUp() {
  setWarnNonExisting(PropertyMap::warnNonExisting());
  PropertyMap::flags_ &= static_cast<uint8_t>(~kMapPropertyEvents);
  createNameProperty();
  if ((PropertyMap::flags_ & kMapRegisters) != 0)
    if (Database* database = Database::instance())
      database->registerModifier(this);
}

void Modifier::createNameProperty() {
  addProperty(new NameProperty(KivString("name"), false, this, &Modifier::name,
                               &Modifier::setName));
}

void Modifier::queryInterface(const char* name, void** out) {
  if (!name) {
    KivClassWalk* walk = kivWalkOf(out);
    kivWalkClass(walk, "Modifier");
    PropertyMap::queryInterface(nullptr, out);
    kivWalkEnd(walk);
    kivWalkInterface(walk, "IKivModifier");
    kivWalkInterface(walk, "IKivProgressObject");
    return;
  }
  *out = nullptr;
  if (kivAnswer(name, "Modifier", this, out) ||
      kivAnswer(name, "IKivUnknown", static_cast<IKivUnknown*>(static_cast<PropertyMap*>(this)),
                out))
    return;
  PropertyMap::queryInterface(name, out);
  if (*out)
    return;
  if (kivAnswer(name, "IKivModifier", static_cast<IKivModifier*>(this), out) ||
      kivAnswer(name, "IKivProgressObject", static_cast<IKivProgressObject*>(this), out))
    return;
  // The Database writes the id of a modifier it registers through this.
  kivAnswer(name, "KivDatabaseId", &id_, out);
}

void Modifier::logState(const char* format) {
  IKivLog3* log = modifierLog();
  if (!log)
    return;
  char id[32];
  std::snprintf(id, sizeof id, "%" PRId64, id_);
  KivString text;
  formatMessage(text, format, KivString(className()), KivString(id));
  log->logPlain(text);
}

void Modifier::logRunning() { logState("[%1] [id = %2] Running"); }
void Modifier::logFinished() { logState("[%1] [id = %2] Finished"); }

IProgress* Modifier::progressObject() const {
  if (!hasProperty("progress"))
    return nullptr;
  auto* property = kivQuery<ProgressProperty>(getProperty("progress"), "ProgressProperty");
  return property ? property->get() : nullptr;
}

bool Modifier::useProgressProperty() {
  IProgress* progress = progressObject();
  IKivProgressCallback* callback = progress ? progress->callback() : nullptr;
  auto* tree = kivQuery<IKivProgress>(callback, "IKivProgress");
  if (!tree)
    return false;
  setProgressObject(tree);
  enable(true);
  return true;
}
