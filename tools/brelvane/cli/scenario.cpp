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
#include "cli/shared_values.h"
#include "standins/standins.h"

namespace brelvane::cli {

namespace {

using standins::Json;
using standins::ScenarioError;

constexpr int kMaxDepth = 64;                    // nesting of the document
constexpr size_t kMaxArrayElements = 1'000'000;  // all $array values together
constexpr int32_t kObjectRequired = 424;         // a step names no live object
constexpr int32_t kInternalError = 51;           // anything but an automation error
constexpr const char* kSource = "scenario";      // source of the runner's own errors
constexpr size_t kMaxReason = 300;               // bytes of a reason on the error stream

[[noreturn]] void invalid(const std::string& what) {
  throw ScenarioError(what);
}

/// Keys that only document a step or the document.
bool isNote(std::string_view key) {
  return key == "comment" || key == "description" || key == "note" || key == "title";
}

Json errorJson(int32_t number, const std::string& source, const std::string& description) {
  return {{"number", number}, {"source", source}, {"description", description}};
}
Json errorJson(const AutomationError& e) {
  return errorJson(e.number, e.source, e.description);
}

std::string inQuotes(std::string_view text) {
  return Json(std::string(text)).dump();
}

// ---- Tagged values anywhere in the document -----------------------------------------

/// Checks every tagged value of the document ({"$integer": ...}, {"$array":
/// ...}) before any of them is read, so that a number out of range or an
/// array too large for memory is a scenario error and not a fault.
class TagCheck {
 public:
  void walk(const Json& j) {
    if (j.is_array()) {
      for (const auto& v : j) walk(v);
      return;
    }
    if (!j.is_object()) return;
    if (j.size() == 1) tag(j.begin().key(), j.begin().value(), j);
    for (const auto& [k, v] : j.items()) walk(v);
  }

 private:
  static void whole(const Json& v, double lo, double hi, const Json& whole) {
    if (!v.is_number()) invalid("not a number: " + whole.dump());
    double d = v.get<double>();
    if (!std::isfinite(d) || d != std::trunc(d) || d < lo || d > hi)
      invalid("out of range: " + whole.dump());
  }

  void tag(const std::string& key, const Json& v, const Json& j) {
    if (key == "$integer") {
      whole(v, std::numeric_limits<int16_t>::min(), std::numeric_limits<int16_t>::max(), j);
    } else if (key == "$long") {
      whole(v, std::numeric_limits<int32_t>::min(), std::numeric_limits<int32_t>::max(), j);
    } else if (key == "$double") {
      if (!v.is_number()) invalid("not a number: " + j.dump());
    } else if (key == "$date") {
      try {
        if (!v.is_string()) throw AutomationError(err::kTypeMismatch, "", "");
        Date::parse(v.get<std::string>());
      } catch (const AutomationError&) {
        invalid("not a date: " + j.dump());
      }
    } else if (key == "$object") {
      if (!v.is_null() && !v.is_string()) invalid("$object is a name or null: " + j.dump());
    } else if (key == "$array") {
      array(v, j);
    }
  }

  void array(const Json& config, const Json& j) {
    if (!config.is_object() || !config.contains("bounds") || !config.contains("rows"))
      invalid("an $array has bounds and rows: " + j.dump());
    const Json& bounds = config["bounds"];
    if (!bounds.is_array() || bounds.empty() || bounds.size() > 2)
      invalid("an $array has one or two bounds: " + j.dump());
    std::vector<size_t> counts;
    for (const auto& b : bounds) {
      if (!b.is_array() || b.size() != 2) invalid("a bound is [lower, upper]: " + j.dump());
      whole(b[0], -100000, 100000, j);
      whole(b[1], -100000, 100000, j);
      auto lower = b[0].get<int64_t>(), upper = b[1].get<int64_t>();
      if (upper < lower - 1) invalid("a bound's upper is below its lower: " + j.dump());
      counts.push_back(static_cast<size_t>(upper - lower + 1));
    }
    size_t total = counts[0] * (counts.size() == 2 ? counts[1] : 1);
    elements_ += total;
    if (elements_ > kMaxArrayElements) invalid("arrays too large");
    const Json& rows = config["rows"];
    if (!rows.is_array() || rows.size() != counts[0])
      invalid("the rows of an $array do not match its bounds: " + j.dump());
    if (counts.size() == 2)
      for (const auto& row : rows)
        if (!row.is_array() || row.size() != counts[1])
          invalid("a row of an $array does not match its bounds: " + j.dump());
  }

