// How scenario expectations compare with what a step produced.
#include <gtest/gtest.h>

#include "cli/compare.h"

namespace brelvane::cli {
namespace {

TEST(ToolCompare, ValuesMatchUpToTheBlanksBeforeLineEndsAndTheirOutputForm) {
  EXPECT_EQ(withoutLineEndBlanks("a  \r\nb \rc\t \nd   "), "a\r\nb\rc\t\nd");
  EXPECT_EQ(withoutLineEndBlanks("  lead  inner  x"), "  lead  inner  x");
  EXPECT_EQ(withoutLineEndBlanks("   "), "");
  EXPECT_EQ(withoutLineEndBlanks("' \r\n  \r\n"), "'\r\n\r\n");
  // Values match up to that padding and their output form.
  const Json empty = {{"$empty", true}};
  const std::tuple<Json, Json, bool> rows[] = {
      {" SELECT x\r\n", " SELECT x      \r\n", true},
      {"WHEN 0 THEN 'No' \r\n", "WHEN 0 THEN 'No'\r\n", true},
      // Blanks elsewhere, and the line breaks themselves, count.
      {"  SELECT x\r\n", " SELECT x\r\n", false},
      {"a\r\n", "a\n", false},
      {"a\r\n", "a\r\n\r\n", false},
      {{{"$integer", 5}}, 5, true},
      {{{"$double", 5}}, 5.0, true},
      {2, 2.0, true},
      {{{"$long", 5}}, 6, false},
      {{{"$date", "2026-11-22T00:00:00"}}, {{"$date", "2026-11-22"}}, true},
      {{{"$date", "2026-11-22T10:30:00"}}, {{"$date", "2026-11-22"}}, false},
      // Kinds never mix: a number is not its text, Empty is not "", Null is not Empty.
      {"7", 7, false},
      {"", empty, false},
      {nullptr, empty, false},
      {true, 1, false}};
  for (const auto& [expected, actual, held] : rows)
    EXPECT_EQ(matches(expected, actual), held) << expected.dump() << " vs " << actual.dump();
  // Arrays compare element by element, texts inside them up to padding.
  Json actual = Json::parse(R"({"$array": {"bounds": [[0, 1], [0, 1]],
                                          "rows": [["Codice  ", "Descrizione"], ["", ""]]}})");
  Json expected = actual;
  expected["$array"]["rows"][0] = Json::array({"Codice", empty});
  EXPECT_FALSE(matches(expected, actual));
  expected["$array"]["rows"][0][1] = "Descrizione";
  EXPECT_TRUE(matches(expected, actual));
  expected["$array"]["bounds"][1][1] = 2;
  EXPECT_FALSE(matches(expected, actual));
}

TEST(ToolCompare, ErrorsAndLogEntriesCompareTheGivenFieldsOnly) {
  Json error = {{"number", 438}, {"source", "Brelvane"}, {"description", "Unknown  "}};
  EXPECT_TRUE(errorMatches({{"number", 438}}, error));
  EXPECT_TRUE(errorMatches({{"source", "Brelvane"}, {"description", "Unknown"}}, error));
  EXPECT_FALSE(errorMatches({{"number", 449}}, error));
  EXPECT_FALSE(errorMatches({{"number", 438}, {"source", "host"}}, error));
  EXPECT_TRUE(errorMatches(nullptr, nullptr));
  EXPECT_FALSE(errorMatches(nullptr, error));
  EXPECT_FALSE(errorMatches({{"number", 438}}, nullptr));
  // Log entries, in order.
  Json log = Json::parse(R"([{"step": 2, "object": "host", "op": "Code", "failed": true},
                             {"step": 2, "object": "utility#1", "op": "ValueOrDefault",
                              "args": [{"$empty": true}, 0]}])");
  const std::pair<const char*, bool> rows[] = {
      {R"([{"op": "Code"}, {"args": [{"$empty": true}, 0]}])", true},
      {R"([{"failed": true}, {"object": "utility#1"}])", true},
      {R"([{"op": "ValueOrDefault"}, {"op": "Code"}])", false},
      {R"([{"op": "Code"}])", false},
      {R"([{"op": "Code"}, {"id": 5}])", false}};
  for (const auto& [expected, held] : rows)
    EXPECT_EQ(logMatches(Json::parse(expected), log), held) << expected;
  EXPECT_TRUE(logMatches(Json::array(), Json::array()));
}

}  // namespace
}  // namespace brelvane::cli
