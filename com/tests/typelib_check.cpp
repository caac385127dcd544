// Reads the registered type library back through ITypeInfo and compares it
// with the registry it describes (registerBrelvane) and with the table of
// dispatch identifiers. Both sides become the same lines of text, one per
// enumeration, coclass, interface and function: names, dispatch identifier
// and invoke kind, parameter names, types by their automation names ("Long*"
// by reference, an enumeration by its name), flags, defaults, result and
// help string; a line of one side missing from the other is a disagreement.
// Run after registering the server; prints one line per disagreement and
// exits 0 only when there is none.
#include <windows.h>

#include <oleauto.h>

#include <cstdio>
#include <map>
#include <set>
#include <wrl/client.h>

#include "brelvane/brelvane.h"
#include "dispids.h"
#include "identity.h"
#include "settings.h"
#include "text.h"

using namespace brelvane;
using namespace brelvane::com;
using Microsoft::WRL::ComPtr;
using Lines = std::set<std::string>;
using Strings = std::vector<std::string>;

namespace {

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

}  // namespace

int main() {
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
  std::printf("typelib_check: %d checks, %d failures\n", checks, failures);
  return failures == 0 ? 0 : 1;
}
