// brelvane_launcher_standin.dll, for the tests under Wine only: the tools'
// recording stand-ins (launchers, utility object, "ADODB.Command") behind
// brelvane.dll's own bridge, so a call through COM is recorded by the code
// that records it natively; "BrelvaneTest.DemoHost", the demo host of
// `brelvane call`; and "BrelvaneTest.Standins", which loads a scenario's
// stand-ins, hands them out and writes the step results a script reports
// with the log, as `brelvane run` does.
#include <windows.h>

#include <olectl.h>

#include <fstream>
#include <wrl/client.h>

#include "adapters.h"
#include "brelvane/brelvane.h"
#include "brelvane/connect/clsci_connect.h"
#include "com_object.h"
#include "demo_connection.h"
#include "demo_host.h"
#include "dispids.h"
#include "errors.h"
#include "host_protocol.h"
#include "server_object.h"
#include "standins/standins.h"
#include "text.h"
#include "variant_conv.h"

namespace {

using namespace brelvane;
using Microsoft::WRL::ComPtr;
using standins::Json;
namespace host = com::host;

struct State {
  standins::Log log;
  ObjectFactory factory;  // the launchers and the utility object
  std::map<std::string, std::shared_ptr<Dispatch>, std::less<>> objects;
  Json steps = Json::array();
  State() {
    standins::installLaunchers(factory, Json(), log);
    standins::installUtility(factory, Json(), log);
  }
};
State& state() {
  static State s;
  return s;
}

AutomationError unknown(std::string_view name = {}) {
  return AutomationError::of(err::kUnknownMember, std::string(name));
}
[[noreturn]] void objectRequired(const std::string& why) {
  throw AutomationError(424, "scenario", "Object required: " + why);
}
template <class T, class... A>
Variant make(A&&... a) {
  return Variant(std::shared_ptr<Dispatch>(std::make_shared<T>(std::forward<A>(a)...)));
}
template <class T>
T& as(Dispatch& d) {
  if (auto* t = dynamic_cast<T*>(&d)) return *t;
  throw unknown();
}

/// A native host or utility object called by the names a platform caller
/// uses: one table of members, each with the number of arguments it takes
/// (out-parameters written back into them); any other name raises 438.
struct ByName final : Dispatch {
  explicit ByName(std::shared_ptr<Dispatch> t) : target(std::move(t)) {}
  Variant get(std::string_view name) override { return invoke(name, {}); }
  Variant invoke(std::string_view name, std::span<Variant> args) override;
  std::shared_ptr<Dispatch> target;
};
Variant wrap(std::shared_ptr<Dispatch> o) {
  return o ? make<ByName>(std::move(o)) : Variant::nothing();
}
template <class T>
std::shared_ptr<T> behind(const Variant& v);  // the native object of a ByName or AdoConnection

struct Member {
  std::string_view name;
  size_t arity;
  Variant (*call)(Dispatch&, std::span<Variant>);
};
#define MEMBER(NAME, N, T, ...)                                       \
  {                                                                   \
    NAME, N, [](Dispatch& d, [[maybe_unused]] std::span<Variant> a) { \
      return Variant(([&](T& o) { return __VA_ARGS__; })(as<T>(d)));  \
    }                                                                 \
  }
const Member kMembers[] = {
    MEMBER(host::kContext, 0, HostInterface, wrap(o.Context())),
    MEMBER(host::kInstallationSetting, 0, HostInterface, o.InstallationSetting()),
    MEMBER(host::kMessages, 0, HostContext, wrap(o.Messages())),
    MEMBER(host::kCompany, 0, HostContext, wrap(o.Company())),
    MEMBER(host::kGetMessageText, 3, MessageService,
           a[2] = o.GetMessageText(toLong(a[0]), a[1].isArray() ? a[1].array() : SafeArray()),
           Variant()),
    MEMBER(host::kPrepareSqlText, 2, MessageService, a[1] = o.PrepareSqlText(toText(a[0])),
           Variant()),
    MEMBER(host::kCode, 0, HostCompany, o.Code()),
    MEMBER(host::kLanguageCode, 0, HostCompany, o.LanguageCode()),
    MEMBER(host::kSettings, 0, HostCompany, wrap(o.Settings())),
    MEMBER(host::kCompanyMode, 0, CompanySettings, o.CompanyMode()),
    MEMBER("Initialise", 0, UtilityObject, o.Initialise(), Variant()),
    MEMBER("Release", 0, UtilityObject, o.Release(), Variant()),
    MEMBER("ValueToText", 1, UtilityObject, o.ValueToText(a[0])),
    MEMBER("ValueOrDefault", 2, UtilityObject, o.ValueOrDefault(a[0], a[1])),
    MEMBER("ValueForSql", 1, UtilityObject, o.ValueForSql(a[0])),
    MEMBER("SqlDateLiteral", 1, UtilityObject, o.SqlDateLiteral(a[0])),
    MEMBER("BindContext", 2, UtilityObject,
           o.BindContext(behind<HostInterface>(a[0]), behind<Connection>(a[1])), Variant()),
    MEMBER("ProviderAccountColumn", 0, UtilityObject, o.ProviderAccountColumn()),
    MEMBER("ProviderCogeColumn", 0, UtilityObject, o.ProviderCogeColumn()),
    MEMBER("ProviderCausalColumn", 0, UtilityObject, o.ProviderCausalColumn()),
    MEMBER("HeaderFieldColumn", 0, UtilityObject, o.HeaderFieldColumn()),
};

Variant ByName::invoke(std::string_view name, std::span<Variant> args) {
  for (const auto& m : kMembers)
    if (sameName(m.name, name)) {
      if (args.size() != m.arity) throw AutomationError::of(err::kWrongArgumentCount);
      return m.call(*target, args);
    }
  throw unknown(name);
}

// ---- The database access objects, by their own member names --------------

int32_t options(std::span<Variant> a) {
  return a.size() > 2 && !a[2].isMissing() ? toLong(a[2]) : -1;
}

/// A result set, its Fields (the same object) and one field (`key` set).
struct AdoRecordset final : Dispatch {
  AdoRecordset(std::shared_ptr<Recordset> r, Variant k = {}) : rows(std::move(r)), key(k) {}
  Variant get(std::string_view name) override {
    if (!key.isEmpty() && sameName(name, "Value"))
      return key.type() == VarType::String ? rows->Field(toText(key)) : rows->Field(toLong(key));
    if (key.isEmpty() && sameName(name, "EOF")) return Variant(rows->Eof());
    if (key.isEmpty() && sameName(name, "Fields")) return make<AdoRecordset>(rows);
    throw unknown();
  }
  Variant invoke(std::string_view name, std::span<Variant> args) override {
    if (key.isEmpty() && sameName(name, "Item") && args.size() == 1)
      return make<AdoRecordset>(rows, args[0]);
    if (key.isEmpty() && sameName(name, "MoveNext")) return rows->MoveNext(), Variant();
    if (key.isEmpty() && sameName(name, "Close")) return rows->Close(), Variant();
    return get(name);
  }
  std::shared_ptr<Recordset> rows;
  Variant key;
};

struct AdoConnection final : Dispatch {
  explicit AdoConnection(std::shared_ptr<Connection> c) : connection(std::move(c)) {}
  Variant invoke(std::string_view name, std::span<Variant> a) override {
    if (!sameName(name, "Execute") || a.empty()) throw unknown();
    return make<AdoRecordset>(connection->Execute(toText(a[0]), options(a)));
  }
  std::shared_ptr<Connection> connection;
};

template <class T>
std::shared_ptr<T> behind(const Variant& v) {
  Dispatch* d = v.isObject() ? v.object().get() : nullptr;
  if (auto* n = dynamic_cast<ByName*>(d)) return std::dynamic_pointer_cast<T>(n->target);
  if (auto* c = dynamic_cast<AdoConnection*>(d)) return std::dynamic_pointer_cast<T>(c->connection);
  return nullptr;
}

/// "ADODB.Command", its Parameters (sharing its command) and one parameter
/// (`name` set): the connection's own command stand-in, made when the
/// command is bound (always first), so that the log reads NewCommand, then
/// ExecuteCommand, as natively.
struct AdoCommand final : Dispatch {
  explicit AdoCommand(std::shared_ptr<std::shared_ptr<Command>> c = {}, std::string n = {})
      : command(c ? c : std::make_shared<std::shared_ptr<Command>>()), name(std::move(n)) {}
  Variant get(std::string_view member) override {
    if (!name.empty()) return bound().GetParameter(name);
    if (sameName(member, "Parameters")) return make<AdoCommand>(command);
    throw unknown();
  }
  void put(std::string_view member, const Variant& v) override {
    Command& c = bound();
    if (!name.empty()) return c.SetParameter(name, v);
    if (sameName(member, "CommandType")) return c.SetCommandType(toLong(v));
    if (sameName(member, "CommandText")) return c.SetCommandText(toText(v));
    if (sameName(member, "Prepared")) return c.SetPrepared(toBool(v));
    throw unknown();
  }
  void putRef(std::string_view member, const Variant& v) override {
    auto* ado = v.isObject() ? dynamic_cast<AdoConnection*>(v.object().get()) : nullptr;
    if (!sameName(member, "ActiveConnection") || !ado)
      throw AutomationError::of(err::kTypeMismatch);
    if (!*command) *command = ado->connection->NewCommand();
    (*command)->SetActiveConnection(ado->connection);
  }
  Variant invoke(std::string_view member, std::span<Variant> a) override {
    if (sameName(member, "Item") && a.size() == 1) return make<AdoCommand>(command, toText(a[0]));
    if (!sameName(member, "Execute")) throw unknown();
    return make<AdoRecordset>(bound().Execute(options(a)));
  }
  Command& bound() {
    if (*command) return **command;
    throw AutomationError(3709, "ADODB.Command",
                          "The connection cannot be used to perform this operation");
  }
  std::shared_ptr<std::shared_ptr<Command>> command;
  std::string name;
};

// ---- Events ------------------------------------------------------------------

/// A scenario's event sink advised on a CLSCI_CONNECT: each event arrives by
/// its fixed identifier and reaches the native sink by name.
struct EventSink final : com::ComObject<IDispatch> {
  explicit EventSink(std::shared_ptr<Dispatch> s) : sink(std::move(s)) {}
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override {
    const bool ours = IsEqualGUID(iid, IID_IUnknown) || IsEqualGUID(iid, IID_IDispatch) ||
                      IsEqualGUID(iid, com::kDiidConnectEvents);
    return answer(ours ? this : nullptr, out);
  }
  HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* n) override { return *n = 0, S_OK; }
  HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override {
    return DISP_E_UNKNOWNNAME;
  }
  HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID, LCID, WORD, DISPPARAMS* p, VARIANT*,
                                   EXCEPINFO* info, UINT*) override {
    return com::guarded(
        [&]() -> HRESULT {
          std::string_view name;
          for (const auto& row : com::dispIdRows())
            if (row.owner == com::narrow(com::kEventInterfaceName) && row.id == id)
              name = row.member;
          if (name.empty()) return DISP_E_MEMBERNOTFOUND;
          std::vector<Variant> args;  // rgvarg holds them last first
          for (UINT i = p->cArgs; i-- > 0;) args.push_back(com::fromVariant(p->rgvarg[i]));
          sink->invoke(name, args);
          for (UINT i = 0; i < p->cArgs; ++i)
            if (p->rgvarg[p->cArgs - 1 - i].vt & VT_BYREF)
              com::writeBack(args[i], p->rgvarg[p->cArgs - 1 - i]);
          return S_OK;
        },
        info, IID_IDispatch);
  }
  std::shared_ptr<Dispatch> sink;
};

