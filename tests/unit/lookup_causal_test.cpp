// Causal-code lookups: layouts, CASE forms and ELSE branches, the movement
// mask, and the ActiveInterface test that precedes the error convention.
#include <map>
#include <vector>

#include "brelvane/lookup/clsci_lookup.h"
#include "unit/fixture.h"

namespace brelvane::testing {
namespace {

struct CausalLookup : ::testing::Test {
  World world;
  std::shared_ptr<CLSCI_LOOKUP> lookup = world.create<CLSCI_LOOKUP>();

  void useHost(Json company, Json fail = Json::array()) {
    lookup->ActiveInterface = world.host({{"kind", "host"}, {"company", company}, {"fail", fail}});
  }
  /// The text from "CASE column" to "END AS column", both included.
  std::string caseOf(const std::string& column) const {
    const std::string& sql = lookup->Str_Sql;
    size_t from = sql.find("     CASE " + column + "\r\n");
    size_t to = sql.find("     END AS " + column + "\r\n", from);
    if (from == std::string::npos || to == std::string::npos) return {};
    return sql.substr(from, to - from);
  }
  /// How many SELECT columns the composed text has: one per comma line or
  /// comma-led column, plus the first and the two of the shared line.
  size_t selectColumns() const {
    const std::string& sql = lookup->Str_Sql;
    size_t n = 1, pos = 0;
    while ((pos = sql.find("\r\n     ,", pos)) != std::string::npos) ++n, ++pos;
    if (sql.find("CI03_CODCAUSCOLL , CI03_MODELLO_CI04") != std::string::npos) n += 2;
    return n;
  }
};

TEST_F(CausalLookup, StandardLayoutWhenModeIsNot2) {
  for (Json mode : {Json(1), Json(nullptr), Json("2x")}) {
    useHost({{"Code", 5}, {"CompanyMode", mode}});
    lookup->CausaliContabilitàIndustriale();
    EXPECT_EQ(captions(lookup->Arr_Fields).size(), 12u) << mode;
    EXPECT_EQ(selectColumns(), 12u);
    EXPECT_EQ(captions(lookup->Arr_Fields)[3], "Tipo proposta costo");
    EXPECT_EQ(lookup->IDLookup, Variant("Lkp_CauCont"));
    EXPECT_EQ(lookup->Str_Caption, "Msg'74726");
    EXPECT_NE(lookup->Str_Sql.find("FNCI03_CAUSALI(CI03_CODCAUS, 5)) AS  CI03_DESCR\r\n"),
              std::string::npos);
    EXPECT_EQ(lookup->Str_Sql.find("OUTER APPLY"), std::string::npos);
    EXPECT_TRUE(lookup->Str_Sql.ends_with("WITH(NOLOCK)\r\n ORDER BY CI03_CODCAUS\r\n"));
  }
}

TEST_F(CausalLookup, ProjectLayoutWhenModeIs2) {
  useHost({{"Code", 7}, {"CompanyMode", 2}});
  lookup->CausaliContabilitàIndustriale();
  EXPECT_EQ(captions(lookup->Arr_Fields).size(), 21u);
  EXPECT_EQ(selectColumns(), 21u);
  EXPECT_EQ(lookup->IDLookup, Variant("Lkp_PSCauCont"));
  EXPECT_EQ(lookup->Str_Caption, "Msg'74725");
  EXPECT_NE(lookup->Str_Sql.find(" ISNULL(CGT0_DESCR,'') AS CI03_INDTIPOMOV\r\n"),
            std::string::npos);
  EXPECT_TRUE(lookup->Str_Sql.ends_with(
      " OUTER APPLY DBO.FNCGT0_TIPOMOV(CI03_INDTIPOMOV, 7) \r\n ORDER BY CI03_CODCAUS\r\n"));
}

TEST_F(CausalLookup, BranchFormsAndElseFollowEachColumn) {
  // Which columns show '' for unknown values (ELSE) and which show NULL.
  const std::map<std::string, bool> projectElse = {
      {"CI03_INDTIPOMOVDATI", false},     {"CI03_INDREGORIDEST", false},
      {"CI03_INDOPERAZIONE", true},       {"CI03_INDRICCLIFOR", true},
      {"CI03_INDQUADRATURA", true},       {"CI03_INDREGVALQTA", true},
      {"CI03_FLGTIPOMOVDAORIGINE", true}, {"CI03_FLGRILPROG", false},
      {"CI03_FLGRICCOMMESSA", false},     {"CI03_FLGOBBLCOMMESSA", true},
      {"CI03_FLGRICPROGETTO", false},     {"CI03_FLGOBBLPROGETTO", true},
      {"CI03_FLGRICCOMPETENZA", false},   {"CI03_FLGOBBLCOMPETENZA", true},
      {"CI03_FLGNUMAUTOM", true},         {"CI03_FLGINVSEGNO", true}};
  useHost({{"CompanyMode", 2}});
  lookup->CausaliContabilitàIndustriale();
  for (const auto& [column, hasElse] : projectElse) {
    std::string text = caseOf(column);
    ASSERT_FALSE(text.empty()) << column;
    EXPECT_EQ(text.find("       ELSE ''\r\n") != std::string::npos, hasElse) << column;
  }
  EXPECT_NE(caseOf("CI03_INDREGORIDEST").find("       WHEN 2 THEN 'Msg''55024' \r\n"),
            std::string::npos);
  EXPECT_NE(caseOf("CI03_INDQUADRATURA")
                .find("       WHEN  0 THEN 'Msg''39318' \r\n"
                      "       WHEN  1 THEN 'Msg''52384' \r\n"
                      "       WHEN  2 THEN 'Msg''52403' \r\n"
                      "       WHEN 99 THEN 'Msg''14138' \r\n"),
            std::string::npos);
  EXPECT_NE(caseOf("CI03_FLGINVSEGNO").find("       WHEN 2  THEN 'Msg''8390' \r\n"),
            std::string::npos);
  EXPECT_NE(caseOf("CI03_FLGRILPROG").find("       WHEN 1\r\n           THEN 'Msg''52384' \r\n"),
            std::string::npos);

  const std::map<std::string, bool> standardElse = {
      {"CI03_INDTIPOCOSRIC", true},   {"CI03_INDPROPCOSTO", true},    {"CI03_INDPROVCOSTO", true},
      {"CI03_INDTIPOMOVDATI", false}, {"CI03_INDSTAPER_CI04", false}, {"CI03_FLGCOSTOMANOD", false},
      {"CI03_FLGNUMAUTOM", true},     {"CI03_FLGAUTOMATICO", false}};
  useHost({{"CompanyMode", 1}});
  lookup->CausaliContabilitàIndustriale();
  for (const auto& [column, hasElse] : standardElse) {
    std::string text = caseOf(column);
    ASSERT_FALSE(text.empty()) << column;
    EXPECT_EQ(text.find("       ELSE ''\r\n") != std::string::npos, hasElse) << column;
  }
  EXPECT_NE(caseOf("CI03_INDSTAPER_CI04").find("        WHEN 1\r\n           THEN 'Msg''44336' "),
            std::string::npos);
}

struct MaskCase {
  int16_t mask;
  std::string values;  ///< "" when nothing is selected
  std::vector<int> names;
};

TEST_F(CausalLookup, MaskSelectsMovementTypes) {
  const std::vector<MaskCase> cases = {{0, "", {}},
                                       {16, "", {}},
                                       {5, "0, 2", {55020, 36800}},
                                       {8, "3", {49727}},
                                       {15, "0, 1, 2, 3", {55020, 36548, 36800, 49727}},
                                       {-1, "0, 1, 2, 3", {55020, 36548, 36800, 49727}}};
  useHost({{"Code", 1}});
  for (const MaskCase& c : cases) {
    std::string names;
    for (int id : c.names) names += (names.empty() ? "" : ", ") + ("Msg'" + std::to_string(id));
    const std::string in = " WHERE CI03_CAUSALI.CI03_INDTIPOMOVDATI IN (" + c.values + ")";
    const std::string from = " FROM    CI03_CAUSALI    WITH(NOLOCK)\r\n";

    lookup->CausaliPerTipoMovimentazione(c.mask);
    EXPECT_TRUE(
        lookup->Str_Sql.ends_with(from + (c.values.empty() ? "" : in) + " ORDER BY CI03_CODCAUS"))
        << c.mask;
    EXPECT_EQ(lookup->Str_Caption, c.values.empty() ? "Msg'74786" : "Msg'74785 " + names);
    EXPECT_EQ(captions(lookup->Arr_Fields)[3], "Tipo proposta conto");
    EXPECT_EQ(selectColumns(), 12u);
    EXPECT_EQ(lookup->IDLookup, Variant("Lkp_CauCont"));

    lookup->CausaliPerTipoMovimentazioneANumerazioneAutomatica(c.mask);
    EXPECT_TRUE(lookup->Str_Sql.ends_with(from +
                                          (c.values.empty()
                                               ? " WHERE CI03_CAUSALI.CI03_FLGNUMAUTOM = 1"
                                               : in + " AND CI03_CAUSALI.CI03_FLGNUMAUTOM = 1") +
                                          " ORDER BY CI03_CODCAUS"))
        << c.mask;
    EXPECT_EQ(lookup->Str_Caption, c.values.empty() ? "Msg'74787" : "Msg'74788 " + names);
  }
}

TEST_F(CausalLookup, WithoutActiveInterfaceOnlyStrSqlIsEmptied) {
  useHost({{"CompanyMode", 1}});
  lookup->CausaliContabilitàIndustriale();
  const Variant fields = lookup->Arr_Fields;
  lookup->ActiveInterface = nullptr;
  world.log.clear();
  lookup->CausaliContabilitàIndustriale();
  EXPECT_EQ(lookup->Str_Sql, "");
  lookup->CausaliPerTipoMovimentazione(15);
  EXPECT_EQ(lookup->Str_Sql, "");
  lookup->CausaliPerTipoMovimentazioneANumerazioneAutomatica(15);
  EXPECT_EQ(lookup->Str_Sql, "");
  EXPECT_EQ(lookup->Arr_Fields, fields);
  EXPECT_EQ(lookup->Str_Caption, "Msg'74726");
  EXPECT_EQ(lookup->IDLookup, Variant("Lkp_CauCont"));
  EXPECT_TRUE(world.log.entries().empty());
}

TEST_F(CausalLookup, FailuresEmptyStrSqlAndKeepWhatWasWritten) {
  // The setting cannot be read: nothing but Str_Sql changes.
  useHost({{"CompanyMode", 2}}, Json::array({"CompanyMode"}));
  lookup->IDLookup = Variant("Lkp_Before");
  lookup->CausaliContabilitàIndustriale();
  EXPECT_EQ(lookup->Str_Sql, "");
  EXPECT_TRUE(lookup->Arr_Fields.isEmpty());

  // A name of the caption fails before Arr_Fields is written.
  useHost(Json::object(), Json::array({"GetMessageText:36548"}));
  lookup->CausaliPerTipoMovimentazione(2);
  EXPECT_EQ(lookup->Str_Sql, "");
  EXPECT_TRUE(lookup->Arr_Fields.isEmpty());

  // A label inside the SQL fails after Arr_Fields, before the caption.
  useHost(Json::object(), Json::array({"GetMessageText:49727"}));
  lookup->CausaliPerTipoMovimentazione(1);
  EXPECT_EQ(lookup->Str_Sql, "");
  EXPECT_EQ(captions(lookup->Arr_Fields).size(), 12u);
  EXPECT_EQ(lookup->Str_Caption, "");
  EXPECT_EQ(lookup->IDLookup, Variant("Lkp_Before"));
}

TEST_F(CausalLookup, LabelsGoThroughPrepareSqlTextAndNamesDoNot) {
  lookup->ActiveInterface =
      world.host({{"kind", "host"}, {"messages", {{"55020", "Std'x"}, {"16572", "Costo'"}}}});
  lookup->CausaliPerTipoMovimentazione(1);
  EXPECT_EQ(lookup->Str_Caption, "Msg'74785 Std'x");
  EXPECT_NE(lookup->Str_Sql.find("THEN 'Costo''' \r\n"), std::string::npos);
  EXPECT_NE(lookup->Str_Sql.find("THEN 'Std''x' \r\n"), std::string::npos);
}

}  // namespace
}  // namespace brelvane::testing
