// Every member of the registry, called on healthy stand-ins to learn its
// operations, then again with each of them failing: no error reaches the
// caller (but the registration number bridge's, under its own name), Str_Sql
// is "" or short of whole lines only, and a launch answers True exactly when
// the launcher's method was called.
#include <gtest/gtest.h>

#include <iostream>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "brelvane/brelvane.h"
#include "cli/scenario.h"
#include "standins/standins.h"
#include "support/sweep_world.h"

namespace brelvane {
namespace {

using standins::Json;

constexpr std::string_view kBridge = "GetNumregCoanFromNumregCoge";

/// The stand-ins every run starts from; `fail` adds one failing operation.
Json world(const std::string& failObject, const std::string& failOp) {
  Json doc = sweep::world();
  const Json fail = Json::array({failOp});
  if (failObject == "host" || failObject == "db") doc["objects"][failObject]["fail"] = fail;
  if (failObject == "utility") doc["utility"]["fail"] = fail;
  if (failObject.find(".CLSCI_CONNECT") != failObject.npos)
    doc["launchers"][failObject]["fail"] = fail;
  return doc;
}

struct Outcome {
  Json call;      ///< the call step's output entry
  Json sql;       ///< Str_Sql after the call, when the class has it
  Json log;       ///< everything that reached a stand-in
  bool launched;  ///< a launcher method other than the closing ones was called
};

Outcome runOnce(const ClassInfo& cls, const MethodInfo& m, const Json& objects) {
  Json doc = objects;
  Json args = Json::array();
  for (const auto& p : m.params) args.push_back(sweep::plausible(p));
  bool composes = cls.findProperty("Str_Sql") != nullptr;
  Json values = {{"ActiveInterface", {{"$object", "host"}}}};
  if (cls.findProperty("Connessione")) values["Connessione"] = {{"$object", "db"}};
  if (cls.findProperty("ConnectField")) values["ConnectField"] = {{"$object", "edit"}};
  doc["steps"] = Json::array({{{"create", cls.progId}, {"as", "it"}},
                              {{"set", "it"}, {"values", values}},
                              {{"call", "it"}, {"method", m.name}, {"args", args}}});
  if (composes) doc["steps"].push_back({{"get", "it"}, {"properties", {"Str_Sql"}}});
  std::ostringstream out, err;
  int status = cli::runScenario(doc.dump(), out, err);
  EXPECT_EQ(status, cli::kScenarioHeld) << m.name << ": " << err.str();
  if (status != cli::kScenarioHeld) return {};
  Json result = Json::parse(out.str());
  Outcome run{result["steps"][2], composes ? result["steps"][3]["values"]["Str_Sql"] : Json(),
              result["log"], false};
  for (const auto& e : run.log) {
    std::string object = e["object"];
    if (object.find(".CLSCI_CONNECT#") == std::string::npos || e["op"] != "Call") continue;
    std::string name = e["name"];
    if (name != "Terminate" && name != "Teminate" && name != "ChiudiTracciaRib" &&
        !e.value("failed", false))
      run.launched = true;
  }
  return run;
}

/// The operations the call made, as (stand-in, operation), and the creation
/// of the utility object when the call used it (not its initialisation or release).
std::set<std::pair<std::string, std::string>> failurePoints(const Json& log) {
  std::set<std::pair<std::string, std::string>> points;
  for (const auto& e : log) {
    if (e["step"] != 2) continue;
    std::string object = e["object"], op = e["op"];
    if (object == "host") {
      points.insert({"host", op == "GetMessageText"
                                 ? "GetMessageText:" + std::to_string(e["id"].get<int>())
                                 : op});
    } else if (object == "db") {
      points.insert({"db", op});
    } else if (object.rfind("utility#", 0) == 0) {
      points.insert({"utility", op});
      points.insert({"utility", "Create"});
    } else if (auto hash = object.find(".CLSCI_CONNECT#"); hash != std::string::npos) {
      std::string progId = object.substr(0, object.find('#'));
      if (op == "Create") points.insert({progId, "create"});
      if (e.contains("name")) points.insert({progId, e["name"].get<std::string>()});
    }
  }
  return points;
}

/// True when `part` is `whole` with some of its lines (CR LF ended) left out.
bool wholeLinesLeftOut(const std::string& part, const std::string& whole) {
  auto linesOf = [](const std::string& text) {
    std::vector<std::string> lines;
    size_t at = 0;
    for (size_t end; (end = text.find("\r\n", at)) != text.npos; at = end + 2)
      lines.push_back(text.substr(at, end - at));
    lines.push_back(text.substr(at));
    return lines;
  };
  std::vector<std::string> a = linesOf(part), b = linesOf(whole);
  size_t j = 0;
  for (const auto& line : a) {
    while (j < b.size() && b[j] != line) ++j;
    if (j++ == b.size()) return false;
  }
  return a.size() < b.size();
}

TEST(FaultSweep, NoFailureEscapesAndEachMemberKeepsItsConvention) {
  ObjectFactory factory;
  registerBrelvane(factory);
  const Json healthy = world("", "");
  size_t members = 0, points = 0;
  for (const auto& entry : factory.entries()) {
    if (!entry.info || entry.info->progId.rfind("Brelvane.", 0) != 0) continue;
    const ClassInfo& cls = *entry.info;
    for (const MethodInfo& m : cls.methods) {
      ++members;
      const Outcome baseline = runOnce(cls, m, healthy);
      if (baseline.log.is_null()) continue;
      for (const auto& [object, op] : failurePoints(baseline.log)) {
        ++points;
        const Outcome run = runOnce(cls, m, world(object, op));
        if (run.log.is_null()) continue;
        SCOPED_TRACE(cls.progId + "." + m.name + " with " + object + " failing " + op);
        const Json& error = run.call["error"];
        if (m.name == kBridge) {
          const std::string head = std::string(kBridge) + ":\r\n";
          EXPECT_TRUE(error.is_null() || error["source"].get<std::string>().starts_with(head))
              << error;
        } else {
          EXPECT_TRUE(error.is_null()) << error.dump();
          if (run.sql.is_string() && baseline.sql.is_string()) {
            const std::string sql = run.sql;
            EXPECT_TRUE(sql.empty() || wholeLinesLeftOut(sql, baseline.sql))
                << "a failure left a partial text:\n"
                << sql;
          }
        }
        if (m.result == ParamType::Boolean && cls.findProperty("ConnectField") &&
            m.name != "ChiusuraTracciaRib") {
          EXPECT_EQ(run.call["return"], Json(run.launched));
        }
      }
    }
  }
  std::cout << "fault sweep: " << members << " members, " << points << " failure points\n";
  EXPECT_GT(members, 0u);
  EXPECT_GT(points, members);
}

}  // namespace
}  // namespace brelvane