void advise(const Variant& source, const std::string& name, const Json& handlers) {
  IDispatch* peer = source.isObject() && source.object() ? com::peerOf(*source.object()) : nullptr;
  ComPtr<IConnectionPointContainer> container;
  ComPtr<IConnectionPoint> point;
  if (!peer || FAILED(peer->QueryInterface(IID_IConnectionPointContainer,
                                           reinterpret_cast<void**>(container.GetAddressOf()))))
    throw AutomationError(430, "scenario", "the object raises no events");
  if (FAILED(container->FindConnectionPoint(com::kDiidConnectEvents, &point)))
    throw AutomationError(430, "scenario", "no event interface");
  auto* sink = new EventSink(
      standins::makeSink(name, handlers, &CLSCI_CONNECT::registration(), state().log));
  DWORD cookie = 0;
  const HRESULT hr = point->Advise(sink, &cookie);
  sink->Release();
  if (FAILED(hr)) throw AutomationError(hr, "scenario", "Advise failed");
}

// ---- The test's handle on the stand-ins ---------------------------------------

/// Makes the stand-ins a scenario document names ("objects", "launchers",
/// "utility"); {"kind": "demoHost"} and {"kind": "demoConnection"} are
/// those of `brelvane call`.
void load(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) throw AutomationError(53, "Standins", "File not found: " + path);
  const Json doc = Json::parse(in), none;
  auto section = [&](const char* key) -> const Json& {
    return doc.contains(key) ? doc[key] : none;
  };
  State& s = state();
  standins::installLaunchers(s.factory, section("launchers"), s.log);
  standins::installUtility(s.factory, section("utility"), s.log);
  for (const auto& [name, config] : section("objects").items()) {
    const std::string kind = config.value("kind", "");
    std::shared_ptr<Dispatch> made =
        kind == "demoHost" ? cli::makeDemoHost(cli::readCatalogue(cli::builtinCatalogue()), {})
        : kind == "demoConnection" ? cli::makeDemoConnection(s.log, name)
                                   : standins::makeStandin(config, name, s.log);
    std::shared_ptr<Dispatch> exposed = made;
    if (auto c = std::dynamic_pointer_cast<Connection>(made))
      exposed = std::make_shared<AdoConnection>(c);
    else if (std::dynamic_pointer_cast<HostInterface>(made))
      exposed = std::make_shared<ByName>(made);
    s.log.names.add(exposed, name);
    s.objects[name] = made;
    s.objects[name + "\x01"] = exposed;  // held with the stand-in it wraps
  }
}

