// The compiled checks of brelvane.dll under Wine, one mode each; a line per
// failure, exit 1 on any.
//   typelib  the registered type library against the registry it describes
//     and the table of dispatch identifiers, both sides as the same lines:
//     one per enumeration, coclass, interface and function (names, dispatch
//     identifier, invoke kind, parameters with their automation types, flags
//     and defaults, result, help string).
//   calls  a generic early-bound client (the test host registered too): a
//     typed call through brelvane_com.h, then every function of every dual
//     interface through the vtable (DispCallFunc at its FUNCDESC's offset) on
//     one object and through Invoke on another, both set up alike on the demo
//     host: HRESULT, result, by-reference outputs and every property after.
//   client [SCENARIO METHODS]  events through the connection point and
//     lifetime: once the client lets go, no object of the DLL is alive, what
//     it handed in is released, and the DLL may be unloaded. Given the launch
//     scenario and its methods (one a line) it first runs a host's sequence
//     on each method (a script host under Wine keeps every class object, so
//     cannot tell), and the stand-ins' DLL must be unloadable too.
//   regfree  (as brelvane_regfree_client.exe, whose application manifest
//     names the assembly `regsvr32 /n /i:manifest` wrote beside the DLL)
//     each class created from the client's own folder without registration,
//     its type information found, a property read by name.
#include <windows.h>

#include <ocidl.h>
#include <oleauto.h>

#include <cstdio>
#include <fstream>
#include <map>
#include <set>
#include <vector>

#include "adapters.h"
#include "brelvane/brelvane.h"
#include "brelvane_com.h"
#include "dispids.h"
#include "errors.h"
#include "identity.h"
#include "late_bound.h"
#include "module.h"
#include "server_object.h"
#include "settings.h"
#include "text.h"

using namespace brelvane;
using namespace brelvane::com;
using Lines = std::set<std::string>;
using Strings = std::vector<std::string>;

namespace {

/// A new object of the class `progId`; null, with the reason in `hr` when
/// asked for, when there is none.
ComPtr<IDispatch> create(std::string_view progId, HRESULT* hr = nullptr) {
  CLSID clsid;
  ComPtr<IDispatch> object;
  HRESULT made = CLSIDFromProgID(widen(progId).c_str(), &clsid);
  if (SUCCEEDED(made))
    made = CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER, IID_IDispatch, &object);
  if (hr) *hr = made;
  return object;
}

int checks = 0, failures = 0;

void expect(bool ok, const std::string& where, const std::string& what) {
  ++checks;
  if (!ok) ++failures, std::printf("FAIL %s: %s\n", where.c_str(), what.c_str());
}
std::string taken(BSTR text) {  // the text of a BSTR the caller owned
  std::string out = fromBstr(text);
  return SysFreeString(text), out;
}
std::string guidText(const GUID& guid) {
  wchar_t text[39];
  StringFromGUID2(guid, text, 39);
  return narrow(text);
}

// ---- The lines, the same for both sides ------------------------------------

std::string paramText(std::string out, int flags, const std::string& dflt) {
  for (auto [bit, word] : {std::pair{PARAMFLAG_FIN, " in"},
                           {PARAMFLAG_FOUT, " out"},
                           {PARAMFLAG_FOPT, " optional"},
                           {PARAMFLAG_FHASDEFAULT, " default"}})
    if (flags & bit) out += word;
  return dflt.empty() ? out : out + " = " + dflt;
}
std::string functionText(const std::string& owner, DISPID id, const std::string& name, int kind,
                         const Strings& params, const std::string& result,
                         const std::string& help) {
  std::string out = owner + " #" + std::to_string(id) + " " + name +
                    (kind == INVOKE_PROPERTYGET      ? " get("
                     : kind == INVOKE_PROPERTYPUT    ? " put("
                     : kind == INVOKE_PROPERTYPUTREF ? " putref("
                                                     : "(");
  for (const auto& p : params) out += (out.back() == '(' ? "" : ", ") + p;
  return out + ") As " + result + " | " + help;
}
std::string interfaceText(const std::string& name, const GUID& iid, int inherited) {
  return "dispinterface " + name + guidText(iid) + " +" + std::to_string(inherited);
}

// ---- What the registry and the table say ----------------------------------

std::set<std::string> enumNames;
std::map<std::pair<std::string, std::string>, DISPID> table;  // (owner, member) -> id
std::set<std::pair<std::string, std::string>> members;        // as the registry has them

/// The type a declaration gets: our enumerations by name, an optional
/// parameter without a default as Variant, anything else by its own type.
std::string baseType(const ParamInfo& p) {
  return enumNames.contains(p.typeName)             ? p.typeName
         : p.optional && p.defaultValue.isMissing() ? "Variant"
                                                    : std::string(paramTypeName(p.type));
}

