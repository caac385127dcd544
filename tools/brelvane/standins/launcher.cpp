// The sibling launcher stand-in: a recording object that accepts every
// member by name, fails on demand and calls back into its Plookup.
#include <algorithm>

#include "standins/standins.h"

namespace brelvane::standins {

namespace {

struct Callback {
  std::string method;
  Json args;  // value encoding, read when the callback runs
};

/// The configuration of one launcher ProgID.
struct LauncherScript {
  std::vector<std::string> fail;  // "create" or member names
  std::vector<std::pair<std::string, std::vector<Callback>>> on;
  std::vector<std::pair<std::string, Json>> sets;  // method, values left in its arguments

  bool fails(std::string_view member) const {
    return std::any_of(fail.begin(), fail.end(),
                       [&](const auto& f) { return sameName(f, member); });
  }
  const std::vector<Callback>* callbacks(std::string_view method) const {
    for (const auto& [name, list] : on)
      if (sameName(name, method)) return &list;
    return nullptr;
  }
  const Json* argumentsSet(std::string_view method) const {
    for (const auto& [name, list] : sets)
      if (sameName(name, method)) return &list;
    return nullptr;
  }
};

[[noreturn]] void badLauncher(const std::string& progId, const std::string& what) {
  throw ScenarioError("launcher " + progId + ": " + what);
}

LauncherScript readScript(const std::string& progId, const Json& config) {
  LauncherScript script;
  if (!config.is_object()) badLauncher(progId, "its configuration is an object");
  for (const auto& [key, value] : config.items()) {
    if (key == "fail") {
      if (!value.is_array()) badLauncher(progId, "fail is a list of names");
      for (const auto& item : value) {
        if (!item.is_string()) badLauncher(progId, "fail is a list of names");
        script.fail.push_back(item.get<std::string>());
      }
    } else if (key == "on") {
      if (!value.is_object()) badLauncher(progId, "on is an object of method names");
      for (const auto& [method, list] : value.items()) {
        if (!list.is_array()) badLauncher(progId, "on." + method + " is a list of calls");
        std::vector<Callback> calls;
        for (const auto& call : list) {
          if (!call.is_object() || !call.contains("call") || !call["call"].is_string())
            badLauncher(progId,
                        "each callback of " + method + " is {\"call\": NAME, \"args\": [...]}");
          for (const auto& [k, v] : call.items())
            if (k != "call" && k != "args")
              badLauncher(progId, "unknown key \"" + k + "\" in a callback of " + method);
          Json args = call.contains("args") ? call["args"] : Json::array();
          if (!args.is_array()) badLauncher(progId, "the args of a callback are a list");
          calls.push_back({call["call"].get<std::string>(), std::move(args)});
        }
        script.on.emplace_back(method, std::move(calls));
      }
    } else if (key == "sets") {
      if (!value.is_object()) badLauncher(progId, "sets is an object of method names");
      for (const auto& [method, list] : value.items()) {
        if (!list.is_array()) badLauncher(progId, "sets." + method + " is a list of values");
        script.sets.emplace_back(method, list);
      }
    } else {
      badLauncher(progId, "unknown key \"" + key + "\"");
    }
  }
  return script;
}

/// How deep launcher callbacks may nest. A callback that launches the
/// program again would otherwise recurse until the stack runs out.
constexpr int kMaxCallbackDepth = 16;

Json errorJson(const AutomationError& e) {
  return {{"number", e.number}, {"source", e.source}, {"description", e.description}};
}

class Launcher final : public Dispatch, public std::enable_shared_from_this<Launcher> {
 public:
  Launcher(std::string name, Log& log, std::shared_ptr<const LauncherScript> script,
           std::shared_ptr<int> depth)
      : name_(std::move(name)), log_(log), script_(std::move(script)), depth_(std::move(depth)) {}

  ~Launcher() override {
    try {
      log_.add(name_, "Release");
    } catch (...) {  // a destructor must not throw; the entry is lost
    }
  }

  Variant get(std::string_view name) override {
    auto it = find(name);
    return it == values_.end() ? Variant() : it->second;
  }
  void put(std::string_view name, const Variant& value) override { assign("Put", name, value); }
  void putRef(std::string_view name, const Variant& value) override {
    assign("PutRef", name, value);
  }

  Variant invoke(std::string_view name, std::span<Variant> args) override {
    auto keepAlive = shared_from_this();  // a callback may drop the caller's reference
    bool failed = script_->fails(name);
    log_.add(name_, "Call", {{"name", name}, {"args", values(args)}}, failed);
    if (failed) throw failure(name_, name);
    if (const auto* calls = script_->callbacks(name))
      for (const auto& call : *calls) callBack(call);
    if (const Json* set = script_->argumentsSet(name))
      for (size_t i = 0; i < set->size() && i < args.size(); ++i) args[i] = value((*set)[i]);
    return Variant();
  }

