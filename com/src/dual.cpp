#include "dual.h"

#include <cstring>
#include <map>
#include <mutex>

namespace brelvane::com {

namespace {

size_t sizeOf(VARTYPE vt) {
  switch (vt) {
    case VT_I2:
    case VT_BOOL:
      return 2;
    case VT_I4:
      return 4;
    case VT_R8:
    case VT_DATE:
      return 8;
    default:
      return sizeof(void*);  // VT_BSTR, VT_DISPATCH
  }
}

// IDispatch's seven methods on the view, each passed on to its owner.
DualView* view(void* self) {
  return static_cast<DualView*>(self);
}
HRESULT STDMETHODCALLTYPE queryInterface(void* self, REFIID iid, void** out) {
  return view(self)->owner->QueryInterface(iid, out);
}
ULONG STDMETHODCALLTYPE addRef(void* self) {
  return view(self)->owner->AddRef();
}
ULONG STDMETHODCALLTYPE release(void* self) {
  return view(self)->owner->Release();
}
HRESULT STDMETHODCALLTYPE getTypeInfoCount(void* self, UINT* count) {
  return view(self)->owner->GetTypeInfoCount(count);
}
HRESULT STDMETHODCALLTYPE getTypeInfo(void* self, UINT index, LCID lcid, ITypeInfo** out) {
  return view(self)->owner->GetTypeInfo(index, lcid, out);
}
HRESULT STDMETHODCALLTYPE getIDsOfNames(void* self, REFIID iid, LPOLESTR* names, UINT count,
                                        LCID lcid, DISPID* ids) {
  return view(self)->owner->GetIDsOfNames(iid, names, count, lcid, ids);
}
HRESULT STDMETHODCALLTYPE invoke(void* self, DISPID id, REFIID iid, LCID lcid, WORD flags,
                                 DISPPARAMS* params, VARIANT* result, EXCEPINFO* exception,
                                 UINT* argError) {
  return view(self)->owner->Invoke(id, iid, lcid, flags, params, result, exception, argError);
}

}  // namespace

VARIANT byValue(VARTYPE vt, const void* value) {
  VARIANT v;
  if (vt == VT_VARIANT) {
    std::memcpy(&v, value, sizeof v);
    return v;
  }
  VariantInit(&v);
  v.vt = vt;
  std::memcpy(&v.llVal, value, sizeOf(vt));
  return v;
}

VARIANT byReference(VARTYPE vt, void* variable) {
  VARIANT v;
  VariantInit(&v);
  v.vt = VT_BYREF | vt;
  v.byref = variable;
  return v;
}

HRESULT forward(IDispatch* self, DISPID id, WORD flags, VARIANT* args, UINT count,
                VARTYPE resultType, void* result) {
  DISPID put = DISPID_PROPERTYPUT;
  DISPPARAMS params{args, nullptr, count, 0};
  if (flags & (DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF)) {
    params.rgdispidNamedArgs = &put;
    params.cNamedArgs = 1;
  }
  if (result && resultType == VT_VARIANT) VariantInit(static_cast<VARIANT*>(result));
  VARIANT out;
  VariantInit(&out);
  EXCEPINFO exception{};
  UINT argError = 0;
  HRESULT hr = self->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, flags, &params,
                            result ? &out : nullptr, &exception, &argError);
  if (hr == DISP_E_EXCEPTION) {
    SysFreeString(exception.bstrSource);
    SysFreeString(exception.bstrDescription);
    SysFreeString(exception.bstrHelpFile);
    return exception.scode ? exception.scode : E_FAIL;
  }
  if (FAILED(hr) || !result) return hr;
  if (resultType == VT_VARIANT) {
    *static_cast<VARIANT*>(result) = out;  // the caller owns it now
    return S_OK;
  }
  // Nothing (an empty object reference) reads as a null pointer.
  if (resultType == VT_DISPATCH && (out.vt == VT_EMPTY || out.vt == VT_NULL)) {
    *static_cast<IDispatch**>(result) = nullptr;
    return S_OK;
  }
  hr = VariantChangeTypeEx(&out, &out, LOCALE_INVARIANT, VARIANT_ALPHABOOL, resultType);
  if (FAILED(hr)) {
    VariantClear(&out);
    return hr;
  }
  std::memcpy(result, &out.llVal, sizeOf(resultType));  // a text or object moves to the caller
  return S_OK;
}

const void* const* dualVtableOf(std::string_view owner) {
  static std::mutex guard;
  static std::map<std::string_view, std::vector<const void*>> tables;
  std::lock_guard lock(guard);
  if (auto it = tables.find(owner); it != tables.end()) return it->second.data();
  for (size_t i = 0; i < kDualSlotCount; ++i) {
    const DualSlots& c = kDualSlots[i];
    if (c.owner != owner) continue;
    std::vector<const void*> table{reinterpret_cast<const void*>(&queryInterface),
                                   reinterpret_cast<const void*>(&addRef),
                                   reinterpret_cast<const void*>(&release),
                                   reinterpret_cast<const void*>(&getTypeInfoCount),
                                   reinterpret_cast<const void*>(&getTypeInfo),
                                   reinterpret_cast<const void*>(&getIDsOfNames),
                                   reinterpret_cast<const void*>(&invoke)};
    for (size_t s = 0; s < c.count; ++s) table.push_back(reinterpret_cast<const void*>(c.slots[s]));
    return tables.emplace(c.owner, std::move(table)).first->second.data();  // static text
  }
  return nullptr;
}

}  // namespace brelvane::com
