// Generation of the type library from the registry (see typelib.h).
//
// Each class of identity.h gets a dual interface "_NAME", with one function
// per property accessor and per method in the vtable order of
// vtable_layout.h (LayOut gives each its offset), and a coclass NAME whose
// default interface it is; a class with events gets the source interface
// "__NAME". The registry's enumerations become enum types, which members
// declared with their name refer to. A member declared with a type of some
// other library (an enumeration: Integer or Long; an object) is declared
// with its automation type, and the declared name goes into the member's
// help string ("(Cn As Connection)") so that nothing is lost.
#include "typelib.h"

#include <map>
#include <span>
#include <vector>
#include <wrl/client.h>

#include "dispids.h"
#include "identity.h"
#include "module.h"
#include "text.h"
#include "variant_conv.h"
#include "vtable_layout.h"

#ifndef BRELVANE_DESCRIPTION
#define BRELVANE_DESCRIPTION "Brelvane"
#endif

namespace brelvane::com {

namespace {

using Microsoft::WRL::ComPtr;

/// A failed step: writeTypeLibrary returns its HRESULT.
struct Failure {
  HRESULT hr;
};
void check(HRESULT hr) {
  if (FAILED(hr)) throw Failure{hr};
}
[[noreturn]] void fail(HRESULT hr, const std::wstring& what) {
  OutputDebugStringW((L"brelvane.tlb: " + what + L"\n").c_str());
  throw Failure{hr};
}

/// A default value as a VARIANT of the parameter's type (of its own kind
/// for a VARIANT parameter).
void defaultValue(const ParamInfo& p, VARTYPE target, VARIANT* out) {
  VARIANT raw;
  VariantInit(&raw);
  toVariant(p.defaultValue, raw);
  const HRESULT hr =
      target == VT_VARIANT ? VariantCopy(out, &raw) : VariantChangeType(out, &raw, 0, target);
  VariantClear(&raw);
  if (FAILED(hr)) fail(hr, L"default value of " + widen(p.name));
}

/// One parameter or result as the library declares it. It points into
/// itself, so it stays where it was made.
struct Elem {
  TYPEDESC inner{}, outer{};
  PARAMDESCEX defaults{};
  ELEMDESC desc{};
  Elem() { VariantInit(&defaults.varDefaultValue); }
  Elem(const Elem&) = delete;
  Elem& operator=(const Elem&) = delete;
  ~Elem() { VariantClear(&defaults.varDefaultValue); }
};

class Writer {
 public:
  explicit Writer(const std::wstring& path) {
    DeleteFileW(path.c_str());
    check(CreateTypeLib2(kSysKind, path.c_str(), &lib_));
    check(lib_->SetGuid(kLibId));
    check(lib_->SetVersion(kLibMajor, kLibMinor));
    check(lib_->SetLcid(kLibLcid));
    check(lib_->SetName(const_cast<LPOLESTR>(std::wstring(kLibName).c_str())));
    check(lib_->SetDocString(const_cast<LPOLESTR>(widen(BRELVANE_DESCRIPTION).c_str())));
    ComPtr<ITypeLib> stdole;
    check(LoadTypeLib(L"stdole2.tlb", &stdole));
    check(stdole->GetTypeInfoOfGuid(IID_IDispatch, &dispatch_));
  }

  void write() {
    std::vector<std::pair<const ClassIdentity*, const ClassInfo*>> classes;
    for (const auto& identity : kClasses) {
      const ClassInfo* info = nullptr;
      for (const auto& entry : factory().entries())
        if (entry.info && sameName(entry.progId, identity.progId)) info = entry.info;
      if (!info) fail(kErrNoClass, L"no class " + widen(identity.progId));
      classes.emplace_back(&identity, info);
    }
    for (const auto& [identity, info] : classes)
      for (const auto& e : info->enums) addEnum(e);
    for (const auto& [identity, info] : classes) addClass(*identity, *info);
    for (const auto& created : created_) check(created->LayOut());
    check(lib_->SaveAllChanges());
  }

 private:
  ComPtr<ICreateTypeLib2> lib_;
  ComPtr<ITypeInfo> dispatch_;
  std::map<std::string, ComPtr<ITypeInfo>, std::less<>> enums_;
  std::vector<ComPtr<ICreateTypeInfo>> created_;

  ComPtr<ICreateTypeInfo> create(const std::wstring& name, TYPEKIND kind, const GUID* guid,
                                 std::string_view doc) {
    ComPtr<ICreateTypeInfo> info;
    check(lib_->CreateTypeInfo(const_cast<LPOLESTR>(name.c_str()), kind, &info));
    if (guid) check(info->SetGuid(*guid));
    if (!doc.empty()) check(info->SetDocString(const_cast<LPOLESTR>(widen(doc).c_str())));
    created_.push_back(info);
    return info;
  }

