// Registration of the server: the exported entry points regsvr32 calls,
// and the keys of each class of identity.h.
#include "registration.h"
#include <oleauto.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>
#include <wrl/client.h>

#include "brelvane/version.h"
#include "identity.h"
#include "module.h"
#include "text.h"
#include "typelib.h"

// In oleaut32 (and its import library) but missing from the mingw-w64 headers.
extern "C" HRESULT WINAPI RegisterTypeLibForUser(ITypeLib* lib, OLECHAR* path, OLECHAR* helpDir);
extern "C" HRESULT WINAPI UnRegisterTypeLibForUser(REFGUID libId, WORD major, WORD minor, LCID lcid,
                                                   SYSKIND syskind);

namespace brelvane::com {

namespace {

std::wstring guidText(const GUID& guid) {
  wchar_t text[39];
  StringFromGUID2(guid, text, 39);
  return text;
}

HKEY rootOf(Scope scope) {
  return scope == Scope::Machine ? HKEY_LOCAL_MACHINE : HKEY_CURRENT_USER;
}
std::wstring classesKey(const std::wstring& key) {
  return L"Software\\Classes\\" + key;
}

/// One registry value: its key below Software\Classes, its name (empty:
/// the key's default value) and its text.
struct Entry {
  std::wstring key, name, data;
};

/// Everything registered for a class; a key comes before its subkeys.
std::vector<Entry> entriesOf(const ClassIdentity& c, const std::wstring& dllPath) {
  const std::wstring name(c.name), progId = widen(c.progId);
  const std::wstring versioned = progId + L"." + std::to_wstring(kLibMajor);
  const std::wstring clsid = guidText(c.clsid), key = L"CLSID\\" + clsid;
  return {
      {versioned, L"", name},
      {versioned + L"\\CLSID", L"", clsid},
      {progId, L"", name},
      {progId + L"\\CLSID", L"", clsid},
      {progId + L"\\CurVer", L"", versioned},
      {key, L"", name},
      {key + L"\\InprocServer32", L"", dllPath},
      {key + L"\\InprocServer32", L"ThreadingModel", L"Apartment"},
      {key + L"\\ProgID", L"", versioned},
      {key + L"\\VersionIndependentProgID", L"", progId},
      {key + L"\\TypeLib", L"", guidText(kLibId)},
      {key + L"\\Version", L"", std::to_wstring(kLibMajor) + L"." + std::to_wstring(kLibMinor)},
  };
}

HRESULT write(HKEY root, const Entry& e) {
  HKEY key;
  LSTATUS status = RegCreateKeyExW(root, classesKey(e.key).c_str(), 0, nullptr, 0, KEY_SET_VALUE,
                                   nullptr, &key, nullptr);
  if (status != ERROR_SUCCESS) return HRESULT_FROM_WIN32(status);
  status = RegSetValueExW(key, e.name.empty() ? nullptr : e.name.c_str(), 0, REG_SZ,
                          reinterpret_cast<const BYTE*>(e.data.c_str()),
                          static_cast<DWORD>((e.data.size() + 1) * sizeof(wchar_t)));
  RegCloseKey(key);
  return HRESULT_FROM_WIN32(status);
}

std::wstring modulePath() {
  std::wstring path(MAX_PATH, L'\0');
  for (;;) {
    const DWORD n =
        GetModuleFileNameW(moduleInstance(), path.data(), static_cast<DWORD>(path.size()));
    if (n == 0) return {};
    if (n < path.size()) return path.substr(0, n);
    path.resize(path.size() * 2);
  }
}

/// The DLL's own path with the extension .tlb.
std::wstring typeLibraryPath(const std::wstring& dll) {
  const auto dot = dll.find_last_of(L'.');
  const auto slash = dll.find_last_of(L"\\/");
  const bool hasExtension =
      dot != std::wstring::npos && (slash == std::wstring::npos || dot > slash);
  return (hasExtension ? dll.substr(0, dot) : dll) + L".tlb";
}

HRESULT registerTypeLibrary(Scope scope, std::wstring path) {
  if (HRESULT hr = writeTypeLibrary(path); FAILED(hr)) return hr;
  Microsoft::WRL::ComPtr<ITypeLib> lib;
  if (HRESULT hr = LoadTypeLibEx(path.c_str(), REGKIND_NONE, &lib); FAILED(hr)) return hr;
  std::wstring helpDir = path.substr(0, path.find_last_of(L"\\/") + 1);
  return scope == Scope::Machine ? RegisterTypeLib(lib.Get(), path.data(), helpDir.data())
                                 : RegisterTypeLibForUser(lib.Get(), path.data(), helpDir.data());
}

HRESULT registerAll(Scope scope) {
  const std::wstring dll = modulePath();
  if (dll.empty()) return HRESULT_FROM_WIN32(GetLastError());
  if (HRESULT hr = registerTypeLibrary(scope, typeLibraryPath(dll)); FAILED(hr)) return hr;
  for (const auto& c : kClasses)
    for (const auto& e : entriesOf(c, dll))
      if (HRESULT hr = write(rootOf(scope), e); FAILED(hr)) return hr;
  return S_OK;
}

HRESULT unregisterAll(Scope scope) {
  HRESULT result = S_OK;
  for (const auto& c : kClasses) {
    const auto entries = entriesOf(c, {});
    // Subkeys first. A key is deleted without its subkeys: one that holds
    // someone else's stays, and the failure is reported. A key listed twice
    // is simply not found the second time.
    for (auto e = entries.rbegin(); e != entries.rend(); ++e) {
      const LSTATUS status = RegDeleteKeyW(rootOf(scope), classesKey(e->key).c_str());
      if (status != ERROR_SUCCESS && status != ERROR_FILE_NOT_FOUND)
        result = HRESULT_FROM_WIN32(status);
    }
  }
  BSTR registered = nullptr;
  if (SUCCEEDED(QueryPathOfRegTypeLib(kLibId, kLibMajor, kLibMinor, kLibLcid, &registered))) {
    SysFreeString(registered);
    const HRESULT hr =
        scope == Scope::Machine
            ? UnRegisterTypeLib(kLibId, kLibMajor, kLibMinor, kLibLcid, kSysKind)
            : UnRegisterTypeLibForUser(kLibId, kLibMajor, kLibMinor, kLibLcid, kSysKind);
    if (FAILED(hr)) result = hr;
  }
  return result;
}

/// The assembly's name: not the DLL's, so that a loader probing for the
/// assembly never mistakes the DLL (which carries no manifest) for it.
constexpr char kAssemblyName[] = "brelvane.sxs";
/// The platform's proxy and stub for every dispatch interface.
constexpr GUID kProxyForDispatch = {0x00020420, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};

/// The side-by-side manifest of the DLL and its type library: each class
/// with its ProgIDs and threading model, and each dispatch interface
/// marshalled by the platform's own proxy for dispatch interfaces.
std::string assemblyManifest() {
  const std::string lib = narrow(guidText(kLibId));
  const std::string version = std::to_string(kLibMajor) + "." + std::to_string(kLibMinor);
#ifdef _WIN64
  const char* architecture = "amd64";
#else
  const char* architecture = "x86";
#endif
  std::string xml =
      "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\r\n"
      "<assembly xmlns=\"urn:schemas-microsoft-com:asm.v1\" manifestVersion=\"1.0\">\r\n"
      "  <assemblyIdentity type=\"win32\" name=\"" +
      std::string(kAssemblyName) +
      "\" version=\"" BRELVANE_VERSION ".0\" processorArchitecture=\"" + architecture +
      "\"/>\r\n  <file name=\"brelvane.dll\">\r\n";
  std::string proxies;
  for (const auto& c : kClasses) {
    const std::string name = narrow(c.name), progId(c.progId);
    xml += "    <comClass clsid=\"" + narrow(guidText(c.clsid)) + "\" progid=\"" + progId + "." +
           std::to_string(kLibMajor) + "\" threadingModel=\"Apartment\" tlbid=\"" + lib +
           "\" description=\"" + name + "\">\r\n      <progid>" + progId +
           "</progid>\r\n    </comClass>\r\n";
    auto proxy = [&](const GUID& iid, const std::string& interfaceName) {
      proxies += "  <comInterfaceExternalProxyStub name=\"" + interfaceName + "\" iid=\"" +
                 narrow(guidText(iid)) + "\" proxyStubClsid32=\"" +
                 narrow(guidText(kProxyForDispatch)) + "\" tlbid=\"" + lib + "\"/>\r\n";
    };
    proxy(c.iid, "_" + name);
    if (c.hasEvents) proxy(kDiidConnectEvents, narrow(kEventInterfaceName));
  }
  xml += "  </file>\r\n  <file name=\"brelvane.tlb\">\r\n    <typelib tlbid=\"" + lib +
         "\" version=\"" + version + "\" helpdir=\"\"/>\r\n  </file>\r\n" + proxies +
         "</assembly>\r\n";
  return xml;
}

HRESULT writeManifest() {
  const std::wstring dll = modulePath();
  if (dll.empty()) return HRESULT_FROM_WIN32(GetLastError());
  if (HRESULT hr = writeTypeLibrary(typeLibraryPath(dll)); FAILED(hr)) return hr;
  const std::wstring path =
      dll.substr(0, dll.find_last_of(L"\\/") + 1) + widen(kAssemblyName) + L".manifest";
  std::ofstream out(std::filesystem::path(path), std::ios::binary);
  out << assemblyManifest();
  out.close();
  return out ? S_OK : E_FAIL;
}

/// Runs a registration step; no exception crosses the DLL's boundary.
template <class F>
HRESULT guarded(F step) noexcept {
  try {
    return step();
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  } catch (...) {
    return E_UNEXPECTED;
  }
}

}  // namespace

HRESULT registerServer(Scope scope) noexcept {
  const HRESULT hr = guarded([scope] { return registerAll(scope); });
  if (FAILED(hr)) unregisterServer(scope);
  return hr;
}

HRESULT writeAssemblyManifest() noexcept {
  return guarded(writeManifest);
}

HRESULT unregisterServer(Scope scope) noexcept {
  return guarded([scope] { return unregisterAll(scope); });
}

}  // namespace brelvane::com

using brelvane::com::Scope;

extern "C" HRESULT WINAPI DllRegisterServer() {
  return brelvane::com::registerServer(Scope::Machine);
}

extern "C" HRESULT WINAPI DllUnregisterServer() {
  return brelvane::com::unregisterServer(Scope::Machine);
}

/// regsvr32 /i:user /n registers for the current user only, /u /i:user /n
/// unregisters; without a command line it is the per-machine registration.
/// regsvr32 /i:manifest /n writes the files of registration-free use.
extern "C" HRESULT WINAPI DllInstall(BOOL install, LPCWSTR cmdLine) {
  auto is = [cmdLine](const wchar_t* word) {
    return CompareStringOrdinal(cmdLine, -1, word, -1, TRUE) == CSTR_EQUAL;
  };
  Scope scope = Scope::Machine;
  if (cmdLine && *cmdLine) {
    if (is(L"manifest")) return install ? brelvane::com::writeAssemblyManifest() : S_OK;
    if (!is(L"user")) return E_INVALIDARG;
    scope = Scope::User;
  }
  return install ? brelvane::com::registerServer(scope) : brelvane::com::unregisterServer(scope);
}
