// brelvane_launcher_standin.dll: the tools' recording stand-ins as a COM
// server, for the tests under Wine only (never installed). The sibling
// launchers, the utility object and "ADODB.Command" are the native stand-ins
// of tools/brelvane/standins behind the same bridge as brelvane.dll, so a
// call through COM is recorded by the code that records it natively.
// "BrelvaneTest.Standins" loads a scenario's stand-ins (or the demo host and
// connection of `brelvane call`), hands them out, keeps the step results a
// script reports, and writes them with the log as `brelvane run` does.
#include <windows.h>

#include <olectl.h>

#include <atomic>
#include <fstream>
#include <map>

#include "adapters.h"
#include "brelvane/brelvane.h"
#include "demo_connection.h"
#include "demo_host.h"
#include "dispids.h"
#include "errors.h"
#include "host_protocol.h"
#include "identity.h"
#include "module.h"
#include "server_object.h"
#include "standins/standins.h"
#include "text.h"
#include "variant_conv.h"

namespace {

using namespace brelvane;
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

[[noreturn]] void objectRequired(std::string_view name) {
  throw AutomationError(424, "scenario",
                        "Object required: no object is named \"" + std::string(name) + "\"");
}

template <class T>
T& as(Dispatch& d) {
  if (auto* t = dynamic_cast<T*>(&d)) return *t;
  throw AutomationError::of(err::kUnknownMember);
}

/// A native object called by the names a platform caller uses: a fixed
/// table of members per interface, all other names 438.
class ByName final : public Dispatch {
 public:
  using Call = Variant (*)(Dispatch&, std::span<Variant>);
  struct Member {
    std::string_view name;
    Call call;
  };
  explicit ByName(std::shared_ptr<Dispatch> target) : target(std::move(target)) {}
  Variant get(std::string_view name) override { return invoke(name, {}); }
  Variant invoke(std::string_view name, std::span<Variant> args) override;
  std::shared_ptr<Dispatch> target;
};

Variant wrap(std::shared_ptr<Dispatch> object) {
  return Variant(std::shared_ptr<Dispatch>(std::make_shared<ByName>(std::move(object))));
}
/// The native host behind a ByName argument; the connection behind an
/// AdoConnection one.
std::shared_ptr<HostInterface> hostOf(const Variant& v) {
  auto* named = v.isObject() ? dynamic_cast<ByName*>(v.object().get()) : nullptr;
  return named ? std::dynamic_pointer_cast<HostInterface>(named->target) : nullptr;
}
std::shared_ptr<Connection> connectionOf(const Variant& v);
Variant text(std::string s) {
  return Variant(std::move(s));
}

const ByName::Member kMembers[] = {
    {host::kContext, [](Dispatch& d, auto) { return wrap(as<HostInterface>(d).Context()); }},
    {host::kInstallationSetting,
     [](Dispatch& d, auto) { return as<HostInterface>(d).InstallationSetting(); }},
    {host::kMessages, [](Dispatch& d, auto) { return wrap(as<HostContext>(d).Messages()); }},
    {host::kCompany, [](Dispatch& d, auto) { return wrap(as<HostContext>(d).Company()); }},
    {host::kGetMessageText,
     [](Dispatch& d, std::span<Variant> a) {
       a[2] = as<MessageService>(d).GetMessageText(toLong(a[0]),
                                                   a[1].isArray() ? a[1].array() : SafeArray());
       return Variant();
     }},
    {host::kPrepareSqlText,
     [](Dispatch& d, std::span<Variant> a) {
       a[1] = as<MessageService>(d).PrepareSqlText(toText(a[0]));
       return Variant();
     }},
    {host::kCode, [](Dispatch& d, auto) { return as<HostCompany>(d).Code(); }},
    {host::kLanguageCode, [](Dispatch& d, auto) { return as<HostCompany>(d).LanguageCode(); }},
    {host::kSettings, [](Dispatch& d, auto) { return wrap(as<HostCompany>(d).Settings()); }},
    {host::kCompanyMode, [](Dispatch& d, auto) { return as<CompanySettings>(d).CompanyMode(); }},
    // The utility object, by the names brelvane.dll calls it.
    {"Initialise", [](Dispatch& d, auto) { return as<UtilityObject>(d).Initialise(), Variant(); }},
    {"Release", [](Dispatch& d, auto) { return as<UtilityObject>(d).Release(), Variant(); }},
    {"ValueToText",
     [](Dispatch& d, std::span<Variant> a) {
       return text(as<UtilityObject>(d).ValueToText(a[0]));
     }},
    {"ValueOrDefault",
     [](Dispatch& d, std::span<Variant> a) {
       return as<UtilityObject>(d).ValueOrDefault(a[0], a[1]);
     }},
    {"ValueForSql",
     [](Dispatch& d, std::span<Variant> a) {
       return text(as<UtilityObject>(d).ValueForSql(a[0]));
     }},
    {"SqlDateLiteral",
     [](Dispatch& d, std::span<Variant> a) {
       return text(as<UtilityObject>(d).SqlDateLiteral(a[0]));
     }},
    {"BindContext",
     [](Dispatch& d, std::span<Variant> a) {
       as<UtilityObject>(d).BindContext(hostOf(a[0]), connectionOf(a[1]));
       return Variant();
     }},
    {"ProviderAccountColumn",
     [](Dispatch& d, auto) { return text(as<UtilityObject>(d).ProviderAccountColumn()); }},
    {"ProviderCogeColumn",
     [](Dispatch& d, auto) { return text(as<UtilityObject>(d).ProviderCogeColumn()); }},
    {"ProviderCausalColumn",
     [](Dispatch& d, auto) { return text(as<UtilityObject>(d).ProviderCausalColumn()); }},
    {"HeaderFieldColumn",
     [](Dispatch& d, auto) { return text(as<UtilityObject>(d).HeaderFieldColumn()); }},
};

Variant ByName::invoke(std::string_view name, std::span<Variant> args) {
  for (const auto& m : kMembers) {
    if (!sameName(m.name, name)) continue;
    // A by-name caller may leave trailing arguments out; the member reads Missing.
    std::vector<Variant> all(args.begin(), args.end());
    all.resize(std::max<size_t>(all.size(), 3), Variant::missing());
    Variant out = m.call(*target, all);
    std::copy_n(all.begin(), args.size(), args.begin());
    return out;
  }
  throw AutomationError::of(err::kUnknownMember, std::string(name));
}

// ---- The database access objects, by their own member names -------------------

Variant object(std::shared_ptr<Dispatch> o) {
  return Variant(std::move(o));
}

class AdoField final : public Dispatch {
 public:
  AdoField(std::shared_ptr<Recordset> rows, Variant key) : rows_(std::move(rows)), key_(key) {}
  Variant get(std::string_view name) override {
    if (!sameName(name, "Value")) throw AutomationError::of(err::kUnknownMember);
    return key_.type() == VarType::String ? rows_->Field(toText(key_)) : rows_->Field(toLong(key_));
  }

