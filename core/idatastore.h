//===- idatastore.h - The host's settings store -----------------*- C++ -*-===//
//
// Keys are slash-separated paths ("Advanced/Max Number of Threads"). Slots
// are counted from 1 and are a contract; the slots that no caller in the
// component names hold the host's own operations. Kinds: 1 int, 2 double,
// 3 8-bit string, 4 wide string. Listeners are IKivUnknowns that answer
// "IKivDataReceiver"; they hold no reference and must be removed by whoever
// added them.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "core/kivobject.h"

class KivString;

enum KivDataStoreKind { kDataStoreInt = 1, kDataStoreDouble = 2, kDataStoreCString = 3,
                        kDataStoreString = 4, kDataStoreUnknown = 5 };

class IDataStore : public virtual IKivUnknown {
public:
  virtual void addGroup(const char* group) = 0;                                      // 1
  virtual bool hasGroup(const char* group) = 0;                                      // 2
  virtual void removeKey(const char* key) = 0;                                       // 3
  virtual void reserved4() {}                                                        // 4
  virtual void addInt(const char* key, int def, int min, int max, int flags) = 0;    // 5
  virtual void addDouble(const char* key, double def, double min, double max,
                         int flags) = 0;                                             // 6
  virtual void addCString(const char* key, int maxLength, const char* def,
                          int flags) = 0;                                            // 7
  virtual void addString(const char* key, int maxLength, const KivString& def,
                         int flags) = 0;                                             // 8
  virtual void reserved9() {}                                                        // 9
  virtual void reserved10() {}                                                       // 10
  virtual int getInt(const char* key, bool* found) = 0;                              // 11
  virtual double getDouble(const char* key, bool* found) = 0;                        // 12
  virtual void reserved13() {}                                                       // 13
  virtual void reserved14() {}                                                       // 14
  virtual const char* getCString(const char* key, bool* found) = 0;                  // 15
  virtual void reserved16() {}                                                       // 16
  virtual KivString getString(const char* key, void* unused) = 0;                    // 17
  virtual void getIntRange(const char* key, int* min, int* max, bool* found) = 0;    // 18
  virtual void getDoubleRange(const char* key, double* min, double* max,
                              bool* found) = 0;                                      // 19
  virtual int getMaxLength(const char* key) = 0;                                     // 20
  virtual bool load(const char* path) = 0;                                           // 21
  virtual bool save(const char* path) = 0;                                           // 22
  virtual void reserved23() {}                                                       // 23
  virtual void reserved24() {}                                                       // 24
  virtual void reserved25() {}                                                       // 25
  virtual void reserved26() {}                                                       // 26
  virtual void reserved27() {}                                                       // 27
  virtual void reserved28() {}                                                       // 28
  virtual void getKind(const char* key, int* kind) = 0;                              // 29
  virtual void reserved30() {}                                                       // 30
  virtual void reserved31() {}                                                       // 31
  virtual void reserved32() {}                                                       // 32
  virtual void reserved33() {}                                                       // 33
  virtual void reserved34() {}                                                       // 34
  virtual bool hasKey(const char* key) = 0;                                          // 35
  virtual void addListener(const char* key, IKivUnknown* listener) = 0;              // 36
  virtual void removeListener(const char* key, IKivUnknown* listener) = 0;           // 37
  virtual void reserved38() {}                                                       // 38
  virtual void reserved39() {}                                                       // 39
  virtual void reserved40() {}                                                       // 40
  virtual void reserved41() {}                                                       // 41
  virtual void reserved42() {}                                                       // 42
  virtual void reserved43() {}                                                       // 43
  virtual void reserved44() {}                                                       // 44
  virtual void reserved45() {}                                                       // 45
  virtual void setString(int scope, const char* key, const KivString& value) = 0;    // 46
  virtual void setCString(int scope, const char* key, const char* value) = 0;        // 47
  virtual void setDouble(int scope, const char* key, double value) = 0;              // 48
  virtual void setInt(int scope, const char* key, int value) = 0;                    // 49
};

// What a settings listener receives: one operation per kind of value.
class IKivDataReceiver : public virtual IKivUnknown {
public:
  virtual void receiveInt(const char* key, int value) = 0;                   // 1
  virtual void receiveCString(const char* key, const char* value) = 0;       // 2
  virtual void receiveString(const char* key, const KivString& value) = 0;   // 3
  virtual void receiveDouble(const char* key, double value) = 0;             // 4
  virtual void receiveBool(const char* key, bool value) = 0;                 // 5
  virtual void receiveInt64(const char* key, long long value) = 0;           // 6
  virtual void receivePointer(const char* key, void* value) = 0;             // 7
};

// Empty bodies for all seven, so a listener overrides only what it needs.
class TovDataReceiver : public IKivDataReceiver {
public:
  void receiveInt(const char*, int) override {}
  void receiveCString(const char*, const char*) override {}
  void receiveString(const char*, const KivString&) override {}
  void receiveDouble(const char*, double) override {}
  void receiveBool(const char*, bool) override {}
  void receiveInt64(const char*, long long) override {}
  void receivePointer(const char*, void*) override {}
};
