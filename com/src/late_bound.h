#pragma once
// Calls on a platform object by member name. Identifiers are asked for once
// per name: through GetIDsOfNames, or through IDispatchEx::GetDispID for
// objects that only answer that way (script-defined classes do). Every
// argument travels as VT_BYREF|VT_VARIANT, so whatever the callee writes
// comes back into the caller's Variant, and an argument left out is passed
// as DISP_E_PARAMNOTFOUND: script methods fail when given fewer arguments
// than they declare.

#include <windows.h>

#include <oaidl.h>

#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>
#include <wrl/client.h>

#include "brelvane/automation/dispatch.h"

namespace brelvane::com {

using Microsoft::WRL::ComPtr;

class LateBound {
 public:
  explicit LateBound(ComPtr<IDispatch> object) : object_(std::move(object)) {}

  IDispatch* object() const { return object_.Get(); }

  Variant get(std::string_view name);
  /// A property or method result that must be an object, raw (91 when
  /// it is Nothing, 13 when it is no object).
  ComPtr<IDispatch> getObject(std::string_view name, std::span<Variant> args = {});
  void put(std::string_view name, const Variant& value, bool byRef = false);
  Variant call(std::string_view name, std::span<Variant> args);

 private:
  DISPID idOf(std::string_view name);
  /// One Invoke; the result is left in `result` for the caller to convert.
  void invoke(std::string_view name, WORD flags, std::span<Variant> args, VARIANT& result);

  ComPtr<IDispatch> object_;
  std::vector<std::pair<std::string, DISPID>> ids_;
};

}  // namespace brelvane::com
