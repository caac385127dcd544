// brelvane.dll used from the client's own folder without registration: the
// client's application manifest names the assembly that
// `regsvr32 /n /i:manifest` wrote. Each class is created by ProgID, its type
// information is found through the manifest's type library, and a property
// is read by name. Prints one line per class; exit status 1 on a failure.
#include <cstdio>

#include "client.h"
#include "errors.h"

using namespace brelvane;
using com::ComPtr;

namespace {

/// Creates the class and reads one of its properties.
HRESULT use(const char* progId, const char* property, VarType expected) {
  HRESULT hr;
  ComPtr<ITypeInfo> info;
  ComPtr<IDispatch> object = com::create(progId, &hr);
  if (SUCCEEDED(hr)) hr = object->GetTypeInfo(0, LOCALE_USER_DEFAULT, &info);
  try {
    return FAILED(hr) || com::LateBound(object).get(property).type() == expected
               ? hr : DISP_E_TYPEMISMATCH;
  } catch (const AutomationError& e) {
    return com::hresultOf(e);
  }
}

}  // namespace

int main() {
  CoInitialize(nullptr);
  struct Case {
    const char *progId, *property;
    VarType type;
  };
  const Case cases[] = {{"Brelvane.CLSCI_LOOKUP", "Str_Sql", VarType::String},
                        {"Brelvane.CLSCI_DECODE", "Str_Sql", VarType::String},
                        {"Brelvane.CLSCI_CONNECT", "Ditta", VarType::Empty},
                        {"Brelvane.Settings", "Hardened", VarType::Boolean}};
  int failures = 0;
  for (const auto& c : cases) {
    HKEY key;  // a class found in the registry proves nothing
    const bool inRegistry =
        RegOpenKeyExA(HKEY_CLASSES_ROOT, c.progId, 0, KEY_READ, &key) == ERROR_SUCCESS;
    if (inRegistry) RegCloseKey(key);
    const HRESULT hr = use(c.progId, c.property, c.type);
    const bool ok = !inRegistry && SUCCEEDED(hr);
    failures += !ok;
    std::printf("%s %s%s (0x%08lx)\n", ok ? "ok  " : "FAIL", c.progId,
                inRegistry ? ": registered, so this proves nothing" : "",
                static_cast<unsigned long>(hr));
  }
  CoUninitialize();
  return failures ? 1 : 0;
}
