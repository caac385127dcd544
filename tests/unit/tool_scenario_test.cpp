// `brelvane run` in process: the output document, the stand-ins, names and
// lifetimes, and invalid scenarios.
#include <gtest/gtest.h>

#include <sstream>

#include "cli/scenario.h"
#include "standins/standins.h"

namespace brelvane::cli {
namespace {

using standins::Json;

struct Outcome {
  int status;
  Json doc;  // null when nothing was written
  std::string err;

  /// The first log entry of `object` with this op and name, or null.
  Json entry(const std::string& object, const std::string& op, const std::string& name) const {
    for (const auto& e : doc["log"])
      if (e["object"] == object && e["op"] == op && e.value("name", "") == name) return e;
    return nullptr;
  }
};

Outcome run(const std::string& text) {
  std::ostringstream out, err;
  int status = runScenario(text, out, err);
  return {status, out.str().empty() ? Json() : Json::parse(out.str()), err.str()};
}

TEST(ToolScenario, LaunchersCallbacksAndEvents) {
  // A launcher lists what it was given in order of first assignment
  // (connect_launch.json reads the values, ConnectEvents the handlers' answers).
  auto r = run(R"({"objects": {"host": {"kind": "host"}}, "steps": [
      {"create": "Brelvane.CLSCI_CONNECT", "as": "cn"},
      {"set": "cn", "values": {"ActiveInterface": {"$object": "host"}}},
      {"call": "cn", "method": "ExecCausaliCOIN", "expect": {"return": true}},
      {"get": "Quillane.CLSCI_CONNECT#1"}]})");
  ASSERT_EQ(r.status, kScenarioHeld) << r.err;
  ASSERT_GE(r.doc["steps"][3]["values"].size(), 2u);
  EXPECT_EQ(r.doc["steps"][3]["values"].begin().key(), "Plookup");

  // Callbacks need Plookup; a failure leaves the step, not the scenario (its
  // error's fields: automation_dispatch.json).
  r = run(R"({
    "objects": {"ctl": {"kind": "control"}},
    "launchers": {"Tormesk.CLSCI_CONNECT": {"on": {"Go": [{"call": "TransferData"}]},
                                            "fail": ["Broken"]}},
    "steps": [{"create": "Tormesk.CLSCI_CONNECT"},
              {"call": "Tormesk.CLSCI_CONNECT#1", "method": "go", "args": [1]},
              {"set": "Tormesk.CLSCI_CONNECT#1", "values": {"Broken": 1, "After": 2}},
              {"set": "Tormesk.CLSCI_CONNECT#1", "values": {"Plookup": {"$object": "ctl"}}},
              {"call": "Tormesk.CLSCI_CONNECT#1", "method": "Go"}]})");
  ASSERT_EQ(r.status, kScenarioHeld) << r.err;
  const Json& steps = r.doc["steps"];
  auto t1 = "Tormesk.CLSCI_CONNECT#1";
  EXPECT_EQ(steps[1]["error"]["number"], 91);
  EXPECT_EQ(steps[1]["error"]["source"], t1);
  EXPECT_EQ(steps[2]["error"]["number"], 5);
  // The control has no TransferData: the callback's error is the call's.
  EXPECT_EQ(steps[4]["error"]["number"], 438);
  EXPECT_EQ(r.entry(t1, "Callback", "TransferData")["error"]["number"], 438);
  EXPECT_EQ(r.entry(t1, "Put", "Broken")["failed"], true);
  EXPECT_EQ(r.entry(t1, "Put", "After"), nullptr);

  // Events only from objects that raise them.
  r = run(R"({"steps": [
    {"create": "Brelvane.CLSCI_LOOKUP", "as": "lk"},
    {"advise": "lk", "sink": "ev", "expect": {"error": {"number": 430}}},
    {"create": "Brelvane.CLSCI_CONNECT", "as": "cn"},
    {"advise": "cn", "sink": "ev2"},
    {"call": "cn", "method": "TransferData", "args": [0, 5, "1"],
     "expect": {"error": null, "return": {"$empty": true}}},
    {"call": "cn", "method": "Teminate"}]})");
  ASSERT_EQ(r.status, kScenarioHeld) << r.err << r.doc.dump();
  EXPECT_EQ(r.entry("ev2", "Event", "TransferData")["args"], Json::parse("[false, 5, 1]"));
  // By-reference arguments come back converted to their declared types.
  EXPECT_EQ(r.doc["steps"][4]["args"], Json::parse("[false, 5, 1]"));
}

