// How scenario expectations compare with what a step produced.
#include <gtest/gtest.h>

#include "cli/compare.h"

namespace brelvane::cli {
namespace {

TEST(ToolCompare, DropsOnlyTheBlanksBeforeLineEndsAndTheEnd) {
  EXPECT_EQ(withoutLineEndBlanks("a  \r\nb \rc\t \nd   "), "a\r\nb\rc\t\nd");
  EXPECT_EQ(withoutLineEndBlanks("  lead  inner  x"), "  lead  inner  x");
  EXPECT_EQ(withoutLineEndBlanks("   "), "");
  EXPECT_EQ(withoutLineEndBlanks("' \r\n  \r\n"), "'\r\n\r\n");
}

TEST(ToolCompare, TextsMatchUpToLinePadding) {
  EXPECT_TRUE(matches(" SELECT x\r\n", " SELECT x      \r\n"));
  EXPECT_TRUE(matches("WHEN 0 THEN 'No' \r\n", "WHEN 0 THEN 'No'\r\n"));
  // Blanks elsewhere, and the line breaks themselves, count.
  EXPECT_FALSE(matches("  SELECT x\r\n", " SELECT x\r\n"));
  EXPECT_FALSE(matches("a\r\n", "a\n"));
  EXPECT_FALSE(matches("a\r\n", "a\r\n\r\n"));
}

TEST(ToolCompare, TaggedNumbersAndDatesMatchTheirOutputForm) {
  EXPECT_TRUE(matches(Json{{"$integer", 5}}, 5));
  EXPECT_TRUE(matches(Json{{"$double", 5}}, 5.0));
  EXPECT_TRUE(matches(2, 2.0));
  EXPECT_FALSE(matches(Json{{"$long", 5}}, 6));
  EXPECT_TRUE(matches(Json{{"$date", "2026-11-22T00:00:00"}}, Json{{"$date", "2026-11-22"}}));
  EXPECT_FALSE(matches(Json{{"$date", "2026-11-22T10:30:00"}}, Json{{"$date", "2026-11-22"}}));
  // Kinds never mix: a number is not its text, Empty is not "", Null is not Empty.
  EXPECT_FALSE(matches("7", 7));
  EXPECT_FALSE(matches("", Json{{"$empty", true}}));
  EXPECT_FALSE(matches(nullptr, Json{{"$empty", true}}));
  EXPECT_FALSE(matches(true, 1));
}

TEST(ToolCompare, ArraysCompareElementByElement) {
  Json actual = Json::parse(R"({"$array": {"bounds": [[0, 1], [0, 1]],
                                          "rows": [["Codice  ", "Descrizione"], ["", ""]]}})");
  Json expected = Json::parse(R"({"$array": {"bounds": [[0, 1], [0, 1]],
                                            "rows": [["Codice", {"$empty": true}], ["", ""]]}})");
  EXPECT_FALSE(matches(expected, actual));
  expected["$array"]["rows"][0][1] = "Descrizione";
  EXPECT_TRUE(matches(expected, actual));
  expected["$array"]["bounds"][1][1] = 2;
  EXPECT_FALSE(matches(expected, actual));
}

TEST(ToolCompare, ErrorsCompareTheGivenFieldsOnly) {
  Json actual = {{"number", 438}, {"source", "Brelvane"}, {"description", "Unknown  "}};
  EXPECT_TRUE(errorMatches({{"number", 438}}, actual));
  EXPECT_TRUE(errorMatches({{"source", "Brelvane"}, {"description", "Unknown"}}, actual));
  EXPECT_FALSE(errorMatches({{"number", 449}}, actual));
  EXPECT_FALSE(errorMatches({{"number", 438}, {"source", "host"}}, actual));
  EXPECT_TRUE(errorMatches(nullptr, nullptr));
  EXPECT_FALSE(errorMatches(nullptr, actual));
  EXPECT_FALSE(errorMatches({{"number", 438}}, nullptr));
}

TEST(ToolCompare, LogEntriesCompareInOrderOnTheirGivenFields) {
  Json actual = Json::parse(R"([{"step": 2, "object": "host", "op": "Code", "failed": true},
                                {"step": 2, "object": "utility#1", "op": "ValueOrDefault",
                                 "args": [{"$empty": true}, 0]}])");
  EXPECT_TRUE(
      logMatches(Json::parse(R"([{"op": "Code"}, {"args": [{"$empty": true}, 0]}])"), actual));
  EXPECT_TRUE(logMatches(Json::parse(R"([{"failed": true}, {"object": "utility#1"}])"), actual));
  EXPECT_FALSE(logMatches(Json::parse(R"([{"op": "ValueOrDefault"}, {"op": "Code"}])"), actual));
  EXPECT_FALSE(logMatches(Json::parse(R"([{"op": "Code"}])"), actual));
  EXPECT_FALSE(logMatches(Json::parse(R"([{"op": "Code"}, {"id": 5}])"), actual));
  EXPECT_TRUE(logMatches(Json::array(), Json::array()));
}

}  // namespace
}  // namespace brelvane::cli