  static ComPtr<ITypeInfo> typeInfoOf(const ComPtr<ICreateTypeInfo>& created) {
    ComPtr<ITypeInfo> info;
    check(created.As(&info));
    return info;
  }

  void implement(ICreateTypeInfo* owner, UINT index, ITypeInfo* type, INT flags) {
    HREFTYPE ref;
    check(owner->AddRefTypeInfo(type, &ref));
    check(owner->AddImplType(index, ref));
    if (flags) check(owner->SetImplTypeFlags(index, flags));
  }

  void addEnum(const EnumInfo& e) {
    if (enums_.contains(e.name)) return;
    auto info = create(widen(e.name), TKIND_ENUM, nullptr, {});
    UINT index = 0;
    for (const auto& [name, value] : e.members) {
      VARIANT v;
      v.vt = VT_I4;
      v.lVal = value;
      VARDESC var{};
      var.memid = MEMBERID_NIL;
      var.lpvarValue = &v;
      var.elemdescVar.tdesc.vt = VT_I4;
      var.varkind = VAR_CONST;
      check(info->AddVarDesc(index, &var));
      check(info->SetVarName(index++, const_cast<LPOLESTR>(widen(name).c_str())));
    }
    enums_.emplace(e.name, typeInfoOf(info));
  }

  void addClass(const ClassIdentity& identity, const ClassInfo& c) {
    const std::wstring name(identity.name);
    auto coclass = create(name, TKIND_COCLASS, &identity.clsid, c.doc);
    check(coclass->SetTypeFlags(TYPEFLAG_FCANCREATE));

    auto methods = create(L"_" + name, TKIND_INTERFACE, &identity.iid, c.doc);
    check(methods->SetTypeFlags(TYPEFLAG_FDUAL | TYPEFLAG_FOLEAUTOMATION | TYPEFLAG_FDISPATCHABLE));
    implement(methods.Get(), 0, dispatch_.Get(), 0);
    addMembers(methods.Get(), name, c);
    implement(coclass.Get(), 0, typeInfoOf(methods).Get(), IMPLTYPEFLAG_FDEFAULT);

    if (!identity.hasEvents) return;
    const std::wstring sourceName(kEventInterfaceName);
    auto events = create(sourceName, TKIND_DISPATCH, &kDiidConnectEvents, c.doc);
    check(events->SetTypeFlags(TYPEFLAG_FDISPATCHABLE));
    implement(events.Get(), 0, dispatch_.Get(), 0);
    UINT index = 0;
    for (const auto& e : c.events)
      addFunction(events.Get(), index++, dispIdOf(sourceName, e.name), INVOKE_FUNC, e.name,
                  e.params, nullptr, helpOf({}, e.params), false);
    implement(coclass.Get(), 1, typeInfoOf(events).Get(),
              IMPLTYPEFLAG_FDEFAULT | IMPLTYPEFLAG_FSOURCE);
  }

  void addMembers(ICreateTypeInfo* info, const std::wstring& owner, const ClassInfo& c) {
    // Every member of the registry has its identifier: the table may not
    // drop one silently.
    for (const auto& p : c.properties) dispIdOf(owner, p.name);
    for (const auto& m : c.methods) dispIdOf(owner, m.name);
    UINT index = 0;
    for (const VtableEntry& e : vtableOf(c, narrow(owner))) {
      ParamInfo value;
      if (e.property) {
        value.type = e.property->type;
        value.typeName = e.property->typeName;
        const std::span<const ParamInfo> one(&value, 1);
        const bool get = e.accessor == Accessor::Get;
        const INVOKEKIND kind = get                           ? INVOKE_PROPERTYGET
                                : e.accessor == Accessor::Put ? INVOKE_PROPERTYPUT
                                                              : INVOKE_PROPERTYPUTREF;
        addFunction(info, index++, e.dispId, kind, e.property->name,
                    get ? std::span<const ParamInfo>() : one, get ? &value : nullptr,
                    helpOf(e.property->doc, one), true);
        continue;
      }
      const MethodInfo& m = *e.method;
      if (m.result) value.type = *m.result, value.typeName = paramTypeName(*m.result);
      addFunction(info, index++, e.dispId, INVOKE_FUNC, m.name, m.params,
                  m.result ? &value : nullptr, helpOf(m.doc, m.params), true);
    }
  }

