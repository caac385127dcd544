// What the golden scenarios cannot see (line-end blanks, private state): the
// padding of two lookups, and the language code sheet headers leave behind.
#include <string>

#include "brelvane/lookup/clsci_lookup.h"
#include "compose/access.h"
#include "unit/fixture.h"

namespace brelvane::testing {
namespace {

std::string padded(std::string text, size_t width) {
  text.resize(width, ' ');
  return text;
}

TEST(Padding, OfTheOrderMovementKindsAndTheChartsNaturesLine) {
  World world;
  auto lookup = world.create<CLSCI_LOOKUP>();
  lookup->ActiveInterface = world.host();
  call(*lookup, "TipoMovimentoRilevazioneOrdini");
  const std::string expected =
      lines({padded(" SELECT  CI90_VALORE", 43), padded("  , CASE CI90_VALORE", 43),
             "      WHEN  1 THEN 'Msg''84604' ", "      WHEN  2 THEN 'Msg''50787' ",
             "      WHEN  3 THEN 'Msg''74809' ", padded("      ELSE  CI90_DESCRIZIONE", 37),
             padded("    END", 37), padded("   AS    CI90_DESCRIZIONE", 37),
             padded(" FROM    CI90_INDICATORI   WITH(NOLOCK)", 43),
             padded(" WHERE   CI90_CODICE = 3", 43), padded(" ORDER BY CI90_VALORE ASC", 43)});
  EXPECT_EQ(lookup->Str_Sql, expected);

  // The natures line of industrial and spending charts ends in a blank.
  for (int kind : {1, 2}) {
    World world;
    auto lookup = world.create<CLSCI_LOOKUP>();
    lookup->ActiveInterface = world.host({{"kind", "host"}, {"company", {{"Code", 5}}}});
    lookup->Connessione = world.connection({{"kind", "connection"},
                                            {"results",
                                             {{{"match", "PC01_DESCRPDC"},
                                               {"columns", {"PC01_INDTIPOPDC"}},
                                               {"rows", Json::array({Json::array({kind})})}}}}});
    call(*lookup, "AnagraficaPianoDeiConti", {Variant(int32_t{20})});
    EXPECT_NE(lookup->Str_Sql.find(" OUTER APPLY DBO.FNPC04_NATURECOSTI(PC03_NATURA_PC04, 5) \r\n"),
              std::string::npos)
        << kind;
  }
}

TEST(SheetHeaders, LeaveTheLanguageCodeForLaterLookups) {
  World world;
  auto lookup = world.create<CLSCI_LOOKUP>();
  const Variant& language = internal::Access::of(*lookup).languageCode;

  // Without a host the code is "ITA"; the lookup itself fails at its caption.
  call(*lookup, "IntestazioniSchedeCosti", {Variant(int32_t{5})});
  EXPECT_EQ(lookup->Str_Sql, "");
  EXPECT_EQ(language, Variant("ITA"));

  lookup->ActiveInterface =
      world.host({{"kind", "host"}, {"company", {{"Code", 5}, {"LanguageCode", "DEU"}}}});
  call(*lookup, "IntestazioniSchedeCostiPerTipoScheda", {Variant(int32_t{5}), Variant("T1")});
  EXPECT_NE(lookup->Str_Sql.find("NULL, 'DEU')) AS DESCRCONTO"), std::string::npos);
  EXPECT_EQ(language, Variant("DEU"));

  // An empty sheet type changes nothing, the language code included.
  lookup->ActiveInterface =
      world.host({{"kind", "host"}, {"company", {{"Code", 5}, {"LanguageCode", "ENG"}}}});
  call(*lookup, "IntestazioniSchedeCostiPerTipoScheda", {Variant(int32_t{5}), Variant("")});
  EXPECT_EQ(language, Variant("DEU"));

  // A host that fails to give its language leaves "ITA" behind.
  lookup->ActiveInterface = world.host({{"kind", "host"}, {"fail", {"LanguageCode"}}});
  call(*lookup, "IntestazioniSchedeCosti", {Variant(int32_t{5})});
  EXPECT_EQ(lookup->Str_Sql, "");
  EXPECT_EQ(language, Variant("ITA"));
}

}  // namespace
}  // namespace brelvane::testing
