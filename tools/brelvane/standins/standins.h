#pragma once
// Scripted stand-ins for everything the component talks to: the host
// framework, its utility object, the database connection and opaque
// controls. Each is configured from the JSON of a scenario and records every
// operation that reaches it in a shared Log, in the scenario log format.

#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "brelvane/automation/factory.h"
#include "brelvane/host/ado.h"
#include "brelvane/host/host.h"
#include "brelvane/host/utility.h"

namespace brelvane::standins {

using Json = nlohmann::ordered_json;

/// A scenario (or stand-in configuration) of the wrong shape.
class ScenarioError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Names of the objects of a scenario, both ways. Holds no strong reference.
class Names {
 public:
  void add(const std::shared_ptr<Dispatch>& object, std::string name);
  /// The name of a live object, or "" when it has none.
  std::string nameOf(const Dispatch* object) const;
  /// The live object of that name, or null.
  std::shared_ptr<Dispatch> find(std::string_view name) const;
  /// A fresh "PREFIX#n" name, n counting from 1 per prefix.
  std::string next(const std::string& prefix);

 private:
  struct Entry {
    std::weak_ptr<Dispatch> object;
    const Dispatch* address;
    std::string name;
  };
  std::vector<Entry> entries_;
  std::map<std::string, int> counters_;
};

/// Variants as JSON, in the scenario value encoding.
Json toJson(const Variant& value, const Names& names);
/// Reads the value encoding; raises ScenarioError on a malformed value or an
/// unknown object name.
Variant fromJson(const Json& value, const Names& names);

/// The ordered record of everything that reached a stand-in.
class Log {
 public:
  int step = 0;  ///< the scenario step being run, stamped on each entry
  Names names;

  /// Appends {"step", "object", "op", fields..., "failed": true when failed}.
  void add(const std::string& object, const std::string& op, const Json& fields = Json::object(),
           bool failed = false);
  Json value(const Variant& v) const { return toJson(v, names); }
  const Json& entries() const { return entries_; }
  void clear() { entries_ = Json::array(); }

 private:
  Json entries_ = Json::array();
};

/// Operations made to fail: "OP", or "OP:DETAIL" to fail only when the
/// detail matches (exactly, or as a substring where the stand-in says so).
class FailList {
 public:
  FailList() = default;
  explicit FailList(const Json& list);
  bool fails(std::string_view op, std::string_view detail = {}, bool substring = false) const;

 private:
  std::vector<std::pair<std::string, std::string>> rules_;  // op, detail ("" = always)
};

/// The error a failing stand-in raises: number 5, its name, "OP failed".
AutomationError failure(const std::string& object, std::string_view op);

/// The host framework stand-in: {"kind": "host", "company": {...},
/// "messages": {...}, "installationSetting": v, "fail": [...]}.
std::shared_ptr<HostInterface> makeHost(const Json& config, const std::string& name, Log& log);

/// The database connection stand-in: {"kind": "connection", "results": [...],
/// "procedures": {...}, "fail": [...]}.
std::shared_ptr<Connection> makeConnection(const Json& config, const std::string& name, Log& log);

/// An opaque object ({"kind": "control"}): only its identity matters.
std::shared_ptr<Dispatch> makeControl();

/// Builds a stand-in by its "kind" and names it in the log.
std::shared_ptr<Dispatch> makeStandin(const Json& config, const std::string& name, Log& log);

/// Registers the scripted utility object ({"fail": [...]}) as the host
/// library's utility: each instance is named utility#1, utility#2, ... in
/// order of creation and logs Create, then each operation with its args.
void installUtility(ObjectFactory& factory, const Json& config, Log& log);

/// The sibling launcher ProgIDs; both are always creatable in a scenario.
inline constexpr std::string_view kLauncherProgIds[] = {"Tormesk.CLSCI_CONNECT",
                                                        "Quillane.CLSCI_CONNECT"};

/// Registers the recording launcher stand-ins under both launcher ProgIDs,
/// configured by a scenario's "launchers" object: {PROGID: {"fail": [...],
/// "on": {METHOD: [{"call": NAME, "args": [...]}, ...]}, "sets": {METHOD:
/// [V, ...]}}}; "sets" leaves those values in the first arguments of METHOD
/// before it returns, as a method taking them by reference would. Each
/// launcher is named PROGID#n in order of creation, accepts every member by
/// name and logs Create, Put, PutRef, Call, Callback and Release. Callbacks
/// nest at most 16 deep (a callback that launches its own program again,
/// say): a deeper one raises error 28, "Out of stack space", from the
/// launcher. Raises ScenarioError on a malformed configuration.
void installLaunchers(ObjectFactory& factory, const Json& config, Log& log);

/// The properties assigned to a launcher stand-in, in order of first
/// assignment; empty for any other object.
std::vector<std::string> recordedProperties(const Dispatch& object);

/// An event sink named `name`: logs each event as it receives it, then sets
/// the by-reference arguments its handlers name ({EVENT: {PARAM: value}}),
/// finding each parameter by name in the events of `source`. Raises
/// ScenarioError when a handler names an event or parameter that `source`
/// does not have.
std::shared_ptr<Dispatch> makeSink(const std::string& name, const Json& handlers,
                                   const ClassInfo* source, Log& log);

}  // namespace brelvane::standins