  /// A property's put functions take the value as their one, unnamed,
  /// parameter; every other function names all of its parameters. A
  /// function of the dual interface returns an HRESULT and hands its result
  /// back through a last [out, retval] parameter.
  void addFunction(ICreateTypeInfo* info, UINT index, DISPID id, INVOKEKIND kind,
                   const std::string& name, std::span<const ParamInfo> params,
                   const ParamInfo* result, const std::wstring& help, bool vtable) {
    std::vector<Elem> elems(params.size() + 1);
    std::vector<ELEMDESC> descs;
    for (size_t i = 0; i < params.size(); ++i) {
      const ParamInfo& p = params[i];
      Elem& e = elems[i];
      declare(e, info, p);
      USHORT flags = PARAMFLAG_FIN;
      if (p.byRef) flags |= PARAMFLAG_FOUT;
      if (p.optional) flags |= PARAMFLAG_FOPT;
      if (p.optional && !p.defaultValue.isMissing()) {
        flags |= PARAMFLAG_FHASDEFAULT;
        e.defaults.cBytes = sizeof(PARAMDESCEX);
        defaultValue(p, e.inner.vt == VT_USERDEFINED ? VARTYPE{VT_I4} : e.inner.vt,
                     &e.defaults.varDefaultValue);
        e.desc.paramdesc.pparamdescex = &e.defaults;
      }
      e.desc.paramdesc.wParamFlags = flags;
      descs.push_back(e.desc);
    }
    Elem returned;
    if (result && vtable) {
      ParamInfo out = *result;
      out.byRef = true;
      Elem& e = elems.back();
      declare(e, info, out);
      e.desc.paramdesc.wParamFlags = PARAMFLAG_FOUT | PARAMFLAG_FRETVAL;
      descs.push_back(e.desc);
    }
    if (vtable)
      returned.desc.tdesc.vt = VT_HRESULT;
    else if (result)
      declare(returned, info, *result);
    else
      returned.desc.tdesc.vt = VT_VOID;

    FUNCDESC f{};
    f.memid = id;
    f.lprgelemdescParam = descs.data();
    f.funckind = vtable ? FUNC_PUREVIRTUAL : FUNC_DISPATCH;
    f.invkind = kind;
    f.callconv = CC_STDCALL;
    f.cParams = static_cast<SHORT>(descs.size());
    f.elemdescFunc = returned.desc;
    check(info->AddFuncDesc(index, &f));

    std::vector<std::wstring> names{widen(name)};
    if (kind == INVOKE_FUNC || kind == INVOKE_PROPERTYGET)
      for (const auto& p : params) names.push_back(widen(p.name));
    std::vector<LPOLESTR> pointers;
    for (auto& n : names) pointers.push_back(n.data());
    check(info->SetFuncAndParamNames(index, pointers.data(), static_cast<UINT>(pointers.size())));
    if (!help.empty()) check(info->SetFuncDocString(index, const_cast<LPOLESTR>(help.c_str())));
  }

  /// The type of a parameter, a property or a result: one of our
  /// enumerations by reference to it, anything else by its automation type.
  void declare(Elem& e, ICreateTypeInfo* owner, const ParamInfo& p) {
    const auto known = enums_.find(p.typeName);
    if (known != enums_.end()) {
      e.inner.vt = VT_USERDEFINED;
      check(owner->AddRefTypeInfo(known->second.Get(), &e.inner.hreftype));
    } else {
      e.inner.vt = passedAsVariant(p) ? VARTYPE{VT_VARIANT} : vartypeOf(p.type);
    }
    if (p.byRef) {
      e.outer.vt = VT_PTR;
      e.outer.lptdesc = &e.inner;
      e.desc.tdesc = e.outer;
    } else {
      e.desc.tdesc = e.inner;
    }
  }

  /// The doc line, and the declared type names the library's types do not
  /// carry: "the company database (As Connection)".
  std::wstring helpOf(std::string_view doc, std::span<const ParamInfo> params) const {
    std::string notes;
    for (const auto& p : params) {
      const std::string_view declaredAs =
          passedAsVariant(p) ? paramTypeName(ParamType::Variant) : paramTypeName(p.type);
      if (enums_.contains(p.typeName) || p.typeName == declaredAs) continue;
      notes += notes.empty() ? "(" : ", ";
      notes += p.name.empty() ? "As " + p.typeName : p.name + " As " + p.typeName;
    }
    if (!notes.empty()) notes += ")";
    std::string help(doc);
    if (!help.empty() && !notes.empty()) help += ' ';
    return widen(help + notes);
  }

  static DISPID dispIdOf(const std::wstring& owner, const std::string& member) {
    for (const auto& row : dispIdRows())
      if (row.member == member && widen(row.owner) == owner) return row.id;
    fail(kErrNoDispId, L"no dispatch identifier for " + owner + L"." + widen(member));
  }
};

}  // namespace

HRESULT writeTypeLibrary(const std::wstring& path) noexcept {
  try {
    Writer(path).write();
    return S_OK;
  } catch (const Failure& f) {
    return f.hr;
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  } catch (...) {
    return E_UNEXPECTED;
  }
}

}  // namespace brelvane::com
