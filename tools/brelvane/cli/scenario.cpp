#include "cli/scenario.h"

#include <cmath>
#include <limits>
#include <map>
#include <ostream>
#include <set>
#include <sstream>

#include "brelvane/brelvane.h"
#include "cli/commands.h"
#include "cli/compare.h"
#include "cli/scenario_check.h"
#include "cli/shared_values.h"
#include "standins/standins.h"

namespace brelvane::cli {

namespace {

using standins::Json;
using standins::ScenarioError;

constexpr int kMaxDepth = 64;                // nesting of the document
constexpr int32_t kObjectRequired = 424;     // a step names no live object
constexpr int32_t kInternalError = 51;       // anything but an automation error
constexpr const char* kSource = "scenario";  // source of the runner's own errors
constexpr size_t kMaxReason = 300;           // bytes of a reason on the error stream

Json errorJson(int32_t number, const std::string& source, const std::string& description) {
  return {{"number", number}, {"source", source}, {"description", description}};
}
Json errorJson(const AutomationError& e) {
  return errorJson(e.number, e.source, e.description);
}

// ---- Running ---------------------------------------------------------------------------

class Run {
 public:
  /// Sets up the factory and the stand-ins; raises on a scenario of the
  /// wrong shape, before anything has run.
  explicit Run(const Json& doc) : doc_(doc) {
    standins::installUtility(factory_, doc.contains("utility") ? doc["utility"] : Json(), log_);
    registerBrelvane(factory_);
    standins::installLaunchers(factory_, doc.contains("launchers") ? doc["launchers"] : Json(),
                               log_);
    validate(doc, factory_);
    // Before any step: every object the scenario creates composes in this mode.
    factory_.setHardened(doc.value("harden", false));
    if (doc.contains("objects"))
      for (const auto& [name, config] : doc["objects"].items())
        hold(name, standins::makeStandin(config, name, log_));
  }

  /// Runs every step, lets go of what the scenario still holds and writes
  /// the output document.
  int execute(std::ostream& out) {
    const Json& steps = doc_["steps"];
    for (size_t i = 0; i < steps.size(); ++i) run(i, steps[i]);
    // What the scenario still holds goes last-made first, logged as one more step.
    log_.step = static_cast<int>(steps.size());
    while (!held_.empty()) {
      auto object = std::move(held_.back().second);
      held_.pop_back();
      object.reset();
    }
    out << "{\n";
    write(out, "steps", results_, ",");
    write(out, "log", log_.entries(), ",");
    write(out, "failures", failures_, "");
    out << "}\n";
    return failures_.empty() ? kScenarioHeld : kScenarioFailed;
  }

 private:
  /// One list of the output document, an entry a line.
  static void write(std::ostream& out, const char* key, const Json& list, const char* after) {
    out << "  \"" << key << "\": [";
    for (size_t i = 0; i < list.size(); ++i)
      out << (i ? ",\n    " : "\n    ")
          << list[i].dump(-1, ' ', false, Json::error_handler_t::replace);
    out << (list.empty() ? "" : "\n  ") << "]" << after << "\n";
  }

  void hold(const std::string& name, std::shared_ptr<Dispatch> object) {
    released_.erase(name);
    for (auto& [n, o] : held_) {
      if (n == name) {
        o = std::move(object);
        return;
      }
    }
    held_.emplace_back(name, std::move(object));
  }

  std::shared_ptr<Dispatch> object(const std::string& name) const {
    for (const auto& [n, o] : held_)
      if (n == name) return o;
    if (!released_.count(name))
      if (auto o = log_.names.find(name)) return o;
    throw AutomationError(kObjectRequired, kSource,
                          "Object required: no object is named " + inQuotes(name) +
                              (released_.count(name) ? " any more" : ""));
  }

  Variant value(const Json& j) const {
    try {
      return standins::fromJson(j, log_.names);
    } catch (const ScenarioError& e) {
      throw AutomationError(kObjectRequired, kSource, std::string("Object required: ") + e.what());
    }
  }