 private:
  std::shared_ptr<Recordset> rows_;
  Variant key_;
};

class AdoRecordset final : public Dispatch {
 public:
  explicit AdoRecordset(std::shared_ptr<Recordset> rows) : rows_(std::move(rows)) {}
  Variant get(std::string_view name) override {
    if (sameName(name, "EOF")) return Variant(rows_->Eof());
    if (sameName(name, "Fields")) return object(std::make_shared<AdoRecordset>(rows_));
    throw AutomationError::of(err::kUnknownMember);
  }
  Variant invoke(std::string_view name, std::span<Variant> args) override {
    if (sameName(name, "Item") && args.size() == 1)  // of Fields
      return object(std::make_shared<AdoField>(rows_, args[0]));
    if (sameName(name, "MoveNext")) return rows_->MoveNext(), Variant();
    if (sameName(name, "Close")) return rows_->Close(), Variant();
    return get(name);
  }

 private:
  std::shared_ptr<Recordset> rows_;
};

class AdoConnection final : public Dispatch {
 public:
  explicit AdoConnection(std::shared_ptr<Connection> c) : connection(std::move(c)) {}
  Variant invoke(std::string_view name, std::span<Variant> args) override {
    if (!sameName(name, "Execute") || args.empty()) throw AutomationError::of(err::kUnknownMember);
    int32_t options = args.size() > 2 && !args[2].isMissing() ? toLong(args[2]) : -1;
    return object(std::make_shared<AdoRecordset>(connection->Execute(toText(args[0]), options)));
  }
  std::shared_ptr<Connection> connection;
};

std::shared_ptr<Connection> connectionOf(const Variant& v) {
  auto* ado = v.isObject() ? dynamic_cast<AdoConnection*>(v.object().get()) : nullptr;
  return ado ? ado->connection : nullptr;
}

/// "ADODB.Command": the connection's own command stand-in, made when the
/// command is bound (a command is always bound first), so that the log
/// reads NewCommand, then ExecuteCommand, as natively.
class AdoCommand final : public Dispatch, public std::enable_shared_from_this<AdoCommand> {
 public:
  Variant get(std::string_view name) override {
    if (sameName(name, "Parameters")) return object(shared_from_this());
    throw AutomationError::of(err::kUnknownMember);
  }
  void put(std::string_view name, const Variant& v) override {
    Command& c = bound();
    if (sameName(name, "CommandType")) return c.SetCommandType(toLong(v));
    if (sameName(name, "CommandText")) return c.SetCommandText(toText(v));
    if (sameName(name, "Prepared")) return c.SetPrepared(toBool(v));
    throw AutomationError::of(err::kUnknownMember);
  }
  void putRef(std::string_view name, const Variant& v) override {
    auto* ado = v.isObject() ? dynamic_cast<AdoConnection*>(v.object().get()) : nullptr;
    if (!sameName(name, "ActiveConnection") || !ado) throw AutomationError::of(err::kTypeMismatch);
    if (!command_) command_ = ado->connection->NewCommand();
    command_->SetActiveConnection(ado->connection);
  }
  Variant invoke(std::string_view name, std::span<Variant> args) override {
    if (sameName(name, "Item") && args.size() == 1)  // of Parameters
      return object(std::make_shared<Parameter>(shared_from_this(), toText(args[0])));
    if (!sameName(name, "Execute")) throw AutomationError::of(err::kUnknownMember);
    int32_t options = args.size() > 2 && !args[2].isMissing() ? toLong(args[2]) : -1;
    return object(std::make_shared<AdoRecordset>(bound().Execute(options)));
  }

