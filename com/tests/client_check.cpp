// A compiled client of brelvane.dll (registered): events through the
// connection point, by-reference event arguments coming back to the raiser,
// a sink that disconnects itself while an event is raised, and lifetime:
// once the client lets go, no object of the DLL is alive, the objects the
// client handed in are released, and the DLL may be unloaded.
//
//   wine brelvane_com_client_check.exe      prints FAIL lines; exit 1 on any
#include <windows.h>

#include <ocidl.h>

#include <cstdio>
#include <string>
#include <vector>

#include "identity.h"
#include "module.h"
#include "server_object.h"
#include "text.h"

namespace {

int failures = 0;

void check(bool ok, const char* what) {
  if (!ok) {
    ++failures;
    std::printf("FAIL %s\n", what);
  }
}

/// A sink answering events by identifier, as compiled sinks do: it records
/// them, sets Cancel and the called program of TransferData, replaces the
/// causal code of ChiusuraSelezioneCausaleCoIn, and may disconnect itself.
class Sink final : public IDispatch {
 public:
  std::vector<DISPID> seen;
  VARTYPE cancelType = VT_EMPTY;
  IConnectionPoint* point = nullptr;  // set: unadvise on the first event
  DWORD cookie = 0;

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override {
    if (IsEqualGUID(iid, IID_IUnknown) || IsEqualGUID(iid, IID_IDispatch)) {
      *out = this;
      AddRef();
      return S_OK;
    }
    *out = nullptr;
    return E_NOINTERFACE;
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return ++refs; }
  ULONG STDMETHODCALLTYPE Release() override { return --refs; }  // lives on the stack
  HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* n) override { return *n = 0, S_OK; }
  HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override {
    return E_NOTIMPL;
  }
  HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID, LCID, WORD, DISPPARAMS* p, VARIANT*,
                                   EXCEPINFO*, UINT*) override {
    seen.push_back(id);
    if (id == 1 && p->cArgs == 3) {  // TransferData(Cancel, Data, tsCalledProgram), last first
      cancelType = p->rgvarg[2].vt;
      if (p->rgvarg[2].vt == (VT_BYREF | VT_BOOL)) *p->rgvarg[2].pboolVal = VARIANT_TRUE;
      if (p->rgvarg[0].vt == (VT_BYREF | VT_I4)) *p->rgvarg[0].plVal = 7;
    }
    if (id == 3 && p->cArgs == 1 && p->rgvarg[0].vt == (VT_BYREF | VT_VARIANT)) {
      VariantClear(p->rgvarg[0].pvarVal);
      p->rgvarg[0].pvarVal->vt = VT_BSTR;
      p->rgvarg[0].pvarVal->bstrVal = SysAllocString(L"CAU2");
    }
    if (point) point->Unadvise(cookie);
    return S_OK;
  }
  ULONG refs = 1;
};

DISPID idOf(IDispatch* object, const wchar_t* name) {
  LPOLESTR names[] = {const_cast<LPOLESTR>(name)};
  DISPID id = DISPID_UNKNOWN;
  object->GetIDsOfNames(IID_NULL, names, 1, LOCALE_USER_DEFAULT, &id);
  return id;
}

HRESULT call(IDispatch* object, const wchar_t* name, std::vector<VARIANT> lastFirst,
             WORD flags = DISPATCH_METHOD) {
  DISPID put = DISPID_PROPERTYPUT;
  DISPPARAMS params{lastFirst.data(), nullptr, static_cast<UINT>(lastFirst.size()), 0};
  if (flags & (DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF))
    params = {lastFirst.data(), &put, 1, 1};
  VARIANT result;
  VariantInit(&result);
  HRESULT hr = object->Invoke(idOf(object, name), IID_NULL, LOCALE_USER_DEFAULT, flags, &params,
                              &result, nullptr, nullptr);
  VariantClear(&result);
  return hr;
}

IDispatch* create(const char* progId) {
  CLSID clsid;
  IDispatch* object = nullptr;
  if (FAILED(CLSIDFromProgID(brelvane::com::widen(progId).c_str(), &clsid)) ||
      FAILED(CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER, IID_IDispatch,
                              reinterpret_cast<void**>(&object)))) {
    std::printf("FAIL cannot create %s: is brelvane.dll registered?\n", progId);
    std::exit(1);
  }
  return object;
}

