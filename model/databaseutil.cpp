//===- databaseutil.cpp - Graph dumps and the leak report -----------------===//
#include "model/databaseutil.h"

#include "basic_types/iterstack.h"
#include "core/classids.h"
#include "core/classwalk.h"
#include "core/kivptr.h"
#include "core/lookup.h"
#include "core/platformexception.h"
#include "kivbasictypes/ikivdatamodelreader.h"
#include "kivbasictypes/kivcstring.h"
#include "kivbasictypes/kivstring.h"
#include "model/action.h"
#include "model/database.h"
#include "model/dataobject.h"
#include "model/ikivmodifier.h"
#include "model/ikivrelationship.h"
#include "properties/ikivproperty.h"
#include "properties/ikivpropertymap.h"
#include "properties/propertymap.h"

#include <fstream>
#include <iostream>
#include <string>

namespace {

const char* const kTableOpen =
    "<TABLE COLOR=\"#98AFC7\" CELLBORDER=\"1\" BORDER=\"1\" ALIGN=\"LEFT\">";
const char* const kRowOpen = "   <TR>";
const char* const kRowClose = "   </TR>";
const char* const kDataObjectAttributes = "[shape=box,fontcolor=black,color=palegreen1,";
const char* const kRelationshipAttributes = "[shape=box,fontcolor=black,color=deepskyblue1,";
const char* const kActionAttributes = "[shape=box,fontcolor=black,color=goldenrod1,";
const char* const kRegistrationAttributes = "[shape=box,fontcolor=black,color=gainsboro,";

// The labels are HTML-like: a name with <, >, & or a quote would otherwise
// break the file. The exact texts stay as they are for plain names. A line
// break (the text of bounds and matrices has them) becomes <BR/>, so that a
// node stays one line of the file.
std::string html(const char* text) {
  std::string out;
  for (const char* c = text ? text : ""; *c; ++c) {
    switch (*c) {
    case '&': out += "&amp;"; break;
    case '<': out += "&lt;"; break;
    case '>': out += "&gt;"; break;
    case '"': out += "&quot;"; break;
    case '\n': out += "<BR/>"; break;
    case '\r': break;
    default: out += *c;
    }
  }
  return out;
}

// For the quoted label of an edge.
std::string quoted(const char* text) {
  std::string out;
  for (const char* c = text ? text : ""; *c; ++c) {
    if (*c == '"' || *c == '\\')
      out += '\\';
    out += *c;
  }
  return out;
}

std::string html(const KivString& text) { return html(text.utf8Text()); }

void titleRow(std::ostream& out, const std::string& text) {
  out << kRowOpen << "      <TD ALIGN=\"CENTER\" COLSPAN=\"2\">" << text << "</TD>" << kRowClose;
}

void headRow(std::ostream& out) {
  out << kRowOpen << "      <TD ALIGN=\"CENTER\" BGCOLOR=\"#98AFC7\">Property</TD>"
      << "      <TD ALIGN=\"CENTER\" BGCOLOR=\"#98AFC7\">Value</TD>" << kRowClose;
}

void pairRow(std::ostream& out, const std::string& name, const std::string& value) {
  out << kRowOpen << "      <TD ALIGN=\"LEFT\">" << name << "</TD>"
      << "      <TD ALIGN=\"LEFT\">" << value << "</TD>" << kRowClose;
}

void openLabel(std::ostream& out) { out << "label=<" << kTableOpen; }
void closeNode(std::ostream& out) { out << "</TABLE>" << ">" << "]" << std::endl; }

void openGraph(std::ostream& out) {
  out << "digraph G {" << std::endl;
  out << "node [style=filled]" << std::endl;
}

void closeGraph(std::ostream& out) { out << "}" << std::endl; }

// The node of an object or a modifier: a title, the head row and a pair row
// for each property in map order.
void mapNode(std::ostream& out, const char* identifier, const char* className, int64_t number,
             uint32_t refCount, const PropertyMap* map) {
  out << identifier << kDataObjectAttributes;
  openLabel(out);
  titleRow(out, html(className) + " (id = " + std::to_string(number) +
                    " refcount = " + std::to_string(refCount) + ")");
  headRow(out);
  if (map) {
    IPtr<IKivPropertyMapIter> it(map->iterator());
    for (it->first(); !it->isDone(); it->next()) {
      KivString text;
      it->value()->valueText(it->key(), text);
      pairRow(out, html(it->key()), html(text));
    }
  }
  closeNode(out);
}

void objectNode(std::ostream& out, DataObject* object) {
  std::string identifier = "dataobject_" + std::to_string(object->id());
  mapNode(out, identifier.c_str(), object->className(), object->id(), object->refCount(), object);
}

std::string relationshipId(IKivRelationship* relationship) {
  return "relationship_" + std::to_string(relationship->id());
}

// Each dump: a new text file; a path that can't be opened leaves the stream
// failed, and what is written goes nowhere.
template <class Body>
void dumpTo(const char* path, Body body) {
  std::ofstream file(path ? path : "", std::ios::out);
  body(file);
}

} // namespace

