#include "server_object.h"

#include <algorithm>
#include <array>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "adapters.h"
#include "com_object.h"
#include "dispids.h"
#include "dual.h"
#include "errors.h"
#include "events.h"
#include "module.h"
#include "text.h"
#include "variant_conv.h"

namespace brelvane::com {

namespace {

/// A member of a class by dispatch identifier: its name, and its parameter
/// list when it is a method.
struct Member {
  DISPID id;
  std::string_view name;
  const MethodInfo* method = nullptr;
  const PropertyInfo* property = nullptr;
};

/// The members of a class description, in identifier order, from the
/// checked-in table; built once per class. Objects of an apartment-threaded
/// server may live in several apartments at once, so the first use of a
/// class is serialised; each object then keeps its table.
const std::vector<Member>& membersOf(const ClassInfo& info) {
  static std::mutex guard;
  static std::map<const ClassInfo*, std::vector<Member>> cache;
  std::lock_guard lock(guard);
  auto [it, fresh] = cache.try_emplace(&info);
  if (!fresh) return it->second;
  const std::string_view owner = std::string_view(info.progId).substr(info.progId.find('.') + 1);
  for (const auto& row : dispIdRows()) {
    if (row.owner != owner) continue;
    Member m{row.id, row.member};
    m.property = info.findProperty(row.member);
    m.method = info.findMethod(row.member);
    if (m.property || m.method) it->second.push_back(m);
  }
  std::sort(it->second.begin(), it->second.end(),
            [](const Member& a, const Member& b) { return a.id < b.id; });
  return it->second;
}

/// The most arguments any call takes.
constexpr UINT kMaxArguments = 16;

/// First identifier given to the names of an object without a description.
constexpr DISPID kFirstDynamicId = 1000;

class ServerObject final : public ComObject<IDispatch, ISupportErrorInfo, IConnectionPointContainer,
                                            IProvideClassInfo2> {
 public:
  ServerObject(std::shared_ptr<Dispatch> core, const ClassIdentity* identity)
      : core_(std::move(core)),
        identity_(identity),
        info_(core_->classInfo()),
        members_(info_ ? &membersOf(*info_) : nullptr),
        dual_{identity_ ? dualVtableOf(narrow(identity_->name)) : nullptr, this} {}

  const std::shared_ptr<Dispatch>& core() const { return core_; }
  /// True for an object of this module: another module linking the same
  /// code answers the private interface too, but its objects stay foreign.
  bool ofThisModule() const { return module_ == &kModuleMarker; }

  // IUnknown
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override {
    if (!out) return E_POINTER;
    if (IsEqualGUID(iid, kIidServerObject)) {
      // No reference is added: the caller only reads the core object.
      *out = static_cast<IDispatch*>(this);
      return S_OK;
    }
    void* answered = nullptr;
    // A class's dual interface is also its IDispatch: a client holding
    // either reaches the vtable through the interface it asked for.
    if ((IsEqualGUID(iid, IID_IDispatch) || (identity_ && IsEqualGUID(iid, identity_->iid))) &&
        dual_.vtable)
      answered = &dual_;
    else if (IsEqualGUID(iid, IID_IUnknown) || IsEqualGUID(iid, IID_IDispatch))
      answered = static_cast<IDispatch*>(this);
    else if (IsEqualGUID(iid, IID_ISupportErrorInfo))
      answered = static_cast<ISupportErrorInfo*>(this);
    else if (IsEqualGUID(iid, IID_IConnectionPointContainer) && events())
      answered = static_cast<IConnectionPointContainer*>(this);
    else if ((IsEqualGUID(iid, IID_IProvideClassInfo) ||
              IsEqualGUID(iid, IID_IProvideClassInfo2)) &&
             identity_)
      answered = static_cast<IProvideClassInfo2*>(this);
    return answer(answered, out);
  }

  // ISupportErrorInfo
  HRESULT STDMETHODCALLTYPE InterfaceSupportsErrorInfo(REFIID iid) override {
    return IsEqualGUID(iid, IID_IDispatch) || (identity_ && IsEqualGUID(iid, identity_->iid))
               ? S_OK
               : S_FALSE;
  }

  // IConnectionPointContainer: the one outgoing interface of a class with
  // events.
  HRESULT STDMETHODCALLTYPE EnumConnectionPoints(IEnumConnectionPoints** out) override {
    if (out) *out = nullptr;
    return E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE FindConnectionPoint(REFIID iid, IConnectionPoint** out) override {
    if (!out) return E_POINTER;
    *out = nullptr;
    auto source = events();
    if (!source || !IsEqualGUID(iid, kDiidConnectEvents)) return CONNECT_E_NOCONNECTION;
    *out = newConnectionPoint(this, std::move(source), *info_);
    return S_OK;
  }

  // IProvideClassInfo2: the coclass, and its default source interface.
  HRESULT STDMETHODCALLTYPE GetClassInfo(ITypeInfo** out) override {
    return typeInfo(identity_->clsid, out);
  }
  HRESULT STDMETHODCALLTYPE GetGUID(DWORD kind, GUID* out) override {
    if (!out) return E_POINTER;
    if (kind != GUIDKIND_DEFAULT_SOURCE_DISP_IID || !identity_->hasEvents) return E_INVALIDARG;
    *out = kDiidConnectEvents;
    return S_OK;
  }

  // IDispatch
  HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) override {
    if (!count) return E_POINTER;
    ITypeInfo* info = nullptr;
    *count = identity_ && SUCCEEDED(GetTypeInfo(0, 0, &info)) ? 1 : 0;
    if (info) info->Release();
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT index, LCID, ITypeInfo** out) override {
    if (!out) return E_POINTER;
    *out = nullptr;
    if (index != 0 || !identity_) return DISP_E_BADINDEX;
    return typeInfo(identity_->iid, out);
  }
  HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR* names, UINT count, LCID,
                                          DISPID* ids) override {
    if (!names || !ids || count == 0) return E_INVALIDARG;
    return guarded(
        [&]() -> HRESULT {
          // Only the member's own name is known; names of arguments are not.
          for (UINT i = 1; i < count; ++i) ids[i] = DISPID_UNKNOWN;
          ids[0] = idOf(narrow(names[0]));
          return ids[0] != DISPID_UNKNOWN && count == 1 ? S_OK : DISP_E_UNKNOWNNAME;
        },
        nullptr, IID_IDispatch);
  }
  HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID, LCID, WORD flags, DISPPARAMS* params,
                                   VARIANT* result, EXCEPINFO* exception, UINT* argError) override {
    DISPPARAMS none{};
    if (!params) params = &none;
    const GUID& iid = identity_ ? identity_->iid : IID_IDispatch;
    return guarded([&] { return invoke(id, flags, *params, result, argError); }, exception, iid);
  }

