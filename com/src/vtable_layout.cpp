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

AbiType abiTypeOf(const ParamInfo& p, bool isEnumeration) {
  if (isEnumeration) return {"VT_I4", "LONG"};
  if (passedAsVariant(p)) return {"VT_VARIANT", "VARIANT"};
  switch (p.type) {
    case ParamType::Boolean:
      return {"VT_BOOL", "VARIANT_BOOL"};
    case ParamType::Integer:
      return {"VT_I2", "SHORT"};
    case ParamType::Long:
      return {"VT_I4", "LONG"};
    case ParamType::Double:
      return {"VT_R8", "DOUBLE"};
    case ParamType::String:
      return {"VT_BSTR", "BSTR"};
    case ParamType::Date:
      return {"VT_DATE", "DATE"};
    case ParamType::Object:
      return {"VT_DISPATCH", "IDispatch*"};
    case ParamType::Variant:
      break;
  }
  return {"VT_VARIANT", "VARIANT"};
}

}  // namespace brelvane::com
