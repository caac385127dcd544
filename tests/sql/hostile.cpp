// Hostile values in every position that reaches the SQL of the lookup and
// decoder classes, both modes, each member called on the fault sweep's
// healthy stand-ins with plausible arguments. A position (a String or
// Variant argument or property, or the host's company Code or LanguageCode)
// is kept when a marker put there turns up in the SQL, or for a date, its
// literal. Each kept position is called once per hostile value and with the
// benign references "7" and "Abc" (tests/sql/hostile.mjs judges them).
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

/// {"sql", "failed", "raised", "why"} of a call; "why": what the diagnostics hook was told last.
Json call(const ClassInfo& cls, const MethodInfo& m, const Position& at, const Json& value,
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

  Json o = {{"sql", Json::array()}, {"failed", false}, {"raised", nullptr}, {"why", ""}};
  auto previous = setDiagnosticsHook([&o](const SwallowedError& e) { o["why"] = e.description; });
  std::ostringstream out, err;
  int status = cli::runScenario(doc.dump(), out, err);
  setDiagnosticsHook(std::move(previous));
  if (status == cli::kScenarioInvalid) {
    o["raised"] = {{"scenario", err.str()}};
    return o;
  }
  Json result = Json::parse(out.str());
  for (const auto& e : result["log"])
    if (e["step"] == callStep && e["op"] == "Execute" && e.contains("sql"))
      o["sql"].push_back(e["sql"]);
  o["raised"] = result["steps"][callStep]["error"];
  const Json& sql = result["steps"][callStep + 1]["values"]["Str_Sql"];
  if (sql.is_string() && sql != "")
    o["sql"].push_back(sql);
  else
    o["failed"] = true;
  return o;
}

bool contains(const Json& o, const std::string& marker) {
  for (const auto& s : o["sql"])
    if (s.get<std::string>().find(marker) != std::string::npos) return true;
  return false;
}

/// Whether every occurrence of `marker` stands inside a quoted literal.
bool quotedOnly(const Json& o, const std::string& marker) {
  for (const std::string s : o["sql"]) {
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
        const Json probe = call(cls, m, at, marker, false);
        const char* kind = quotedOnly(probe, marker) ? "text" : "bare";
        // A value that reaches the SQL only as a date shows as its literal.
        if (!contains(probe, marker)) {
          if (!contains(call(cls, m, at, "1997-03-31", false), "19970331")) continue;
          kind = "date";
        }
        Json line = {{"class", cls.progId},
                     {"member", m.name},
                     {"position", at.where == Where::Host ? "host." + at.name : at.name},
                     {"kind", kind}};
        for (bool harden : {false, true}) {
          line["mode"] = harden ? "on" : "off";
          for (size_t v = 0; v < hostile.size() + 2; ++v) {  // the references "7" and "Abc" first
            line["value"] = v < 2 ? Json(v ? "Abc" : "7") : Json(v - 2);
            line.update(call(cls, m, at, v < 2 ? line["value"] : Json(hostile[v - 2]), harden));
            std::cout << line.dump() << '\n';
          }
        }
      }
    }
  }
  return 0;
}