/// A function's line. Its help is the doc line, then the declared names of
/// the types `typed` (its parameters, or the property's value) are not
/// declared with: "the company database (As Connection)".
void add(Lines& out, const std::string& owner, const std::string& tableOwner,
         const std::string& name, int kind, const std::vector<ParamInfo>& params,
         const std::string& result, const std::string& doc, const std::vector<ParamInfo>& typed) {
  members.insert({tableOwner, name});
  auto row = table.find({tableOwner, name});
  expect(row != table.end(), tableOwner + "." + name, "no row in the table of dispids");
  Strings texts;
  for (const auto& p : params) {
    const bool hasDefault = p.optional && !p.defaultValue.isMissing();
    Variant v = p.defaultValue;
    const std::string dflt =
        hasDefault ? std::string(p.type == ParamType::Variant ? typeName(v.type())
                                                              : paramTypeName(p.type)) +
                         " " + toText(std::move(v))
                   : "";
    texts.push_back(paramText(p.name + ":" + baseType(p) + (p.byRef ? "*" : ""),
                              PARAMFLAG_FIN | (p.byRef ? PARAMFLAG_FOUT : 0) |
                                  (p.optional ? PARAMFLAG_FOPT : 0) |
                                  (hasDefault ? PARAMFLAG_FHASDEFAULT : 0),
                              dflt));
  }
  std::string notes;
  for (const auto& p : typed)
    if (baseType(p) != p.typeName)
      notes +=
          (notes.empty() ? "(" : ", ") + (p.name.empty() ? "" : p.name + " ") + "As " + p.typeName;
  const std::string help = notes.empty() ? doc : doc + (doc.empty() ? "" : " ") + notes + ")";
  out.insert(functionText(owner, row != table.end() ? row->second : DISPID_UNKNOWN, name, kind,
                          texts, result, help));
}

void expectedLines(Lines& out, const ClassIdentity& identity, const ClassInfo& c) {
  const std::string name = narrow(identity.name), methods = "_" + name;
  const std::string source = narrow(kEventInterfaceName);
  for (const auto& e : c.enums) {
    std::string text = "enum " + e.name;
    for (const auto& [member, value] : e.members)
      text += " " + member + "=" + std::to_string(value);
    out.insert(text);
  }
  out.insert(interfaceText(methods, identity.iid, 7));
  if (identity.hasEvents) out.insert(interfaceText(source, kDiidConnectEvents, 7));
  out.insert(
      "coclass " + name + " creatable: " + methods + guidText(identity.iid) + " default" +
      (identity.hasEvents ? ", " + source + guidText(kDiidConnectEvents) + " default source" : ""));
  for (const auto& p : c.properties) {
    ParamInfo value{{}, p.type, p.typeName};
    for (auto [can, kind] : {std::pair{p.canGet, INVOKE_PROPERTYGET},
                             {p.canPut, INVOKE_PROPERTYPUT},
                             {p.canPutRef, INVOKE_PROPERTYPUTREF}})
      if (can)
        add(out, methods, name, p.name, kind,
            kind == INVOKE_PROPERTYGET ? std::vector<ParamInfo>{} : std::vector{value},
            kind == INVOKE_PROPERTYGET ? baseType(value) : "void", p.doc, {value});
  }
  for (const auto& m : c.methods)
    add(out, methods, name, m.name, INVOKE_FUNC, m.params,
        m.result ? std::string(paramTypeName(*m.result)) : "void", m.doc, m.params);
  for (const auto& e : c.events)
    add(out, source, source, e.name, INVOKE_FUNC, e.params, "void", {}, e.params);
}

// ---- What the library says -------------------------------------------------

struct TypeAttr {
  ITypeInfo* info;
  TYPEATTR* attr = nullptr;
  explicit TypeAttr(ITypeInfo* i) : info(i) { info->GetTypeAttr(&attr); }
  ~TypeAttr() { info->ReleaseTypeAttr(attr); }
};
std::string nameOf(ITypeInfo* info, MEMBERID id = MEMBERID_NIL, bool help = false) {
  BSTR text = nullptr;
  info->GetDocumentation(id, help ? nullptr : &text, help ? &text : nullptr, nullptr, nullptr);
  return taken(text);
}
std::string typeText(ITypeInfo* owner, const TYPEDESC& t) {
  static const std::map<VARTYPE, std::string> kNames = {
      {VT_BOOL, "Boolean"},    {VT_I2, "Integer"},      {VT_I4, "Long"},
      {VT_R8, "Double"},       {VT_BSTR, "String"},     {VT_DATE, "Date"},
      {VT_VARIANT, "Variant"}, {VT_DISPATCH, "Object"}, {VT_VOID, "void"}};
  ComPtr<ITypeInfo> ref;
  if (t.vt == VT_PTR) return typeText(owner, *t.lptdesc) + "*";
  if (t.vt == VT_USERDEFINED)
    return SUCCEEDED(owner->GetRefTypeInfo(t.hreftype, &ref)) ? nameOf(ref.Get()) : "?";
  auto known = kNames.find(t.vt);
  return known != kNames.end() ? known->second : "vt" + std::to_string(t.vt);
}

