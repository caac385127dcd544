#include "adapters.h"

#include "host_protocol.h"
#include "late_bound.h"
#include "text.h"

namespace brelvane::com {

namespace {

/// A core interface answered by a platform object: the interface's own
/// operations are written per adapter below, by-name access goes through.
template <class Base>
class Adapter : public Base, public LateBound {
 public:
  explicit Adapter(ComPtr<IDispatch> object) : LateBound(std::move(object)) {}
  Variant get(std::string_view name) override { return LateBound::get(name); }
  void put(std::string_view name, const Variant& value) override { LateBound::put(name, value); }
  void putRef(std::string_view name, const Variant& value) override {
    LateBound::put(name, value, true);
  }
  Variant invoke(std::string_view name, std::span<Variant> args) override {
    return LateBound::call(name, args);
  }

 protected:
  template <class T>
  std::shared_ptr<T> child(std::string_view name, std::span<Variant> args = {}) {
    return std::make_shared<T>(getObject(name, args));
  }
  /// A method whose answer comes back in its last argument.
  std::string answerIn(std::string_view name, std::initializer_list<Variant> in) {
    std::vector<Variant> args(in);
    args.emplace_back();
    LateBound::call(name, args);
    return toText(args.back());
  }
};

class Settings final : public Adapter<CompanySettings> {
 public:
  using Adapter::Adapter;
  Variant CompanyMode() override { return LateBound::get(host::kCompanyMode); }
};

class Company final : public Adapter<HostCompany> {
 public:
  using Adapter::Adapter;
  std::shared_ptr<CompanySettings> Settings() override {
    return child<com::Settings>(host::kSettings);
  }
  Variant Code() override { return LateBound::get(host::kCode); }
  Variant LanguageCode() override { return LateBound::get(host::kLanguageCode); }
};

class Messages final : public Adapter<MessageService> {
 public:
  using Adapter::Adapter;
  std::string GetMessageText(int32_t id, const SafeArray& args) override {
    return answerIn(host::kGetMessageText, {Variant(id), Variant(args)});
  }
  std::string PrepareSqlText(const std::string& text) override {
    return answerIn(host::kPrepareSqlText, {Variant(text)});
  }
};

class Context final : public Adapter<HostContext> {
 public:
  using Adapter::Adapter;
  std::shared_ptr<MessageService> Messages() override {
    return child<com::Messages>(host::kMessages);
  }
  std::shared_ptr<HostCompany> Company() override { return child<com::Company>(host::kCompany); }
};

class Host final : public Adapter<HostInterface> {
 public:
  using Adapter::Adapter;
  std::shared_ptr<HostContext> Context() override { return child<com::Context>(host::kContext); }
  Variant InstallationSetting() override { return LateBound::get(host::kInstallationSetting); }
};

// The database access objects, by their own member names.

class Rows final : public Adapter<Recordset> {
 public:
  using Adapter::Adapter;
  bool Eof() override { return toBool(LateBound::get("EOF")); }
  Variant Field(int32_t index) override { return field(Variant(index)); }
  Variant Field(const std::string& name) override { return field(Variant(name)); }
  void MoveNext() override { LateBound::call("MoveNext", {}); }
  void Close() override { LateBound::call("Close", {}); }

 private:
  // Fields(i) is Fields, then its Item: a default member is not reached
  // through one call with arguments.
  Variant field(Variant key) {
    LateBound fields(getObject("Fields"));
    LateBound item(fields.getObject("Item", std::span(&key, 1)));
    return item.get("Value");
  }
};

class Statement final : public Adapter<Command> {
 public:
  using Adapter::Adapter;
  void SetActiveConnection(const std::shared_ptr<Connection>& connection) override {
    LateBound::put("ActiveConnection", Variant(connection), true);
  }
  void SetCommandType(int32_t type) override { LateBound::put("CommandType", Variant(type)); }
  void SetCommandText(const std::string& text) override {
    LateBound::put("CommandText", Variant(text));
  }
  void SetPrepared(bool prepared) override { LateBound::put("Prepared", Variant(prepared)); }
  void SetParameter(const std::string& name, const Variant& value) override {
    parameter(name).put("Value", value);
  }
  Variant GetParameter(const std::string& name) override { return parameter(name).get("Value"); }
  std::shared_ptr<Recordset> Execute(int32_t options) override {
    Variant args[] = {Variant(), Variant::missing(), Variant(options)};
    return child<Rows>("Execute", args);
  }

