//===- classtable.h - The component's class table, row by row --*- C++ -*-===//
//
// The 91 classes that the component offers, in registration order: the class
// name, the interface name it is registered under (null for the two classes
// without one), the class identifier as text, and whether one instance serves
// every request. Shared by the component's tests and the test that loads the
// built library; both check every class that is built against its row.
//
//===----------------------------------------------------------------------===//
#pragma once

#include <cstring>
#include <set>
#include <string>
#include <vector>

namespace classtable {

struct Row {
  const char* name;
  const char* interfaceName;
  const char* id;
  bool singleton;
};

inline constexpr Row kRows[] = {
    {"Array3D", "IKivArray3D", "{8B6867F3-27B4-487D-8871-F099E765D576}", false},
    {"Array3DProperty", "IKivArray3DProperty", "{F951CC30-D0BE-4061-B524-D6F5788E3531}", false},
    {"BoolProperty", "IKivBoolProperty", "{BB34609A-22FD-4EB0-909C-7E7BC819515C}", false},
    {"ByteArray", "IKivByteArray", "{80DFCDFD-C406-426F-95F4-6B4F710ADB5A}", false},
    {"ByteArrayProperty", "IKivByteArrayProperty", "{02BF0BF9-293A-49BE-AA47-FC3E29555DE1}", false},
    {"ColorArray", "IKivColorArray", "{781DA8BE-B2AE-42E1-9931-CC20844A0FCD}", false},
    {"ColorArrayProperty", "IKivColorArrayProperty",
     "{7D80DE14-BCB9-4A40-B26B-571B9E2DA5A4}", false},
    {"DatabaseUtil", "IKivDatabaseUtil", "{4E777F93-D0BD-46D0-88EA-8ADD14367583}", false},
    {"DataEvent", "IKivDataObjectEvent", "{96274361-E22C-4299-A718-C219C76F9849}", false},
    {"DataEventArgs", "IKivDataEventArgs", "{0EAB57A6-A25C-43FC-BB5E-0CEAE2E35979}", false},
    {"DataObject", "IKivDataObject", "{88F576B9-9B54-44DF-A701-3B40500CA689}", false},
    {"DataObjectArray", "IKivDataObjectArray", "{47B39B3E-951F-4440-AA1D-F9F56785E039}", false},
    {"DataObjectArrayProperty", "IKivDataObjectArrayProperty",
     "{EBDAE88C-5739-466C-AE45-B12A17CF5B44}", false},
    {"DirIndex", "IKivDirIndex", "{CF1BA800-53AE-40FD-8F26-AE91EC2ADAA4}", false},
    {"DoubleProperty", "IKivDoubleProperty", "{E81C94C1-0860-4244-9491-40E93B2246BB}", false},
    {"DoubleArray", "IKivDoubleArray", "{4DE96C56-67FE-4061-8759-2A4D2093F822}", false},
    {"DoubleArray2D", "IKivDoubleArray2D", "{60D61744-8FB1-4716-B36A-2233F37D351C}", false},
    {"DoubleArray2DProperty", "IKivDoubleArray2DProperty",
     "{4DC2CE87-8432-469F-94F9-C4620AB165C7}", false},
    {"DoubleArrayProperty", "IKivDoubleArrayProperty",
     "{C452B508-DF90-454D-9150-73B83E5875F1}", false},
    {"Duplicate", "IKivDuplicate", "{61B794C8-CB4D-4C3F-AF35-7C888BC1433F}", false},
    {"DynamicDataObject", "IKivDynamicDataObject", "{D7DF40BF-3332-4897-83DF-1FD63F00389F}", false},
    {"KivBoundsProperty", "IKivBoundsProperty", "{4F46F57A-FBE8-47A9-A4E8-F4F02F885F0A}", false},
    {"DirIndexProperty", "IKivDirIndexProperty", "{6B3C68A9-804C-4631-B4E4-C29C75C98E2C}", false},
    {"Transform3DProperty", "IKivMatrixProperty", "{282DA26B-EC7C-441A-9E6A-C9047A2AC39B}", false},
    {"Vector3DProperty", "IKivVectorProperty", "{76409747-13AF-4984-A404-423D6D632DBB}", false},
    {"ImageProperty", "IKivImageProperty", "{3AFB9D60-F0DC-4EC2-81C1-BED678765EC0}", false},
    {"IntArray", "IKivIntArray", "{474B93E0-21CD-4C1C-B0CD-874805FC9DB8}", false},
    {"IntArrayProperty", "IKivIntArrayProperty", "{A5A2F718-2CAC-4EDF-8539-4162BAC45E9A}", false},
    {"InternalDataObject", "IKivInternalDataObject",
     "{9FDBBB94-2B98-4380-BA4E-68E1854C6751}", false},
    {"IntProperty", "IKivIntProperty", "{088FE0EA-A8B3-48AB-BCA7-7FCB948AC380}", false},
    {"Modifier", "IKivModifier", "{C80BEDB9-9B1E-451C-8AB5-C7E6F82ABA31}", false},
    {"ObjectProperty", "IKivObjectProperty", "{96A7AD15-470C-4A54-94FD-25964678CDF0}", false},
    {"OrientedTriangle", "IKivOrientedTriangle", "{A1ECAEE9-35AC-4C5B-BA59-BC3FA66F3F32}", false},
    {"OrientedTriangleStack", "IKivOrientedTriangleStack",
     "{BBE47370-7CD7-420B-B892-FC4E0A609585}", false},
    {"OrientedTriangleStackList", "IKivOrientedTriangleStackList",
     "{3209FCD5-0CF4-433E-AFE7-6D3892B7D276}", false},
    {"OrientedTriangleProperty", "IKivOrientedTriangleProperty",
     "{074BC6FA-AB3B-472D-BF25-634DC25EB172}", false},
    {"OrientedTriangleStackProperty", "IKivOrientedTriangleStackProperty",
     "{9521A7F5-8D91-44BD-9A34-DBA67ABDBD69}", false},
    {"OrientedTriangleStackListProperty", "IKivOrientedTriangleStackListProperty",
     "{99EC161A-E9E7-45D2-B368-677218AD47B5}", false},
    {"PropertyMap", "IKivPropertyMap", "{708F90B1-F2EE-45E8-A20F-70D60FAC53AD}", false},
    {"Relationship", "IKivRelationship", "{C54A49F8-063C-4047-9F2E-B54591CC5C69}", false},
    {"StringArray", "IKivStringArray", "{67F4E745-7ED3-4036-B939-DB41D55C23FC}", false},
    {"StringArrayProperty", "IKivStringArrayProperty",
     "{63917132-EA1E-456F-8988-CEEA96DBF8E4}", false},
    {"StringProperty", "IKivStringProperty", "{FA1D9222-BA5E-4CE3-A8BF-7743692B3077}", false},
    {"Transform3DArray", "IKivTransform3DArray", "{2BBF8FC8-72ED-4D32-AD2A-2F3533898C9C}", false},
    {"Transform3DArrayProperty", "IKivTransform3DArrayProperty",
     "{D572D89D-7EA5-4AB0-8365-1A9E0A3143E4}", false},
    {"Vector2DProperty", "IKivVector2DProperty", "{B1E19ECC-DE32-45B6-A797-FDCA671CA94A}", false},
    {"Vector2DArray", "IKivVector2DArray", "{BE52BA80-68FF-4E15-A6B9-0C268E8932CD}", false},
    {"Vector2DArrayProperty", "IKivVector2DArrayProperty",
     "{EFAC4AE5-11BF-459E-91E2-751F97FC74F6}", false},
    {"Vector2FProperty", "IKivVector2FProperty", "{C577D4A4-D93B-4448-ACAC-9ABD62AFE15C}", false},
    {"Vector2FArray", "IKivVector2FArray", "{12BEE120-82C4-43C9-80EC-829BDE8E5994}", false},
    {"Vector2FArrayProperty", "IKivVector2FArrayProperty",
     "{71F58ACA-A311-4968-8CE4-D87D6E4D25E2}", false},
    {"Vector3DArray", "IKivVector3DArray", "{C341E884-4301-401C-BDCF-F361E6308649}", false},
    {"Vector3DArray2D", "IKivVector3DArray2D", "{509A6E94-887E-427A-8AC7-3B7BAC627742}", false},
    {"Vector3DArrayProperty", "IKivVector3DArrayProperty",
     "{E0797A59-E841-4FEC-BEB0-5365612C7D93}", false},
    {"Vector3DArray2DProperty", "IKivVector3DArray2DProperty",
     "{7AA5C883-0FCF-43E9-BD49-E0007F40F8ED}", false},
    {"ProgressProperty", "IProgressProperty", "{B5EC7610-1ABD-4D96-949A-B3C2228ADB64}", false},
    {"UndoInfo", "IKivUndoInfo", "{1C73A938-5E46-4CE0-BE5D-C8A6ECBC02FF}", false},
    {"UndoManager", "IKivUndoManager", "{603E1C02-91D2-415C-ACFF-3F4AD3D60C15}", false},
    {"GridIndexProperty", "IKivGridIndexProperty", "{215E2186-444D-4D82-AE2C-9032AFB382F2}", false},
    {"KivColorProperty", "IKivColorProperty", "{9FAEDEA4-6F30-4B1B-BE1D-AF1513C7EB1A}", false},
    {"KivMaterialProperty", "IKivMaterialProperty",
     "{C52C6309-0AD9-4555-83E3-DB275F29E857}", false},
    {"DataObjectArrayListener", "IKivDataObjectArrayListener",
     "{F205547A-B440-4D4E-ABA3-063CEA7E9939}", false},
    {"ModifierJobQueueCBObject", "IModifierJobQueueCBObject",
     "{A906EBB2-61B6-4260-B71D-9941F79ADBB0}", false},
    {"ModifierJobQueue", "IKivModifierJobQueue", "{18CB9115-0F6A-415A-9B5E-019E83128400}", false},
    {"DataObjectInstance", "IKivDataObjectInstance",
     "{938F871F-7512-4B35-95BD-B3DA706CA804}", false},
    {"AppProxyManager", "IKivAppProxyManager", "{B37710C2-6459-4225-ADA2-2ED2F0FE2157}", true},
    {"Database", "IKivDatabase", "{B31258EC-0199-4E7C-886D-D964C958D5FD}", true},
    {"KivPythonTypeConversionService", "IKivPythonTypeConversionService",
     "{E6C71631-1B1C-49D6-B92E-60F09ABCFAE1}", true},
    {"Progress", "IProgress", "{FF964552-F219-4F5C-92C2-8B8C1B7DE79C}", true},
    {"ProgressInstance", "IProgressInstance", "{C5056D41-F24E-4510-B7BD-3F854C18FB22}", false},
    {"ProgressListener", "IProgressListener", "{B3B5FE6E-0452-47AB-81DB-BEBBC96DA3A4}", false},
    {"ImageArray", "IKivImageArray", "{7ACDC885-8880-4802-8B7C-EA9542098776}", false},
    {"ImageArrayProperty", "IKivImageArrayProperty",
     "{159242AD-004D-4A57-8544-610DCCA0280B}", false},
    {"Document", "IKivDocument", "{DA18419A-62FF-42C7-AB3C-726FE16F4185}", false},
    {"DocumentData", "IKivDocumentData", "{21F0B6BF-8D77-43D4-BC74-9188098CBCE4}", false},
    {"DocumentGroup", "IKivDocumentGroup", "{0C887E07-D2A4-4CF0-9CB3-B48FFA8435D5}", false},
    {"DocumentItem", "IKivDocumentItem", "{6D68F483-31D4-4CE8-9EE1-3D38B7392F22}", false},
    {"DocumentManager", "IKivDocumentManager", "{C8700D5F-F6C1-44E4-837F-4374BCD063FA}", true},
    {"DocumentManagerListener", "IKivDocumentManagerListener",
     "{08DB4C0F-ECDB-4A71-8846-4C15AAB9F0EB}", false},
    {"DocumentListener", "IKivDocumentListener", "{09A987DF-2CBC-49AB-91DD-0B2F5542FABF}", false},
    {"UndoManagerListener", "IKivUndoManagerListener",
     "{D74AAAC5-D480-4ADA-A8E2-23E057C3C126}", false},
    {"GridIndex", "IKivGridIndex", "{1209E3CB-007C-4D1F-9CAD-CDD9DE56FD73}", false},
    {"CompositeModifier", "IKivCompositeModifier", "{D4DF77F1-61B8-4F19-BE74-EA591D657BBA}", false},
    {"OpaqueData", "IKivOpaqueData", "{D60FC527-F795-470E-BD5B-A0B2CA7B2172}", false},
    {"PlatformBuildInfo", "IKivPlatformBuildInfo", "{46F39C69-C79F-470F-92B4-038B5C2B7E31}", false},
    {"StringIter", "IKivStringIter", "{0FE0EF42-2DEB-4A07-A12A-8374A4DBFAC5}", false},
    {"DatamodelInit", nullptr, "{3818D800-C6E0-4E1A-BC54-BF5C2D9F49D4}", false},
    {"DatamodelShutdownListener", nullptr, "{68C8713E-960B-4D1D-BF57-BD1DD8673AD0}", false},
    {"GetDataStoreValue", "IKivGetDataStoreValue", "{AE4D0D40-7A80-4D24-8A5B-17B407C2C729}", false},
    {"SetDataStoreValue", "IKivSetDataStoreValue", "{CCC006E1-2C28-42C6-99E9-85AF1E332203}", false},
    {"WriteQueue", "IKivWriteQueue", "{D95112AE-21E6-45F8-B7E9-E587AD4FA8F0}", true},
};

// The row of a class name, or null if the table has no such class.
inline const Row* rowOf(const char* name) {
  for (const Row& row : kRows)
    if (name && std::strcmp(row.name, name) == 0)
      return &row;
  return nullptr;
}

// A class as a component lists it: its name, its identifier as text and the
// interface names registered for that identifier.
struct ListedClass {
  std::string name;
  std::string id;
  std::vector<std::string> interfaces;
};

// Every listed class against its row: one line per difference, empty when
// all agree. `notBuilt` receives the names of the rows nobody listed.
inline std::string mismatches(const std::vector<ListedClass>& listed,
                              std::string* notBuilt) {
  std::string out;
  std::set<std::string> seen;
  for (const ListedClass& c : listed) {
    if (!seen.insert(c.name).second)
      out += c.name + ": listed twice\n";
    const Row* row = rowOf(c.name.c_str());
    if (!row) {
      out += c.name + ": not in the class table\n";
      continue;
    }
    if (c.id != row->id)
      out += c.name + ": identifier " + c.id + ", table " + row->id + "\n";
    const std::vector<std::string> expected =
        row->interfaceName ? std::vector<std::string>{row->interfaceName}
                           : std::vector<std::string>{};
    if (c.interfaces != expected)
      out += c.name + ": interfaces registered " + std::to_string(c.interfaces.size()) +
             ", table " + (row->interfaceName ? row->interfaceName : "none") + "\n";
  }
  notBuilt->clear();
  for (const Row& row : kRows)
    if (!seen.count(row.name))
      *notBuilt += std::string(notBuilt->empty() ? "" : " ") + row.name;
  return out;
}

} // namespace classtable