std::string functionLine(const std::string& owner, ITypeInfo* info, const FUNCDESC& f) {
  std::vector<BSTR> names(f.cParams + 1);
  UINT count = 0;
  info->GetNames(f.memid, names.data(), UINT(names.size()), &count);
  Strings params;
  for (int n = 0; n < f.cParams; ++n) {
    const ELEMDESC& e = f.lprgelemdescParam[n];
    const int flags = e.paramdesc.wParamFlags;
    std::string dflt;
    if (flags & PARAMFLAG_FHASDEFAULT) {
      VARIANT text, &v = e.paramdesc.pparamdescex->varDefaultValue;
      VariantInit(&text);
      const bool shown =
          SUCCEEDED(VariantChangeTypeEx(&text, &v, LOCALE_INVARIANT, VARIANT_ALPHABOOL, VT_BSTR));
      dflt = typeText(info, {{}, v.vt}) + " " + (shown ? taken(text.bstrVal) : "?");
    }
    params.push_back(
        paramText((UINT(n + 1) < count ? taken(names[n + 1]) : "") + ":" + typeText(info, e.tdesc),
                  flags, dflt));
  }
  const std::string name = count ? taken(names[0]) : "?";
  return functionText(owner, f.memid, f.funckind == FUNC_DISPATCH ? name : name + " (vtable)",
                      f.invkind, params, typeText(info, f.elemdescFunc.tdesc),
                      nameOf(info, f.memid, true));
}

Lines libraryLines(ITypeLib* lib) {
  Lines out;
  for (UINT i = 0; i < lib->GetTypeInfoCount(); ++i) {
    ComPtr<ITypeInfo> info;
    lib->GetTypeInfo(i, &info);
    TypeAttr t(info.Get());
    const std::string name = nameOf(info.Get());
    std::string text = "kind " + std::to_string(t.attr->typekind) + " " + name;
    if (t.attr->typekind == TKIND_ENUM) {
      text = "enum " + name;
      for (UINT v = 0; v < t.attr->cVars; ++v) {
        VARDESC* var = nullptr;
        info->GetVarDesc(v, &var);
        text += " " + nameOf(info.Get(), var->memid) + "=" +
                (var->lpvarValue->vt == VT_I4 ? std::to_string(var->lpvarValue->lVal) : "?");
        info->ReleaseVarDesc(var);
      }
    } else if (t.attr->typekind == TKIND_COCLASS) {
      text = "coclass " + name + (t.attr->wTypeFlags & TYPEFLAG_FCANCREATE ? " creatable:" : ":");
      for (UINT n = 0; n < t.attr->cImplTypes; ++n) {
        HREFTYPE ref = 0;
        INT flags = 0;
        ComPtr<ITypeInfo> implemented;
        info->GetImplTypeFlags(n, &flags);
        info->GetRefTypeOfImplType(n, &ref);
        if (FAILED(info->GetRefTypeInfo(ref, &implemented))) continue;
        text += (n ? ", " : " ") + nameOf(implemented.Get()) +
                guidText(TypeAttr(implemented.Get()).attr->guid) +
                (flags & IMPLTYPEFLAG_FDEFAULT ? " default" : "") +
                (flags & IMPLTYPEFLAG_FSOURCE ? " source" : "");
      }
    } else if (t.attr->typekind == TKIND_DISPATCH) {
      int inherited = 0;  // IDispatch's seven, listed first and restricted
      for (UINT n = 0; n < t.attr->cFuncs; ++n) {
        FUNCDESC* f = nullptr;
        info->GetFuncDesc(n, &f);
        if (f->wFuncFlags & FUNCFLAG_FRESTRICTED)
          ++inherited;
        else
          out.insert(functionLine(name, info.Get(), *f));
        info->ReleaseFuncDesc(f);
      }
      text = interfaceText(name, t.attr->guid, inherited);
    }
    out.insert(text);
  }
  return out;
}

// ---- Every vtable function against Invoke --------------------------------------

