#pragma once
// What the compiled clients of brelvane.dll share.

#include "late_bound.h"
#include "text.h"

namespace brelvane::com {

/// A new object of the class `progId`, created through the platform; null,
/// with the reason in `hr` when asked for, when there is none.
inline ComPtr<IDispatch> create(std::string_view progId, HRESULT* hr = nullptr) {
  CLSID clsid;
  ComPtr<IDispatch> object;
  HRESULT made = CLSIDFromProgID(widen(progId).c_str(), &clsid);
  if (SUCCEEDED(made))
    made = CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER, IID_IDispatch, &object);
  if (hr) *hr = made;
  return object;
}

}  // namespace brelvane::com
