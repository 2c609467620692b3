//===- kivpythontypeconversionservice.h - Script wrapper registry -*- C++ -*-===//
//
// A singleton of the class table in which a host's scripting layer records
// one conversion function per pair of conversion name and script type name
// (a property's typeName(), an object's scriptClassName()), and through which
// it converts. A type without a function of its own falls back, after a line
// on the standard log stream, to the function for
// "kivapi.datamodel.DataObject"; with neither the result is 0.
//
// Invariants a user must know:
//  - No lock, and the key is built in one process-wide 512-byte buffer (cut
//    at 511 characters): one thread at a time.
//  - Functions are never released; they must outlive the service.
//
//===----------------------------------------------------------------------===//
#pragma once

#include "basic_types/map.h"
#include "core/kivobject.h"
#include "kivbasictypes/kivcstring.h"

#include <cstdint>

class IKivDataObject;
class IKivProperty;

// Gets the property or data object to convert; the result is handed back
// unread.
using ConversionFunction = intptr_t (*)(IKivUnknown* object);

class IKivPythonTypeConversionService : public virtual IKivUnknown {
public:
  virtual bool registerObjectConversion(const char* conversion, const char* type,
                                        ConversionFunction f) = 0;                     // 1
  virtual bool registerPropertyConversion(const char* conversion, const char* type,
                                          ConversionFunction f) = 0;                   // 2
  virtual intptr_t convertProperty(const char* conversion, IKivProperty* property) = 0;  // 3
  virtual intptr_t convertObject(const char* conversion, IKivDataObject* object) = 0;    // 4
};

class KivPythonTypeConversionService : public IKivPythonTypeConversionService {
public:
  static constexpr const char* kClassName = "KivPythonTypeConversionService";

  void queryInterface(const char* name, void** out) override;
  const char* className() const override { return kClassName; }

  bool registerObjectConversion(const char* conversion, const char* type,
                                ConversionFunction f) override;
  bool registerPropertyConversion(const char* conversion, const char* type,
                                  ConversionFunction f) override;
  intptr_t convertProperty(const char* conversion, IKivProperty* property) override;
  intptr_t convertObject(const char* conversion, IKivDataObject* object) override;

private:
  intptr_t convert(Map<KivCString, ConversionFunction>& table, const char* conversion,
                   const char* type, IKivUnknown* object);

  Map<KivCString, ConversionFunction> propertyConversions_{17};
  Map<KivCString, ConversionFunction> objectConversions_{17};
};