/// A value as text: arrays element by element, objects by presence.
std::string text(const VARIANT& v) {
  VARIANT s;
  VariantInit(&s);
  std::string t;
  if (v.vt & VT_BYREF) {
    VariantCopyInd(&s, const_cast<VARIANT*>(&v));
    t = text(s);
  } else if (v.vt & VT_ARRAY) {
    VARIANT* items = nullptr;
    SafeArrayAccessData(v.parray, reinterpret_cast<void**>(&items));
    ULONG n = 1;
    for (UINT d = 0; d < v.parray->cDims; ++d) n *= v.parray->rgsabound[d].cElements;
    t = "[";
    for (ULONG i = 0; i < n; ++i) t += text(items[i]) + "|";
    SafeArrayUnaccessData(v.parray);
    t += "]";
  } else if (v.vt == VT_DISPATCH || v.vt == VT_UNKNOWN) {
    t = v.punkVal ? "<object>" : "<nothing>";
  } else {
    t = std::to_string(v.vt) + ":";
    if (SUCCEEDED(VariantChangeType(&s, const_cast<VARIANT*>(&v), 0, VT_BSTR)))
      t += fromBstr(s.bstrVal);
  }
  VariantClear(&s);
  return t;
}

/// The type a parameter crosses the vtable with: an enumeration is a long.
VARTYPE abiType(const TYPEDESC& t) {
  if (t.vt == VT_PTR) return VT_BYREF | abiType(*t.lptdesc);
  return t.vt == VT_USERDEFINED ? VARTYPE(VT_I4) : t.vt;
}

/// A plausible argument of a type, the same for both calls.
VARIANT argument(VARTYPE vt, IDispatch* host, bool optional) {
  VARIANT v;
  VariantInit(&v);
  v.vt = vt;
  if (vt == VT_I2) v.iVal = 1;
  if (vt == VT_I4) v.lVal = 1;
  if (vt == VT_R8) v.dblVal = 1.5;
  if (vt == VT_DATE) v.date = 46348;  // 2026-11-22
  if (vt == VT_BOOL) v.boolVal = VARIANT_FALSE;
  if (vt == VT_BSTR) v.bstrVal = SysAllocString(L"7");
  if (vt == VT_DISPATCH) v.pdispVal = host, host->AddRef();
  if (vt == VT_VARIANT && optional) v.vt = VT_ERROR, v.scode = DISP_E_PARAMNOTFOUND;
  if (vt == VT_VARIANT && !optional) v.vt = VT_I4, v.lVal = 1;
  return v;
}

struct Outcome {
  HRESULT hr;
  std::string values;
};

struct Calls {
  IDispatch* host;
  int functions = 0, differences = 0, succeeded = 0;

  /// Calls `f` on `object` by its vtable slot or by Invoke.
  Outcome call(IDispatch* object, const FUNCDESC* f, bool vtable) {
    const bool retval =
        f->cParams > 0 &&
        (f->lprgelemdescParam[f->cParams - 1].paramdesc.wParamFlags & PARAMFLAG_FRETVAL);
    const int inputs = f->cParams - (retval ? 1 : 0);
    std::vector<VARIANT> values(f->cParams), cells(f->cParams);
    std::vector<VARIANT*> pointers;
    std::vector<VARTYPE> types;
    for (int i = 0; i < f->cParams; ++i) {
      const ELEMDESC& e = f->lprgelemdescParam[i];
      const VARTYPE t = abiType(e.tdesc), base = t & ~VT_BYREF;
      if (i < inputs)
        cells[i] = argument(base, host, e.paramdesc.wParamFlags & PARAMFLAG_FOPT);
      else  // the result: empty, of its own type
        VariantInit(&cells[i]), cells[i].vt = base;
      values[i] = cells[i];
      if (t & VT_BYREF)  // the argument is a pointer to the cell's value
        values[i].vt = t, values[i].byref = base == VT_VARIANT
                                                ? static_cast<void*>(&cells[i])
                                                : static_cast<void*>(&cells[i].llVal);
      types.push_back(t), pointers.push_back(&values[i]);
    }
    Outcome o{};
    VARIANT r;
    VariantInit(&r);
    if (vtable) {
      o.hr = DispCallFunc(object, f->oVft, CC_STDCALL, VT_ERROR, f->cParams, types.data(),
                          pointers.data(), &r);
      if (SUCCEEDED(o.hr)) o.hr = r.scode;
    } else {
      std::vector<VARIANT> reversed(values.rbegin() + (retval ? 1 : 0), values.rend());
      DISPID put = DISPID_PROPERTYPUT;
      DISPPARAMS p{reversed.data(), nullptr, static_cast<UINT>(inputs), 0};
      if (f->invkind & (INVOKE_PROPERTYPUT | INVOKE_PROPERTYPUTREF))
        p.rgdispidNamedArgs = &put, p.cNamedArgs = 1;
      EXCEPINFO ex{};
      o.hr = object->Invoke(f->memid, IID_NULL, 0, static_cast<WORD>(f->invkind), &p,
                            retval ? &r : nullptr, &ex, nullptr);
      if (o.hr == DISP_E_EXCEPTION) o.hr = ex.scode;
      SysFreeString(ex.bstrSource), SysFreeString(ex.bstrDescription),
          SysFreeString(ex.bstrHelpFile);
      if (retval && SUCCEEDED(o.hr)) {  // as the vtable would hand it back
        const VARTYPE base = types.back() & ~VT_BYREF;
        if (base != VT_VARIANT && !(base == VT_DISPATCH && r.vt == VT_EMPTY))
          VariantChangeType(&r, &r, VARIANT_ALPHABOOL, base);
        if (base == VT_VARIANT || r.vt == base) VariantClear(&cells.back()), cells.back() = r;
      }
    }
    if (SUCCEEDED(o.hr))
      for (int i = 0; i < f->cParams; ++i)
        if (types[i] & VT_BYREF) o.values += text(cells[i]) + ";";
    for (auto& c : cells) VariantClear(&c);
    return o;
  }