void events() {
  IDispatch* connect = create("Brelvane.CLSCI_CONNECT");
  IConnectionPointContainer* container = nullptr;
  IConnectionPoint* point = nullptr;
  check(SUCCEEDED(connect->QueryInterface(IID_IConnectionPointContainer,
                                          reinterpret_cast<void**>(&container))) &&
            SUCCEEDED(container->FindConnectionPoint(brelvane::com::kDiidConnectEvents, &point)),
        "CLSCI_CONNECT offers the connection point of __CLSCI_CONNECT");
  if (!point) return;
  Sink sink, leaving;
  DWORD cookie = 0;
  check(SUCCEEDED(point->Advise(&sink, &cookie)) &&
            SUCCEEDED(point->Advise(&leaving, &leaving.cookie)),
        "sinks connect");
  leaving.point = point;

  VARIANT_BOOL cancel = VARIANT_FALSE;
  LONG program = 3;
  VARIANT args[3];  // last first: tsCalledProgram, Data, Cancel
  args[0].vt = VT_BYREF | VT_I4;
  args[0].plVal = &program;
  args[1].vt = VT_I4;
  args[1].lVal = 42;
  args[2].vt = VT_BYREF | VT_BOOL;
  args[2].pboolVal = &cancel;
  check(SUCCEEDED(call(connect, L"TransferData", {args[0], args[1], args[2]})), "TransferData");
  check(sink.seen == std::vector<DISPID>{1}, "TransferData is event 1");
  check(sink.cancelType == (VT_BYREF | VT_BOOL), "Cancel reaches a sink as a Boolean by reference");
  check(cancel == VARIANT_TRUE && program == 7, "the sink's Cancel and program come back");

  VARIANT code, ref;
  code.vt = VT_BSTR;
  code.bstrVal = SysAllocString(L"CAU1");
  ref.vt = VT_BYREF | VT_VARIANT;
  ref.pvarVal = &code;
  check(SUCCEEDED(call(connect, L"ChiusuraSelezioneCausaleCoIn", {ref})) && code.vt == VT_BSTR &&
            std::wstring(code.bstrVal) == L"CAU2",
        "the sink's causal code comes back");
  VariantClear(&code);
  check(leaving.seen == std::vector<DISPID>{1},
        "a sink that disconnected during an event hears no more");
  check(sink.seen == std::vector<DISPID>{1, 3}, "ChiusuraSelezioneCausaleCoIn is event 3");
  check(SUCCEEDED(point->Unadvise(cookie)), "Unadvise");
  point->Release();
  container->Release();
  connect->Release();
}

/// A host that answers nothing: the lookup fails, and must still let it go.
struct Silent final : brelvane::Dispatch {};

void lifetime() {
  IDispatch* lookup = create("Brelvane.CLSCI_LOOKUP");
  IDispatch* host = brelvane::com::exposeObject(std::make_shared<Silent>());
  VARIANT value;
  value.vt = VT_DISPATCH;
  value.pdispVal = host;
  check(SUCCEEDED(call(lookup, L"ActiveInterface", {value}, DISPATCH_PROPERTYPUTREF)),
        "Set ActiveInterface");
  check(SUCCEEDED(call(lookup, L"NatureCosti", {})), "a failing lookup raises nothing");
  host->Release();
  check(brelvane::com::liveObjects() == 1, "the lookup holds the host while it lives");
  lookup->Release();
  check(brelvane::com::liveObjects() == 0, "the lookup's end releases the host");
}

}  // namespace

int main() {
  CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
  events();
  lifetime();
  HMODULE dll = GetModuleHandleW(L"brelvane.dll");
  auto canUnload = reinterpret_cast<HRESULT(WINAPI*)()>(
      reinterpret_cast<void*>(GetProcAddress(dll, "DllCanUnloadNow")));
  check(canUnload && canUnload() == S_OK, "no object of the DLL is left: it may be unloaded");
  CoUninitialize();
  std::printf("%s: %d failure(s)\n", failures ? "FAIL" : "PASS", failures);
  return failures ? 1 : 0;
}