  void run(size_t i, const Json& step) {
    log_.step = static_cast<int>(i);
    const OpInfo& info = opOf(step);
    Json entry = {{"step", i}, {"op", info.key}};
    std::shared_ptr<Dispatch> subject;  // the object whose properties expectations read
    Json error = nullptr;
    try {
      std::string target = step[info.key].get<std::string>();
      if (info.op == Op::Call) prepareCall(step, entry);
      if (info.op == Op::Get) entry["values"] = Json::object();
      // Expectations read the step's object even when the step fails.
      if (info.op != Op::Create && info.op != Op::Release) subject = object(target);
      switch (info.op) {
        case Op::Create:
          subject = create(target, step);
          break;
        case Op::Set:
          set(*subject, step);
          break;
        case Op::Call:
          call(*subject, step, entry);
          break;
        case Op::Get:
          get(*subject, step, entry);
          break;
        case Op::Advise:
          advise(subject, target, step);
          break;
        case Op::Release:
          release(target);
          break;
      }
    } catch (const AutomationError& e) {
      error = errorJson(e);
    } catch (const std::exception& e) {
      error = errorJson(kInternalError, kSource, std::string("Internal error: ") + e.what());
    }
    entry["error"] = error;
    if (step.contains("expect")) check(i, step["expect"], entry, subject);
    results_.push_back(std::move(entry));
  }

  std::shared_ptr<Dispatch> create(const std::string& progId, const Json& step) {
    auto created = factory_.create(progId);
    // Without `as`, a launcher keeps its own name; anything else is PROGID#n.
    std::string name =
        step.contains("as") ? step["as"].get<std::string>() : log_.names.nameOf(created.get());
    if (name.empty()) name = log_.names.next(progId);
    log_.names.add(created, name);
    hold(name, created);
    return created;
  }

  void set(Dispatch& subject, const Json& step) {
    for (const auto& [name, v] : step["values"].items()) {
      Variant val = value(v);
      if (val.isObject())
        subject.putRef(name, val);
      else
        subject.put(name, val);
    }
  }

  static void prepareCall(const Json& step, Json& entry) {
    entry["return"] = Json{{"$empty", true}};
    entry["args"] = step.contains("args") ? step["args"] : Json::array();
  }

  void call(Dispatch& subject, const Json& step, Json& entry) {
    std::vector<Variant> args;
    for (const auto& a : entry["args"]) args.push_back(value(a));
    auto after = [&] {
      Json list = Json::array();
      for (const auto& a : args) list.push_back(log_.value(a));
      return list;
    };
    try {
      entry["return"] = log_.value(subject.invoke(step["method"].get<std::string>(), args));
    } catch (...) {
      entry["args"] = after();
      throw;
    }
    entry["args"] = after();
  }

  void get(Dispatch& subject, const Json& step, Json& entry) {
    std::vector<std::string> names;
    if (step.contains("properties")) {
      for (const auto& p : step["properties"]) names.push_back(p.get<std::string>());
    } else if (const ClassInfo* info = subject.classInfo()) {
      for (const auto& p : info->properties)
        if (p.canGet) names.push_back(p.name);
    } else {
      names = standins::recordedProperties(subject);
    }
    for (const auto& name : names) entry["values"][name] = log_.value(subject.get(name));
  }

  void advise(const std::shared_ptr<Dispatch>& source, const std::string& target,
              const Json& step) {
    auto container = std::dynamic_pointer_cast<ConnectionPointContainer>(source);
    if (!container)
      throw AutomationError(430, kSource,
                            "Class does not support Automation or does not support expected "
                            "interface: " +
                                inQuotes(target) + " raises no events");
    std::string name = step["sink"].get<std::string>();
    std::shared_ptr<Dispatch> sink;
    try {
      sink = standins::makeSink(name, step.contains("handlers") ? step["handlers"] : Json(),
                                source->classInfo(), log_);
    } catch (const ScenarioError& e) {
      throw AutomationError(err::kUnknownMember, name, e.what());
    }
    hold(name, sink);
    container->Advise(sink);
  }

