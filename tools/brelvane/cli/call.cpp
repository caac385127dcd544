// `brelvane call`: one call on the demo host, printed for a reader.
#include <algorithm>
#include <optional>
#include <ostream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "brelvane/brelvane.h"
#include "cli/arguments.h"
#include "cli/call_print.h"
#include "cli/commands.h"
#include "cli/help.h"
#include "cli/names.h"
#include "cli/parser.h"
#include "demo_connection.h"
#include "demo_host.h"
#ifdef BRELVANE_HAVE_ODBC
#include "brelvane/odbc/odbc.h"
#endif
#include "standins/standins.h"

namespace brelvane::cli {

namespace {

using standins::Json;

/// A reason to stop with a one-line message and an exit status.
struct Stop {
  int status;
  std::string message;
};

struct CallOptions {
  bool json = false;
  std::string connect;    // an ODBC connection string or DSN; "" for the demo connection
  bool run = false;       // run the composed Str_Sql on that connection
  bool harden = false;    // the factory composes in its hardened mode
  int limit = 50;         // at most this many rows of it
  std::string catalogue;  // a file, or "" for the built-in one
  DemoCompany company;
  std::vector<std::pair<std::string, std::string>> sets;  // property, value text
  std::vector<std::string> positional;                    // PROGID METHOD ARG...
};

/// The options and operands of `call`; `help` tells whether --help came.
CallOptions readOptions(std::span<const std::string_view> args, bool& help) {
  CallOptions o;
  CommandParser parser;
  std::string company, language, mode;
  std::vector<std::string> sets;
  auto& app = parser.app;
  app.add_flag("--json", o.json);
  auto* companyOption = app.add_option("--company", company);
  auto* languageOption = app.add_option("--language", language);
  auto* modeOption = app.add_option("--mode", mode);
  app.add_option("--catalog", o.catalogue);
  app.add_option("--set", sets)->allow_extra_args(false);  // one PROPERTY=VALUE each time
  app.add_option("--connect", o.connect);
  app.add_flag("--run", o.run);
  app.add_flag("--harden", o.harden);
  app.add_option("--limit", o.limit);
  try {
    parser.parse(args);
  } catch (const std::invalid_argument& e) {
    throw Stop{kBadInput, std::string(e.what()) + "; see brelvane call --help"};
  }
  help = parser.help;
  auto value = [](std::string_view option, const std::string& text) {
    try {
      return parseValue(text);
    } catch (const std::invalid_argument& e) {
      throw Stop{kBadInput, std::string(option).append(": ").append(e.what())};
    }
  };
  if (companyOption->count()) o.company.code = value("--company", company);
  if (languageOption->count()) o.company.languageCode = value("--language", language);
  if (modeOption->count()) o.company.companyMode = value("--mode", mode);
  for (const auto& set : sets) {
    auto eq = set.find('=');
    if (eq == std::string::npos || eq == 0) throw Stop{kBadInput, "--set takes PROPERTY=VALUE"};
    o.sets.emplace_back(set.substr(0, eq), set.substr(eq + 1));
  }
  if (o.run && o.connect.empty()) throw Stop{kBadInput, "--run needs --connect"};
  if (o.limit < 0) throw Stop{kBadInput, "--limit takes a count of rows, 0 or more"};
  o.positional = std::move(parser.operands);
  return o;
}

Catalogue loadCatalogue(const std::string& file) {
  std::string text;
  try {
    text = file.empty() ? std::string(builtinCatalogue()) : readFile(file);
  } catch (const std::runtime_error& e) {
    throw Stop{kBadInput, e.what()};
  }
  try {
    return readCatalogue(text);
  } catch (const std::runtime_error& e) {
    throw Stop{kBadInput,
               "catalogue " + (file.empty() ? std::string("(built-in)") : file) + ": " + e.what()};
  }
}

std::string errorText(const AutomationError& e) {
  return "error " + std::to_string(e.number) + " (" + e.source + "): " + e.description;
}

/// Errors that the automation layer raises about the arguments of a call.
bool isArgumentError(const AutomationError& e) {
  return e.source == "Brelvane" &&
         (e.number == err::kTypeMismatch || e.number == err::kOverflow ||
          e.number == err::kInvalidNull || e.number == err::kArgumentNotOptional ||
          e.number == err::kWrongArgumentCount || e.number == err::kUnknownMember);
}

/// A real database connection from --connect.
std::shared_ptr<Connection> connect(const std::string& text) {
#ifdef BRELVANE_HAVE_ODBC
  try {
    return odbc::connect(text, {.loginTimeoutSeconds = 15});
  } catch (const AutomationError& e) {
    throw Stop{1, "--connect: " + errorText(e)};
  }
#else
  (void)text;
  throw Stop{kBadInput, "--connect: this brelvane was built without the ODBC adapter"};
#endif
}

/// The world of one call: the factory, the demo host and connection, and
/// the log that the launchers and the connection write to.
class CallWorld {
 public:
  explicit CallWorld(const CallOptions& o) {
    registerBrelvane(factory_);
    factory_.setHardened(o.harden);
    standins::installLaunchers(factory_, Json(), log_);
    host_ = makeDemoHost(loadCatalogue(o.catalogue), o.company);
    log_.names.add(host_, "host");
    connection_ = o.connect.empty() ? makeDemoConnection(log_, "connection") : connect(o.connect);
  }

