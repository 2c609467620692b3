//===- hostdatastore.h - The reference host's settings store ----*- C++ -*-===//
//
// An in-memory store of typed keys (int, double, 8-bit and wide strings),
// each with a default, bounds or a maximum length, and flags.
//
// Invariants a user must know:
//  - Integers and doubles are clamped into their range; a range is in force
//    only when min < max (a declaration with min >= max has no bounds).
//    Strings are cut to their maximum length when it is positive.
//  - A set on a key of another kind is ignored; a set on an undeclared key
//    declares it without bounds. The scope argument is ignored: this host
//    has one scope.
//  - Declaring an existing key of the same kind keeps its value (clamped to
//    the new bounds), so that values loaded from a file survive the
//    declarations that follow; a declaration of another kind starts over
//    from its default. removeKey leaves the key's listeners subscribed.
//  - Groups are a list of names of their own; keys do not need one.
//  - Listeners hold no reference. They are told after a change, on the
//    changing thread, without any lock held; a listener may remove itself or
//    others while being told. One that is removed before its turn is not
//    told; one that is added during a delivery is told from the next change
//    (unless it was removed during that same delivery: then it may be told).
//  - getCString's pointer stays valid until that key changes or is removed.
//  - Thread-safe.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "core/idatastore.h"

#include <map>
#include <mutex>
#include <set>
#include <string>
#include <vector>

class HostDataStore : public IDataStore {
public:
  HostDataStore();
  ~HostDataStore() override;

  void queryInterface(const char* name, void** out) override;
  const char* className() const override { return "HostDataStore"; }

  void addGroup(const char* group) override;
  bool hasGroup(const char* group) override;
  void removeKey(const char* key) override;
  void addInt(const char* key, int def, int min, int max, int flags) override;
  void addDouble(const char* key, double def, double min, double max, int flags) override;
  void addCString(const char* key, int maxLength, const char* def, int flags) override;
  void addString(const char* key, int maxLength, const KivString& def, int flags) override;
  int getInt(const char* key, bool* found) override;
  double getDouble(const char* key, bool* found) override;
  const char* getCString(const char* key, bool* found) override;
  // `found`, when not null, is a bool*. A missing key gives an empty text. An
  // 8-bit key is read too, widened as KivString widens 8-bit text.
  KivString getString(const char* key, void* found) override;
  void getIntRange(const char* key, int* min, int* max, bool* found) override;
  void getDoubleRange(const char* key, double* min, double* max, bool* found) override;
  // The maximum length of a string key; 0 for no limit or no string key.
  int getMaxLength(const char* key) override;
  // One "key = kind:value" line per key (kinds int, double, cstring, string).
  // A bad line is reported in loadProblems() and skipped; the rest is read.
  // False only when the file cannot be read or written.
  bool load(const char* path) override;
  bool save(const char* path) override;
  // Leaves *kind alone for an unknown key.
  void getKind(const char* key, int* kind) override;
  bool hasKey(const char* key) override;
  void addListener(const char* key, IKivUnknown* listener) override;
  void removeListener(const char* key, IKivUnknown* listener) override;
  void setString(int scope, const char* key, const KivString& value) override;
  void setCString(int scope, const char* key, const char* value) override;
  void setDouble(int scope, const char* key, double value) override;
  void setInt(int scope, const char* key, int value) override;

  // The flags a key was declared with; 0 for an unknown key.
  int flags(const char* key);
  // Problems of the last load, one "path:line: reason" text each.
  std::vector<std::string> loadProblems();

private:
  struct Entry {
    int kind = 0;
    int flags = 0;
    int maxLength = 0;
    int intValue = 0, intDefault = 0, intMin = 0, intMax = 0;
    double doubleValue = 0, doubleDefault = 0, doubleMin = 0, doubleMax = 0;
    std::string text, textDefault;        // kind 3
    std::u16string wide, wideDefault;     // kind 4
  };
  struct Listener {
    IKivUnknown* object;
    bool removed;
  };
  struct ListenerList {
    std::vector<Listener> entries;
    int delivering = 0;
  };
  // What a change delivers; copied out of the entry before the lock is left.
  struct Change {
    int kind = 0;
    int intValue = 0;
    double doubleValue = 0;
    std::string text;
    std::u16string wide;
  };

  // Under the lock: applies bounds/length to the entry's value.
  static void constrain(Entry& entry);
  Change describe(const Entry& entry) const;
  void notify(const std::string& key, const Change& change);
  // Sets the key under the lock; true (and *change filled) when it changed.
  template <class Apply>
  void set(const char* key, int kind, Apply apply);
  // Declares or re-declares a key; `declare` fills the declared fields.
  template <class Declare>
  void declare(const char* key, int kind, Declare fill);
  // Empty on success, else the reason the line was skipped.
  std::string loadLine(const std::string& line);

  std::mutex mutex_;
  std::set<std::string> groups_;
  std::map<std::string, Entry> entries_;
  std::map<std::string, ListenerList> listeners_;
  std::vector<std::string> loadProblems_;
};
