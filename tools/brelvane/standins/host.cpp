// The host framework stand-in and the opaque control.
#include <map>

#include "standins/standins.h"

namespace brelvane::standins {

namespace {

/// What the host's objects share: their script, their name and the log.
struct HostScript {
  std::string name;
  Log& log;
  std::map<std::string, Variant> company;  // Code, LanguageCode, CompanyMode
  std::map<int64_t, std::string> messages;
  Variant installationSetting;
  FailList fail;

  /// Logs the operation; raises when it is made to fail.
  void op(const std::string& op, const Json& fields = Json::object(),
          std::string_view detail = {}) {
    bool failed = fail.fails(op, detail);
    log.add(name, op, fields, failed);
    if (failed) throw failure(name, op);
  }
  Variant companyValue(const std::string& key) const {
    auto it = company.find(key);
    return it == company.end() ? Variant() : it->second;
  }
};

class Messages final : public MessageService {
 public:
  explicit Messages(std::shared_ptr<HostScript> s) : s_(std::move(s)) {}
  std::string GetMessageText(int32_t id, const SafeArray&) override {
    s_->op("GetMessageText", {{"id", id}}, std::to_string(id));
    auto it = s_->messages.find(id);
    return it != s_->messages.end() ? it->second : "Msg'" + std::to_string(id);
  }
  std::string PrepareSqlText(const std::string& text) override {
    s_->op("PrepareSqlText", {{"text", text}});
    std::string out;
    for (char c : text) {
      if (c == '\'') out += '\'';
      out += c;
    }
    return out;
  }

 private:
  std::shared_ptr<HostScript> s_;
};

class Settings final : public CompanySettings {
 public:
  explicit Settings(std::shared_ptr<HostScript> s) : s_(std::move(s)) {}
  Variant CompanyMode() override {
    s_->op("CompanyMode");
    return s_->companyValue("CompanyMode");
  }

 private:
  std::shared_ptr<HostScript> s_;
};

class Company final : public HostCompany {
 public:
  explicit Company(std::shared_ptr<HostScript> s) : s_(std::move(s)) {}
  std::shared_ptr<CompanySettings> Settings() override {
    s_->op("Settings");
    return std::make_shared<standins::Settings>(s_);
  }
  Variant Code() override {
    s_->op("Code");
    return s_->companyValue("Code");
  }
  Variant LanguageCode() override {
    s_->op("LanguageCode");
    return s_->companyValue("LanguageCode");
  }

 private:
  std::shared_ptr<HostScript> s_;
};

class Context final : public HostContext {
 public:
  explicit Context(std::shared_ptr<HostScript> s) : s_(std::move(s)) {}
  std::shared_ptr<MessageService> Messages() override {
    s_->op("Messages");
    return std::make_shared<standins::Messages>(s_);
  }
  std::shared_ptr<HostCompany> Company() override {
    s_->op("Company");
    return std::make_shared<standins::Company>(s_);
  }

 private:
  std::shared_ptr<HostScript> s_;
};

class Host final : public HostInterface {
 public:
  explicit Host(std::shared_ptr<HostScript> s) : s_(std::move(s)) {}
  std::shared_ptr<HostContext> Context() override {
    s_->op("Context");
    return std::make_shared<standins::Context>(s_);
  }
  Variant InstallationSetting() override {
    s_->op("InstallationSetting");
    return s_->installationSetting;
  }

 private:
  std::shared_ptr<HostScript> s_;
};

class Control final : public Dispatch {};

void expectKeys(const Json& config, std::initializer_list<std::string_view> keys) {
  if (!config.is_object()) throw ScenarioError("a stand-in is an object: " + config.dump());
  for (const auto& [k, v] : config.items()) {
    bool known = false;
    for (auto key : keys) known = known || k == key;
    if (!known) throw ScenarioError("unknown key \"" + k + "\" in " + config.dump());
  }
}

}  // namespace

std::shared_ptr<HostInterface> makeHost(const Json& config, const std::string& name, Log& log) {
  expectKeys(config, {"kind", "company", "messages", "installationSetting", "fail"});
  auto s = std::shared_ptr<HostScript>(new HostScript{name, log, {}, {}, {}, {}});
  if (config.contains("company")) {
    const Json& c = config["company"];
    if (!c.is_object()) throw ScenarioError("company is an object: " + c.dump());
    for (const auto& [k, v] : c.items()) {
      if (k != "Code" && k != "LanguageCode" && k != "CompanyMode")
        throw ScenarioError("unknown company value \"" + k + "\"");
      s->company[k] = fromJson(v, log.names);
    }
  }
  if (config.contains("messages")) {
    const Json& m = config["messages"];
    if (!m.is_object()) throw ScenarioError("messages is an object: " + m.dump());
    for (const auto& [k, v] : m.items()) {
      if (!v.is_string()) throw ScenarioError("message " + k + " is not a text");
      try {
        size_t used = 0;
        int64_t id = std::stoll(k, &used);
        if (used != k.size()) throw std::invalid_argument(k);
        s->messages[id] = v.get<std::string>();
      } catch (const std::logic_error&) {
        throw ScenarioError("message id \"" + k + "\" is not a number");
      }
    }
  }
  if (config.contains("installationSetting"))
    s->installationSetting = fromJson(config["installationSetting"], log.names);
  if (config.contains("fail")) s->fail = FailList(config["fail"]);
  auto host = std::make_shared<Host>(std::move(s));
  log.names.add(host, name);
  return host;
}

std::shared_ptr<Dispatch> makeControl() {
  return std::make_shared<Control>();
}

std::shared_ptr<Dispatch> makeStandin(const Json& config, const std::string& name, Log& log) {
  if (!config.is_object() || !config.contains("kind") || !config["kind"].is_string())
    throw ScenarioError("stand-in \"" + name + "\" needs a kind");
  auto kind = config["kind"].get<std::string>();
  if (kind == "host") return makeHost(config, name, log);
  if (kind == "connection") return makeConnection(config, name, log);
  if (kind == "control") {
    expectKeys(config, {"kind"});
    auto control = makeControl();
    log.names.add(control, name);
    return control;
  }
  throw ScenarioError("unknown stand-in kind \"" + kind + "\"");
}

}  // namespace brelvane::standins