struct Standins final : Dispatch {
  Variant get(std::string_view name) override { return invoke(name, {}); }
  void put(std::string_view name, const Variant& v) override {
    if (!sameName(name, "Step")) throw unknown(name);
    state().log.step = toLong(v);
  }
  Variant invoke(std::string_view name, std::span<Variant> a) override {
    try {
      return call(name, a);
    } catch (const AutomationError&) {
      throw;
    } catch (const std::exception& e) {  // a bad document: its reason to the script
      throw AutomationError(51, "Standins", e.what());
    }
  }
  static Variant call(std::string_view name, std::span<Variant> a) {
    State& s = state();
    auto is = [&](std::string_view n, size_t count) {
      return sameName(name, n) && a.size() == count;
    };
    Json* entry = s.steps.empty() ? nullptr : &s.steps.back();
    if (is("Load", 1)) {
      load(toText(a[0]));
    } else if (is("Object", 1)) {  // a stand-in, or a launcher by its log name
      const std::string n = toText(a[0]);
      if (auto it = s.objects.find(n + "\x01"); it != s.objects.end()) return Variant(it->second);
      if (auto o = s.log.names.find(n)) return Variant(o);
      objectRequired("no object is named \"" + n + "\"");
    } else if (is("V", 1)) {  // a value in the scenario encoding
      try {
        return standins::fromJson(Json::parse(toText(a[0])), s.log.names);
      } catch (const standins::ScenarioError& e) {
        objectRequired(e.what());
      }
    } else if (is("Begin", 2)) {  // a step's result entry, as `brelvane run` writes it
      const std::string op = toText(a[1]);
      s.log.step = toLong(a[0]);
      Json step = {{"step", s.log.step}, {"op", op}};
      if (op == "call") step.update({{"return", {{"$empty", true}}}, {"args", Json::array()}});
      if (op == "get") step["values"] = Json::object();
      step["error"] = nullptr;
      s.steps.push_back(step);
    } else if (is("Put", 2) && entry) {
      (*entry)[toText(a[0])] = s.log.value(a[1]);
    } else if (is("Arg", 1) && entry) {
      (*entry)["args"].push_back(s.log.value(a[0]));
    } else if (is("Value", 2) && entry) {
      (*entry)["values"][toText(a[0])] = s.log.value(a[1]);
    } else if (is("Error", 3) && entry) {
      (*entry)["error"] = {
          {"number", toLong(a[0])}, {"source", toText(a[1])}, {"description", toText(a[2])}};
    } else if (is("Values", 1) && entry) {  // what a launcher was given, in order
      auto o = s.log.names.find(toText(a[0]));
      if (!o) objectRequired("no object is named \"" + toText(a[0]) + "\"");
      for (const auto& p : standins::recordedProperties(*o))
        (*entry)["values"][p] = s.log.value(o->get(p));
    } else if (is("Advise", 3)) {
      advise(a[0], toText(a[1]), Json::parse(toText(a[2])));
    } else if (is("Save", 1)) {
      std::ofstream(toText(a[0]), std::ios::binary)
          << Json{{"steps", s.steps}, {"log", s.log.entries()}}.dump(1) << '\n';
    } else if (is("LiveObjects", 0)) {  // of this DLL, besides this object
      return Variant(int32_t(com::liveObjects() - 1));
    } else {
      throw unknown(name);
    }
    return Variant();
  }
};