  void run(const std::string& progId, ITypeInfo* info) {
    TypeAttr t(info);
    const FUNCDESC* putRef = nullptr;
    std::vector<FUNCDESC*> descs(t.attr->cFuncs);
    for (UINT i = 0; i < t.attr->cFuncs; ++i) {
      info->GetFuncDesc(i, &descs[i]);
      if (descs[i]->invkind == INVOKE_PROPERTYPUTREF &&
          nameOf(info, descs[i]->memid) == "ActiveInterface")
        putRef = descs[i];
    }
    for (FUNCDESC* f : descs) {
      if (f->funckind != FUNC_PUREVIRTUAL) continue;
      ++functions;
      Outcome o[2];
      std::string after[2];
      for (int k = 0; k < 2; ++k) {
        ComPtr<IDispatch> object = create(progId);
        if (putRef) call(object.Get(), putRef, k == 0);  // the host, as every object
        o[k] = call(object.Get(), f, k == 0);
        for (FUNCDESC* g : descs)  // every property read the same way after the call
          if (g->invkind == INVOKE_PROPERTYGET) {
            Outcome read = call(object.Get(), g, k == 0);
            after[k] += std::to_string(read.hr) + "=" + read.values + " ";
          }
      }
      succeeded += SUCCEEDED(o[0].hr);
      if (o[0].hr != o[1].hr || o[0].values != o[1].values || after[0] != after[1]) {
        ++differences;
        std::printf("DIFF %s.%s (kind %d): vtable 0x%08lx %s | Invoke 0x%08lx %s\n", progId.c_str(),
                    nameOf(info, f->memid).c_str(), f->invkind, static_cast<unsigned long>(o[0].hr),
                    o[0].values.c_str(), static_cast<unsigned long>(o[1].hr), o[1].values.c_str());
      }
    }
    for (FUNCDESC* f : descs) info->ReleaseFuncDesc(f);
  }
};

/// Through the header: the lookup of cost natures, its SQL read back both ways.
bool typedCall(IDispatch* host) {
  ComPtr<_CLSCI_LOOKUP> lookup;
  BSTR typed = nullptr;
  bool held = SUCCEEDED(CoCreateInstance(CLSID_CLSCI_LOOKUP, nullptr, CLSCTX_INPROC_SERVER,
                                         IID__CLSCI_LOOKUP, &lookup)) &&
              SUCCEEDED(lookup->putref_ActiveInterface(host)) && SUCCEEDED(lookup->NatureCosti()) &&
              SUCCEEDED(lookup->get_Str_Sql(&typed));
  try {
    const std::string sql = taken(typed);
    const Variant late = held ? LateBound(lookup).get("Str_Sql") : Variant();
    held = held && !sql.empty() && late.type() == VarType::String && toText(late) == sql;
  } catch (const AutomationError&) {
    held = false;
  }
  std::printf("%s a typed call through brelvane_com.h\n", held ? "ok  " : "FAIL");
  return held;
}