  void release(const std::string& target) {
    for (auto it = held_.begin(); it != held_.end(); ++it) {
      if (it->first != target) continue;
      auto object = std::move(it->second);
      held_.erase(it);
      released_.insert(target);
      object.reset();  // the release is logged under this step
      return;
    }
    throw AutomationError(
        kObjectRequired, kSource,
        "Object required: the scenario holds no object named " + inQuotes(target));
  }

  Json property(const std::shared_ptr<Dispatch>& subject, const std::string& name) const {
    if (!subject)
      return Json{{"$error",
                   errorJson(kObjectRequired, kSource, "Object required: the step has no object")}};
    try {
      return log_.value(subject->get(name));
    } catch (const AutomationError& e) {
      return Json{{"$error", errorJson(e)}};
    }
  }

  void check(size_t i, const Json& expect, const Json& entry,
             const std::shared_ptr<Dispatch>& subject) {
    Json logged = Json::array();  // before reading properties, which may log too
    if (expect.contains("$log"))
      for (const auto& e : log_.entries())
        if (e["step"] == i) logged.push_back(e);
    for (const auto& [key, expected] : expect.items()) {
      Json actual;
      bool held;
      if (key == "$log") {
        actual = logged;
        held = logMatches(expected, actual);
      } else if (key == "error") {
        actual = entry["error"];
        held = errorMatches(expected, actual);
      } else if (key == "return") {
        actual = entry["return"];
        held = matches(expected, actual);
      } else {
        if (entry.contains("values") && entry["values"].contains(key))
          actual = entry["values"][key];
        else
          actual = property(subject, key);
        held = matches(expected, actual);
      }
      if (!held)
        failures_.push_back(
            {{"step", i}, {"key", key}, {"expected", expected}, {"actual", std::move(actual)}});
    }
  }

  // Declared in this order so that the objects go before the factory and
  // the log that they use.
  const Json& doc_;
  standins::Log log_;
  ObjectFactory factory_;
  std::vector<std::pair<std::string, std::shared_ptr<Dispatch>>> held_;  // in order of making
  std::set<std::string> released_;
  Json results_ = Json::array();
  Json failures_ = Json::array();
};

/// Parses with a bound on nesting, so that no later walk recurses deeply.
Json parse(std::string_view text) {
  Json::parser_callback_t limit = [](int depth, Json::parse_event_t event, Json&) {
    if ((event == Json::parse_event_t::object_start || event == Json::parse_event_t::array_start) &&
        depth >= kMaxDepth)
      throw ScenarioError("nested more than " + std::to_string(kMaxDepth) + " levels deep");
    return true;
  };
  return Json::parse(text.begin(), text.end(), limit);
}

}  // namespace

int runScenario(std::string_view text, std::ostream& out, std::ostream& err) {
  // The reasons quote the document: each is one line, and short.
  auto reason = [](std::string what) {
    for (char& c : what)
      if (c == '\n' || c == '\r') c = ' ';
    return excerpt(what, kMaxReason);
  };
  // The parser would take a NUL byte for the end of the document.
  if (auto nul = text.find('\0'); nul != std::string_view::npos) {
    err << "brelvane run: not valid JSON: a NUL byte at offset " << nul << '\n';
    return kScenarioInvalid;
  }
  Json doc;
  try {
    doc = parse(text);
  } catch (const Json::parse_error& e) {
    err << "brelvane run: not valid JSON: " << reason(e.what()) << '\n';
    return kScenarioInvalid;
  } catch (const std::exception& e) {
    err << "brelvane run: not a valid scenario: " << reason(e.what()) << '\n';
    return kScenarioInvalid;
  }
  // Output is written only once everything has run, so nothing reaches
  // `out` for a scenario that turns out to be invalid.
  std::ostringstream buffer;
  int status;
  try {
    doc = expandSharedValues(doc);
    Run run(doc);
    status = run.execute(buffer);
  } catch (const std::exception& e) {
    err << "brelvane run: not a valid scenario: " << reason(e.what()) << '\n';
    return kScenarioInvalid;
  }
  out << buffer.str();
  return status;
}

}  // namespace brelvane::cli