  size_t elements_ = 0;
};

// ---- The shape of the steps -------------------------------------------------------------

enum class Op { Create, Set, Call, Get, Advise, Release };

struct OpInfo {
  Op op;
  const char* key;
  std::initializer_list<std::string_view> keys;  // the other keys it takes
};

const OpInfo kOps[] = {
    {Op::Create, "create", {"as"}},
    {Op::Set, "set", {"values"}},
    {Op::Call, "call", {"method", "args"}},
    {Op::Get, "get", {"properties"}},
    {Op::Advise, "advise", {"sink", "handlers"}},
    {Op::Release, "release", {}},
};

const OpInfo& opOf(const Json& step) {
  const OpInfo* found = nullptr;
  for (const auto& info : kOps) {
    if (!step.contains(info.key)) continue;
    if (found) invalid(std::string("has both \"") + found->key + "\" and \"" + info.key + "\"");
    found = &info;
  }
  if (!found) invalid("names no operation (create, set, call, get, advise or release)");
  return *found;
}

/// Checks the document's steps before any of them runs, so that a scenario
/// of the wrong shape produces no output at all. Names of objects are
/// checked as far as the document tells them: a stand-in, an `as` or a
/// `sink` must define a name before a step uses it; names with a '#' are
/// made while the scenario runs (launchers, utility objects) and are looked
/// up then.
class Validator {
 public:
  explicit Validator(const ObjectFactory& factory) : factory_(factory) {}

  void objects(const Json& objects) {
    if (!objects.is_object()) invalid("objects is an object of stand-ins");
    for (const auto& [name, config] : objects.items()) define(name, "objects");
  }

  void steps(const Json& steps, TagCheck& tags) {
    if (!steps.is_array()) invalid("steps is a list");
    for (size_t i = 0; i < steps.size(); ++i) {
      try {
        tags.walk(steps[i]);
        step(steps[i]);
      } catch (const ScenarioError& e) {
        invalid("step " + std::to_string(i) + ": " + e.what());
      }
    }
  }

  /// The object names that callbacks use may be defined anywhere.
  void launchers(const Json& launchers) {
    if (!launchers.is_object()) return;
    for (const auto& [progId, config] : launchers.items()) {
      if (!config.is_object() || !config.contains("on") || !config["on"].is_object()) continue;
      for (const auto& [method, calls] : config["on"].items()) {
        if (!calls.is_array()) continue;
        for (const auto& call : calls)
          if (call.is_object() && call.contains("args") && call["args"].is_array())
            for (const auto& a : call["args"]) value(a, true);
      }
    }
  }

 private:
  static std::string text(const Json& step, const char* key) {
    if (!step.contains(key) || !step[key].is_string() ||
        step[key].get_ref<const std::string&>().empty())
      invalid(std::string(key) + " is a non-empty text");
    return step[key].get<std::string>();
  }

  void define(const std::string& name, const std::string& where) {
    if (name.empty() || name.find('#') != std::string::npos)
      invalid(where + ": " + inQuotes(name) + " is not a name (non-empty, without '#')");
    known_.insert(name);
  }

  void use(const std::string& name) {
    if (name.find('#') == std::string::npos && !known_.count(name))
      invalid("no object is named " + inQuotes(name));
  }

  /// A value in the scenario encoding (the tags themselves are checked by
  /// TagCheck); object names must be known when `names` is set.
  void value(const Json& v, bool names, bool missing = true) {
    if (v.is_array()) invalid("a list is not a value (a 2-D array is an $array): " + v.dump());
    if (!v.is_object()) return;
    if (v.size() != 1) invalid("a tagged value has exactly one key: " + v.dump());
    const std::string& key = v.begin().key();
    const Json& inner = v.begin().value();
    static const std::set<std::string> tags = {"$integer", "$long",    "$double", "$date",
                                               "$empty",   "$missing", "$object", "$array"};
    if (!tags.count(key)) invalid("unknown tagged value: " + v.dump());
    if (key == "$missing" && !missing) invalid("$missing is for arguments only");
    if (key == "$object" && inner.is_string() && names) use(inner.get<std::string>());
    if (key == "$array") {
      bool twoDimensions = inner["bounds"].size() == 2;  // rows of rows
      for (const auto& row : inner["rows"]) {
        if (twoDimensions)
          for (const auto& element : row) value(element, names);
        else
          value(row, names);
      }
    }
  }

