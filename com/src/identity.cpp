#include "identity.h"

#include "brelvane/automation/dispatch.h"

namespace brelvane::com {

const ClassIdentity* classByProgId(std::string_view progId) {
  for (const auto& c : kClasses)
    if (sameName(c.progId, progId)) return &c;
  return nullptr;
}

const ClassIdentity* classByClsid(REFCLSID clsid) {
  for (const auto& c : kClasses)
    if (IsEqualGUID(c.clsid, clsid)) return &c;
  return nullptr;
}

}  // namespace brelvane::com