int calls() {
  ComPtr<ITypeLib> lib;
  ComPtr<IDispatch> host = create("BrelvaneTest.DemoHost");
  if (FAILED(LoadRegTypeLib(LIBID_Brelvane, 1, 0, 0, &lib)) || !host)
    return std::printf("FAIL the type library or the test host is not registered\n"), 1;
  Calls run{host.Get()};
  run.differences += !typedCall(host.Get());
  int classes = 0;
  for (UINT i = 0; i < lib->GetTypeInfoCount(); ++i) {
    ComPtr<ITypeInfo> coclass, view, dual;
    TYPEKIND kind;
    lib->GetTypeInfoType(i, &kind);
    if (kind != TKIND_COCLASS || FAILED(lib->GetTypeInfo(i, &coclass))) continue;
    const std::string progId = "Brelvane." + nameOf(coclass.Get());
    HREFTYPE ref;
    // The default interface as the coclass lists it is the dispatch view of
    // the dual interface; -1 reaches the interface with the vtable.
    if (SUCCEEDED(coclass->GetRefTypeOfImplType(0, &ref)) &&
        SUCCEEDED(coclass->GetRefTypeInfo(ref, &view)) &&
        SUCCEEDED(view->GetRefTypeOfImplType(static_cast<UINT>(-1), &ref)) &&
        SUCCEEDED(view->GetRefTypeInfo(ref, &dual)))
      ++classes, run.run(progId, dual.Get());
    else
      ++run.differences, std::printf("FAIL %s has no dual interface\n", progId.c_str());
  }
  std::printf(
      "early binding: %d classes, %d vtable functions (%d succeed), %d differ from Invoke\n",
      classes, run.functions, run.succeeded, run.differences);
  return classes == 4 && run.differences == 0 && run.functions > 0 ? 0 : 1;
}

int compare() {
  std::set<std::pair<std::string, DISPID>> ids;
  for (const auto& row : dispIdRows()) {
    const std::string owner(row.owner), where = owner + "." + std::string(row.member);
    expect(table.emplace(std::pair{owner, std::string(row.member)}, row.id).second, where,
           "row given twice");
    expect(ids.emplace(owner, row.id).second, where, "dispid given twice");
  }
  ObjectFactory registry;
  registerBrelvane(registry);
  registerSettings(registry);
  std::vector<std::pair<const ClassIdentity*, const ClassInfo*>> classes;
  for (const auto& identity : kClasses)
    for (const auto& entry : registry.entries())
      if (entry.info && sameName(entry.progId, identity.progId)) {
        classes.emplace_back(&identity, entry.info);
        for (const auto& e : entry.info->enums) enumNames.insert(e.name);
      }
  expect(classes.size() == std::size(kClasses), "registry", "lacks a class of identity.h");
  Lines expected = {narrow(kLibName) + " " + std::to_string(kLibMajor) + "." +
                    std::to_string(kLibMinor)};
  for (const auto& [identity, info] : classes) expectedLines(expected, *identity, *info);
  for (const auto& [key, id] : table)
    expect(members.contains(key), key.first + "." + key.second, "no member of the registry");

  ComPtr<ITypeLib> lib;
  const bool registered = SUCCEEDED(LoadRegTypeLib(kLibId, kLibMajor, kLibMinor, 0, &lib));
  expect(registered, "library", "not registered");
  if (registered) {
    BSTR name = nullptr;
    TLIBATTR* attr = nullptr;
    lib->GetDocumentation(-1, &name, nullptr, nullptr, nullptr);
    lib->GetLibAttr(&attr);
    Lines found = libraryLines(lib.Get());
    found.insert(taken(name) + " " + std::to_string(attr->wMajorVerNum) + "." +
                 std::to_string(attr->wMinorVerNum));
    lib->ReleaseTLibAttr(attr);
    for (const auto& line : expected) expect(found.contains(line), "missing", line);
    for (const auto& line : found)
      if (!expected.contains(line)) expect(false, "unexpected", line);
  }
  std::printf("type library check: %d checks, %d failures\n", checks, failures);
  return failures == 0 ? 0 : 1;
}

// ---- A compiled client: events and lifetime ---------------------------------

void check(bool ok, const std::string& what) {
  failures += !ok;
  std::printf("%s %s\n", ok ? "PASS" : "FAIL", what.c_str());
}

/// A sink answering events by identifier, as compiled sinks do: it records
/// them, sets Cancel and the called program of TransferData, replaces the
/// causal code of ChiusuraSelezioneCausaleCoIn, and may disconnect itself.
struct Sink final : IDispatch {
  std::vector<DISPID> seen;
  VARTYPE cancelType = VT_EMPTY;
  IConnectionPoint* point = nullptr;  // set: unadvise on the first event
  DWORD cookie = 0;
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override {
    const bool ours = IsEqualGUID(iid, IID_IUnknown) || IsEqualGUID(iid, IID_IDispatch);
    *out = ours ? this : nullptr;
    return ours ? S_OK : E_NOINTERFACE;
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return 2; }  // lives on the stack
  ULONG STDMETHODCALLTYPE Release() override { return 1; }
  HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* n) override { return *n = 0, S_OK; }
  HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override {
    return E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID, LCID, WORD, DISPPARAMS* p, VARIANT*,
                                   EXCEPINFO*, UINT*) override {
    seen.push_back(id);
    VARIANT* a = p->rgvarg;          // last first
    if (id == 1 && p->cArgs == 3) {  // TransferData(Cancel, Data, tsCalledProgram)
      cancelType = a[2].vt;
      if (a[2].vt == (VT_BYREF | VT_BOOL)) *a[2].pboolVal = VARIANT_TRUE;
      if (a[0].vt == (VT_BYREF | VT_I4)) *a[0].plVal = 7;
    }
    if (id == 3 && p->cArgs == 1 && a[0].vt == (VT_BYREF | VT_VARIANT)) {
      VariantClear(a[0].pvarVal);
      a[0].pvarVal->vt = VT_BSTR;
      a[0].pvarVal->bstrVal = SysAllocString(L"CAU2");
    }
    if (point) point->Unadvise(cookie);
    return S_OK;
  }
};

