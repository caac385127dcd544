#include "events.h"

#include <string>
#include <vector>

#include "com_object.h"
#include "dispids.h"
#include "errors.h"
#include "identity.h"
#include "text.h"
#include "variant_conv.h"

namespace brelvane::com {

namespace {

/// An advised sink as a core event sink: each event is called by its fixed
/// identifier, arguments last first, the by-reference ones through typed
/// slots whose new values come back to the raiser.
class Sink final : public Dispatch {
 public:
  Sink(IDispatch* sink, const ClassInfo& info) : sink_(sink), info_(info) { sink_->AddRef(); }
  ~Sink() override { sink_->Release(); }

  Variant invoke(std::string_view name, std::span<Variant> args) override {
    const EventInfo* event = nullptr;
    for (const auto& e : info_.events)
      if (sameName(e.name, name)) event = &e;
    DISPID id = DISPID_UNKNOWN;
    for (const auto& row : dispIdRows())
      if (row.owner == narrow(kEventInterfaceName) && sameName(row.member, name)) id = row.id;
    if (!event || id == DISPID_UNKNOWN || args.size() != event->params.size())
      throw AutomationError::of(err::kUnknownMember, std::string(name));
    const size_t n = args.size();
    VariantList values(n);
    std::vector<VARIANT> slots(n);
    for (size_t i = 0; i < n; ++i) {
      const ParamInfo& p = event->params[i];
      toVariant(args[i], values[i]);
      VARIANT& slot = slots[n - 1 - i];
      if (!p.byRef) {
        slot = values[i];
        continue;
      }
      // The type the type library declares: a compiled sink reads exactly that.
      const VARTYPE type = vartypeOf(p.type);
      if (type != VT_VARIANT &&
          FAILED(VariantChangeTypeEx(&values[i], &values[i], LOCALE_INVARIANT, 0, type)))
        throw AutomationError::of(err::kTypeMismatch, p.name);
      slot.vt = VT_BYREF | type;
      // Every typed member of VARIANT's union starts at the same place.
      slot.byref =
          type == VT_VARIANT ? static_cast<void*>(&values[i]) : static_cast<void*>(&values[i].lVal);
    }
    DISPPARAMS params{slots.data(), nullptr, static_cast<UINT>(n), 0};
    EXCEPINFO info{};
    VARIANT result;
    VariantInit(&result);
    HRESULT hr = sink_->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &params, &result,
                               &info, nullptr);
    VariantClear(&result);
    if (FAILED(hr)) throw errorFromCall(hr, info);
    for (size_t i = 0; i < n; ++i)
      if (event->params[i].byRef) args[i] = fromVariant(values[i]);
    return {};
  }

 private:
  IDispatch* sink_;
  const ClassInfo& info_;
};

class ConnectionPoint final : public ComObject<IConnectionPoint> {
 public:
  ConnectionPoint(IConnectionPointContainer* owner,
                  std::shared_ptr<ConnectionPointContainer> events, const ClassInfo& info)
      : owner_(owner), events_(std::move(events)), info_(info) {
    owner_->AddRef();
  }
  ~ConnectionPoint() override { owner_->Release(); }

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override {
    const bool known = IsEqualGUID(iid, IID_IUnknown) || IsEqualGUID(iid, IID_IConnectionPoint);
    return answer(known ? static_cast<IConnectionPoint*>(this) : nullptr, out);
  }

  HRESULT STDMETHODCALLTYPE GetConnectionInterface(IID* iid) override {
    if (!iid) return E_POINTER;
    *iid = kDiidConnectEvents;
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE GetConnectionPointContainer(IConnectionPointContainer** out) override {
    if (!out) return E_POINTER;
    *out = owner_;
    owner_->AddRef();
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE Advise(IUnknown* sink, DWORD* cookie) override {
    if (!sink || !cookie) return E_POINTER;
    *cookie = 0;
    IDispatch* dispatch = nullptr;
    if (FAILED(sink->QueryInterface(kDiidConnectEvents, reinterpret_cast<void**>(&dispatch))) &&
        FAILED(sink->QueryInterface(IID_IDispatch, reinterpret_cast<void**>(&dispatch))))
      return CONNECT_E_CANNOTCONNECT;
    HRESULT hr = guarded(
        [&]() -> HRESULT {
          *cookie = static_cast<DWORD>(events_->Advise(std::make_shared<Sink>(dispatch, info_)));
          return S_OK;
        },
        nullptr, kDiidConnectEvents);
    dispatch->Release();
    return hr;
  }
  HRESULT STDMETHODCALLTYPE Unadvise(DWORD cookie) override {
    return guarded(
        [&]() -> HRESULT {
          events_->Unadvise(static_cast<int32_t>(cookie));
          return S_OK;
        },
        nullptr, kDiidConnectEvents);
  }
  HRESULT STDMETHODCALLTYPE EnumConnections(IEnumConnections** out) override {
    if (out) *out = nullptr;
    return E_NOTIMPL;
  }

 private:
  IConnectionPointContainer* owner_;
  std::shared_ptr<ConnectionPointContainer> events_;
  const ClassInfo& info_;
};

}  // namespace

IConnectionPoint* newConnectionPoint(IConnectionPointContainer* owner,
                                     std::shared_ptr<ConnectionPointContainer> events,
                                     const ClassInfo& info) {
  return new ConnectionPoint(owner, std::move(events), info);
}

}  // namespace brelvane::com
