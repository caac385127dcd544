// Whether anything of brelvane.dll or of the stand-ins outlives its last
// reference: a host's sequence made from C++ (a script host under Wine
// keeps every class object it creates an object with, so it cannot tell),
// then DllCanUnloadNow of both DLLs, which must answer S_OK.
//
//   lifetime_check.exe CONFIG METHODS   CONFIG: the launch scenario's stand-ins;
//                                       METHODS: a file of launch methods, one a line
#include <windows.h>

#include <cstdio>
#include <fstream>

#include "adapters.h"
#include "late_bound.h"
#include "text.h"

using namespace brelvane;
using com::ComPtr;
using com::LateBound;

namespace {

ComPtr<IDispatch> create(const wchar_t* progId) {
  CLSID clsid;
  ComPtr<IDispatch> object;
  if (FAILED(CLSIDFromProgID(progId, &clsid)) ||
      FAILED(CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER, IID_IDispatch, &object)))
    throw AutomationError::of(err::kCannotCreate, com::narrow(progId));
  return object;
}

Variant call(LateBound& object, std::string_view name, std::vector<Variant> args) {
  return object.call(name, args);
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

int wmain(int argc, wchar_t** argv) {
  if (argc != 3) return std::fputs("usage: lifetime_check CONFIG METHODS\n", stderr), 2;
  CoInitialize(nullptr);
  int launched = 0, methods = 0;
  try {
    LateBound sb(create(L"BrelvaneTest.Standins"));
    call(sb, "Load", {Variant(com::narrow(argv[1]))});
    std::ifstream list(argv[2]);
    for (std::string method; std::getline(list, method); ++methods) {
      LateBound cn(create(L"Brelvane.CLSCI_CONNECT"));
      cn.put("ActiveInterface", call(sb, "Object", {Variant(methods % 2 ? "ps" : "host")}), true);
      cn.put("ConnectField", call(sb, "Object", {Variant("field")}), true);
      call(sb, "Advise",
           {Variant(com::adaptObject(cn.object(), "")), Variant("ev"),
            Variant(R"({"TransferData": {"Cancel": true}})")});
      launched += toBool(call(cn, method, {}));
      // A lookup on the same host, over the stand-in connection's commands.
      LateBound lk(create(L"Brelvane.CLSCI_LOOKUP"));
      lk.put("ActiveInterface", call(sb, "Object", {Variant("host")}), true);
      lk.put("Connessione", call(sb, "Object", {Variant("db")}), true);
      call(lk, "ProposteContiPerProvider", {Variant(int16_t{5}), Variant(int16_t{7})});
      call(lk, "AnagraficaPianoDeiConti", {Variant("4")});
    }
  } catch (const AutomationError& e) {
    std::printf("FAIL lifetime: %d %s: %s\n", e.number, e.source.c_str(), e.description.c_str());
    return 1;
  }
  // VisualizzaTracciaRib launches nothing without an open trace: one False.
  bool ok = methods > 0;
  std::printf("lifetime: %d of %d launch methods returned True\n", launched, methods);
  for (const wchar_t* dll : {L"brelvane.dll", L"brelvane_launcher_standin.dll"}) {
    bool free = unloadable(dll);
    std::printf("%s lifetime: %ls may unload (no object left)\n", free ? "PASS" : "FAIL", dll);
    ok = ok && free;
  }
  CoUninitialize();
  return ok ? 0 : 1;
}