  std::vector<std::string> propertyNames() const {
    std::vector<std::string> names;
    for (const auto& [name, value] : values_) names.push_back(name);
    return names;
  }

 private:
  using Values = std::vector<std::pair<std::string, Variant>>;

  Values::iterator find(std::string_view name) {
    return std::find_if(values_.begin(), values_.end(),
                        [&](const auto& entry) { return sameName(entry.first, name); });
  }

  void assign(const std::string& op, std::string_view name, const Variant& value) {
    bool failed = script_->fails(name);
    log_.add(name_, op, {{"name", name}, {"value", log_.value(value)}}, failed);
    if (failed) throw failure(name_, name);
    if (auto it = find(name); it != values_.end())
      it->second = value;
    else
      values_.emplace_back(std::string(name), value);
  }

  Json values(std::span<const Variant> args) const {
    Json out = Json::array();
    for (const auto& a : args) out.push_back(log_.value(a));
    return out;
  }

  /// A value of the script, read when it is used.
  Variant value(const Json& encoded) const {
    try {
      return fromJson(encoded, log_.names);
    } catch (const ScenarioError& e) {
      throw AutomationError(424, name_, std::string("Object required: ") + e.what());
    }
  }

  /// One call made back on the object that Plookup holds (read afresh each
  /// time: an earlier callback may have unlinked it).
  void callBack(const Callback& call) {
    if (*depth_ >= kMaxCallbackDepth)
      throw AutomationError(
          28, name_,
          "Out of stack space: callbacks nested deeper than " + std::to_string(kMaxCallbackDepth));
    struct Nesting {
      int& depth;
      explicit Nesting(int& d) : depth(++d) {}
      ~Nesting() { --depth; }
    } nesting(*depth_);
    Variant target = get("Plookup");
    if (!target.isObject() || !target.object())
      throw AutomationError(err::kObjectNotSet, name_, "Plookup is not set");
    std::vector<Variant> args;
    for (const auto& a : call.args) args.push_back(value(a));
    try {
      target.object()->invoke(call.method, args);
    } catch (const AutomationError& e) {
      log_.add(name_, "Callback",
               {{"name", call.method}, {"args", values(args)}, {"error", errorJson(e)}});
      throw;
    }
    log_.add(name_, "Callback", {{"name", call.method}, {"args", values(args)}});
  }

  std::string name_;
  Log& log_;
  std::shared_ptr<const LauncherScript> script_;
  Values values_;               // properties in order of first assignment
  std::shared_ptr<int> depth_;  // callbacks under way, shared by the scenario's launchers
};

}  // namespace

void installLaunchers(ObjectFactory& factory, const Json& config, Log& log) {
  if (!config.is_null() && !config.is_object())
    throw ScenarioError("launchers is an object of ProgIDs: " + config.dump());
  std::vector<std::pair<std::string, LauncherScript>> scripts;
  for (auto progId : kLauncherProgIds) scripts.emplace_back(std::string(progId), LauncherScript{});
  if (config.is_object()) {
    for (const auto& item : config.items()) {
      const std::string& key = item.key();
      const Json& value = item.value();
      auto it = std::find_if(scripts.begin(), scripts.end(),
                             [&](const auto& s) { return sameName(s.first, key); });
      if (it == scripts.end())
        throw ScenarioError("\"" + key + "\" is not a launcher ProgID (" +
                            std::string(kLauncherProgIds[0]) + " or " +
                            std::string(kLauncherProgIds[1]) + ")");
      it->second = readScript(it->first, value);
    }
  }
  auto depth = std::make_shared<int>(0);
  for (auto& entry : scripts) {
    std::string progId = entry.first;
    auto script = std::make_shared<const LauncherScript>(std::move(entry.second));
    factory.add(progId, [progId, script, depth, &log](ObjectFactory&) -> std::shared_ptr<Dispatch> {
      std::string name = log.names.next(progId);
      bool failed = script->fails("create");
      log.add(name, "Create", Json::object(), failed);
      if (failed) throw failure(name, "Create");
      auto launcher = std::make_shared<Launcher>(name, log, script, depth);
      log.names.add(launcher, name);
      return launcher;
    });
  }
}

std::vector<std::string> recordedProperties(const Dispatch& object) {
  if (const auto* launcher = dynamic_cast<const Launcher*>(&object))
    return launcher->propertyNames();
  return {};
}

}  // namespace brelvane::standins