 private:
  struct Parameter final : Dispatch {
    Parameter(std::shared_ptr<AdoCommand> c, std::string n) : command(std::move(c)), name(n) {}
    Variant get(std::string_view) override { return command->bound().GetParameter(name); }
    void put(std::string_view, const Variant& v) override {
      command->bound().SetParameter(name, v);
    }
    std::shared_ptr<AdoCommand> command;
    std::string name;
  };
  Command& bound() {
    if (!command_)
      throw AutomationError(3709, "ADODB.Command",
                            "The connection cannot be used to perform this operation");
    return *command_;
  }
  std::shared_ptr<Command> command_;
};

// ---- Events -------------------------------------------------------------------

/// A scenario's event sink advised on a CLSCI_CONNECT: each event arrives by
/// its fixed identifier and reaches the native sink by name.
class EventSink final : public IDispatch {
 public:
  explicit EventSink(std::shared_ptr<Dispatch> sink) : sink_(std::move(sink)) {
    com::objectCreated();
  }
  ~EventSink() { com::objectDestroyed(); }
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override {
    if (!IsEqualGUID(iid, IID_IUnknown) && !IsEqualGUID(iid, IID_IDispatch) &&
        !IsEqualGUID(iid, com::kDiidConnectEvents))
      return *out = nullptr, E_NOINTERFACE;
    *out = static_cast<IDispatch*>(this);
    return AddRef(), S_OK;
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return ++refs_; }
  ULONG STDMETHODCALLTYPE Release() override {
    ULONG left = --refs_;
    if (!left) delete this;
    return left;
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
          std::vector<Variant> args;
          for (UINT i = p->cArgs; i-- > 0;) args.push_back(com::fromVariant(p->rgvarg[i]));
          sink_->invoke(name, args);
          for (UINT i = 0; i < p->cArgs; ++i)
            if (p->rgvarg[p->cArgs - 1 - i].vt & VT_BYREF)
              com::writeBack(args[i], p->rgvarg[p->cArgs - 1 - i]);
          return S_OK;
        },
        info, IID_IDispatch);
  }

 private:
  std::atomic<ULONG> refs_{1};
  std::shared_ptr<Dispatch> sink_;
};

