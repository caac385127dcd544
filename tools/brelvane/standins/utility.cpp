// The scripted utility object: the reference behaviour, logged, with
// failures on demand.
#include "standins/standins.h"

namespace brelvane::standins {

namespace {

class ScriptedUtility final : public UtilityObject {
 public:
  ScriptedUtility(std::string name, Log& log, FailList fail)
      : name_(std::move(name)), log_(log), fail_(std::move(fail)) {}

  void Initialise() override { op("Initialise", {}); }
  void Release() override { op("Release", {}); }
  std::string ValueToText(const Variant& v) override {
    op("ValueToText", {v});
    return ref_.ValueToText(v);
  }
  Variant ValueOrDefault(const Variant& v, const Variant& d) override {
    op("ValueOrDefault", {v, d});
    return ref_.ValueOrDefault(v, d);
  }
  std::string ValueForSql(const Variant& v) override {
    op("ValueForSql", {v});
    return ref_.ValueForSql(v);
  }
  std::string SqlDateLiteral(const Variant& v) override {
    op("SqlDateLiteral", {v});
    return ref_.SqlDateLiteral(v);
  }
  std::pair<std::string, std::string> BindContext(
      const std::shared_ptr<HostInterface>& host,
      const std::shared_ptr<Connection>& connection) override {
    op("BindContext",
       {Variant(std::shared_ptr<Dispatch>(host)), Variant(std::shared_ptr<Dispatch>(connection))});
    return {};
  }
  std::string ProviderAccountColumn() override {
    return column("ProviderAccountColumn", "CI07_DESCRIZIONE");
  }
  std::string ProviderCogeColumn() override {
    return column("ProviderCogeColumn", "CI1A_DESCRIZIONE");
  }
  std::string ProviderCausalColumn() override {
    return column("ProviderCausalColumn", "CI39_DESCRIZIONE");
  }
  std::string HeaderFieldColumn() override {
    return column("HeaderFieldColumn", "CI48_DESCRIZIONE");
  }

 private:
  void op(const std::string& name, std::initializer_list<Variant> args) {
    Json values = Json::array();
    for (const auto& a : args) values.push_back(log_.value(a));
    bool failed = fail_.fails(name);
    log_.add(name_, name, {{"args", values}}, failed);
    if (failed) throw failure(name_, name);
  }
  std::string column(const std::string& name, std::string value) {
    op(name, {});
    return value;
  }

  std::string name_;
  Log& log_;
  FailList fail_;
  ReferenceUtility ref_;
};

}  // namespace

void installUtility(ObjectFactory& factory, const Json& config, Log& log) {
  if (!config.is_null() && !config.is_object())
    throw ScenarioError("utility is an object: " + config.dump());
  FailList fail(config.is_object() && config.contains("fail") ? config["fail"] : Json());
  if (config.is_object())
    for (const auto& [k, v] : config.items())
      if (k != "fail") throw ScenarioError("unknown key \"" + k + "\" in utility");
  factory.add(std::string(kUtilityProgId),
              [fail, &log](ObjectFactory&) -> std::shared_ptr<Dispatch> {
                std::string name = log.names.next("utility");
                bool failed = fail.fails("Create");
                log.add(name, "Create", Json::object(), failed);
                if (failed) throw failure(name, "Create");
                auto utility = std::make_shared<ScriptedUtility>(name, log, fail);
                log.names.add(utility, name);
                return utility;
              });
}

}  // namespace brelvane::standins
