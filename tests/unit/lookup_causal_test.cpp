// Causal-code lookups: the layout by company mode, the movement mask, and
// the ActiveInterface test that precedes the error convention. The exact
// texts of both layouts are checked by the golden scenario lookup_causal.json.
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

TEST_F(CausalLookup, LayoutFollowsCompanyMode) {
  useHost({{"Code", 7}, {"CompanyMode", 2}});
  call(*lookup, "CausaliContabilitàIndustriale");
  EXPECT_EQ(captions(lookup->Arr_Fields).size(), 21u);
  EXPECT_EQ(selectColumns(), 21u);
  EXPECT_EQ(lookup->IDLookup, Variant("Lkp_PSCauCont"));
  for (Json mode : {Json(1), Json(nullptr), Json("2x")}) {
    useHost({{"Code", 5}, {"CompanyMode", mode}});
    call(*lookup, "CausaliContabilitàIndustriale");
    EXPECT_EQ(captions(lookup->Arr_Fields).size(), 12u) << mode;
    EXPECT_EQ(selectColumns(), 12u);
    EXPECT_EQ(captions(lookup->Arr_Fields)[3], "Tipo proposta costo");
    EXPECT_EQ(lookup->IDLookup, Variant("Lkp_CauCont"));
    EXPECT_EQ(lookup->Str_Sql.find("OUTER APPLY"), std::string::npos);
  }
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

    call(*lookup, "CausaliPerTipoMovimentazione", {c.mask});
    EXPECT_TRUE(
        lookup->Str_Sql.ends_with(from + (c.values.empty() ? "" : in) + " ORDER BY CI03_CODCAUS"))
        << c.mask;
    EXPECT_EQ(lookup->Str_Caption, c.values.empty() ? "Msg'74786" : "Msg'74785 " + names);
    EXPECT_EQ(captions(lookup->Arr_Fields)[3], "Tipo proposta conto");
    EXPECT_EQ(selectColumns(), 12u);
    EXPECT_EQ(lookup->IDLookup, Variant("Lkp_CauCont"));

    call(*lookup, "CausaliPerTipoMovimentazioneANumerazioneAutomatica", {c.mask});
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
  call(*lookup, "CausaliContabilitàIndustriale");
  const Variant fields = lookup->Arr_Fields;
  lookup->ActiveInterface = nullptr;
  world.log.clear();
  call(*lookup, "CausaliContabilitàIndustriale");
  EXPECT_EQ(lookup->Str_Sql, "");
  call(*lookup, "CausaliPerTipoMovimentazione", {15});
  EXPECT_EQ(lookup->Str_Sql, "");
  call(*lookup, "CausaliPerTipoMovimentazioneANumerazioneAutomatica", {15});
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
  call(*lookup, "CausaliContabilitàIndustriale");
  EXPECT_EQ(lookup->Str_Sql, "");
  EXPECT_TRUE(lookup->Arr_Fields.isEmpty());

  // A name of the caption fails before Arr_Fields is written.
  useHost(Json::object(), Json::array({"GetMessageText:36548"}));
  call(*lookup, "CausaliPerTipoMovimentazione", {2});
  EXPECT_EQ(lookup->Str_Sql, "");
  EXPECT_TRUE(lookup->Arr_Fields.isEmpty());

  // A label inside the SQL fails after Arr_Fields, before the caption.
  useHost(Json::object(), Json::array({"GetMessageText:49727"}));
  call(*lookup, "CausaliPerTipoMovimentazione", {1});
  EXPECT_EQ(lookup->Str_Sql, "");
  EXPECT_EQ(captions(lookup->Arr_Fields).size(), 12u);
  EXPECT_EQ(lookup->Str_Caption, "");
  EXPECT_EQ(lookup->IDLookup, Variant("Lkp_Before"));
}

TEST_F(CausalLookup, LabelsGoThroughPrepareSqlTextAndNamesDoNot) {
  lookup->ActiveInterface =
      world.host({{"kind", "host"}, {"messages", {{"55020", "Std'x"}, {"16572", "Costo'"}}}});
  call(*lookup, "CausaliPerTipoMovimentazione", {1});
  EXPECT_EQ(lookup->Str_Caption, "Msg'74785 Std'x");
  EXPECT_NE(lookup->Str_Sql.find("THEN 'Costo''' \r\n"), std::string::npos);
  EXPECT_NE(lookup->Str_Sql.find("THEN 'Std''x' \r\n"), std::string::npos);
}

}  // namespace
}  // namespace brelvane::testing