const ClassInfo* connectInfo() {
  static ObjectFactory classes = [] {
    ObjectFactory f;
    registerBrelvane(f);
    return f;
  }();
  for (const auto& e : classes.entries())
    if (sameName(e.progId, "Brelvane.CLSCI_CONNECT")) return e.info;
  return nullptr;
}

// ---- The test's handle on the stand-ins -------------------------------------------

Json readJson(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) throw AutomationError(53, "Standins", "File not found: " + path);
  return Json::parse(in);
}

/// Makes the stand-ins a scenario document names ("objects", "launchers",
/// "utility"); {"kind": "demoHost"} and {"kind": "demoConnection"} are
/// those of `brelvane call`.
void load(const Json& doc) {
  State& s = state();
  const Json none;
  auto section = [&](const char* key) -> const Json& {
    return doc.contains(key) ? doc[key] : none;
  };
  standins::installLaunchers(s.factory, section("launchers"), s.log);
  standins::installUtility(s.factory, section("utility"), s.log);
  for (const auto& [name, config] : section("objects").items()) {
    std::shared_ptr<Dispatch> made, exposed;
    const std::string kind = config.value("kind", "");
    if (kind == "demoHost") {
      made = cli::makeDemoHost(cli::readCatalogue(cli::builtinCatalogue()), {});
    } else if (kind == "demoConnection") {
      made = cli::makeDemoConnection(s.log, name);
    } else {
      made = standins::makeStandin(config, name, s.log);
    }
    if (auto c = std::dynamic_pointer_cast<Connection>(made))
      exposed = std::make_shared<AdoConnection>(c);
    else if (std::dynamic_pointer_cast<HostInterface>(made))
      exposed = std::make_shared<ByName>(made);
    else
      exposed = made;
    s.log.names.add(exposed, name);
    s.objects[name] = made;
    s.objects[name + "\x01"] = exposed;  // held with the stand-in it wraps
  }
}

class Standins final : public Dispatch {
 public:
  Variant get(std::string_view name) override { return invoke(name, {}); }
  void put(std::string_view name, const Variant& v) override {
    if (!sameName(name, "Step")) throw AutomationError::of(err::kUnknownMember);
    state().log.step = toLong(v);
  }
  Variant invoke(std::string_view name, std::span<Variant> a) override {
    try {
      return call(name, a);
    } catch (const std::exception& e) {  // a bad document: its reason to the script
      if (auto* automation = dynamic_cast<const AutomationError*>(&e)) throw *automation;
      throw AutomationError(51, "Standins", e.what());
    }
  }

