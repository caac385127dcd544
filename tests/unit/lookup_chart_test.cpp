// The account master laid out by the chart's kind, and the empty lookup.
// The chart list, rollover sets and class correlations are checked word for
// word by the golden scenario lookup_chart.json.
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

TEST_F(ChartLookup, IntermediPDCCoGe2OnlyEmptiesStrSql) {
  useHost({{"Code", 12}});
  call(*lookup, "AnagraficaInsiemiRibaltamenti", {Variant::missing()});
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

// ---- AnagraficaPianoDeiConti ----

TEST_F(ChartLookup, AccountsWithoutConnectionUseTheGeneralLayout) {
  lookup->Str_Caption = "kept";
  call(*lookup, "AnagraficaPianoDeiConti", {Variant(int32_t{4})});  // no host either
  EXPECT_EQ(captions(lookup->Arr_Fields), (std::vector<std::string>{"Conto", "Descrizione"}));
  EXPECT_EQ(lookup->IDLookup, Variant("Lkp_AnagraficaPdC"));
  EXPECT_EQ(lookup->Str_Caption, "kept");
  EXPECT_TRUE(has("FNPC03_ANAGPDC_COAN(PC03_CODICE_PC01 ,PC03_CONTO, NULL, 'ITA ' )),"));
  EXPECT_TRUE(has("FNPC03_ANAGPDC_COGE(PC03_CODICE_PC01, PC03_CONTO, NULL, 'ITA ' ))"));
  EXPECT_TRUE(has(" WHERE    PC03_CODICE_PC01 = 4\r\n ORDER BY PC03_CONTO\r\n"));

  useHost({{"LanguageCode", "ENG"}});
  call(*lookup, "AnagraficaPianoDeiConti", {Variant::null()});
  EXPECT_FALSE(has("<LINGUA>") || has("'ITA '"));
  EXPECT_TRUE(has("NULL, 'ENG' )),") && has("NULL, 'ENG' ))\r\n"));
  EXPECT_TRUE(has(" WHERE    PC03_CODICE_PC01 = 0\r\n"));
}

TEST_F(ChartLookup, AccountsReadTheChartKindFirst) {
  useHost({{"LanguageCode", "ITA"}});
  useChartOfKind(4);
  call(*lookup, "AnagraficaPianoDeiConti", {Variant("9")});
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
  call(*lookup, "AnagraficaPianoDeiConti", {Variant(int32_t{9})});
  EXPECT_EQ(lookup->Str_Sql, "SELECT * FROM PC03_ANAGPDC WITH(NOLOCK) WHERE 1 = 2");
  EXPECT_TRUE(lookup->Arr_Fields.isEmpty());
  EXPECT_EQ(lookup->IDLookup, Variant("Lkp_Before"));

  // A kind without a layout composes nothing and keeps the other outputs.
  for (Json kind : {Json(0), Json(7), Json(-3), Json(nullptr)}) {
    useChartOfKind(kind);
    call(*lookup, "AnagraficaPianoDeiConti", {Variant(int32_t{9})});
    EXPECT_EQ(lookup->Str_Sql, "") << kind;
    EXPECT_TRUE(lookup->Arr_Fields.isEmpty());
    EXPECT_EQ(lookup->IDLookup, Variant("Lkp_Before"));
  }
}

TEST_F(ChartLookup, ReclassificationChartsUseTheirBuildersInOrder) {
  for (int kind = 3; kind <= 6; ++kind) {
    lookup->ActiveInterface = nullptr;
    useChartOfKind(kind);
    call(*lookup, "AnagraficaPianoDeiConti", {Variant(int32_t{2})});
    EXPECT_TRUE(has("FNPC03_ANAGPDC_COGE(PC03_CODICE_PC01, PC03_CONTO, NULL, 'ITA ')) AS"));
    EXPECT_FALSE(has("CASE"));  // no host: every builder yields ""
    EXPECT_EQ(captions(lookup->Arr_Fields).size(), 7u);

    useHost({{"LanguageCode", "DEU"}, {"CompanyMode", 2}});
    call(*lookup, "AnagraficaPianoDeiConti", {Variant(int32_t{2})});
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
      call(*lookup, "AnagraficaPianoDeiConti", {Variant("20")});
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
  call(*lookup, "AnagraficaPianoDeiConti", {Variant(int32_t{1})});
  EXPECT_EQ(lookup->Str_Sql, "");

  useHost(Json::object(), Json::array({"LanguageCode"}));
  lookup->Connessione = nullptr;
  call(*lookup, "AnagraficaPianoDeiConti", {Variant(int32_t{1})});
  EXPECT_EQ(lookup->Str_Sql, "");
  EXPECT_TRUE(lookup->Arr_Fields.isEmpty());  // failed before any layout
}

}  // namespace
}  // namespace brelvane::testing
