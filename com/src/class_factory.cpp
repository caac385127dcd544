#include "class_factory.h"

namespace brelvane::com {

HRESULT getClassObject(REFCLSID, REFIID, void** out) {
  if (out) *out = nullptr;
  return CLASS_E_CLASSNOTAVAILABLE;
}

}  // namespace brelvane::com