  /// The class of a ProgID as typed (case and accents aside); raises Stop
  /// for an unknown one, with a suggestion for a near miss.
  const ClassInfo& classOf(std::string_view progId) const {
    std::vector<std::string> progIds;
    for (const auto& entry : factory_.entries())
      if (entry.info) progIds.push_back(entry.progId);
    if (auto found = matchName(progId, progIds))
      for (const auto& entry : factory_.entries())
        if (entry.info && entry.progId == *found) return *entry.info;
    throw Stop{kBadInput, "unknown ProgID " + excerpt(progId, 80) + didYouMean(progId, progIds) +
                              "; brelvane list shows the classes"};
  }

  Variant value(std::string_view text) {
    return parseValue(text, [this](std::string_view name) -> std::shared_ptr<Dispatch> {
      if (name == "host") return host_;
      if (name == "connection") return connection_;
      if (name == "control") {
        auto control = standins::makeControl();
        log_.names.add(control, log_.names.next("control"));
        controls_.push_back(control);
        return control;
      }
      return nullptr;
    });
  }

  // Declared first: the objects below log into it when they go.
  standins::Log log_;
  ObjectFactory factory_;
  std::shared_ptr<HostInterface> host_;
  std::shared_ptr<Connection> connection_;
  std::vector<std::shared_ptr<Dispatch>> controls_;
};

const MethodInfo* findMethod(const ClassInfo& info, std::string_view typed) {
  std::vector<std::string> names;
  for (const auto& m : info.methods) names.push_back(m.name);
  auto found = matchName(typed, names);
  if (!found)
    throw Stop{kBadInput, info.progId + " has no method " + excerpt(typed, 80) +
                              didYouMean(typed, names) + "; brelvane list " + info.progId +
                              " shows its members"};
  return info.findMethod(*found);
}

/// Stops, naming the member, the parameter, its declared type and the value
/// as typed, at the first argument its parameter cannot take.
void checkArgumentTypes(const MethodInfo& method, const std::vector<Variant>& values,
                        const std::vector<std::string>& typed) {
  for (size_t i = 0; i < values.size() && i < method.params.size(); ++i) {
    const ParamInfo& p = method.params[i];
    if (values[i].isMissing()) continue;
    try {
      checkConvertible(p.type, values[i]);
    } catch (const AutomationError&) {
      throw Stop{kBadInput, method.name + ": " + p.name + " (" + p.typeName + ") cannot take \"" +
                                excerpt(typed[i + 2], 80) + "\""};
    }
  }
}

/// The error a lookup or decoder swallowed while the call ran.
class SwallowedErrors {
 public:
  SwallowedErrors()
      : previous_(setDiagnosticsHook([this](const SwallowedError& e) { last_ = e; })) {}
  ~SwallowedErrors() { setDiagnosticsHook(std::move(previous_)); }
  SwallowedErrors(const SwallowedErrors&) = delete;
  SwallowedErrors& operator=(const SwallowedErrors&) = delete;

  const std::optional<SwallowedError>& last() const { return last_; }

