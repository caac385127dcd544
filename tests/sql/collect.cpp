// Collects every SQL text the golden scenarios produce, for tests/sql/check.mjs:
// each Str_Sql left by a call (read by a step added right after it, which is
// pure) and each text run through a stand-in connection's Execute. Prints:
//   {"file", "step", "class", "member", "kind": "Str_Sql" | "Execute", "sql"}
#include <fstream>
#include <iostream>
#include <map>
#include <sstream>
#include <string>

#include "cli/scenario.h"
#include "cli/shared_values.h"
#include "standins/standins.h"

using brelvane::standins::Json;

int main(int argc, char** argv) {
  int status = 0;
  for (int a = 1; a < argc; ++a) {
    std::ifstream in(argv[a], std::ios::binary);
    std::stringstream buffer;
    buffer << in.rdbuf();
    Json doc = Json::parse(buffer.str(), nullptr, false);
    if (!in || doc.is_discarded() || !doc.contains("steps")) {
      std::cerr << "cannot read scenario " << argv[a] << "\n";
      status = 2;
      continue;
    }
    doc = brelvane::cli::expandSharedValues(doc);  // steps may be shared values too
    Json steps = Json::array();
    std::map<std::string, std::string> classOf;  // scenario name -> ProgID
    struct Origin {
      std::string cls, member;
    };
    std::map<size_t, Origin> origin;  // step index in the new list -> call
    int created = 0;
    for (const auto& step : doc["steps"]) {
      if (step.contains("create")) {
        std::string progId = step["create"];
        classOf[step.value("as", progId + "#" + std::to_string(++created))] = progId;
      }
      Json plain = step;
      plain.erase("expect");
      steps.push_back(plain);
      if (!step.contains("call")) continue;
      std::string object = step["call"];
      Origin o{classOf.count(object) ? classOf[object] : "", step.value("method", "")};
      origin[steps.size() - 1] = o;
      if (o.cls.rfind("Brelvane.CLSCI_LOOKUP", 0) == 0 ||
          o.cls.rfind("Brelvane.CLSCI_DECODE", 0) == 0) {
        steps.push_back({{"get", object}, {"properties", {"Str_Sql"}}});
        origin[steps.size() - 1] = o;
      }
    }
    doc["steps"] = steps;
    std::ostringstream out, err;
    if (brelvane::cli::runScenario(doc.dump(), out, err) == brelvane::cli::kScenarioInvalid) {
      std::cerr << argv[a] << ": " << err.str();
      status = 2;
      continue;
    }
    Json result = Json::parse(out.str());
    auto emit = [&](size_t step, const char* kind, const std::string& sql) {
      const Origin& o = origin[step];
      std::cout << Json{{"file", argv[a]},    {"step", step}, {"class", o.cls},
                        {"member", o.member}, {"kind", kind}, {"sql", sql}}
                       .dump()
                << "\n";
    };
    for (const auto& s : result["steps"]) {
      size_t step = s["step"];
      Json sql = s.value("values", Json::object()).value("Str_Sql", Json());
      if (s["op"] == "get" && origin.count(step) && sql.is_string() && sql != "")
        emit(step, "Str_Sql", sql);
    }
    for (const auto& e : result["log"]) {
      size_t step = e["step"];
      if (e["op"] == "Execute" && e.contains("sql") && origin.count(step))
        emit(step, "Execute", e["sql"]);
    }
  }
  return status;
}
