#include "cli/scenario_check.h"

#include <cmath>
#include <limits>
#include <set>

namespace brelvane::cli {

namespace {

using standins::Json;
using standins::ScenarioError;

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

const OpInfo kOps[] = {
    {Op::Create, "create", {"as"}},
    {Op::Set, "set", {"values"}},
    {Op::Call, "call", {"method", "args"}},
    {Op::Get, "get", {"properties"}},
    {Op::Advise, "advise", {"sink", "handlers"}},
    {Op::Release, "release", {}},
};

}  // namespace

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

namespace {

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

}  // namespace

/// Checks the document as a whole.
void validate(const Json& doc, const ObjectFactory& factory) {
  if (!doc.is_object()) invalid("a scenario is a JSON object");
  static const std::set<std::string> keys = {"objects", "utility", "launchers", "steps", "harden"};
  for (const auto& [key, v] : doc.items())
    if (!keys.count(key) && !isNote(key))
      invalid("unknown key " + inQuotes(key) + " in the scenario");
  if (doc.contains("harden") && !doc["harden"].is_boolean())
    invalid("harden is true or false, not " + doc["harden"].dump());
  if (!doc.contains("steps")) invalid("a scenario needs steps");
  TagCheck tags;
  for (const char* key : {"objects", "utility", "launchers"})
    if (doc.contains(key)) tags.walk(doc[key]);
  Validator validator(factory);
  if (doc.contains("objects")) validator.objects(doc["objects"]);
  validator.steps(doc["steps"], tags);
  if (doc.contains("launchers")) validator.launchers(doc["launchers"]);
}

}  // namespace brelvane::cli