 private:
  LateBound parameter(const std::string& name) {
    LateBound parameters(getObject("Parameters"));
    Variant key(name);
    return LateBound(parameters.getObject("Item", std::span(&key, 1)));
  }
};

ComPtr<IDispatch> createByProgId(const wchar_t* progId) {
  CLSID clsid;
  ComPtr<IDispatch> object;
  if (FAILED(CLSIDFromProgID(progId, &clsid)) ||
      FAILED(CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER | CLSCTX_LOCAL_SERVER,
                              IID_IDispatch, &object)))
    return nullptr;
  return object;
}

class Database final : public Adapter<Connection> {
 public:
  using Adapter::Adapter;
  std::shared_ptr<Recordset> Execute(const std::string& sql, int32_t options) override {
    Variant args[] = {Variant(sql), Variant(), Variant(options)};
    return child<Rows>("Execute", args);
  }
  std::shared_ptr<Command> NewCommand() override {
    auto command = createByProgId(L"ADODB.Command");
    if (!command) throw AutomationError::of(err::kCannotCreate, "ADODB.Command");
    return std::make_shared<Statement>(std::move(command));
  }
};

class Utility final : public Adapter<UtilityObject> {
 public:
  using Adapter::Adapter;
  void Initialise() override { LateBound::call("Initialise", {}); }
  void Release() override { LateBound::call("Release", {}); }
  std::string ValueToText(const Variant& value) override { return text("ValueToText", {value}); }
  Variant ValueOrDefault(const Variant& value, const Variant& fallback) override {
    Variant args[] = {value, fallback};
    return LateBound::call("ValueOrDefault", args);
  }
  std::string ValueForSql(const Variant& value) override { return text("ValueForSql", {value}); }
  std::string SqlDateLiteral(const Variant& value) override {
    return text("SqlDateLiteral", {value});
  }
  // Every caller discards the two texts; only handing over the context counts.
  std::pair<std::string, std::string> BindContext(
      const std::shared_ptr<HostInterface>& host,
      const std::shared_ptr<Connection>& connection) override {
    Variant args[] = {Variant(host), Variant(connection)};
    LateBound::call("BindContext", args);
    return {};
  }
  std::string ProviderAccountColumn() override { return text("ProviderAccountColumn", {}); }
  std::string ProviderCogeColumn() override { return text("ProviderCogeColumn", {}); }
  std::string ProviderCausalColumn() override { return text("ProviderCausalColumn", {}); }
  std::string HeaderFieldColumn() override { return text("HeaderFieldColumn", {}); }

 private:
  std::string text(std::string_view name, std::initializer_list<Variant> in) {
    std::vector<Variant> args(in);
    return toText(LateBound::call(name, args));
  }
};

}  // namespace

std::shared_ptr<Dispatch> adaptObject(IDispatch* object, std::string_view declaredType) {
  ComPtr<IDispatch> held(object);
  if (declaredType == "HostInterface") return std::make_shared<Host>(std::move(held));
  if (declaredType == "Connection") return std::make_shared<Database>(std::move(held));
  if (declaredType == "Recordset") return std::make_shared<Rows>(std::move(held));
  return std::make_shared<Adapter<Dispatch>>(std::move(held));
}

IDispatch* peerOf(const Dispatch& object) {
  auto* late = dynamic_cast<const LateBound*>(&object);
  return late ? late->object() : nullptr;
}

std::shared_ptr<Dispatch> createPlatformObject(std::string_view progId) {
  auto object = createByProgId(widen(progId).c_str());
  return object ? std::make_shared<Adapter<Dispatch>>(std::move(object)) : nullptr;
}

std::shared_ptr<UtilityObject> createPlatformUtility() {
  auto object = createByProgId(widen(kUtilityProgId).c_str());
  return object ? std::make_shared<Utility>(std::move(object)) : nullptr;
}

}  // namespace brelvane::com
