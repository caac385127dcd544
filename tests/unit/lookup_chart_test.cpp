// Chart-of-accounts lookups: the chart list by TipoLookupPdC, rollover sets,
// class correlations, and the account master laid out by the chart's kind.
#include <algorithm>
#include <optional>
#include <utility>
#include <vector>

#include "brelvane/lookup/clsci_lookup.h"
#include "unit/fixture.h"

namespace brelvane::testing {
namespace {

struct ChartLookup : ::testing::Test {
  World world;
  std::shared_ptr<CLSCI_LOOKUP> lookup = world.create<CLSCI_LOOKUP>();

  void useHost(Json company, Json fail = Json::array()) {
    lookup->ActiveInterface = world.host({{"kind", "host"}, {"company", company}, {"fail", fail}});
  }
  /// A connection whose chart register holds one chart of that kind, or no
  /// chart at all.
  void useChartOfKind(std::optional<Json> kind, Json fail = Json::array()) {
    Json results = Json::array();
    if (kind)
      results.push_back({{"match", "PC01_DESCRPDC"},
                         {"columns", Json::array({"PC01_INDTIPOPDC"})},
                         {"rows", Json::array({Json::array({*kind})})}});
    lookup->Connessione =
        world.connection({{"kind", "connection"}, {"results", results}, {"fail", fail}});
  }
  bool has(std::string_view text) const { return lookup->Str_Sql.find(text) != std::string::npos; }
  /// SELECT columns of the composed text: the first, then every line up to
  /// the FROM whose first non-blank character is a comma.
  size_t selectColumns() const {
    std::string_view sql = lookup->Str_Sql;
    size_t n = 1;
    for (size_t pos = sql.find("\r\n"); pos != std::string_view::npos;
         pos = sql.find("\r\n", pos + 2)) {
      std::string_view rest = sql.substr(pos + 2);
      size_t first = rest.find_first_not_of(' ');
      if (first == std::string_view::npos || rest.substr(first).starts_with("FROM")) break;
      if (rest[first] == ',') ++n;
    }
    return n;
  }
};

// ---- PianoDeiConti ----

struct ChartSelectionCase {
  int32_t tipo;
  std::string caption;
  std::string condition;  ///< the text between the FROM line and ORDER BY
};

TEST_F(ChartLookup, PianoDeiContiFiltersByTipoLookupPdC) {
  const std::string configured =
      " WHERE     PC01_INDTIPOPDC = %\r\n"
      "   AND (\r\n"
      "           (\r\n"
      "               SELECT  COUNT(*)\r\n"
      "               FROM    PC02_CONFIGPDC  WITH(NOLOCK)\r\n"
      "               WHERE   PC02_CODICE_PC01 = PC01_CODICE\r\n"
      "           ) = PC01_TOTLIVELLI\r\n"
      "       )\r\n";
  auto configuredOn = [&](char kind) {
    std::string text = configured;
    text[text.find('%')] = kind;
    return text;
  };
  const std::vector<ChartSelectionCase> cases = {
      {0, "Elenco piano dei conti", ""},
      {1, "Elenco piano dei conti di riclassificazione", " WHERE     PC01_INDTIPOPDC IN (3,5,6)\r"},
      {2, "Elenco piano dei conti non di riclassificazione",
       " WHERE     PC01_INDTIPOPDC NOT IN (3,4,5,6)\r"},
      {3, "Elenco piano dei conti di contabilità industriale", " WHERE     PC01_INDTIPOPDC = 1\r"},
      {4, "Elenco piano dei conti voci di spesa", " WHERE     PC01_INDTIPOPDC = 2\r"},
      {5, "Elenco piano dei conti di contabilità industriale configurati", configuredOn('1')},
      {6, "Elenco piano dei conti voci di spesa configurati", configuredOn('2')},
      {7, "Elenco piano dei conti riclassificato intercompany", " WHERE     PC01_INDTIPOPDC = 4\r"},
      {8, "Elenco piano dei conti riclassificato BE - VL", " WHERE     PC01_INDTIPOPDC = 5\r"},
      {9, "Elenco piano dei conti riclassificato Bilanci Infrannuali",
       " WHERE     PC01_INDTIPOPDC = 6\r"},
      {10, "kept", ""},
      {-1, "kept", ""}};
  useHost({{"CompanyMode", 1}});
  for (const auto& c : cases) {
    lookup->Str_Caption = "kept";
    lookup->TipoLookupPdC = c.tipo;
    lookup->PianoDeiConti();
    const std::string& sql = lookup->Str_Sql;
    const std::string from = " FROM      PC01_DESCRPDC WITH(NOLOCK)\r\n";
    size_t at = unpadded(sql).find(from);
    ASSERT_NE(at, std::string::npos) << c.tipo;
    EXPECT_EQ(unpadded(sql).substr(at + from.size()), c.condition + " ORDER     BY PC01_CODICE\r\n")
        << c.tipo;
    EXPECT_EQ(lookup->Str_Caption, c.caption) << c.tipo;
    EXPECT_EQ(captions(lookup->Arr_Fields),
              (std::vector<std::string>{"Codice", "Descrizione", "Numero livelli", "Tipo PdC"}));
    EXPECT_EQ(lookup->IDLookup, Variant("Lkp_PdC"));
  }
}

TEST_F(ChartLookup, PianoDeiContiLabelsEachChartKind) {
  const std::string kinds =
      "     CASE PC01_INDTIPOPDC\r\n"
      "       WHEN 1\r\n           THEN 'Msg''%' \r\n"
      "       WHEN 2\r\n           THEN 'Msg''61310' \r\n"
      "       WHEN 3\r\n           THEN 'Msg''49181' \r\n"
      "       WHEN 4\r\n           THEN 'Msg''49174' \r\n"
      "       WHEN 5\r\n           THEN 'Msg''90764' \r\n"
      "       WHEN 6\r\n           THEN 'Msg''93858' \r\n"
      "     END AS PC01_INDTIPOPDC\r\n";
  const std::vector<std::pair<Json, std::string>> modes = {
      {Json(2), "15471"}, {Json(1), "75036"}, {Json(), "75036"}};
  for (const auto& [mode, label] : modes) {
    useHost({{"CompanyMode", mode}});
    lookup->PianoDeiConti();
    std::string expected = kinds;
    expected.replace(expected.find('%'), 1, label);
    EXPECT_NE(unpadded(lookup->Str_Sql).find(unpadded(expected)), std::string::npos) << mode;
  }
}

TEST_F(ChartLookup, PianoDeiContiFailsWholeOnALabel) {
  useHost(Json::object(), Json::array({"GetMessageText:49174"}));
  lookup->TipoLookupPdC = 3;
  lookup->PianoDeiConti();
  EXPECT_EQ(lookup->Str_Sql, "");
  EXPECT_EQ(lookup->Str_Caption, "");  // the caption comes after the labels
  EXPECT_TRUE(lookup->IDLookup.isEmpty());
}

// ---- Rollover sets, the empty lookup, class correlations ----

TEST_F(ChartLookup, RolloverSetsSortByTheGivenFieldOrByCode) {
  useHost({{"Code", 12}});
  const std::string head =
      "SELECT CI58_CODICE, CI58_DESCRIZIONE FROM CI58_INSIEMI WITH (NOLOCK)  WHERE "
      "CI58_DITTA_CG18 = 12 ORDER BY ";
  for (const Variant& order : {Variant::missing(), Variant(""), Variant::null(), Variant()}) {
    lookup->AnagraficaInsiemiRibaltamenti(order);
    EXPECT_EQ(lookup->Str_Sql, head + "CI58_CODICE");
  }
  lookup->AnagraficaInsiemiRibaltamenti(Variant("CI58_DESCRIZIONE DESC"));
  EXPECT_EQ(lookup->Str_Sql, head + "CI58_DESCRIZIONE DESC");
  EXPECT_EQ(lookup->Str_Caption, "Msg'74710");
  EXPECT_EQ(captions(lookup->Arr_Fields), (std::vector<std::string>{"Codice", "Descrizione"}));
  EXPECT_EQ(lookup->IDLookup, Variant("Lkp_AnagraficaInsiemiRibaltamenti"));
}

TEST_F(ChartLookup, IntermediPDCCoGe2OnlyEmptiesStrSql) {
  useHost({{"Code", 12}});
  lookup->AnagraficaInsiemiRibaltamenti(Variant::missing());
  const Variant fields = lookup->Arr_Fields;
  world.log.clear();
  std::vector<Variant> args{Variant(int32_t{12}), Variant("1")};  // fintLivello left out
  lookup->invoke("AnagraficaIntermediPDCCoGe2", args);
  EXPECT_EQ(lookup->Str_Sql, "");
  EXPECT_EQ(lookup->Arr_Fields, fields);
  EXPECT_EQ(lookup->Str_Caption, "Msg'74710");
  EXPECT_EQ(lookup->IDLookup, Variant("Lkp_AnagraficaInsiemiRibaltamenti"));
  EXPECT_TRUE(world.log.entries().empty());
}

TEST_F(ChartLookup, ClassiCorrelateReadsChartAndCompany) {
  useHost({{"Code", 3}});
  lookup->ClassiCorrelate(Variant::null());
  EXPECT_EQ(lookup->Str_Caption, "Msg'74741 0");
  EXPECT_TRUE(
      has(" OUTER APPLY FNPC05_CLASSI(PC06_CODICE_PC01, PC06_CLASSE_PC05 , 3) \r\n"
          " WHERE   PC06_CODICE_PC01 = 0\r\n ORDER BY"));
  EXPECT_TRUE(unpadded(lookup->Str_Sql).ends_with("PC06_PROG"));  // no final line break
  EXPECT_EQ(selectColumns(), 5u);
  EXPECT_EQ(captions(lookup->Arr_Fields).size(), 5u);
  EXPECT_EQ(lookup->IDLookup, Variant("Lkp_CorrClassi"));

  useHost(Json::object());  // no company code: the function receives 0
  lookup->ClassiCorrelate(Variant("7"));
  EXPECT_EQ(lookup->Str_Caption, "Msg'74741 7");
  EXPECT_TRUE(has("PC06_CLASSE_PC05 , 0) \r\n WHERE   PC06_CODICE_PC01 = 7\r\n"));
}

// ---- AnagraficaPianoDeiConti ----

TEST_F(ChartLookup, AccountsWithoutConnectionUseTheGeneralLayout) {
  lookup->Str_Caption = "kept";
  lookup->AnagraficaPianoDeiConti(Variant(int32_t{4}));  // no host either
  EXPECT_EQ(captions(lookup->Arr_Fields), (std::vector<std::string>{"Conto", "Descrizione"}));
  EXPECT_EQ(lookup->IDLookup, Variant("Lkp_AnagraficaPdC"));
  EXPECT_EQ(lookup->Str_Caption, "kept");
  EXPECT_TRUE(has("FNPC03_ANAGPDC_COAN(PC03_CODICE_PC01 ,PC03_CONTO, NULL, 'ITA ' )),"));
  EXPECT_TRUE(has("FNPC03_ANAGPDC_COGE(PC03_CODICE_PC01, PC03_CONTO, NULL, 'ITA ' ))"));
  EXPECT_TRUE(has(" WHERE    PC03_CODICE_PC01 = 4\r\n ORDER BY PC03_CONTO\r\n"));

  useHost({{"LanguageCode", "ENG"}});
  lookup->AnagraficaPianoDeiConti(Variant::null());
  EXPECT_FALSE(has("<LINGUA>") || has("'ITA '"));
  EXPECT_TRUE(has("NULL, 'ENG' )),") && has("NULL, 'ENG' ))\r\n"));
  EXPECT_TRUE(has(" WHERE    PC03_CODICE_PC01 = 0\r\n"));
}

TEST_F(ChartLookup, AccountsReadTheChartKindFirst) {
  useHost({{"LanguageCode", "ITA"}});
  useChartOfKind(4);
  lookup->AnagraficaPianoDeiConti(Variant("9"));
  const auto& entries = world.log.entries();
  auto query = std::find_if(entries.begin(), entries.end(),
                            [](const Json& e) { return e["object"] == "db"; });
  ASSERT_NE(query, entries.end());
  EXPECT_EQ((*query)["op"], "Execute");
  EXPECT_EQ(unpadded((*query)["sql"].get<std::string>()),
            lines({" SELECT  PC01_INDTIPOPDC", " FROM    PC01_DESCRPDC   WITH(NOLOCK)",
                   " WHERE   PC01_CODICE = 9"}));
  EXPECT_EQ((*query)["options"], -1);
  EXPECT_EQ(lookup->IDLookup, Variant("Lkp_COINPDCRICL"));
}

TEST_F(ChartLookup, AccountsOfAnUnknownChartOrKind) {
  useHost({{"LanguageCode", "ITA"}});
  lookup->IDLookup = Variant("Lkp_Before");
  useChartOfKind(std::nullopt);  // not in the register
  lookup->AnagraficaPianoDeiConti(Variant(int32_t{9}));
  EXPECT_EQ(lookup->Str_Sql, "SELECT * FROM PC03_ANAGPDC WITH(NOLOCK) WHERE 1 = 2");
  EXPECT_TRUE(lookup->Arr_Fields.isEmpty());
  EXPECT_EQ(lookup->IDLookup, Variant("Lkp_Before"));

  // A kind without a layout composes nothing and keeps the other outputs.
  for (Json kind : {Json(0), Json(7), Json(-3), Json(nullptr)}) {
    useChartOfKind(kind);
    lookup->AnagraficaPianoDeiConti(Variant(int32_t{9}));
    EXPECT_EQ(lookup->Str_Sql, "") << kind;
    EXPECT_TRUE(lookup->Arr_Fields.isEmpty());
    EXPECT_EQ(lookup->IDLookup, Variant("Lkp_Before"));
  }
}

TEST_F(ChartLookup, ReclassificationChartsUseTheirBuildersInOrder) {
  for (int kind = 3; kind <= 6; ++kind) {
    lookup->ActiveInterface = nullptr;
    useChartOfKind(kind);
    lookup->AnagraficaPianoDeiConti(Variant(int32_t{2}));
    EXPECT_TRUE(has("FNPC03_ANAGPDC_COGE(PC03_CODICE_PC01, PC03_CONTO, NULL, 'ITA ')) AS"));
    EXPECT_FALSE(has("CASE"));  // no host: every builder yields ""
    EXPECT_EQ(captions(lookup->Arr_Fields).size(), 7u);

    useHost({{"LanguageCode", "DEU"}, {"CompanyMode", 2}});
    lookup->AnagraficaPianoDeiConti(Variant(int32_t{2}));
    EXPECT_TRUE(has("NULL, 'DEU')) AS PC03_DESCR"));
    size_t last = 0;
    for (std::string_view column :
         {"CASE  PC03_TIPOCONTORICL", "CASE PC03_INDFONTIUSI", "CASE PC03_INDSEGNO",
          "CASE PC03_FLGVISTOTMAS", "CASE PC03_FLGPARTINFRA", " FROM      PC03_ANAGPDC"}) {
      size_t at = lookup->Str_Sql.find(column);
      ASSERT_NE(at, std::string::npos) << column;
      EXPECT_GT(at, last) << column;
      last = at;
    }
    EXPECT_EQ(selectColumns(), 7u);
    EXPECT_FALSE(has("PC17_STATIPDC"));  // statuses are not shown for these charts
    EXPECT_TRUE(unpadded(lookup->Str_Sql)
                    .ends_with(" WHERE     PC03_CODICE_PC01 = 2\r\n ORDER BY  PC03_CONTO\r\n"));
    EXPECT_EQ(lookup->IDLookup, Variant("Lkp_COINPDCRICL"));
  }
}

struct StatusCase {
  Json mode;
  Variant date;
  bool columns, filter;
};

TEST_F(ChartLookup, IndustrialAndSpendingChartsFollowTheStatusGate) {
  const std::vector<StatusCase> cases = {{1, Variant::null(), false, false},
                                         {2, Variant::null(), true, false},
                                         {2, Variant(Date{2026, 11, 22}), false, true},
                                         {1, Variant(Date{2026, 11, 22}), false, false}};
  for (int kind : {1, 2}) {
    for (const StatusCase& c : cases) {
      useHost({{"Code", 5}, {"LanguageCode", "ITA"}, {"CompanyMode", c.mode}});
      useChartOfKind(kind);
      lookup->DataValiditaConti = c.date;
      lookup->AnagraficaPianoDeiConti(Variant("20"));
      SCOPED_TRACE("kind " + std::to_string(kind) + " mode " + c.mode.dump());

      const auto shown = captions(lookup->Arr_Fields);
      EXPECT_EQ(shown.size(), selectColumns());
      EXPECT_EQ(shown.size(), (kind == 1 ? 11u : 9u) + (c.columns ? 2 : 0));
      EXPECT_EQ(std::count(shown.begin(), shown.end(), "Disattivato"), c.columns ? 1 : 0);
      EXPECT_EQ(has(" AS     PC17_FLGDISATT"), c.columns);
      EXPECT_EQ(has(" LEFT OUTER JOIN PC17_STATIPDC"), c.columns);
      EXPECT_TRUE(has(" OUTER APPLY DBO.FNPC04_NATURECOSTI(PC03_NATURA_PC04, 5) \r\n"));
      EXPECT_TRUE(has("NULL, 'ITA')) AS PC03_DESCR\r\n"));
      if (c.columns) {
        // The status columns sit where their captions are.
        auto at = std::find(shown.begin(), shown.end(), "Disattivato") - shown.begin();
        EXPECT_EQ(at, kind == 1 ? 11 : 6);
      }
      const std::string where = " WHERE     PC03_CODICE_PC01 = 20\r\n";
      const std::string filter = c.filter ? " AND   NOT EXISTS        \r\n"
                                          : std::string(kind == 1 ? " AND PC03" : " ORDER");
      EXPECT_TRUE(has(where + filter)) << lookup->Str_Sql;
      EXPECT_EQ(has("PC17_DATADISATT <= '20261122'\r\n"), c.filter);
      if (kind == 1) {
        EXPECT_TRUE(unpadded(lookup->Str_Sql)
                        .ends_with(" AND PC03_TIPOCONTOCI IN (1,2,3,4,5,6,7,8,9,10)\r\n"
                                   " ORDER BY PC03_TIPOCONTOCI, PC03_CONTO\r\n"));
        EXPECT_EQ(lookup->IDLookup, Variant("Lkp_COINPDCCOIN"));
      } else {
        EXPECT_TRUE(
            has("           WHEN 4 THEN 'Msg''59381' \r\n"
                "        END  )               AS TIPOLOGIA_NTC_DES\r\n"));
        EXPECT_TRUE(unpadded(lookup->Str_Sql).ends_with(" ORDER BY  PC03_CONTO\r\n"));
        EXPECT_EQ(lookup->IDLookup, Variant("Lkp_COINPDCVDS"));
      }
    }
  }
}

TEST_F(ChartLookup, AccountFailuresEmptyStrSql) {
  useHost({{"LanguageCode", "ITA"}});
  useChartOfKind(4, Json::array({"Execute:PC01_DESCRPDC"}));
  lookup->AnagraficaPianoDeiConti(Variant(int32_t{1}));
  EXPECT_EQ(lookup->Str_Sql, "");

  useHost(Json::object(), Json::array({"LanguageCode"}));
  lookup->Connessione = nullptr;
  lookup->AnagraficaPianoDeiConti(Variant(int32_t{1}));
  EXPECT_EQ(lookup->Str_Sql, "");
  EXPECT_TRUE(lookup->Arr_Fields.isEmpty());  // failed before any layout
}

}  // namespace
}  // namespace brelvane::testing