  void step(const Json& step) {
    if (!step.is_object()) invalid("a step is an object");
    const OpInfo& info = opOf(step);
    for (const auto& [key, v] : step.items()) {
      bool known = key == info.key || key == "expect" || isNote(key);
      for (auto k : info.keys) known = known || key == k;
      if (!known) invalid("unknown key " + inQuotes(key) + " in a " + info.key + " step");
    }
    std::string target = text(step, info.key);
    switch (info.op) {
      case Op::Create:
        if (step.contains("as")) {
          std::string as = text(step, "as");
          define(as, "as");
          progIds_[as] = target;
        }
        break;
      case Op::Set: {
        use(target);
        if (!step.contains("values") || !step["values"].is_object())
          invalid("values is an object of property names");
        for (const auto& [name, v] : step["values"].items()) value(v, true, false);
        break;
      }
      case Op::Call:
        use(target);
        text(step, "method");
        if (step.contains("args")) {
          if (!step["args"].is_array()) invalid("args is a list");
          for (const auto& a : step["args"]) value(a, true);
        }
        break;
      case Op::Get:
        use(target);
        if (step.contains("properties")) {
          if (!step["properties"].is_array()) invalid("properties is a list of names");
          for (const auto& p : step["properties"])
            if (!p.is_string()) invalid("properties is a list of names");
        }
        break;
      case Op::Advise:
        advise(step, target);
        break;
      case Op::Release:
        use(target);
        break;
    }
    if (step.contains("expect")) expect(step["expect"], info.op);
  }

  void advise(const Json& step, const std::string& target) {
    use(target);
    std::string sink = text(step, "sink");
    Json handlers = step.contains("handlers") ? step["handlers"] : Json::object();
    if (!handlers.is_object()) invalid("handlers is an object of event names");
    for (const auto& [event, values] : handlers.items()) {
      if (!values.is_object()) invalid("the handler of " + event + " is an object");
      for (const auto& [param, v] : values.items()) value(v, true, false);
    }
    // When the document says what class the source is, its events are known now.
    if (auto it = progIds_.find(target); it != progIds_.end()) {
      for (const auto& entry : factory_.entries()) {
        if (!entry.info || !sameName(entry.progId, it->second)) continue;
        standins::Log scratch;
        standins::makeSink(sink, handlers, entry.info, scratch);
      }
    }
    define(sink, "sink");
  }

  void expect(const Json& expect, Op op) {
    if (!expect.is_object()) invalid("expect is an object");
    for (const auto& [key, v] : expect.items()) {
      if (key == "error") {
        if (v.is_null()) continue;
        if (!v.is_object()) invalid("an expected error is null or an object");
        for (const auto& [field, f] : v.items()) {
          if (field == "number"                               ? !f.is_number_integer()
              : (field == "source" || field == "description") ? !f.is_string()
                                                              : true)
            invalid("an expected error has number, source and description: " + v.dump());
        }
        continue;
      }
      if (key == "$log") {
        if (!v.is_array()) invalid("$log is a list of log entries");
        for (const auto& e : v)
          if (!e.is_object()) invalid("$log is a list of log entries");
        continue;
      }
      if (key == "return" && op != Op::Call) invalid("only a call step expects a return");
      if (op == Op::Release) invalid("a release step expects nothing but an error");
      value(v, false);
    }
  }

  const ObjectFactory& factory_;
  std::set<std::string> known_;
  std::map<std::string, std::string> progIds_;  // `as` name -> ProgID
};

/// Checks the document as a whole.
void validate(const Json& doc, const ObjectFactory& factory) {
  if (!doc.is_object()) invalid("a scenario is a JSON object");
  static const std::set<std::string> keys = {"objects", "utility", "launchers", "steps"};
  for (const auto& [key, v] : doc.items())
    if (!keys.count(key) && !isNote(key))
      invalid("unknown key " + inQuotes(key) + " in the scenario");
  if (!doc.contains("steps")) invalid("a scenario needs steps");
  TagCheck tags;
  for (const char* key : {"objects", "utility", "launchers"})
    if (doc.contains(key)) tags.walk(doc[key]);
  Validator validator(factory);
  if (doc.contains("objects")) validator.objects(doc["objects"]);
  validator.steps(doc["steps"], tags);
  if (doc.contains("launchers")) validator.launchers(doc["launchers"]);
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
