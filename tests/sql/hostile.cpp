// Hostile values against every value that reaches the SQL of the lookup and
// decoder classes, both modes. The members come from the registry; each one
// is called on the fault sweep's healthy stand-ins with plausible arguments.
// A position is a String or Variant argument, a String or Variant property,
// or a value that the host hands back (company Code, LanguageCode); it is
// kept when a marker put there turns up in the SQL (a date marker as its
// literal, for a value taken as a date only). TipoLookupPdC and Segno are
// typed Long and cannot carry a text. Each kept position is then called once
// per hostile value, every other value benign, and twice with benign values
// as the references of tests/sql/hostile.mjs.
// Prints {"hostile": [TEXT...]}, then one JSON object a line:
//   {"class", "member", "position", "kind": "text" | "bare" | "date", "mode": "off" | "on",
//    "value": N (index into that list) or "7" / "Abc" (a reference),
//    "sql": [TEXT...], "failed": bool, "raised": null | ERROR, "why": TEXT}
// "sql" holds the texts run on the connection during the call, then Str_Sql
// when it is not empty; "failed" means Str_Sql came back empty.
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

#include "brelvane/brelvane.h"
#include "cli/scenario.h"
#include "standins/standins.h"
#include "support/sweep_world.h"

namespace {

using brelvane::standins::Json;
using namespace brelvane;

std::vector<std::string> hostileValues() {
  std::vector<std::string> v = {"x' OR '1'='1",
                                "'",
                                "''",
                                "a'--",
                                "O'Brien",
                                "; DROP TABLE X --",
                                "/*",
                                "--",
                                "x\u02BC OR \u02BC1\u02BC=\u02BC1",
                                "<LINGUA>",
                                "0 OR 1=1",
                                "1) OR (1=1",
                                "",
                                ""};
  while (v.back().size() < 10000) v.back().append("abcdefghij");
  return v;
}

enum class Where { Argument, Property, Host };
struct Position {
  Where where;
  std::string name;
  size_t index = 0;  // of the argument
};

struct Outcome {
  std::vector<std::string> sql;
  bool failed = false;
  Json raised;
  std::string why;  // what the diagnostics hook was told last
};

Outcome call(const ClassInfo& cls, const MethodInfo& m, const Position& at, const Json& value,
             bool harden) {
  Json doc = sweep::world();
  doc["harden"] = harden;
  if (at.where == Where::Host) doc["objects"]["host"]["company"][at.name] = value;
  Json args = Json::array();
  for (const auto& p : m.params) args.push_back(sweep::plausible(p));
  if (at.where == Where::Argument) args[at.index] = value;
  Json values = {{"ActiveInterface", {{"$object", "host"}}}};
  if (cls.findProperty("Segno")) values["Segno"] = 1;  // lets the decoder's Causale through
  if (cls.findProperty("Connessione")) values["Connessione"] = {{"$object", "db"}};
  if (cls.findProperty("ConnectField")) values["ConnectField"] = {{"$object", "edit"}};
  auto& steps = doc["steps"];
  steps.push_back({{"create", cls.progId}, {"as", "it"}});
  steps.push_back({{"set", "it"}, {"values", values}});
  if (at.where == Where::Property) steps.push_back({{"set", "it"}, {"values", {{at.name, value}}}});
  const size_t callStep = steps.size();
  steps.push_back({{"call", "it"}, {"method", m.name}, {"args", args}});
  steps.push_back({{"get", "it"}, {"properties", {"Str_Sql"}}});

  Outcome o;
  auto previous = setDiagnosticsHook([&o](const SwallowedError& e) { o.why = e.description; });
  std::ostringstream out, err;
  int status = cli::runScenario(doc.dump(), out, err);
  setDiagnosticsHook(std::move(previous));
  if (status == cli::kScenarioInvalid) {
    o.raised = {{"scenario", err.str()}};
    return o;
  }
  Json result = Json::parse(out.str());
  for (const auto& e : result["log"])
    if (e["step"] == callStep && e["op"] == "Execute" && e.contains("sql"))
      o.sql.push_back(e["sql"]);
  o.raised = result["steps"][callStep]["error"];
  const Json& sql = result["steps"][callStep + 1]["values"]["Str_Sql"];
  if (sql.is_string() && !sql.get<std::string>().empty())
    o.sql.push_back(sql);
  else
    o.failed = true;
  return o;
}

bool contains(const Outcome& o, const std::string& marker) {
  for (const auto& s : o.sql)
    if (s.find(marker) != std::string::npos) return true;
  return false;
}

/// Whether every occurrence of `marker` stands inside a quoted literal.
bool quotedOnly(const Outcome& o, const std::string& marker) {
  for (const auto& s : o.sql) {
    bool quoted = false;
    for (size_t i = 0; i < s.size(); ++i) {
      if (s[i] == '\'') quoted = !quoted;
      if (!quoted && s.compare(i, marker.size(), marker) == 0) return false;
    }
  }
  return true;
}

/// The positions of a member that can carry a text.
std::vector<Position> positionsOf(const ClassInfo& cls, const MethodInfo& m) {
  std::vector<Position> at;
  auto text = [](ParamType t) { return t == ParamType::String || t == ParamType::Variant; };
  for (size_t i = 0; i < m.params.size(); ++i)
    if (text(m.params[i].type) && !m.params[i].byRef)
      at.push_back({Where::Argument, m.params[i].name, i});
  for (const char* p : {"Causale", "DataValiditaConti", "TipoLookupPdC", "Segno"})
    if (const auto* info = cls.findProperty(p); info && text(info->type))
      at.push_back({Where::Property, p});
  at.push_back({Where::Host, "Code"});
  at.push_back({Where::Host, "LanguageCode"});
  return at;
}

}  // namespace

int main() {
  ObjectFactory factory;
  registerBrelvane(factory);
  const std::vector<std::string> hostile = hostileValues();
  const std::string marker = "9731";
  std::cout << Json{{"hostile", hostile}}.dump() << '\n';
  for (const auto& entry : factory.entries()) {
    if (!entry.info ||
        (entry.progId != "Brelvane.CLSCI_LOOKUP" && entry.progId != "Brelvane.CLSCI_DECODE"))
      continue;
    const ClassInfo& cls = *entry.info;
    for (const MethodInfo& m : cls.methods) {
      for (const Position& at : positionsOf(cls, m)) {
        if (contains(call(cls, m, at, "7", false), marker)) continue;
        const Outcome probe = call(cls, m, at, marker, false);
        const char* kind = quotedOnly(probe, marker) ? "text" : "bare";
        // A value that reaches the SQL only as a date shows as its literal.
        if (!contains(probe, marker)) {
          if (!contains(call(cls, m, at, "1997-03-31", false), "19970331")) continue;
          kind = "date";
        }
        std::string position = at.where == Where::Host ? "host." + at.name : at.name;
        auto emit = [&](bool harden, const Json& value, const Outcome& o) {
          std::cout << Json{{"class", cls.progId},
                            {"member", m.name},
                            {"position", position},
                            {"kind", kind},
                            {"mode", harden ? "on" : "off"},
                            {"value", value},
                            {"sql", o.sql},
                            {"failed", o.failed},
                            {"raised", o.raised},
                            {"why", o.why}}
                           .dump()
                    << '\n';
        };
        for (bool harden : {false, true}) {
          for (const char* benign : {"7", "Abc"})
            emit(harden, benign, call(cls, m, at, benign, harden));
          for (size_t v = 0; v < hostile.size(); ++v)
            emit(harden, v, call(cls, m, at, hostile[v], harden));
        }
      }
    }
  }
  return 0;
}
