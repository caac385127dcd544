// A generic early-bound client: for every function of every class's dual
// interface in the registered type library, it calls the member through the
// vtable (DispCallFunc at the FUNCDESC's offset, with the declared types) on
// one object and through IDispatch::Invoke on another, both set up alike on
// the demo host, then compares the outcome (HRESULT, result, by-reference
// outputs) and every property afterwards. Needs brelvane.dll and the test
// host registered. Prints a line per difference and a count; exit 1 on one.
// A typed call through the generated header's declarations comes first.
#include <windows.h>

#include <oleauto.h>

#include <cstdio>
#include <string>
#include <vector>

#include "brelvane_com.h"

namespace {

IDispatch* create(const wchar_t* progId) {
  CLSID clsid;
  IDispatch* object = nullptr;
  if (FAILED(CLSIDFromProgID(progId, &clsid)) ||
      FAILED(CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER, IID_IDispatch,
                              reinterpret_cast<void**>(&object))))
    return nullptr;
  return object;
}

/// A value as text: arrays element by element, objects by presence.
std::wstring text(const VARIANT& v) {
  if (v.vt & VT_BYREF) {
    VARIANT copy;
    VariantInit(&copy);
    VariantCopyInd(&copy, const_cast<VARIANT*>(&v));
    std::wstring t = text(copy);
    VariantClear(&copy);
    return t;
  }
  if (v.vt & VT_ARRAY) {
    std::wstring t = L"[";
    VARIANT* items = nullptr;
    SafeArrayAccessData(v.parray, reinterpret_cast<void**>(&items));
    ULONG n = 1;
    for (UINT d = 0; d < v.parray->cDims; ++d) n *= v.parray->rgsabound[d].cElements;
    for (ULONG i = 0; i < n; ++i) t += text(items[i]) + L"|";
    SafeArrayUnaccessData(v.parray);
    return t + L"]";
  }
  if (v.vt == VT_DISPATCH || v.vt == VT_UNKNOWN) return v.punkVal ? L"<object>" : L"<nothing>";
  VARIANT s;
  VariantInit(&s);
  std::wstring t = std::to_wstring(v.vt) + L":";
  if (SUCCEEDED(VariantChangeType(&s, const_cast<VARIANT*>(&v), 0, VT_BSTR)))
    t += s.bstrVal ? s.bstrVal : L"";
  VariantClear(&s);
  return t;
}

/// The type a parameter crosses the vtable with: an enumeration is a long.
VARTYPE abiType(ITypeInfo* owner, const TYPEDESC& t) {
  if (t.vt == VT_PTR) return VT_BYREF | abiType(owner, *t.lptdesc);
  if (t.vt == VT_USERDEFINED) return VT_I4;
  return t.vt;
}

/// A plausible argument of a type, the same for both calls.
VARIANT argument(VARTYPE vt, IDispatch* host, bool optional) {
  VARIANT v;
  VariantInit(&v);
  v.vt = vt;
  switch (vt) {
    case VT_I2:
      v.iVal = 1;
      break;
    case VT_I4:
      v.lVal = 1;
      break;
    case VT_R8:
      v.dblVal = 1.5;
      break;
    case VT_DATE:
      v.date = 46348;
      break;  // 2026-11-22
    case VT_BOOL:
      v.boolVal = VARIANT_FALSE;
      break;
    case VT_BSTR:
      v.bstrVal = SysAllocString(L"7");
      break;
    case VT_DISPATCH:
      v.pdispVal = host, host->AddRef();
      break;
    default:  // VT_VARIANT: omitted when optional, else a number
      if (optional)
        v.vt = VT_ERROR, v.scode = DISP_E_PARAMNOTFOUND;
      else
        v.vt = VT_I4, v.lVal = 1;
  }
  return v;
}

struct Outcome {
  HRESULT hr;
  std::wstring values;
};

struct Check {
  IDispatch* host;
  int functions = 0, differences = 0, succeeded = 0;