ComPtr<IDispatch> made(const char* progId) {  // raises 429 when there is none
  if (auto object = create(progId)) return object;
  throw AutomationError::of(err::kCannotCreate, progId);
}

/// An event raised through the caller's own VARIANTs (`lastFirst`).
HRESULT raise(IDispatch* object, const wchar_t* name, std::vector<VARIANT> lastFirst) {
  LPOLESTR names[] = {const_cast<LPOLESTR>(name)};
  DISPID id = DISPID_UNKNOWN;
  object->GetIDsOfNames(IID_NULL, names, 1, LOCALE_USER_DEFAULT, &id);
  DISPPARAMS params{lastFirst.data(), nullptr, UINT(lastFirst.size()), 0};
  return object->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &params, nullptr,
                        nullptr, nullptr);
}

void events() {
  ComPtr<IDispatch> connect = made("Brelvane.CLSCI_CONNECT");
  ComPtr<IConnectionPointContainer> container;
  ComPtr<IConnectionPoint> point;
  check(SUCCEEDED(connect.As(&container)) &&
            SUCCEEDED(container->FindConnectionPoint(kDiidConnectEvents, &point)),
        "CLSCI_CONNECT offers the connection point of __CLSCI_CONNECT");
  if (!point) return;
  Sink sink, leaving;
  DWORD cookie = 0;
  check(SUCCEEDED(point->Advise(&sink, &cookie)) &&
            SUCCEEDED(point->Advise(&leaving, &leaving.cookie)),
        "sinks connect");
  leaving.point = point.Get();

  VARIANT_BOOL cancel = VARIANT_FALSE;
  LONG program = 3;
  VARIANT args[3] = {};  // tsCalledProgram, Data, Cancel
  args[0].vt = VT_BYREF | VT_I4, args[0].plVal = &program;
  args[1].vt = VT_I4, args[1].lVal = 42;
  args[2].vt = VT_BYREF | VT_BOOL, args[2].pboolVal = &cancel;
  check(SUCCEEDED(raise(connect.Get(), L"TransferData", {args[0], args[1], args[2]})),
        "TransferData");
  check(sink.seen == std::vector<DISPID>{1}, "TransferData is event 1");
  check(sink.cancelType == (VT_BYREF | VT_BOOL), "Cancel reaches a sink as a Boolean by reference");
  check(cancel == VARIANT_TRUE && program == 7, "the sink's Cancel and program come back");

  VARIANT code = {}, ref = {};
  code.vt = VT_BSTR, code.bstrVal = SysAllocString(L"CAU1");
  ref.vt = VT_BYREF | VT_VARIANT, ref.pvarVal = &code;
  check(SUCCEEDED(raise(connect.Get(), L"ChiusuraSelezioneCausaleCoIn", {ref})) &&
            code.vt == VT_BSTR && std::wstring(code.bstrVal) == L"CAU2",
        "the sink's causal code comes back");
  VariantClear(&code);
  check(leaving.seen == std::vector<DISPID>{1},
        "a sink that disconnected during an event hears no more");
  check(sink.seen == std::vector<DISPID>{1, 3}, "ChiusuraSelezioneCausaleCoIn is event 3");
  check(SUCCEEDED(point->Unadvise(cookie)), "Unadvise");
}

/// A host that answers nothing: the lookup fails, and must still let it go.
struct Silent final : Dispatch {};

void lifetime() {
  LateBound lookup(made("Brelvane.CLSCI_LOOKUP"));
  IDispatch* host = exposeObject(std::make_shared<Silent>());
  lookup.put("ActiveInterface", Variant(adaptObject(host, "")), true);
  host->Release();
  lookup.call("NatureCosti", {});  // raises nothing, or the whole check fails
  check(liveObjects() == 1, "the lookup holds the host while it lives");
  lookup = LateBound(nullptr);
  check(liveObjects() == 0, "the lookup's end releases the host");
}

