#pragma once
// The order and the signatures of a class's dual interface: its members in
// the order of their dispatch identifiers, a property as its get, put and
// put-by-reference accessors in that order. The type library (typelib.cpp)
// and the generated vtable slots (com/gen) both take them from here, so the
// offsets a client reads from one are the slots the other fills. Portable:
// the generator runs natively at build time.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "brelvane/automation/dispatch.h"

namespace brelvane::com {

enum class Accessor { Get, Put, PutRef, Call };

struct VtableEntry {
  std::int32_t dispId;
  std::string_view name;
  Accessor accessor;
  const PropertyInfo* property = nullptr;  ///< for the three accessors
  const MethodInfo* method = nullptr;      ///< for a call
};

/// The entries after IDispatch's seven, for the class `owner` of the
/// checked-in identifier table ("CLSCI_LOOKUP").
std::vector<VtableEntry> vtableOf(const ClassInfo& info, std::string_view owner);

/// An optional parameter without a default is a VARIANT whatever its type,
/// so that its omission stays visible to the callee.
inline bool passedAsVariant(const ParamInfo& p) {
  return p.optional && p.defaultValue.isMissing();
}

/// How a value of a declared type crosses COM: its automation type's code
/// (VARTYPE), name ("VT_I2") and C type ("SHORT"). The one statement of the
/// mapping: the type library, the event arguments, the coercion of
/// arguments and the generated slots all read it.
struct AbiType {
  std::uint16_t code;
  const char* vt;
  const char* c;
};
AbiType abiTypeOf(ParamType type);
/// The same for a parameter: an enumeration crosses as a long, and an
/// optional one without a default as a VARIANT.
AbiType abiTypeOf(const ParamInfo& p, bool isEnumeration);

}  // namespace brelvane::com