void DatabaseUtil::queryInterface(const char* name, void** out) {
  if (!name) {
    KivClassWalk* walk = kivWalkOf(out);
    kivWalkClass(walk, kClassName);
    kivWalkEnd(walk);
    kivWalkInterface(walk, "IKivDatabaseUtil");
    return;
  }
  *out = nullptr;
  if (kivAnswer(name, kClassName, this, out) ||
      kivAnswer(name, "IKivUnknown", static_cast<IKivUnknown*>(this), out))
    return;
  kivAnswer(name, "IKivDatabaseUtil", static_cast<IKivDatabaseUtil*>(this), out);
}

const KivClassId* DatabaseUtil::classId() { return &classIdOf(kClassName); }

void DatabaseUtil::writeObjectGraph(std::ostream& out, IKivDataObject* object) {
  openGraph(out);
  if (DataObject* data = kivQuery<DataObject>(object, "DataObject"))
    objectNode(out, data);
  closeGraph(out);
}

void DatabaseUtil::writeModifierGraph(std::ostream& out, IKivModifier* modifier) {
  openGraph(out);
  if (modifier) {
    // Every modifier node is "modifier_1" with the number 1 in its title.
    auto* map = kivQuery<PropertyMap>(modifier, "PropertyMap");
    mapNode(out, "modifier_1", modifier->className(), 1, modifier->refCount(), map);
  }
  closeGraph(out);
}

void DatabaseUtil::writeDatabaseGraph(std::ostream& out) {
  openGraph(out);
  Database* database = Database::instance();
  if (database) {
    database->eachDataObject([&](DataObject* object) { objectNode(out, object); });
    database->eachRelationship([&](IKivRelationship* relationship) {
      out << relationshipId(relationship) << kRelationshipAttributes;
      openLabel(out);
      titleRow(out, html(relationship->name()) + " Relationship (id=" +
                        std::to_string(relationship->id()) + ")");
      closeNode(out);
      if (IKivDataObject* parent = database->parent(relationship))
        out << "dataobject_" << parent->id() << " -> " << relationshipId(relationship)
            << "[label=\"parent\"]" << std::endl;
    });
    database->eachRelationship([&](IKivRelationship* relationship) {
      IterStack<DataObject*> children;
      database->children(relationship, children);
      for (int32_t i = 1; i <= children.count(); ++i)
        out << relationshipId(relationship) << " -> " << "dataobject_" << children.at(i)->id()
            << "[label=\"child\"]" << std::endl;
    });
    database->eachAction([&](Action* action) {
      out << "action_" << action->id() << kActionAttributes;
      openLabel(out);
      titleRow(out, html(action->className()));
      closeNode(out);
    });
    database->eachClassAction([&](int64_t id, int64_t actionId, const KivCString& parentClass,
                                  const KivCString& childClass) {
      if (parentClass.isEmpty() || childClass.isEmpty())
        return;
      out << "action_registrations_" << id << kRegistrationAttributes;
      openLabel(out);
      titleRow(out, "Registered action");
      headRow(out);
      pairRow(out, "parent class", html(parentClass.c_str()));
      pairRow(out, "child class", html(childClass.c_str()));
      closeNode(out);
      out << "action_registrations_" << id << " -> " << "action_" << actionId << std::endl;
    });
    database->eachBinding(
        [&](IKivRelationship* relationship, Action* action, const KivCString& event) {
          out << relationshipId(relationship) << " -> " << "action_" << action->id()
              << "[label=\"" << quoted(event.c_str()) << "\"]" << std::endl;
        });
  }
  closeGraph(out);
}