/// The launch scenario's sequence of a host on each launch method, with a
/// lookup over the stand-in connection's commands on the same host.
void launches(const char* scenario, const char* methods) {
  LateBound sb(made("BrelvaneTest.Standins"));
  auto object = [&](const char* name) {
    Variant arg[] = {Variant(name)};
    return sb.call("Object", arg);
  };
  Variant load[] = {Variant(scenario)};
  sb.call("Load", load);
  int launched = 0, count = 0;
  std::ifstream list(methods);
  for (std::string method; std::getline(list, method); ++count) {
    LateBound cn(made("Brelvane.CLSCI_CONNECT"));
    cn.put("ActiveInterface", object(count % 2 ? "ps" : "host"), true);
    cn.put("ConnectField", object("field"), true);
    Variant advise[] = {Variant(adaptObject(cn.object(), "")), Variant("ev"),
                        Variant(R"({"TransferData": {"Cancel": true}})")};
    sb.call("Advise", advise);
    launched += toBool(cn.call(method, {}));
    LateBound lk(made("Brelvane.CLSCI_LOOKUP"));
    lk.put("ActiveInterface", object("host"), true);
    lk.put("Connessione", object("db"), true);
    Variant proposals[] = {Variant(int16_t{5}), Variant(int16_t{7})}, account[] = {Variant("4")};
    lk.call("ProposteContiPerProvider", proposals);
    lk.call("AnagraficaPianoDeiConti", account);
  }
  // VisualizzaTracciaRib launches nothing without an open trace: one False.
  std::printf("lifetime: %d of %d launch methods returned True\n", launched, count);
  check(count > 0, "lifetime: launch methods were read");
}

bool unloadable(const wchar_t* dll) {
  using CanUnload = HRESULT(WINAPI*)();
  HMODULE module = GetModuleHandleW(dll);
  auto f = module ? reinterpret_cast<CanUnload>(
                        reinterpret_cast<void*>(GetProcAddress(module, "DllCanUnloadNow")))
                  : nullptr;
  return f && f() == S_OK;
}

/// The client's checks, PASS and FAIL lines; `launch`: the scenario and its methods.
int clientChecks(char** launch) {
  try {
    if (launch) launches(launch[0], launch[1]);
    events();
    lifetime();
  } catch (const AutomationError& e) {
    check(false, std::to_string(e.number) + " " + e.source + ": " + e.description);
  }
  check(unloadable(L"brelvane.dll"), "no object of brelvane.dll is left: it may be unloaded");
  if (launch)
    check(unloadable(L"brelvane_launcher_standin.dll"), "the stand-ins' DLL may be unloaded");
  std::printf("client check: %d failure(s)\n", failures);
  return failures ? 1 : 0;
}

// ---- Without registration ------------------------------------------------------

int regfree() {
  const std::tuple<const char*, const char*, VarType> cases[] = {
      {"Brelvane.CLSCI_LOOKUP", "Str_Sql", VarType::String},
      {"Brelvane.CLSCI_DECODE", "Str_Sql", VarType::String},
      {"Brelvane.CLSCI_CONNECT", "Ditta", VarType::Empty},
      {"Brelvane.Settings", "Hardened", VarType::Boolean}};
  for (const auto& [progId, property, type] : cases) {
    HKEY key;  // a class found in the registry proves nothing
    const bool inRegistry =
        RegOpenKeyExA(HKEY_CLASSES_ROOT, progId, 0, KEY_READ, &key) == ERROR_SUCCESS;
    if (inRegistry) RegCloseKey(key);
    HRESULT hr;
    ComPtr<ITypeInfo> info;
    ComPtr<IDispatch> object = create(progId, &hr);
    if (SUCCEEDED(hr)) hr = object->GetTypeInfo(0, LOCALE_USER_DEFAULT, &info);
    try {
      if (SUCCEEDED(hr) && LateBound(object).get(property).type() != type) hr = DISP_E_TYPEMISMATCH;
    } catch (const AutomationError& e) {
      hr = hresultOf(e);
    }
    const bool ok = !inRegistry && SUCCEEDED(hr);
    failures += !ok;
    std::printf("%s %s%s (0x%08lx)\n", ok ? "ok  " : "FAIL", progId,
                inRegistry ? ": registered, so this proves nothing" : "",
                static_cast<unsigned long>(hr));
  }
  return failures ? 1 : 0;
}

}  // namespace

int main(int argc, char** argv) {
  const std::string mode = argc > 1 ? argv[1] : "";
  const bool client = mode == "client" && (argc == 2 || argc == 4);
  if (!client && (argc != 2 || (mode != "typelib" && mode != "calls" && mode != "regfree")))
    return std::fputs("usage: see com/tests/com_check.cpp\n", stderr), 2;
  CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
  const int status = client              ? clientChecks(argc == 4 ? argv + 2 : nullptr)
                     : mode == "calls"   ? calls()
                     : mode == "regfree" ? regfree()
                                         : compare();
  CoUninitialize();
  return status;
}
