// The decode frame through its first decoders: the descriptor, the composed
// texts, the chart-kind queries of AnagraficaPianoDeiConti and the error
// convention.
#include <optional>

#include "brelvane/decode/clsci_decode.h"
#include "fixture.h"

namespace brelvane::testing {
namespace {

struct DecodeTest : ::testing::Test {
  World world;
  std::shared_ptr<CLSCI_DECODE> dc = world.create<CLSCI_DECODE>();
  std::shared_ptr<Dispatch> edit = standins::makeControl();

  /// A connection whose chart register answers `kind` (no row without one),
  /// and whose CI11_CONTROLLOCONTI answers the given flags.
  void connect(std::optional<Json> kind, const Json& flags = nullptr) {
    Json rows = kind ? Json::array({Json::array({*kind})}) : Json::array();
    Json results = Json::array();
    results.push_back(
        {{"match", "PC01_DESCRPDC"}, {"columns", {"PC01_INDTIPOPDC"}}, {"rows", rows}});
    if (!flags.is_null())
      results.push_back({{"match", "CI11_CONTROLLOCONTI"},
                         {"columns",
                          {"CI11_FLGCOLLEG", "CI11_FLGTRANSIT", "CI11_FLGCOMPET", "CI11_FLGCDC",
                           "CI11_FLGLAVPROG", "CI11_FLGMAGAZ", "CI11_FLGMARGLORDI",
                           "CI11_FLGMARGNETTI", "CI11_FLGRISULT", "CI11_FLGALTRITIPI"}},
                         {"rows", {flags}}});
    dc->Connessione = world.connection({{"kind", "connection"}, {"results", results}});
  }
  std::vector<Json> executed() const {
    std::vector<Json> out;
    for (const auto& e : world.log.entries())
      if (e["op"] == "Execute") out.push_back({{"sql", e["sql"]}, {"options", e["options"]}});
    return out;
  }
  void expectDescriptor(const std::string& column) {
    const SafeArray& a = dc->Arr_Fields.array();
    ASSERT_EQ(std::vector<Bound>(a.bounds().begin(), a.bounds().end()),
              (std::vector<Bound>{{0, 0}, {0, 1}}));
    EXPECT_EQ(a.at({0, 0}).object(), edit);
    EXPECT_EQ(a.at({0, 1}), Variant(column));
  }
};

const std::string kDisabledAfter = lines(
    {"     (", "         SELECT  1", "         FROM    PC17_STATIPDC   WITH(NOLOCK)",
     "         WHERE   PC17_DITTA_CG18 = 5", "         AND     PC17_PDC_PC01 = PC03_CODICE_PC01",
     "         AND     PC17_CONTO_PC03 = PC03_CONTO", "         AND     PC17_FLGDISATT = 1",
     "         AND     PC17_DATADISATT <= '20261122'", "     )"});

TEST_F(DecodeTest, NaturaCostoReadsTheDescriptionOfTheCompany) {
  dc->ActiveInterface = world.host({{"kind", "host"}, {"company", {{"Code", 5}}}});
  call(*dc, "NaturaCosto", {edit, Variant::null()});
  expectDescriptor("PC04_DESCR");
  EXPECT_EQ(
      unpadded(dc->Str_Sql),
      lines({" SELECT (SELECT PC04_DESCR FROM FNPC04_NATURECOSTI(PC04_CODICE,5)) AS PC04_DESCR",
             " FROM   PC04_NATURECOSTI      WITH(NOLOCK)", " WHERE  PC04_CODICE = 0"}));
}

TEST_F(DecodeTest, ProviderContiBindsTheContextBeforeAskingForTheColumn) {
  call(*dc, "ProviderConti", {edit, 12});
  expectDescriptor("CI07_DESCRIZIONE");
  EXPECT_EQ(
      unpadded(dc->Str_Sql),
      " SELECT\r\n        CI07_DESCRIZIONE FROM    CI07_PROVCONTO\r\n WHERE   CI07_PROVIDER = 12");
  EXPECT_EQ(world.ops("utility#1"), (std::vector<std::string>{"Create", "Initialise", "BindContext",
                                                              "ProviderAccountColumn"}));
}

TEST_F(DecodeTest, AnAccountWithoutConnectionTriesBothChartsInTheDefaultLanguage) {
  call(*dc, "AnagraficaPianoDeiConti", {edit, 3, "A'1"});
  expectDescriptor("PC03_DESCR");
  EXPECT_EQ(unpadded(dc->Str_Sql), lines({" SELECT   ISNULL ((SELECT PC03_DESCR FROM "
                                          "FNPC03_ANAGPDC_COAN(3, 'A'1', NULL, 'ITA ' )),",
                                          "                  (SELECT PC03_DESCR FROM "
                                          "FNPC03_ANAGPDC_COGE(3, 'A'1', NULL, 'ITA ' ))",
                                          "                 ) AS PC03_DESCR"}));
}

TEST_F(DecodeTest, AnUnknownChartGivesAQueryWithoutRows) {
  dc->ActiveInterface = world.host({{"kind", "host"}, {"company", {{"LanguageCode", "ENG"}}}});
  connect(std::nullopt);  // no row for the chart
  call(*dc, "AnagraficaPianoDeiConti", {edit, Variant::null(), "C1"});
  EXPECT_EQ(dc->Str_Sql, " SELECT * FROM PC03_ANAGPDC WHERE 1 = 2 ");
  EXPECT_EQ(executed(),
            (std::vector<Json>{{{"sql",
                                 "SELECT PC01_INDTIPOPDC FROM PC01_DESCRPDC WITH (NOLOCK) WHERE "
                                 "PC01_CODICE = 0"},
                                {"options", ado::kCmdText}}}));
}

TEST_F(DecodeTest, AnIndustrialChartRestrictsTheAccountTypesOfTheCausalCodeAndSign) {
  dc->ActiveInterface =
      world.host({{"kind", "host"}, {"company", {{"Code", 5}, {"LanguageCode", "ENG"}}}});
  connect(1, {1, false, 0, true, 0, 0, 0, 0, 0, 1});
  dc->Causale = "C'7";
  dc->Segno = 2;
  dc->DataValiditaConti = Date{2026, 11, 22};
  call(*dc, "AnagraficaPianoDeiConti", {edit, 3, "A1"});
  EXPECT_EQ(unpadded(dc->Str_Sql),
            " SELECT PC03_DESCR FROM FNPC03_ANAGPDC_COAN(3, 'A1', NULL, 'ENG')\r\n"
            " WHERE     PC03_TIPOCONTOCI IN (1,4,10) AND   NOT EXISTS\r\n" +
                kDisabledAfter);
  ASSERT_EQ(executed().size(), 2u);
  EXPECT_EQ(executed()[1],
            (Json{{"sql", lines({" SELECT  *                                   ",
                                 " FROM    CI11_CONTROLLOCONTI  WITH(NOLOCK)   ",
                                 " WHERE   CI11_CODCAUS_CI03 = 'C'7'", " AND     CI11_SEGNO = 2"})},
                  {"options", ado::kCmdUnspecified}}));
}

TEST_F(DecodeTest, AnIndustrialChartOpensTheFilterItselfWhenNoTypeIsRestricted) {
  dc->ActiveInterface = world.host({{"kind", "host"}, {"company", {{"Code", 5}}}});
  connect(nullptr, {0, 0, 0, 0, 0, 0, 0, 0, 0, 0});  // a Null kind reads as 1
  dc->Causale = "C7";
  dc->Segno = 1;
  dc->DataValiditaConti = "2026-11-22";
  call(*dc, "AnagraficaPianoDeiConti", {edit, 3, "A1"});
  EXPECT_EQ(unpadded(dc->Str_Sql),
            " SELECT PC03_DESCR FROM FNPC03_ANAGPDC_COAN(3, 'A1', NULL, '')\r\n"
            " WHERE NOT EXISTS\r\n" +
                kDisabledAfter);

  // Without a reference date there is no filter at all; without a sign no
  // account-control query either.
  dc->DataValiditaConti = Variant::null();
  dc->Segno = 0;
  call(*dc, "AnagraficaPianoDeiConti", {edit, 3, "A1"});
  EXPECT_EQ(dc->Str_Sql, " SELECT PC03_DESCR FROM FNPC03_ANAGPDC_COAN(3, 'A1', NULL, '') \r\n");
  EXPECT_EQ(executed().size(), 3u);
}

TEST_F(DecodeTest, OtherChartKindsIgnoreTheCausalCode) {
  dc->ActiveInterface =
      world.host({{"kind", "host"}, {"company", {{"Code", 5}, {"LanguageCode", "ITA"}}}});
  dc->Causale = "C7";
  dc->Segno = 1;
  dc->DataValiditaConti = Date{2026, 11, 22};
  connect(2);
  call(*dc, "AnagraficaPianoDeiConti", {edit, 3, "A1"});
  EXPECT_EQ(
      unpadded(dc->Str_Sql),
      "SELECT PC03_DESCR FROM FNPC03_ANAGPDC_COAN(3, 'A1', NULL, 'ITA')\r\n WHERE NOT EXISTS\r\n" +
          kDisabledAfter);
  connect(4);
  call(*dc, "AnagraficaPianoDeiConti", {edit, 3, "A1"});
  EXPECT_EQ(dc->Str_Sql, "SELECT PC03_DESCR FROM FNPC03_ANAGPDC_COGE(3, 'A1', NULL, 'ITA') \r\n");
  for (const auto& e : executed())
    EXPECT_EQ(e["sql"].get<std::string>().find("CI11"), std::string::npos);
}

TEST_F(DecodeTest, FailuresEmptyTheQueryAndKeepTheDescriptorReached) {
  dc->ActiveInterface =
      world.host({{"kind", "host"}, {"company", {{"Code", 5}}}, {"fail", {"LanguageCode"}}});
  dc->Str_Sql = "previous";
  call(*dc, "AnagraficaPianoDeiConti", {edit, 3, "A1"});  // fails before the descriptor
  EXPECT_EQ(dc->Str_Sql, "");
  EXPECT_TRUE(dc->Arr_Fields.isEmpty());

  dc->ActiveInterface = world.host({{"kind", "host"}, {"company", {{"Code", 5}}}});
  dc->Connessione = world.connection({{"kind", "connection"}, {"fail", {"Execute:PC01_DESCRPDC"}}});
  call(*dc, "AnagraficaPianoDeiConti", {edit, 3, "A1"});
  EXPECT_EQ(dc->Str_Sql, "");
  expectDescriptor("PC03_DESCR");

  // A failing fragment builder only drops its fragment.
  connect(1, {1, 0, 0, 0, 0, 0, 0, 0, 0, 0});
  dc->Causale = "C7";
  dc->Segno = 1;
  dc->DataValiditaConti = "not a date";
  call(*dc, "AnagraficaPianoDeiConti", {edit, 3, "A1"});
  EXPECT_EQ(unpadded(dc->Str_Sql),
            " SELECT PC03_DESCR FROM FNPC03_ANAGPDC_COAN(3, 'A1', NULL, '')\r\n WHERE     "
            "PC03_TIPOCONTOCI IN (1)");
}

TEST(DecodeLifecycle, TheUtilityObjectLivesAsLongAsTheInstance) {
  World world;
  call(*world.create<CLSCI_DECODE>(), "NaturaCosto",
       {Variant::nothing(), 1});  // no host: fails quietly
  EXPECT_EQ(world.ops("utility#1"), (std::vector<std::string>{"Create", "Initialise", "Release"}));

  World broken(Json{{"fail", {"Initialise"}}});
  auto dc = broken.create<CLSCI_DECODE>();
  ASSERT_NE(dc, nullptr);
  EXPECT_EQ(dc->Segno, 0);
  EXPECT_TRUE(dc->DataValiditaConti.isNull());
}

}  // namespace
}  // namespace brelvane::testing