void DatabaseUtil::dumpObject(const char* path, IKivDataObject* object) {
  dumpTo(path, [&](std::ostream& out) { writeObjectGraph(out, object); });
}

void DatabaseUtil::dumpModifier(const char* path, IKivModifier* modifier) {
  dumpTo(path, [&](std::ostream& out) { writeModifierGraph(out, modifier); });
}

void DatabaseUtil::dumpDatabase(const char* path) {
  dumpTo(path, [&](std::ostream& out) { writeDatabaseGraph(out); });
}

void DatabaseUtil::writeLeakReport(std::ostream& out) {
  Database* database = Database::instance();
  out << "DataObjects\n======================================\n";
  int64_t objects = 0;
  int64_t relationships = 0;
  if (database) {
    std::lock_guard<std::recursive_mutex> hold(database->tableLock());
    database->eachDataObject([&](DataObject* object) {
      KivString name;
      object->name(name);
      out << "      class = " << object->className() << " id = " << object->id()
          << " name = '" << name.c_str() << "' owners = " << object->refCount() << "\n";
      ++objects;
    });
    out << "\nLeaked " << objects << " DataObjects.\n";
    out << "\nRelationships\n======================================\n";
    database->eachRelationship([&](IKivRelationship* relationship) {
      out << "     name = '" << relationship->name().c_str() << "'\n";
      IKivDataObject* parent = database->parent(relationship);
      out << "            parent = " << (parent ? parent->className() : "None")
          << " owners = " << relationship->refCount() << "\n";
      IterStack<DataObject*> children;
      database->children(relationship, children);
      for (int32_t i = 1; i <= children.count(); ++i) {
        DataObject* child = children.at(i);
        out << "            children" << "\n"
            << "                   " << (child ? child->className() : "None") << "\n";
      }
      ++relationships;
    });
  } else {
    out << "\nLeaked 0 DataObjects.\n";
    out << "\nRelationships\n======================================\n";
  }
  out << "\nLeaked " << relationships << " Relationships.\n";
  out.flush();
}

void DatabaseUtil::reportLeaks() { writeLeakReport(std::clog); }

bool DatabaseUtil::write(IKivDataModelWriter* writer) {
  Database* database = Database::instance();
  bool result = true;
  if (database)
    database->eachDataObject([&](DataObject* object) {
      auto* writeable = kivQuery<IKivWriteable>(object, "IKivWriteable");
      if (!writeable)
        return;
      // A class that refuses to be stored throws; that is one failed write
      // and must not keep the others from being written.
      try {
        result = writeable->write(writer) && result;
      } catch (PlatformException* e) {
        delete e;
        result = false;
      }
    });
  return result;
}

bool DatabaseUtil::read(IKivDataModelReader* reader) {
  bool result = true;
  static const KivClassId kNone;
  const KivClassId* id = reader->peekClassId();
  while (id && *id != kNone) {
    const KivClassId peeked = *id;
    IKivDataObject* created = nullptr;
    if (createObject(&peeked, "IKivDataObject", reinterpret_cast<void**>(&created)) != 1 ||
        !created) {
      // The stream hasn't moved, so the same identifier would come back
      // forever: stop here and report the failure.
      return false;
    }
    IPtr<IKivDataObject> object(created);
    if (auto* writeable = kivQuery<IKivWriteable>(created, "IKivWriteable"))
      result = writeable->read(reader) && result;
    else
      return false;  // nothing would consume the section either
    object = nullptr;
    id = reader->peekClassId();
  }
  return result;
}
