#include "vtable_layout.h"

#include <algorithm>

#include "dispids.h"

namespace brelvane::com {

std::vector<VtableEntry> vtableOf(const ClassInfo& info, std::string_view owner) {
  std::vector<const DispIdRow*> rows;
  for (const auto& row : dispIdRows())
    if (row.owner == owner) rows.push_back(&row);
  std::sort(rows.begin(), rows.end(),
            [](const DispIdRow* a, const DispIdRow* b) { return a->id < b->id; });
  std::vector<VtableEntry> out;
  for (const DispIdRow* row : rows) {
    if (const PropertyInfo* p = info.findProperty(row->member)) {
      if (p->canGet) out.push_back({row->id, row->member, Accessor::Get, p});
      if (p->canPut) out.push_back({row->id, row->member, Accessor::Put, p});
      if (p->canPutRef) out.push_back({row->id, row->member, Accessor::PutRef, p});
    } else if (const MethodInfo* m = info.findMethod(row->member)) {
      out.push_back({row->id, row->member, Accessor::Call, nullptr, m});
    }
  }
  return out;
}

AbiType abiTypeOf(ParamType type) {
  // The codes are the platform's VARTYPE values; variant_conv.cpp checks
  // them against its header.
  switch (type) {
    case ParamType::Boolean:
      return {11, "VT_BOOL", "VARIANT_BOOL"};
    case ParamType::Integer:
      return {2, "VT_I2", "SHORT"};
    case ParamType::Long:
      return {3, "VT_I4", "LONG"};
    case ParamType::Double:
      return {5, "VT_R8", "DOUBLE"};
    case ParamType::String:
      return {8, "VT_BSTR", "BSTR"};
    case ParamType::Date:
      return {7, "VT_DATE", "DATE"};
    case ParamType::Object:
      return {9, "VT_DISPATCH", "IDispatch*"};
    case ParamType::Variant:
      break;
  }
  return {12, "VT_VARIANT", "VARIANT"};
}

AbiType abiTypeOf(const ParamInfo& p, bool isEnumeration) {
  if (isEnumeration) return abiTypeOf(ParamType::Long);
  return abiTypeOf(passedAsVariant(p) ? ParamType::Variant : p.type);
}

}  // namespace brelvane::com
