//===- databaseutil.h - Graph dumps and the leak report ---------*- C++ -*-===//
//
// DatabaseUtil reads the tables of the Database; it has no state beyond the
// persistence flag. The text makers are public so that tools can write the
// DOT text to any stream.
//
// Invariants a user must know:
//  - The dumps and write/read take no lock: the graph must hold still while
//    they walk it. reportLeaks() holds the Database lock throughout.
//  - Names, class names, property texts and event names are escaped for the
//    label they land in (&, <, >, " in HTML-like labels; " and \ in quoted
//    edge labels), so any name gives a file that Graphviz accepts.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "model/ikivdatabaseutil.h"

#include <cstdint>
#include <iosfwd>

class DataObject;

class DatabaseUtil : public IKivDatabaseUtil {
public:
  static constexpr const char* kClassName = "DatabaseUtil";

  void queryInterface(const char* name, void** out) override;
  const char* className() const override { return kClassName; }

  void dumpObject(const char* path, IKivDataObject* object) override;
  void dumpModifier(const char* path, IKivModifier* modifier) override;
  void dumpDatabase(const char* path) override;
  void reportLeaks() override;

  const KivClassId* classId() override;
  bool write(IKivDataModelWriter* writer) override;
  bool read(IKivDataModelReader* reader) override;
  void setPersistent(bool persistent) override { persistent_ = persistent; }
  bool isPersistent() override { return persistent_; }

  // The text of the dumps, to any stream: the opening two lines, the nodes
  // and edges, and the closing "}".
  static void writeObjectGraph(std::ostream& out, IKivDataObject* object);
  static void writeModifierGraph(std::ostream& out, IKivModifier* modifier);
  static void writeDatabaseGraph(std::ostream& out);
  static void writeLeakReport(std::ostream& out);

private:
  uint8_t persistent_ = 1;
};