  /// Calls `f` on `object` by its vtable slot or by Invoke.
  Outcome call(IDispatch* object, ITypeInfo* info, const FUNCDESC* f, bool vtable) {
    const bool retval =
        f->cParams > 0 &&
        (f->lprgelemdescParam[f->cParams - 1].paramdesc.wParamFlags & PARAMFLAG_FRETVAL);
    const int inputs = f->cParams - (retval ? 1 : 0);
    std::vector<VARIANT> values(f->cParams), cells(f->cParams);
    std::vector<VARTYPE> types(f->cParams);
    for (int i = 0; i < f->cParams; ++i) {
      const ELEMDESC& e = f->lprgelemdescParam[i];
      const VARTYPE t = abiType(info, e.tdesc);
      const VARTYPE base = t & ~VT_BYREF;
      cells[i] =
          i < inputs ? argument(base, host, e.paramdesc.wParamFlags & PARAMFLAG_FOPT) : VARIANT{};
      if (i >= inputs) VariantInit(&cells[i]), cells[i].vt = base;
      VariantInit(&values[i]);
      if (t & VT_BYREF) {  // the argument is a pointer to the cell's value
        values[i].vt = t;
        values[i].byref = base == VT_VARIANT ? static_cast<void*>(&cells[i])
                                             : static_cast<void*>(&cells[i].llVal);
      } else {
        values[i] = cells[i];
      }
      types[i] = t;
    }
    Outcome o{};
    if (vtable) {
      std::vector<VARIANT*> pointers;
      for (auto& v : values) pointers.push_back(&v);
      VARIANT r;
      VariantInit(&r);
      o.hr = DispCallFunc(object, f->oVft, CC_STDCALL, VT_ERROR, f->cParams, types.data(),
                          pointers.data(), &r);
      if (SUCCEEDED(o.hr)) o.hr = r.scode;
    } else {
      std::vector<VARIANT> reversed(values.rbegin() + (retval ? 1 : 0), values.rend());
      DISPID put = DISPID_PROPERTYPUT;
      DISPPARAMS p{reversed.data(), nullptr, static_cast<UINT>(inputs), 0};
      if (f->invkind & (INVOKE_PROPERTYPUT | INVOKE_PROPERTYPUTREF))
        p.rgdispidNamedArgs = &put, p.cNamedArgs = 1;
      VARIANT r;
      VariantInit(&r);
      EXCEPINFO ex{};
      o.hr = object->Invoke(f->memid, IID_NULL, 0, static_cast<WORD>(f->invkind), &p,
                            retval ? &r : nullptr, &ex, nullptr);
      if (o.hr == DISP_E_EXCEPTION) o.hr = ex.scode;
      SysFreeString(ex.bstrSource), SysFreeString(ex.bstrDescription),
          SysFreeString(ex.bstrHelpFile);
      if (retval && SUCCEEDED(o.hr)) {  // as the vtable would hand it back
        VARTYPE base = types.back() & ~VT_BYREF;
        if (base != VT_VARIANT && !(base == VT_DISPATCH && r.vt == VT_EMPTY))
          VariantChangeType(&r, &r, VARIANT_ALPHABOOL, base);
        if (base == VT_VARIANT || r.vt == base) VariantClear(&cells.back()), cells.back() = r;
      }
    }
    if (SUCCEEDED(o.hr))
      for (int i = 0; i < f->cParams; ++i)
        if (types[i] & VT_BYREF) o.values += text(cells[i]) + L";";
    for (auto& c : cells) VariantClear(&c);
    return o;
  }

  /// Every property read both ways after the call.
  std::wstring properties(IDispatch* object, ITypeInfo* info, const TYPEATTR* attr, bool vtable) {
    std::wstring out;
    for (UINT i = 0; i < attr->cFuncs; ++i) {
      FUNCDESC* g = nullptr;
      info->GetFuncDesc(i, &g);
      if (g->invkind == INVOKE_PROPERTYGET) {
        Outcome o = call(object, info, g, vtable);
        out += std::to_wstring(o.hr) + L"=" + o.values + L" ";
      }
      info->ReleaseFuncDesc(g);
    }
    return out;
  }

  void run(const wchar_t* progId, ITypeInfo* info) {
    TYPEATTR* attr = nullptr;
    info->GetTypeAttr(&attr);
    const FUNCDESC* putRef = nullptr;
    std::vector<FUNCDESC*> descs(attr->cFuncs);
    for (UINT i = 0; i < attr->cFuncs; ++i) {
      info->GetFuncDesc(i, &descs[i]);
      BSTR name = nullptr;
      info->GetDocumentation(descs[i]->memid, &name, nullptr, nullptr, nullptr);
      if (descs[i]->invkind == INVOKE_PROPERTYPUTREF && name &&
          std::wstring(name) == L"ActiveInterface")
        putRef = descs[i];
      SysFreeString(name);
    }
    for (FUNCDESC* f : descs) {
      if (f->funckind != FUNC_PUREVIRTUAL) continue;
      ++functions;
      IDispatch* objects[2] = {create(progId), create(progId)};
      Outcome o[2];
      std::wstring after[2];
      for (int k = 0; k < 2; ++k) {
        if (putRef) call(objects[k], info, putRef, k == 0);  // the host, as every object
        o[k] = call(objects[k], info, f, k == 0);
        after[k] = properties(objects[k], info, attr, k == 0);
        objects[k]->Release();
      }
      succeeded += SUCCEEDED(o[0].hr);
      if (o[0].hr != o[1].hr || o[0].values != o[1].values || after[0] != after[1]) {
        ++differences;
        BSTR name = nullptr;
        info->GetDocumentation(f->memid, &name, nullptr, nullptr, nullptr);
        std::printf("DIFF %ls.%ls (kind %d): vtable 0x%08lx %ls | Invoke 0x%08lx %ls\n", progId,
                    name, f->invkind, static_cast<unsigned long>(o[0].hr), o[0].values.c_str(),
                    static_cast<unsigned long>(o[1].hr), o[1].values.c_str());
        SysFreeString(name);
      }
    }
    for (FUNCDESC* f : descs) info->ReleaseFuncDesc(f);
    info->ReleaseTypeAttr(attr);
  }
};

}  // namespace