 private:
  /// The core's events, when the object raises any.
  std::shared_ptr<ConnectionPointContainer> events() const {
    return info_ && !info_->events.empty()
               ? std::dynamic_pointer_cast<ConnectionPointContainer>(core_)
               : nullptr;
  }

  static HRESULT typeInfo(const GUID& guid, ITypeInfo** out) {
    if (!out) return E_POINTER;
    *out = nullptr;
    ITypeLib* library = nullptr;
    HRESULT hr = LoadRegTypeLib(kLibId, kLibMajor, kLibMinor, LOCALE_NEUTRAL, &library);
    if (FAILED(hr)) return hr;
    hr = library->GetTypeInfoOfGuid(guid, out);
    library->Release();
    return hr;
  }

  DISPID idOf(const std::string& name) {
    if (info_) {
      for (const auto& m : *members_)
        if (sameName(m.name, name)) return m.id;
      return DISPID_UNKNOWN;
    }
    for (size_t i = 0; i < dynamicNames_.size(); ++i)
      if (sameName(dynamicNames_[i], name)) return kFirstDynamicId + static_cast<DISPID>(i);
    dynamicNames_.push_back(name);
    return kFirstDynamicId + static_cast<DISPID>(dynamicNames_.size() - 1);
  }

  /// The member of an identifier; false when there is none.
  bool memberOf(DISPID id, Member& out) const {
    if (info_) {
      const auto& members = *members_;
      auto it = std::lower_bound(members.begin(), members.end(), id,
                                 [](const Member& m, DISPID d) { return m.id < d; });
      if (it == members.end() || it->id != id) return false;
      out = *it;
      return true;
    }
    const size_t index = static_cast<size_t>(id - kFirstDynamicId);
    if (id < kFirstDynamicId || index >= dynamicNames_.size()) return false;
    out = Member{id, dynamicNames_[index]};
    return true;
  }

