// brelvane.dll used from the client's own folder without registration: the
// client's application manifest names the assembly that
// `regsvr32 /n /i:manifest` wrote. Each class is created by ProgID, its type
// information is found through the manifest's type library, and a property
// is read by name. Prints one line per class; exit status 1 on a failure.
#include <windows.h>

#include <oleauto.h>

#include <cstdio>

namespace {

bool registered(const wchar_t* progId) {
  HKEY key;
  if (RegOpenKeyExW(HKEY_CLASSES_ROOT, progId, 0, KEY_READ, &key) != ERROR_SUCCESS) return false;
  RegCloseKey(key);
  return true;
}

/// Creates the class and reads one of its properties.
HRESULT use(const wchar_t* progId, const wchar_t* property, VARTYPE expected) {
  CLSID clsid;
  IDispatch* object = nullptr;
  HRESULT hr = CLSIDFromProgID(progId, &clsid);
  if (SUCCEEDED(hr))
    hr = CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER, IID_IDispatch,
                          reinterpret_cast<void**>(&object));
  if (FAILED(hr)) return hr;
  ITypeInfo* info = nullptr;
  hr = object->GetTypeInfo(0, LOCALE_USER_DEFAULT, &info);
  if (SUCCEEDED(hr)) info->Release();
  LPOLESTR name = const_cast<LPOLESTR>(property);
  DISPID id;
  if (SUCCEEDED(hr)) hr = object->GetIDsOfNames(IID_NULL, &name, 1, LOCALE_USER_DEFAULT, &id);
  VARIANT value;
  VariantInit(&value);
  DISPPARAMS none{};
  if (SUCCEEDED(hr))
    hr = object->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_PROPERTYGET, &none, &value,
                        nullptr, nullptr);
  if (SUCCEEDED(hr) && value.vt != expected) hr = DISP_E_TYPEMISMATCH;
  VariantClear(&value);
  object->Release();
  return hr;
}

}  // namespace

int main() {
  CoInitialize(nullptr);
  struct Case {
    const wchar_t *progId, *property;
    VARTYPE type;
  };
  const Case cases[] = {{L"Brelvane.CLSCI_LOOKUP", L"Str_Sql", VT_BSTR},
                        {L"Brelvane.CLSCI_DECODE", L"Str_Sql", VT_BSTR},
                        {L"Brelvane.CLSCI_CONNECT", L"Ditta", VT_EMPTY},
                        {L"Brelvane.Settings", L"Hardened", VT_BOOL}};
  int failures = 0;
  for (const auto& c : cases) {
    const bool inRegistry = registered(c.progId);
    const HRESULT hr = use(c.progId, c.property, c.type);
    const bool ok = !inRegistry && SUCCEEDED(hr);
    failures += !ok;
    std::printf("%s %ls%s (0x%08lx)\n", ok ? "ok  " : "FAIL", c.progId,
                inRegistry ? ": registered, so this proves nothing" : "",
                static_cast<unsigned long>(hr));
  }
  CoUninitialize();
  return failures ? 1 : 0;
}