TEST(ToolScenario, NamesTheEndAndTheStepsAndUnmetExpectationsListed) {
  auto r = run(R"({"steps": [
    {"create": "Brelvane.CLSCI_LOOKUP"},
    {"create": "Brelvane.CLSCI_LOOKUP", "as": "lk"},
    {"create": "Quillane.CLSCI_CONNECT", "as": "q"},
    {"set": "q", "values": {"Peer": {"$object": "Brelvane.CLSCI_LOOKUP#1"}}},
    {"set": "lk", "values": {"Causale": {"$object": "q"}}, "expect": {"Causale": {"$object": "q"}}},
    {"release": "lk"}]})");
  ASSERT_EQ(r.status, kScenarioHeld) << r.err;
  EXPECT_EQ(r.entry("Quillane.CLSCI_CONNECT#1", "PutRef", "Peer")["value"],
            Json::parse(R"({"$object": "Brelvane.CLSCI_LOOKUP#1"})"));
  // lk goes at its release; what the scenario still holds goes after the
  // last step, last made first.
  std::vector<std::pair<int, std::string>> releases;
  for (const auto& e : r.doc["log"])
    if (e["op"] == "Release") releases.emplace_back(e["step"], e["object"]);
  EXPECT_EQ(releases, (std::vector<std::pair<int, std::string>>{
                          {5, "utility#2"}, {6, "Quillane.CLSCI_CONNECT#1"}, {6, "utility#1"}}));

  // The output lists every step and the unmet expectations.
  r = run(R"({"objects": {"host": {"kind": "host", "messages": {"74764": "Clienti"}}},
    "steps": [
    {"create": "Brelvane.CLSCI_LOOKUP", "as": "lk"},
    {"call": "lk", "method": "TipoCliFor", "args": [], "expect": {"Str_Sql": ""}},
    {"set": "lk", "values": {"ActiveInterface": {"$object": "host"}}},
    {"call": "lk", "method": "TipoCliFor", "expect": {"Str_Caption": "Clienti ", "IDLookup": "x"}},
    {"get": "lk", "properties": ["IDLookup"], "expect": {"IDLookup": "Lkp_TipoCliFor", "Segno": 1}}]})");
  ASSERT_EQ(r.status, kScenarioFailed) << r.err;
  ASSERT_EQ(r.doc["steps"].size(), 5u);
  for (size_t i = 0; i < 5; ++i) EXPECT_EQ(r.doc["steps"][i]["step"], i);
  EXPECT_EQ(r.doc["steps"][3]["op"], "call");
  EXPECT_EQ(r.doc["steps"][4]["values"], Json::parse(R"({"IDLookup": "Lkp_TipoCliFor"})"));
  EXPECT_EQ(r.doc["failures"], Json::parse(R"([
    {"step": 3, "key": "IDLookup", "expected": "x", "actual": "Lkp_TipoCliFor"},
    {"step": 4, "key": "Segno", "expected": 1, "actual": 0}])"));
}