int main() {
  CoInitialize(nullptr);
  ITypeLib* lib = nullptr;
  IDispatch* host = create(L"BrelvaneTest.DemoHost");
  if (FAILED(LoadRegTypeLib(LIBID_Brelvane, 1, 0, 0, &lib)) || !host) {
    std::printf("FAIL the type library or the test host is not registered\n");
    return 1;
  }
  // Through the header: the lookup of cost natures, its SQL read back both ways.
  _CLSCI_LOOKUP* lookup = nullptr;
  BSTR typed = nullptr;
  VARIANT late;
  VariantInit(&late);
  DISPID sqlId;
  LPOLESTR sqlName = const_cast<LPOLESTR>(L"Str_Sql");
  DISPPARAMS none{};
  const bool headerHolds =
      SUCCEEDED(CoCreateInstance(CLSID_CLSCI_LOOKUP, nullptr, CLSCTX_INPROC_SERVER,
                                 IID__CLSCI_LOOKUP, reinterpret_cast<void**>(&lookup))) &&
      SUCCEEDED(lookup->putref_ActiveInterface(host)) && SUCCEEDED(lookup->NatureCosti()) &&
      SUCCEEDED(lookup->get_Str_Sql(&typed)) && SysStringLen(typed) > 0 &&
      SUCCEEDED(lookup->GetIDsOfNames(IID_NULL, &sqlName, 1, 0, &sqlId)) &&
      SUCCEEDED(lookup->Invoke(sqlId, IID_NULL, 0, DISPATCH_PROPERTYGET, &none, &late, nullptr,
                               nullptr)) &&
      late.vt == VT_BSTR && std::wstring(typed) == late.bstrVal;
  std::printf("%s a typed call through brelvane_com.h\n", headerHolds ? "ok  " : "FAIL");
  SysFreeString(typed);
  VariantClear(&late);
  if (lookup) lookup->Release();
  Check check{host};
  check.differences += !headerHolds;
  int classes = 0;
  for (UINT i = 0; i < lib->GetTypeInfoCount(); ++i) {
    ITypeInfo* coclass = nullptr;
    TYPEKIND kind;
    lib->GetTypeInfoType(i, &kind);
    if (kind != TKIND_COCLASS || FAILED(lib->GetTypeInfo(i, &coclass))) continue;
    BSTR name = nullptr;
    coclass->GetDocumentation(MEMBERID_NIL, &name, nullptr, nullptr, nullptr);
    const std::wstring progId = L"Brelvane." + std::wstring(name);
    SysFreeString(name);
    HREFTYPE ref;
    ITypeInfo *view = nullptr, *dual = nullptr;
    // The default interface as the coclass lists it is the dispatch view of
    // the dual interface; -1 reaches the interface with the vtable.
    if (SUCCEEDED(coclass->GetRefTypeOfImplType(0, &ref)) &&
        SUCCEEDED(coclass->GetRefTypeInfo(ref, &view)) &&
        SUCCEEDED(view->GetRefTypeOfImplType(static_cast<UINT>(-1), &ref)) &&
        SUCCEEDED(view->GetRefTypeInfo(ref, &dual))) {
      ++classes;
      check.run(progId.c_str(), dual);
      dual->Release();
    } else {
      std::printf("FAIL %ls has no dual interface\n", progId.c_str());
      ++check.differences;
    }
    if (view) view->Release();
    coclass->Release();
  }
  std::printf(
      "early binding: %d classes, %d vtable functions (%d succeed), %d differ from Invoke\n",
      classes, check.functions, check.succeeded, check.differences);
  host->Release();
  lib->Release();
  CoUninitialize();
  return classes == 4 && check.differences == 0 && check.functions > 0 ? 0 : 1;
}