 private:
  std::optional<SwallowedError> last_;
  DiagnosticsHook previous_;
};

/// The arguments as typed after PROGID METHOD, converted and checked
/// against the method's parameters.
std::vector<Variant> readArguments(CallWorld& world, const MethodInfo& method,
                                   const std::vector<std::string>& typed) {
  std::vector<Variant> values;
  for (size_t i = 2; i < typed.size(); ++i) {
    try {
      values.push_back(world.value(typed[i]));
    } catch (const std::invalid_argument& e) {
      throw Stop{kBadInput, "argument " + std::to_string(i - 1) + ": " + e.what()};
    }
  }
  checkArgumentTypes(method, values, typed);
  if (values.size() > method.params.size())
    throw Stop{kBadInput, method.name + " takes " + std::to_string(method.params.size()) +
                              " argument(s), not " + std::to_string(values.size())};
  for (size_t i = 0; i < method.params.size(); ++i)
    if (!method.params[i].optional && (i >= values.size() || values[i].isMissing()))
      throw Stop{kBadInput, method.name + " needs its argument " + method.params[i].name};
  return values;
}

/// The instance, handed the demo host and connection, its `--set`
/// properties set.
std::shared_ptr<Dispatch> prepareObject(CallWorld& world, const ClassInfo& info,
                                        const CallOptions& o) {
  std::shared_ptr<Dispatch> object;
  try {
    object = world.factory_.create(info.progId);
  } catch (const AutomationError& e) {
    throw Stop{1, "creating " + info.progId + ": " + errorText(e)};
  }
  world.log_.names.add(object, info.progId);
  try {
    for (const char* context : {"ActiveInterface", "Connessione"}) {
      const auto* p = info.findProperty(context);
      if (!p || !p->canPutRef) continue;
      Variant v(std::string_view(context) == "ActiveInterface"
                    ? std::shared_ptr<Dispatch>(world.host_)
                    : std::shared_ptr<Dispatch>(world.connection_));
      object->putRef(p->name, v);
    }
  } catch (const AutomationError& e) {
    throw Stop{1, "handing over the demo host: " + errorText(e)};
  }
  for (const auto& [property, text] : o.sets) {
    const auto* p = info.findProperty(property);
    if (!p || !(p->canPut || p->canPutRef))
      throw Stop{kBadInput, info.progId + " has no property " + property + " to set"};
    try {
      Variant v = world.value(text);
      if (v.isObject())
        object->putRef(p->name, v);
      else
        object->put(p->name, v);
    } catch (const std::invalid_argument& e) {
      throw Stop{kBadInput, "--set " + property + ": " + e.what()};
    } catch (const AutomationError& e) {
      throw Stop{kBadInput, "--set " + property + ": " + errorText(e)};
    }
  }
  return object;
}

/// The readable text and array properties after the call; a property that
/// cannot be read is not shown.
void readProperties(Dispatch& object, Outcome& outcome) {
  for (const auto& p : outcome.info->properties) {
    if (!p.canGet) continue;
    try {
      Variant v = object.get(p.name);
      if (v.isString() || v.isArray()) outcome.properties.emplace_back(p.name, std::move(v));
    } catch (const AutomationError&) {
    }
  }
}

int call(std::span<const std::string_view> args, std::ostream& out, std::ostream& err) {
  bool help = false;
  CallOptions o = readOptions(args, help);
  if (help) {
    out << kCallHelp;
    return 0;
  }
  if (o.positional.size() < 2)
    throw Stop{kBadInput, "expects PROGID METHOD [ARG...]; see brelvane call --help"};

  CallWorld world(o);
  const ClassInfo* info = &world.classOf(o.positional[0]);
  const MethodInfo* method = findMethod(*info, o.positional[1]);
  std::vector<Variant> values = readArguments(world, *method, o.positional);
  std::shared_ptr<Dispatch> object = prepareObject(world, *info, o);

  Outcome outcome{info, method, {}, values, {}};
  SwallowedErrors swallowed;
  try {
    outcome.result = object->invoke(method->name, outcome.args);
  } catch (const AutomationError& e) {
    throw Stop{isArgumentError(e) ? kBadInput : 1, method->name + " raised " + errorText(e)};
  }
  readProperties(*object, outcome);
  // A lookup or decoder never raises: an empty Str_Sql is how it fails.
  int status = 0;
  if (hasReadable(*info, "Str_Sql") && toText(object->get("Str_Sql")).empty()) {
    status = 1;
    const auto& e = swallowed.last();
    err << "brelvane call: " << method->name << " left Str_Sql empty: "
        << (!e          ? std::string("it reported no error")
            : e->number ? errorText(AutomationError(e->number, e->source, e->description))
                        : e->description)
        << '\n';
  }
  std::optional<Grid> grid;
  if (o.run && status == 0) {
    try {
      grid = runComposed(*world.connection_, toText(object->get("Str_Sql")),
                         object->get("Arr_Fields"), o.limit);
    } catch (const AutomationError& e) {
      err << "brelvane call: running the composed text: " << errorText(e) << '\n';
      status = 1;
    }
  }
  if (o.json) {
    printJson(out, outcome, world.log_, grid);
    return status;
  }
  bool lookup = hasReadable(*info, "Str_Sql") && hasReadable(*info, "Arr_Fields") &&
                hasReadable(*info, "Str_Caption") && hasReadable(*info, "IDLookup");
  if (lookup)
    printLookup(out, outcome);
  else
    printGeneric(out, outcome, world.log_.names);
  printLog(out, world.log_.entries());
  if (grid) printGrid(out, *grid);
  return status;
}

}  // namespace

int callCommand(std::span<const std::string_view> args, std::ostream& out, std::ostream& err) {
  try {
    return call(args, out, err);
  } catch (const Stop& stop) {
    err << "brelvane call: " << stop.message << '\n';
    return stop.status;
  } catch (const AutomationError& e) {
    err << "brelvane call: " << errorText(e) << '\n';
    return 1;
  } catch (const std::exception& e) {
    err << "brelvane call: " << excerpt(e.what(), 200) << '\n';
    return kBadInput;
  }
}

}  // namespace brelvane::cli