TEST(ToolScenario, InvalidScenariosWriteOneLineAndNoOutput) {
  // Each breaks one rule of the format; the last ones misuse shared values.
  auto lk = [](std::string step) {
    return R"({"steps": [{"create": "Brelvane.CLSCI_LOOKUP", "as": "lk"}, )" + step + "]}";
  };
  auto advise = [](std::string handler) {  // a handler of TransferData
    return R"({"steps": [{"create": "Brelvane.CLSCI_CONNECT", "as": "cn"}, {"advise": "cn",
        "sink": "ev", "handlers": {"TransferData": )" +
           handler + "}}]}";
  };
  std::vector<std::string> cases = {
      R"()",
      R"({"steps": [])",
      R"({"steps": [], "frob": 1})",
      R"({"steps": [], "harden": "yes"})",
      R"({"steps": [], "harden": 1})",
      R"({"objects": {"host": {"kind": "host"}}})",
      R"([{"create": "Brelvane.CLSCI_LOOKUP", "as": "lk"}])",
      R"({"steps": [{}]})",
      R"({"steps": [{"get": ""}]})",
      R"({"steps": [{"create": 5}]})",
      R"({"steps": [{"create": "A", "as": "a#1"}]})",
      lk(R"({"get": "lk", "properties": [1]})"),
      lk(R"({"set": "lk", "values": []})"),
      lk(R"({"release": "lk", "expect": {"X": 1}})"),
      lk(R"({"get": "lk", "expect": {"return": null}})"),
      lk(R"({"call": "lk", "method": "M", "expect": {"error": {"numero": 438}}})"),
      lk(R"({"get": "lk", "expect": {"$log": {}}})"),
      R"({"steps": [{"create": "A", "as": "a", "call": "a", "method": "M"}]})",
      lk(R"({"call": "lk", "method": "M", "argz": []})"),
      lk(R"({"call": "lookup", "method": "M"})"),
      lk(R"({"set": "lk", "values": {"P": {"$object": "hots"}}})"),
      lk(R"({"call": "lk", "method": "M", "args": [{"$long": 1.5}]})"),
      lk(R"({"call": "lk", "method": "M", "args": [{"$date": "2026-02-30"}]})"),
      lk(R"({"call": "lk", "method": "M", "args": [{"$integer": 1, "$long": 1}]})"),
      lk(R"({"set": "lk", "values": {"P": {"$integer": 40000}}})"),
      lk(R"({"set": "lk", "values": {"P": {"$integr": 5}}})"),
      lk(R"({"set": "lk", "values": {"P": {"$missing": true}}})"),
      lk(R"({"call": "lk", "method": "M", "args": [["P1"]]})"),
      lk(R"({"set": "lk", "values": {"P": {"$array": {"bounds": [[0, 0]], "rows": [[1]]}}}})"),
      lk(R"({"set": "lk", "values": {"P": {"$array": {"bounds": [[0, 1], [0, 2]], "rows": [["a", "b", "c"]]}}}})"),
      advise(R"({"Data": 1})"),
      advise(R"({"Kancel": true})"),
      R"({"utility": {"fail": "Initialise"}, "steps": []})",
      R"({"objects": {"db": {"kind": "connection", "results": 5}}, "steps": []})",
      R"({"objects": {"host": {"kind": "host", "messages": {"abc": "testo"}}}, "steps": []})",
      R"({"objects": {"printer": {"kind": "printer"}}, "steps": []})",
      R"({"launchers": {"Quillane.CLSCI_CONNECT": {"on": {"ExecRicerca": [{"cal": "TransferData"}]}}}, "steps": []})",
      R"({"launchers": {"Tormesk.CLSCI_CONNECT": {"sets": {"ApriTracciaRib": true}}}, "steps": []})",
      R"({"launchers": {"Quillane.CLSCI_LAUNCH": {"fail": ["create"]}}, "steps": []})",
      R"({"define": {"a": {"$ref": "b"}, "b": {"$ref": "a"}}, "steps": [{"create": "A", "note": {"$ref": "a"}}]})",
      R"({"steps": [{"create": "A", "note": {"$ref": "nowhere"}}]})",
      lk(R"({"get": "lk", "expect": {"Str_Sql": {"$concat": ["a", 1]}}})"),
      R"({"define": [], "steps": []})",
      "{\"steps\": [\"\\xff\"]}",
      // Nested past the parser's bound, and shared values that would grow past theirs.
      std::string(70, '[') + std::string(70, ']'),
      [] {  // each definition ten copies of the one before: a million values and more
        std::string defines = R"("d0": [0, 0, 0, 0, 0, 0, 0, 0, 0, 0])";
        for (int d = 1; d <= 6; ++d) {
          std::string ref = R"({"$ref": "d)" + std::to_string(d - 1) + R"("})";
          defines += R"(, "d)" + std::to_string(d) + R"(": [)" + ref;
          for (int i = 1; i < 10; ++i) defines += ", " + ref;
          defines += "]";
        }
        return R"({"define": {)" + defines +
               R"(}, "steps": [{"create": "A", "note": {"$ref": "d6"}}]})";
      }(),
  };
  for (const std::string& text : cases) {
    auto r = run(text);
    EXPECT_EQ(r.status, kScenarioInvalid) << text;
    EXPECT_TRUE(r.doc.is_null()) << text;
    EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1) << text << ": " << r.err;
  }
}

}  // namespace
}  // namespace brelvane::cli
