// The hardened mode, place by place (every member and hostile value are left
// to the SQL check): escaped or checked values, and placeholders never
// reaching into a value.
#include <gtest/gtest.h>

#include <vector>

#include "brelvane/decode/clsci_decode.h"
#include "brelvane/diagnostics.h"
#include "brelvane/lookup/clsci_lookup.h"
#include "compose/sql_values.h"
#include "fixture.h"

namespace brelvane::testing {
namespace {

std::string written(bool hardened, auto... pieces) {
  SqlText sql(8);
  sql.harden(hardened);
  sql.append(pieces...);
  return sql.take();
}

TEST(HardenedTest, EachPlaceEscapesOrChecksItsValueAndPlaceholdersGoAroundIt) {
  const std::string lookalikes = "a'b\u02BCc\u2018d\u2019e\uFF07f";
  EXPECT_EQ(written(false, "'", inQuotes(lookalikes), "'"), "'" + lookalikes + "'");
  EXPECT_EQ(written(true, "'", inQuotes(lookalikes), "'"),
            "'a''b\u02BC\u02BCc\u2018\u2018d\u2019\u2019e\uFF07\uFF07f'");
  EXPECT_EQ(quoted("O'Brien", true), "'O''Brien'");

  for (const char* number : {"0", "-12", "3.50"}) EXPECT_EQ(checkedNumber(number, true), number);
  for (const char* text : {"", "-", "1.", ".5", "1e3", "0 OR 1=1", "1) OR (1=1"}) {
    EXPECT_EQ(checkedNumber(text, false), text);
    EXPECT_THROW(checkedNumber(text, true), AutomationError) << text;
  }
  EXPECT_THROW(checkedNumber("2.5", true, false), AutomationError);

  constexpr std::string_view kListed[] = {"A DESC"};
  for (const char* name : {"CI58_CODICE", "T.COL_1", "A DESC"})
    EXPECT_EQ(written(true, Name{name, kListed}), name);
  EXPECT_NO_THROW(written(true, Name{std::string(128, 'A')}));
  for (const std::string& name : std::vector<std::string>{
           "1A", "A.", "A.B.C", "A DESC, B", "X; DROP TABLE X --", std::string(129, 'A')}) {
    EXPECT_EQ(written(false, Name{name}), name);
    EXPECT_THROW(written(true, Name{name, kListed}), AutomationError) << name;
  }

  // Placeholders are filled around the values written.
  for (bool hardened : {false, true}) {
    SqlText sql(8);
    sql.harden(hardened);
    sql.append("<LINGUA> '", inQuotes("<LINGUA>"), "' <LINGUA>");
    // A value written in a fragment that failed is gone, and so is its span.
    sql.fragment([&] {
      sql.append("'", inQuotes("<LINGUA>"));
      throw AutomationError::of(err::kInvalidCall);
    });
    sql.fill({{"<LINGUA>", "'ITA'"}});
    EXPECT_EQ(sql.view(), hardened ? "'ITA' '<LINGUA>' 'ITA'" : "'ITA' ''ITA'' 'ITA'");
  }
}

TEST(HardenedTest, MembersComposeEscapedTextAndFailOnANonNumber) {
  std::vector<SwallowedError> seen;
  DiagnosticsHook previous =
      setDiagnosticsHook([&](const SwallowedError& e) { seen.push_back(e); });
  for (bool hardened : {false, true}) {
    World world;
    world.factory.setHardened(hardened);
    auto lookup = world.create<CLSCI_LOOKUP>();  // quoted texts: ToolCall's --harden
    lookup->ActiveInterface = world.host();
    seen.clear();
    call(*lookup, "Entità", {Variant("0 OR 1=1")});
    EXPECT_EQ(lookup->Str_Sql.find("= 0 OR 1=1") != std::string::npos, !hardened);
    EXPECT_EQ(lookup->Str_Sql.empty(), hardened);
    ASSERT_EQ(seen.size(), hardened ? 1u : 0u);
    if (hardened) {
      EXPECT_EQ(seen[0].description, "Type mismatch: hardened mode: not a number: 0 OR 1=1");
    }

    auto decoder = world.create<CLSCI_DECODE>();
    decoder->ActiveInterface = world.host();
    call(*decoder, "AnagraficaPianoDeiConti",
         {Variant(std::shared_ptr<Dispatch>()), Variant(1), Variant("<LINGUA>'")});
    // Off, the language code is put into the account too.
    EXPECT_EQ(decoder->Str_Sql.find("(1, '<LINGUA>''', NULL, '") != std::string::npos, hardened)
        << decoder->Str_Sql;
  }
  setDiagnosticsHook(std::move(previous));
}

}  // namespace
}  // namespace brelvane::testing