// ---- Classes and entry points ---------------------------------------------------

HINSTANCE module = nullptr;
const std::string_view kProgIds[] = {"Tormesk.CLSCI_CONNECT", "Quillane.CLSCI_CONNECT",
                                     kUtilityProgId,          "ADODB.Command",
                                     "BrelvaneTest.Standins", "BrelvaneTest.DemoHost"};
/// The class identifier of kProgIds[i]: one base with the index in its last byte.
CLSID clsidOf(size_t i) {
  return {0x5E0B61A1, 0x7C2D, 0x4A6E, {0x9B, 0x31, 0x2D, 0x7A, 0x10, 0x54, 0xC3, BYTE(i + 1)}};
}

std::shared_ptr<Dispatch> create(std::string_view progId) {
  if (progId == "ADODB.Command") return std::make_shared<AdoCommand>();
  if (progId == "BrelvaneTest.Standins") return std::make_shared<Standins>();
  if (progId == "BrelvaneTest.DemoHost")
    return std::make_shared<ByName>(
        cli::makeDemoHost(cli::readCatalogue(cli::builtinCatalogue()), {}));
  auto made = state().factory.create(progId);
  return progId == kUtilityProgId ? std::make_shared<ByName>(made) : made;
}

/// One static class object per class, never freed and not counted: Wine's
/// script engine never releases the one it creates an object with, so a
/// script could not see the module's objects go otherwise.
struct ClassObject final : IClassFactory {
  std::string_view progId;
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override {
    const bool ours = IsEqualGUID(iid, IID_IUnknown) || IsEqualGUID(iid, IID_IClassFactory);
    *out = ours ? this : nullptr;
    return ours ? S_OK : E_NOINTERFACE;
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return 2; }
  ULONG STDMETHODCALLTYPE Release() override { return 1; }
  HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID iid, void** out) override {
    *out = nullptr;
    if (outer) return CLASS_E_NOAGGREGATION;
    return com::guarded(
        [&] {
          IDispatch* object = com::exposeObject(create(progId));
          const HRESULT hr = object->QueryInterface(iid, out);
          return object->Release(), hr;
        },
        nullptr, IID_IDispatch);
  }
  HRESULT STDMETHODCALLTYPE LockServer(BOOL lock) override {
    return com::lockServer(lock != FALSE), S_OK;
  }
};
ClassObject classObjects[std::size(kProgIds)];

