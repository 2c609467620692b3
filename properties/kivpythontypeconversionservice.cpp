//===- kivpythontypeconversionservice.cpp - Script wrapper registry -------===//
#include "properties/kivpythontypeconversionservice.h"

#include "core/classwalk.h"
#include "model/dataobject.h"
#include "properties/ikivproperty.h"

#include <cstdio>
#include <iostream>

namespace {

const char* const kRootType = "kivapi.datamodel.DataObject";

// The one key buffer of the process.
char keyBuffer[512];

const char* keyOf(const char* conversion, const char* type) {
  std::snprintf(keyBuffer, sizeof keyBuffer, "%s-%s", conversion ? conversion : "",
                type ? type : "");
  return keyBuffer;
}

ConversionFunction lookUp(const Map<KivCString, ConversionFunction>& table, const char* key) {
  auto* node = table.find(KivCString::view(key));
  return node ? node->value : nullptr;
}

} // namespace

void KivPythonTypeConversionService::queryInterface(const char* name, void** out) {
  if (!name) {
    KivClassWalk* walk = kivWalkOf(out);
    kivWalkClass(walk, kClassName);
    kivWalkEnd(walk);
    kivWalkInterface(walk, "IKivPythonTypeConversionService");
    return;
  }
  *out = nullptr;
  if (kivAnswer(name, kClassName, this, out) ||
      kivAnswer(name, "IKivUnknown", static_cast<IKivUnknown*>(this), out))
    return;
  kivAnswer(name, "IKivPythonTypeConversionService",
            static_cast<IKivPythonTypeConversionService*>(this), out);
}

bool KivPythonTypeConversionService::registerObjectConversion(const char* conversion,
                                                              const char* type,
                                                              ConversionFunction f) {
  objectConversions_[KivCString(keyOf(conversion, type))] = f;
  return true;
}

bool KivPythonTypeConversionService::registerPropertyConversion(const char* conversion,
                                                                const char* type,
                                                                ConversionFunction f) {
  propertyConversions_[KivCString(keyOf(conversion, type))] = f;
  return true;
}

intptr_t KivPythonTypeConversionService::convert(Map<KivCString, ConversionFunction>& table,
                                                 const char* conversion, const char* type,
                                                 IKivUnknown* object) {
  if (ConversionFunction f = lookUp(table, keyOf(conversion, type)))
    return f(object);
  std::clog << "No conversion found for type " << (type ? type : "")
            << ". You may need to add an import statement." << std::endl;
  if (ConversionFunction f = lookUp(table, keyOf(conversion, kRootType)))
    return f(object);
  return 0;
}

intptr_t KivPythonTypeConversionService::convertProperty(const char* conversion,
                                                         IKivProperty* property) {
  if (!property)
    return 0;
  return convert(propertyConversions_, conversion, property->typeName(), property);
}

intptr_t KivPythonTypeConversionService::convertObject(const char* conversion,
                                                       IKivDataObject* object) {
  auto* data = kivQuery<DataObject>(object, "DataObject");
  if (!data)
    return 0;
  return convert(objectConversions_, conversion, data->scriptClassName(),
                 static_cast<IKivDataObject*>(data));
}