 private:
  Variant call(std::string_view name, std::span<Variant> a) {
    State& s = state();
    auto is = [&](std::string_view n, size_t count) {
      return sameName(name, n) && a.size() == count;
    };
    Json* entry = s.steps.empty() ? nullptr : &s.steps.back();
    if (is("Load", 1)) {
      load(readJson(toText(a[0])));
    } else if (is("Object", 1)) {  // a stand-in, or a launcher by its log name
      const std::string n = toText(a[0]);
      if (auto it = s.objects.find(n + "\x01"); it != s.objects.end()) return object(it->second);
      if (auto o = s.log.names.find(n)) return object(o);
      objectRequired(n);
    } else if (is("V", 1)) {  // a value in the scenario encoding
      try {
        return standins::fromJson(Json::parse(toText(a[0])), s.log.names);
      } catch (const standins::ScenarioError& e) {
        throw AutomationError(424, "scenario", std::string("Object required: ") + e.what());
      }
    } else if (is("Begin", 2)) {  // a step's result entry, as `brelvane run` writes it
      s.log.step = toLong(a[0]);
      s.steps.push_back({{"step", toLong(a[0])}, {"op", toText(a[1])}});
      if (toText(a[1]) == "call")
        s.steps.back().update({{"return", {{"$empty", true}}}, {"args", Json::array()}});
      if (toText(a[1]) == "get") s.steps.back()["values"] = Json::object();
      s.steps.back()["error"] = nullptr;
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
      if (!o) objectRequired(toText(a[0]));
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
      throw AutomationError::of(err::kUnknownMember, std::string(name));
    }
    return Variant();
  }

  static void advise(const Variant& source, const std::string& name, const Json& handlers) {
    IDispatch* peer =
        source.isObject() && source.object() ? com::peerOf(*source.object()) : nullptr;
    IConnectionPointContainer* container = nullptr;
    IConnectionPoint* point = nullptr;
    if (!peer || FAILED(peer->QueryInterface(IID_IConnectionPointContainer,
                                             reinterpret_cast<void**>(&container))))
      throw AutomationError(430, "scenario", "the object raises no events");
    HRESULT hr = container->FindConnectionPoint(com::kDiidConnectEvents, &point);
    container->Release();
    if (FAILED(hr)) throw AutomationError(430, "scenario", "no event interface");
    auto* sink = new EventSink(standins::makeSink(name, handlers, connectInfo(), state().log));
    DWORD cookie = 0;
    hr = point->Advise(sink, &cookie);
    sink->Release();
    point->Release();
    if (FAILED(hr)) throw AutomationError(hr, "scenario", "Advise failed");
  }
};

// ---- Class objects and entry points ------------------------------------------------

HINSTANCE module = nullptr;

struct Class {
  CLSID clsid;
  std::string_view progId;  // created through the state's factory, or here
};
const Class kClassList[] = {
    {{0x5E0B61A1, 0x7C2D, 0x4A6E, {0x9B, 0x31, 0x2D, 0x7A, 0x10, 0x54, 0xC3, 0x01}},
     "Tormesk.CLSCI_CONNECT"},
    {{0x5E0B61A1, 0x7C2D, 0x4A6E, {0x9B, 0x31, 0x2D, 0x7A, 0x10, 0x54, 0xC3, 0x02}},
     "Quillane.CLSCI_CONNECT"},
    {{0x5E0B61A1, 0x7C2D, 0x4A6E, {0x9B, 0x31, 0x2D, 0x7A, 0x10, 0x54, 0xC3, 0x03}},
     kUtilityProgId},
    {{0x5E0B61A1, 0x7C2D, 0x4A6E, {0x9B, 0x31, 0x2D, 0x7A, 0x10, 0x54, 0xC3, 0x04}},
     "ADODB.Command"},
    {{0x5E0B61A1, 0x7C2D, 0x4A6E, {0x9B, 0x31, 0x2D, 0x7A, 0x10, 0x54, 0xC3, 0x05}},
     "BrelvaneTest.Standins"},
};