/// Writes (or removes) the keys of each class, or of the class `only`,
/// under HKEY_CLASSES_ROOT.
HRESULT registerClasses(bool add, const wchar_t* only = nullptr) {
  wchar_t path[MAX_PATH], id[40];
  if (!GetModuleFileNameW(module, path, MAX_PATH)) return HRESULT_FROM_WIN32(GetLastError());
  for (size_t i = 0; i < std::size(kProgIds); ++i) {
    StringFromGUID2(clsidOf(i), id, 40);
    const std::wstring key = std::wstring(L"CLSID\\") + id, progId = com::widen(kProgIds[i]);
    if (only && progId != only) continue;
    if (!add) {
      RegDeleteTreeW(HKEY_CLASSES_ROOT, key.c_str());
      RegDeleteTreeW(HKEY_CLASSES_ROOT, progId.c_str());
      continue;
    }
    const std::wstring values[][3] = {{key + L"\\InprocServer32", L"", path},
                                      {key + L"\\InprocServer32", L"ThreadingModel", L"Apartment"},
                                      {key + L"\\ProgID", L"", progId},
                                      {progId + L"\\CLSID", L"", id}};
    for (const auto& [k, name, value] : values)
      if (RegSetKeyValueW(HKEY_CLASSES_ROOT, k.c_str(), name.empty() ? nullptr : name.c_str(),
                          REG_SZ, value.c_str(), DWORD((value.size() + 1) * sizeof(wchar_t))))
        return SELFREG_E_CLASS;
  }
  return S_OK;
}

}  // namespace

extern "C" BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID) {
  if (reason == DLL_PROCESS_ATTACH) module = instance;
  return TRUE;
}
extern "C" HRESULT WINAPI DllRegisterServer() {
  return registerClasses(true);
}
extern "C" HRESULT WINAPI DllUnregisterServer() {
  return registerClasses(false);
}
/// `regsvr32 /n /i:PROGID`: that class alone (the test host, for the suites
/// that must reach the platform's own utility object and ADODB.Command).
extern "C" HRESULT WINAPI DllInstall(BOOL install, const wchar_t* only) {
  return registerClasses(install != FALSE, only);
}
extern "C" HRESULT WINAPI DllGetClassObject(REFCLSID clsid, REFIID iid, void** out) {
  for (size_t i = 0; i < std::size(kProgIds); ++i)
    if (IsEqualGUID(clsid, clsidOf(i))) {
      classObjects[i].progId = kProgIds[i];
      return classObjects[i].QueryInterface(iid, out);
    }
  return CLASS_E_CLASSNOTAVAILABLE;
}
extern "C" HRESULT WINAPI DllCanUnloadNow() {
  return brelvane::com::liveObjects() == 0 && brelvane::com::serverLocks() == 0 ? S_OK : S_FALSE;
}
