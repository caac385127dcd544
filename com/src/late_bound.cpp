#include "late_bound.h"
#include <dispex.h>

#include "errors.h"
#include "text.h"
#include "variant_conv.h"

namespace brelvane::com {

namespace {
/// Clears a VARIANT at the end of a scope.
struct Cleared {
  VARIANT v;
  Cleared() { VariantInit(&v); }
  ~Cleared() { VariantClear(&v); }
};
}  // namespace

DISPID LateBound::idOf(std::string_view name) {
  for (const auto& [known, id] : ids_)
    if (sameName(known, name)) return id;
  std::wstring wide = widen(name);
  LPOLESTR names[] = {wide.data()};
  DISPID id = DISPID_UNKNOWN;
  HRESULT hr = object_->GetIDsOfNames(IID_NULL, names, 1, LOCALE_USER_DEFAULT, &id);
  if (FAILED(hr)) {
    ComPtr<IDispatchEx> ex;
    if (SUCCEEDED(object_.As(&ex))) {
      Bstr bstr(name);
      hr = ex->GetDispID(bstr.get(), fdexNameCaseInsensitive, &id);
    }
  }
  // A name the object does not have is 438, as for a script; any other
  // failure (a type library the object cannot find, say) keeps its HRESULT.
  if (hr == DISP_E_UNKNOWNNAME || hr == DISP_E_MEMBERNOTFOUND)
    throw AutomationError::of(err::kUnknownMember, std::string(name));
  if (FAILED(hr)) throw AutomationError(static_cast<int32_t>(hr), "", std::string(name));
  ids_.emplace_back(std::string(name), id);
  return id;
}

void LateBound::invoke(std::string_view name, WORD flags, std::span<Variant> args,
                       VARIANT& result) {
  const DISPID id = idOf(name);
  const size_t n = args.size();
  VariantList values(n);
  std::vector<VARIANT> refs(n);
  for (size_t i = 0; i < n; ++i) {
    toVariant(args[i], values[i]);
    // Arguments go last first.
    VARIANT& ref = refs[n - 1 - i];
    VariantInit(&ref);
    if (flags & (DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF)) {
      ref = values[i];  // a property's new value goes by value
    } else {
      ref.vt = VT_BYREF | VT_VARIANT;
      ref.pvarVal = &values[i];
    }
  }
  DISPID putId = DISPID_PROPERTYPUT;
  DISPPARAMS params{refs.data(), nullptr, static_cast<UINT>(n), 0};
  if (flags & (DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF)) {
    params.rgdispidNamedArgs = &putId;
    params.cNamedArgs = 1;
  }
  EXCEPINFO info{};
  UINT argError = 0;
  HRESULT hr =
      object_->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, flags, &params, &result, &info, &argError);
  if (FAILED(hr)) throw errorFromCall(hr, info);
  if (!(flags & (DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF)))
    for (size_t i = 0; i < n; ++i) args[i] = fromVariant(values[i]);
}

Variant LateBound::get(std::string_view name) {
  Cleared result;
  invoke(name, DISPATCH_PROPERTYGET | DISPATCH_METHOD, {}, result.v);
  return fromVariant(result.v);
}

ComPtr<IDispatch> LateBound::getObject(std::string_view name, std::span<Variant> args) {
  Cleared result;
  invoke(name, DISPATCH_PROPERTYGET | DISPATCH_METHOD, args, result.v);
  VARIANT& v = result.v;
  const VARTYPE type = v.vt & ~VT_BYREF;
  IUnknown* unknown = type == VT_DISPATCH  ? (v.vt & VT_BYREF ? *v.ppdispVal : v.pdispVal)
                      : type == VT_UNKNOWN ? (v.vt & VT_BYREF ? *v.ppunkVal : v.punkVal)
                                           : nullptr;
  if (type != VT_DISPATCH && type != VT_UNKNOWN) throw AutomationError::of(err::kTypeMismatch);
  if (!unknown) throw AutomationError::of(err::kObjectNotSet, std::string(name));
  ComPtr<IDispatch> object;
  if (FAILED(unknown->QueryInterface(IID_IDispatch, &object)))
    throw AutomationError::of(err::kTypeMismatch);
  return object;
}

void LateBound::put(std::string_view name, const Variant& value, bool byRef) {
  Variant arg = value;
  Cleared ignored;
  invoke(name, byRef ? DISPATCH_PROPERTYPUTREF : DISPATCH_PROPERTYPUT, std::span(&arg, 1),
         ignored.v);
}

Variant LateBound::call(std::string_view name, std::span<Variant> args) {
  Cleared result;
  invoke(name, DISPATCH_METHOD, args, result.v);
  return fromVariant(result.v);
}

}  // namespace brelvane::com
