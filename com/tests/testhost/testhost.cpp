// brelvane_testhost.dll: a COM server for the tests only, registered in the
// test prefix and never installed. "BrelvaneTest.DemoHost" is the demo host
// of `brelvane call` (its built-in catalogue, company 1, "ITA", mode 1), so
// that a lookup called through COM can be compared with the same lookup
// called natively. Its objects answer by the names of host_protocol.h and
// reach the platform through the same bridge as the classes themselves.
#include <windows.h>

#include <memory>
#include <span>
#include <string>
#include <string_view>

#include "demo_host.h"
#include "host_protocol.h"
#include "server_object.h"

namespace {

using namespace brelvane;
namespace host = brelvane::com::host;

constexpr CLSID kClsid = {
    0xD688E697, 0x2DAE, 0x4E5B, {0xA3, 0x9D, 0x6F, 0x95, 0x95, 0x6B, 0xCC, 0x2C}};
constexpr std::wstring_view kProgId = L"BrelvaneTest.DemoHost";
HINSTANCE instance = nullptr;

/// The host interface `T` of an object, 438 when it has another one.
template <class T>
T& as(Dispatch& object) {
  auto* t = dynamic_cast<T*>(&object);
  if (!t) throw AutomationError::of(err::kUnknownMember);
  return *t;
}

Variant byName(std::shared_ptr<Dispatch> object);

/// One member of host_protocol.h: how many arguments it needs and the
/// early-bound call it stands for. Out-parameters are written into `a`.
struct Member {
  std::string_view name;
  size_t arity;
  Variant (*call)(Dispatch& self, std::span<Variant> a);
};

const Member kMembers[] = {
    {host::kContext, 0, [](Dispatch& d, auto) { return byName(as<HostInterface>(d).Context()); }},
    {host::kInstallationSetting, 0,
     [](Dispatch& d, auto) { return as<HostInterface>(d).InstallationSetting(); }},
    {host::kMessages, 0, [](Dispatch& d, auto) { return byName(as<HostContext>(d).Messages()); }},
    {host::kCompany, 0, [](Dispatch& d, auto) { return byName(as<HostContext>(d).Company()); }},
    {host::kGetMessageText, 3,
     [](Dispatch& d, std::span<Variant> a) {
       a[2] = as<MessageService>(d).GetMessageText(toLong(a[0]),
                                                   a[1].isArray() ? a[1].array() : SafeArray());
       return Variant();
     }},
    {host::kPrepareSqlText, 2,
     [](Dispatch& d, std::span<Variant> a) {
       a[1] = as<MessageService>(d).PrepareSqlText(toText(a[0]));
       return Variant();
     }},
    {host::kCode, 0, [](Dispatch& d, auto) { return as<HostCompany>(d).Code(); }},
    {host::kLanguageCode, 0, [](Dispatch& d, auto) { return as<HostCompany>(d).LanguageCode(); }},
    {host::kSettings, 0, [](Dispatch& d, auto) { return byName(as<HostCompany>(d).Settings()); }},
    {host::kCompanyMode, 0, [](Dispatch& d, auto) { return as<CompanySettings>(d).CompanyMode(); }},
};

/// A host object presented by name, without a class description: the
/// bridge gives its names identifiers as they are asked for.
class ByName final : public Dispatch {
 public:
  explicit ByName(std::shared_ptr<Dispatch> target) : target_(std::move(target)) {}
  Variant get(std::string_view name) override { return invoke(name, {}); }
  Variant invoke(std::string_view name, std::span<Variant> args) override {
    for (const auto& m : kMembers) {
      if (!sameName(m.name, name)) continue;
      if (args.size() != m.arity) throw AutomationError::of(err::kWrongArgumentCount);
      return m.call(*target_, args);
    }
    throw AutomationError::of(err::kUnknownMember);
  }

 private:
  std::shared_ptr<Dispatch> target_;
};

Variant byName(std::shared_ptr<Dispatch> object) {
  if (!object) return Variant::nothing();
  return Variant(std::make_shared<ByName>(std::move(object)));
}

/// The class object: a new demo host for each instance.
class ClassObject final : public IClassFactory {
 public:
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override {
    if (!out) return E_POINTER;
    *out = IsEqualGUID(iid, IID_IUnknown) || IsEqualGUID(iid, IID_IClassFactory) ? this : nullptr;
    return *out ? S_OK : E_NOINTERFACE;
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return 2; }  // static: never freed
  ULONG STDMETHODCALLTYPE Release() override { return 1; }
  HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID iid, void** out) override {
    if (!out) return E_POINTER;
    *out = nullptr;
    if (outer) return CLASS_E_NOAGGREGATION;
    try {
      auto demo = cli::makeDemoHost(cli::readCatalogue(cli::builtinCatalogue()), {});
      IDispatch* object = com::exposeObject(std::make_shared<ByName>(std::move(demo)));
      HRESULT hr = object->QueryInterface(iid, out);
      object->Release();
      return hr;
    } catch (...) {
      return E_UNEXPECTED;
    }
  }
  HRESULT STDMETHODCALLTYPE LockServer(BOOL) override { return S_OK; }
};
ClassObject classObject;

/// The keys of the class under HKEY_CLASSES_ROOT.
std::wstring classKey() {
  wchar_t clsid[40];
  StringFromGUID2(kClsid, clsid, 40);
  return std::wstring(L"CLSID\\") + clsid;
}

}  // namespace

extern "C" BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, LPVOID) {
  if (reason == DLL_PROCESS_ATTACH) instance = module;
  return TRUE;
}

extern "C" HRESULT WINAPI DllGetClassObject(REFCLSID clsid, REFIID iid, void** out) {
  if (!out) return E_POINTER;
  *out = nullptr;
  return IsEqualGUID(clsid, kClsid) ? classObject.QueryInterface(iid, out)
                                    : CLASS_E_CLASSNOTAVAILABLE;
}

// The test prefix goes away with the build directory: the DLL stays loaded.
extern "C" HRESULT WINAPI DllCanUnloadNow() {
  return S_FALSE;
}

extern "C" HRESULT WINAPI DllRegisterServer() {
  wchar_t path[MAX_PATH];
  if (!GetModuleFileNameW(instance, path, MAX_PATH)) return HRESULT_FROM_WIN32(GetLastError());
  const std::wstring key = classKey(), progId(kProgId);
  const std::wstring entries[][3] = {
      // key, value name ("": the default), data
      {key + L"\\InprocServer32", L"", path},
      {key + L"\\InprocServer32", L"ThreadingModel", L"Apartment"},
      {key + L"\\ProgID", L"", progId},
      {progId + L"\\CLSID", L"", key.substr(6)},
  };
  for (const auto& [subkey, name, data] : entries) {
    LSTATUS status = RegSetKeyValueW(HKEY_CLASSES_ROOT, subkey.c_str(), name.c_str(), REG_SZ,
                                     data.c_str(), (data.size() + 1) * sizeof(wchar_t));
    if (status != ERROR_SUCCESS) return HRESULT_FROM_WIN32(status);
  }
  return S_OK;
}

extern "C" HRESULT WINAPI DllUnregisterServer() {
  for (const std::wstring& key : {classKey(), std::wstring(kProgId)}) {
    LSTATUS status = RegDeleteTreeW(HKEY_CLASSES_ROOT, key.c_str());
    if (status != ERROR_SUCCESS && status != ERROR_FILE_NOT_FOUND)
      return HRESULT_FROM_WIN32(status);
  }
  return S_OK;
}
