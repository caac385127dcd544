// A compiled client of brelvane.dll (registered): events through the
// connection point, by-reference event arguments coming back to the raiser,
// a sink that disconnects itself while an event is raised, and lifetime:
// once the client lets go, no object of the DLL is alive, the objects the
// client handed in are released, and the DLL may be unloaded.
//
//   brelvane_com_client_check.exe [SCENARIO METHODS]
//
// Given the launch scenario and its launch methods (one a line) it first
// runs a host's sequence on each method from C++ (a script host under Wine
// keeps every class object it creates an object with, so it cannot tell),
// and the stand-ins' DLL must then be unloadable too. Prints PASS and FAIL
// lines; exit 1 on any failure.
#include <windows.h>

#include <ocidl.h>

#include <cstdio>
#include <fstream>
#include <vector>

#include "adapters.h"
#include "client.h"
#include "identity.h"
#include "module.h"
#include "server_object.h"

using namespace brelvane;
using com::ComPtr;
using com::LateBound;

namespace {

int failures = 0;

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

ComPtr<IDispatch> create(const char* progId) {
  if (auto object = com::create(progId)) return object;
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
  ComPtr<IDispatch> connect = create("Brelvane.CLSCI_CONNECT");
  ComPtr<IConnectionPointContainer> container;
  ComPtr<IConnectionPoint> point;
  check(SUCCEEDED(connect.As(&container)) &&
            SUCCEEDED(container->FindConnectionPoint(com::kDiidConnectEvents, &point)),
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
  LateBound lookup(create("Brelvane.CLSCI_LOOKUP"));
  IDispatch* host = com::exposeObject(std::make_shared<Silent>());
  lookup.put("ActiveInterface", Variant(com::adaptObject(host, "")), true);
  host->Release();
  lookup.call("NatureCosti", {});  // raises nothing, or the whole check fails
  check(com::liveObjects() == 1, "the lookup holds the host while it lives");
  lookup = LateBound(nullptr);
  check(com::liveObjects() == 0, "the lookup's end releases the host");
}

/// The launch scenario's sequence of a host on each launch method, with a
/// lookup over the stand-in connection's commands on the same host.
void launches(const char* scenario, const char* methods) {
  LateBound sb(create("BrelvaneTest.Standins"));
  auto object = [&](const char* name) {
    Variant arg[] = {Variant(name)};
    return sb.call("Object", arg);
  };
  Variant load[] = {Variant(scenario)};
  sb.call("Load", load);
  int launched = 0, count = 0;
  std::ifstream list(methods);
  for (std::string method; std::getline(list, method); ++count) {
    LateBound cn(create("Brelvane.CLSCI_CONNECT"));
    cn.put("ActiveInterface", object(count % 2 ? "ps" : "host"), true);
    cn.put("ConnectField", object("field"), true);
    Variant advise[] = {Variant(com::adaptObject(cn.object(), "")), Variant("ev"),
                        Variant(R"({"TransferData": {"Cancel": true}})")};
    sb.call("Advise", advise);
    launched += toBool(cn.call(method, {}));
    LateBound lk(create("Brelvane.CLSCI_LOOKUP"));
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

}  // namespace

int main(int argc, char** argv) {
  if (argc != 1 && argc != 3) return std::fputs("usage: see client_check.cpp\n", stderr), 2;
  CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
  try {
    if (argc == 3) launches(argv[1], argv[2]);
    events();
    lifetime();
  } catch (const AutomationError& e) {
    check(false, std::to_string(e.number) + " " + e.source + ": " + e.description);
  }
  check(unloadable(L"brelvane.dll"), "no object of brelvane.dll is left: it may be unloaded");
  if (argc == 3)
    check(unloadable(L"brelvane_launcher_standin.dll"), "the stand-ins' DLL may be unloaded");
  CoUninitialize();
  std::printf("client check: %d failure(s)\n", failures);
  return failures ? 1 : 0;
}