std::shared_ptr<Dispatch> create(const Class& c) {
  if (c.progId == "ADODB.Command") return std::make_shared<AdoCommand>();
  if (c.progId == "BrelvaneTest.Standins") return std::make_shared<Standins>();
  auto made = state().factory.create(c.progId);
  return c.progId == kUtilityProgId ? std::make_shared<ByName>(made) : made;
}

/// Class objects are counted apart: Wine's script engine never releases the
/// one it creates an object with, so a script cannot see them go.
std::atomic<long> classObjects{0};

class ClassObject final : public IClassFactory {
 public:
  explicit ClassObject(const Class& c) : class_(c) { ++classObjects; }
  ~ClassObject() { --classObjects; }
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override {
    if (!IsEqualGUID(iid, IID_IUnknown) && !IsEqualGUID(iid, IID_IClassFactory))
      return *out = nullptr, E_NOINTERFACE;
    *out = static_cast<IClassFactory*>(this);
    return AddRef(), S_OK;
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return ++refs_; }
  ULONG STDMETHODCALLTYPE Release() override {
    ULONG left = --refs_;
    if (!left) delete this;
    return left;
  }
  HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID iid, void** out) override {
    *out = nullptr;
    if (outer) return CLASS_E_NOAGGREGATION;
    return com::guarded(
        [&]() -> HRESULT {
          IDispatch* object = com::exposeObject(create(class_));
          HRESULT hr = object->QueryInterface(iid, out);
          object->Release();
          return hr;
        },
        nullptr, IID_IDispatch);
  }
  HRESULT STDMETHODCALLTYPE LockServer(BOOL lock) override {
    com::lockServer(lock != FALSE);
    return S_OK;
  }

 private:
  std::atomic<ULONG> refs_{1};
  const Class& class_;
};

}  // namespace

/// Writes (or removes) each class's keys under HKEY_CLASSES_ROOT.
HRESULT registerClasses(bool add) {
  wchar_t path[MAX_PATH];
  if (!GetModuleFileNameW(module, path, MAX_PATH)) return HRESULT_FROM_WIN32(GetLastError());
  for (const auto& c : kClassList) {
    wchar_t id[40];
    StringFromGUID2(c.clsid, id, 40);
    const std::wstring key = std::wstring(L"CLSID\\") + id, progId = com::widen(c.progId);
    if (!add) {
      RegDeleteTreeW(HKEY_CLASSES_ROOT, key.c_str());
      RegDeleteTreeW(HKEY_CLASSES_ROOT, progId.c_str());
      continue;
    }
    auto set = [](const std::wstring& k, const wchar_t* name, const std::wstring& value) {
      return RegSetKeyValueW(HKEY_CLASSES_ROOT, k.c_str(), name, REG_SZ, value.c_str(),
                             static_cast<DWORD>((value.size() + 1) * sizeof(wchar_t)));
    };
    if (set(key + L"\\InprocServer32", nullptr, path) ||
        set(key + L"\\InprocServer32", L"ThreadingModel", L"Apartment") ||
        set(key + L"\\ProgID", nullptr, progId) || set(progId + L"\\CLSID", nullptr, id))
      return SELFREG_E_CLASS;
  }
  return S_OK;
}

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

extern "C" HRESULT WINAPI DllGetClassObject(REFCLSID clsid, REFIID iid, void** out) {
  for (const auto& c : kClassList) {
    if (!IsEqualGUID(clsid, c.clsid)) continue;
    auto* factory = new ClassObject(c);
    HRESULT hr = factory->QueryInterface(iid, out);
    factory->Release();
    return hr;
  }
  return CLASS_E_CLASSNOTAVAILABLE;
}

extern "C" HRESULT WINAPI DllCanUnloadNow() {
  using namespace brelvane::com;
  return liveObjects() == 0 && classObjects == 0 && serverLocks() == 0 ? S_OK : S_FALSE;
}