  HRESULT invoke(DISPID id, WORD flags, DISPPARAMS& params, VARIANT* result, UINT* argError) {
    Member member;
    if (!memberOf(id, member)) return DISP_E_MEMBERNOTFOUND;
    const std::string_view name = member.name;
    if (flags & (DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF)) {
      if (params.cArgs != 1 || params.cNamedArgs != 1 ||
          params.rgdispidNamedArgs[0] != DISPID_PROPERTYPUT)
        return DISP_E_BADPARAMCOUNT;
      const PropertyInfo* p = member.property;
      VARIANT value;
      VariantInit(&value);
      HRESULT hr = VariantCopyInd(&value, &params.rgvarg[0]);
      if (FAILED(hr)) return hr;
      if (p && !(flags & DISPATCH_PROPERTYPUTREF) && !coerceArgument(value, p->type)) {
        VariantClear(&value);
        if (argError) *argError = 0;
        return DISP_E_TYPEMISMATCH;
      }
      Variant core;
      try {
        core = fromVariant(value, p ? std::string_view(p->typeName) : std::string_view());
      } catch (...) {
        VariantClear(&value);
        throw;
      }
      VariantClear(&value);
      if (flags & DISPATCH_PROPERTYPUTREF)
        core_->putRef(name, core);
      else
        core_->put(name, core);
      return S_OK;
    }
    if (params.cNamedArgs) return DISP_E_NONAMEDARGS;
    const MethodInfo* m = member.method;
    if (m && params.cArgs > m->params.size()) return DISP_E_BADPARAMCOUNT;
    if (!m && member.property && params.cArgs > 0) return DISP_E_BADPARAMCOUNT;
    // Arguments arrive last first.
    // The arguments of every member fit in place; only a call with more
    // arguments than any member takes would need the heap, and it fails.
    std::array<Variant, kMaxArguments> slots;
    if (params.cArgs > kMaxArguments) return DISP_E_BADPARAMCOUNT;
    std::span<Variant> args(slots.data(), params.cArgs);
    for (UINT i = 0; i < params.cArgs; ++i) {
      VARIANT& slot = params.rgvarg[params.cArgs - 1 - i];
      const ParamInfo* p = m ? &m->params[i] : nullptr;
      VARIANT value;
      VariantInit(&value);
      HRESULT hr = VariantCopyInd(&value, &slot);
      if (FAILED(hr)) return hr;
      if (p && !coerceArgument(value, p->type)) {
        VariantClear(&value);
        if (argError) *argError = params.cArgs - 1 - i;
        return DISP_E_TYPEMISMATCH;
      }
      try {
        args[i] = fromVariant(value, p ? std::string_view(p->typeName) : std::string_view());
      } catch (...) {
        VariantClear(&value);
        throw;
      }
      VariantClear(&value);
    }
    // A property is read whatever the flags say; a name without a
    // description is read when it is asked for as a value without arguments.
    const bool read = !m && (member.property || ((flags & DISPATCH_PROPERTYGET) && args.empty()));
    Variant out = read ? core_->get(name) : core_->invoke(name, args);
    // By-reference arguments go back into the caller's variables.
    for (UINT i = 0; i < params.cArgs; ++i) {
      VARIANT& slot = params.rgvarg[params.cArgs - 1 - i];
      if ((slot.vt & VT_BYREF) && (!m || m->params[i].byRef)) writeBack(args[i], slot);
    }
    if (result) toVariant(out, *result);
    return S_OK;
  }

  static inline const char kModuleMarker = 0;
  const char* module_ = &kModuleMarker;
  std::shared_ptr<Dispatch> core_;
  const ClassIdentity* identity_;
  const ClassInfo* info_;
  const std::vector<Member>* members_;  ///< of info_, when there is one
  DualView dual_;                       ///< the dual interface of a class
  std::vector<std::string> dynamicNames_;
};

}  // namespace

IDispatch* exposeObject(std::shared_ptr<Dispatch> object, const ClassIdentity* identity) {
  return new ServerObject(std::move(object), identity);
}

std::shared_ptr<Dispatch> unwrapServerObject(IUnknown* unknown) {
  void* ours = nullptr;
  if (!unknown || FAILED(unknown->QueryInterface(kIidServerObject, &ours)) || !ours) return nullptr;
  auto* object = static_cast<ServerObject*>(static_cast<IDispatch*>(ours));
  return object->ofThisModule() ? object->core() : nullptr;
}

IDispatch* dispatchOf(const std::shared_ptr<Dispatch>& object) {
  if (!object) return nullptr;
  if (IDispatch* peer = peerOf(*object)) {
    peer->AddRef();
    return peer;
  }
  return exposeObject(object);
}

}  // namespace brelvane::com
