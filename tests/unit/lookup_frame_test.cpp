// The lookup frame through the code-table lookups: full texts, the host-call
// sequence and the error convention (fault_sweep_test.cpp fails each operation).
#include <set>

#include "brelvane/lookup/clsci_lookup.h"
#include "fixture.h"

namespace brelvane::testing {
namespace {

struct LookupTest : ::testing::Test {
  World world;
  std::shared_ptr<CLSCI_LOOKUP> lk = world.create<CLSCI_LOOKUP>();

  void attach(const Json& host) { lk->ActiveInterface = world.host(host); }
};

TEST_F(LookupTest, NatureCostiComposesTheWholeDefinition) {
  attach({{"kind", "host"},
          {"company", {{"Code", 7}}},
          {"messages", {{"39796", "Nessuna"}, {"16572", "Costo"}, {"73320", "Nature d'uso"}}}});
  call(*lk, "NatureCosti");
  EXPECT_EQ(
      unpadded(lk->Str_Sql),
      lines({" SELECT          PC04_CODICE",
             "     ,   (SELECT PC04_DESCR FROM FNPC04_NATURECOSTI(PC04_CODICE,7)) AS PC04_DESCR",
             "     ,           PC04_INDCOSTORIC", "     ,  CASE     PC04_INDCOSTORIC",
             "           WHEN 0 THEN 'Nessuna'", "           WHEN 1 THEN 'Costo'",
             "           WHEN 2 THEN 'Msg''48931'", "           WHEN 3 THEN 'Msg''66288'",
             "           WHEN 4 THEN 'Msg''59381'", "        ELSE           'Nessuna'",
             "        END                         AS DES_TIPOLOGIA",
             " FROM            PC04_NATURECOSTI  WITH(NOLOCK)", " ORDER BY        PC04_CODICE"}));
  EXPECT_EQ(
      captions(lk->Arr_Fields),
      (std::vector<std::string>{"Codice", "Descrizione", "Tipologia", "Descrizione Tipologia"}));
  EXPECT_EQ(lk->Str_Caption, "Nature d'uso");  // captions are not prepared for SQL
  EXPECT_EQ(lk->IDLookup, Variant("Lkp_NatureCosti"));
}

TEST_F(LookupTest, NatureCostiAsksTheHostAfreshForEveryText) {
  attach({{"kind", "host"}, {"company", {{"Code", 7}}}});
  call(*lk, "NatureCosti");
  std::vector<std::string> expected = {"Context", "Company", "Code"};
  auto label = [&](int id) {
    for (std::string op :
         std::vector<std::string>{"Context", "Messages", "GetMessageText:" + std::to_string(id),
                                  "Context", "Messages", "PrepareSqlText"})
      expected.push_back(op);
  };
  for (int id : {39796, 16572, 48931, 66288, 59381, 39796}) label(id);  // ELSE fetches 39796 again
  for (std::string op : {"Context", "Messages", "GetMessageText:73320"}) expected.push_back(op);
  EXPECT_EQ(world.ops("host"), expected);
}

TEST_F(LookupTest, IndicatorLookupsKeepTheirOwnSpacing) {
  attach({{"kind", "host"}});
  call(*lk, "ProvenienzeCosti");
  EXPECT_EQ(
      unpadded(lk->Str_Sql),
      lines({" SELECT  CI90_VALORE", "  , CASE CI90_VALORE", "       WHEN  0 THEN 'Msg''67538'",
             "       WHEN  1 THEN 'Msg''75180'", "       WHEN  2 THEN 'Msg''16671'",
             "       WHEN  3 THEN 'Msg''16618'", "    ELSE  CI90_DESCRIZIONE", "    END",
             "   AS   CI90_DESCRIZIONE", " FROM    CI90_INDICATORI   WITH(NOLOCK)",
             " WHERE   CI90_CODICE = 1", " ORDER BY CI90_VALORE ASC"}));
  EXPECT_EQ(lk->Str_Caption, "Msg'74758");

  call(*lk, "TipiContiCoin");
  std::string sql = unpadded(lk->Str_Sql);
  EXPECT_NE(
      sql.find("      WHEN  9 THEN 'Msg''49888'\r\n      WHEN 10 THEN 'Msg''84543'\r\n    END\r\n"),
      std::string::npos);
  EXPECT_EQ(sql.find("ELSE"), std::string::npos);
  EXPECT_NE(sql.find(" WHERE   CI90_CODICE = 7\r\n"), std::string::npos);
  EXPECT_EQ(captions(lk->Arr_Fields), (std::vector<std::string>{"Codice", "Descrizione"}));
  EXPECT_EQ(lk->IDLookup, Variant("Lkp_TipiContiCoin"));
}

TEST_F(LookupTest, EachIndicatorLookupReadsItsOwnCode) {
  attach({{"kind", "host"}});
  struct Row {
    const char* method;
    const char* id;
    int code, caption;
  } rows[] = {{"TipiAttivita", "Lkp_TipiAttivita", 6, 74761},
              {"VariabilitaCosti", "Lkp_VariabilitaCosti", 5, 74762},
              {"NatureCausali", "Lkp_NatureCausali", 2, 74763},
              {"TipoCliFor", "Lkp_TipoCliFor", 8, 74764},
              {"StatoRegCogeCoin", "Lkp_StatoRegCogeCoin", 9, 74765}};
  for (const auto& r : rows) {
    call(*lk, r.method);
    std::string sql = unpadded(lk->Str_Sql);
    EXPECT_NE(sql.find(" WHERE   CI90_CODICE = " + std::to_string(r.code) + "\r\n"),
              std::string::npos)
        << r.id;
    EXPECT_NE(sql.find("      ELSE  CI90_DESCRIZIONE\r\n    END\r\n   AS    CI90_DESCRIZIONE\r\n"),
              std::string::npos)
        << r.id;
    EXPECT_EQ(lk->Str_Caption, "Msg'" + std::to_string(r.caption));
    EXPECT_EQ(lk->IDLookup, Variant(r.id));
  }
}

TEST_F(LookupTest, WithoutHostTheColumnsAreFilledAndTheSqlIsEmpty) {
  lk->IDLookup = Variant("Lkp_Earlier");
  lk->Str_Caption = "earlier";
  lk->Str_Sql = "SELECT 1";
  EXPECT_NO_THROW(call(*lk, "NatureCosti"));
  EXPECT_EQ(lk->Str_Sql, "");
  EXPECT_EQ(captions(lk->Arr_Fields).size(), 4u);
  EXPECT_EQ(lk->Str_Caption, "earlier");
  EXPECT_EQ(lk->IDLookup, Variant("Lkp_Earlier"));
}

TEST_F(LookupTest, NullCompanyCodeBecomesZero) {
  attach({{"kind", "host"}, {"company", {{"Code", nullptr}}}});
  call(*lk, "NatureCosti");
  EXPECT_NE(lk->Str_Sql.find("FNPC04_NATURECOSTI(PC04_CODICE,0))"), std::string::npos);
}

TEST_F(LookupTest, LookupsAreReachableByName) {
  attach({{"kind", "host"}});
  std::vector<Variant> none;
  lk->invoke("naturecosti", none);
  EXPECT_EQ(lk->get("IDLookup"), Variant("Lkp_NatureCosti"));
  EXPECT_EQ(lk->get("DataValiditaConti"), Variant::null());
  EXPECT_EQ(lk->get("TipoLookupPdC"), Variant(int32_t{0}));
  EXPECT_TRUE(lk->get("Arr_Fields").isArray());
}

TEST(LookupLifecycle, UtilityObjectIsCreatedInitialisedAndReleased) {
  World world;
  {
    auto lk = world.create<CLSCI_LOOKUP>();
    auto other = world.create<CLSCI_LOOKUP>();
  }
  EXPECT_EQ(world.ops("utility#1"), (std::vector<std::string>{"Create", "Initialise", "Release"}));
  EXPECT_EQ(world.ops("utility#2"), (std::vector<std::string>{"Create", "Initialise", "Release"}));
}

TEST(LookupLifecycle, AFailingUtilityDoesNotFailCreation) {
  World world(Json{{"fail", {"Create"}}});
  std::shared_ptr<CLSCI_LOOKUP> lk;
  ASSERT_NO_THROW(lk = world.create<CLSCI_LOOKUP>());
  lk->ActiveInterface = world.host();
  call(*lk, "NatureCosti");  // ValueOrDefault has no utility to run on
  EXPECT_EQ(lk->Str_Sql, "");
}

// The registration number bridge is the one member that raises: an object
// that is no connection fails it under the bridge's name, and leaves the
// lookup's outputs alone.
TEST(RegistrationBridge, RaisesUnderItsOwnNameAndLeavesTheOutputs) {
  World world;
  auto lk = world.create<CLSCI_LOOKUP>();
  lk->ActiveInterface = world.host();
  lk->Str_Sql = "kept";
  std::vector<Variant> args{Variant(world.host()), Variant(int32_t{1}), Variant("G1"),
                            Variant(int16_t{1})};
  try {
    lk->invoke("GetNumregCoanFromNumregCoge", args);
    ADD_FAILURE() << "no error";
  } catch (const AutomationError& e) {
    EXPECT_EQ(e.number, err::kUnknownMember);
    EXPECT_EQ(e.source, "GetNumregCoanFromNumregCoge:\r\nBrelvane");
  }
  EXPECT_EQ(lk->Str_Sql, "kept");
  args[3] = Variant(int16_t{2});  // mode 2: the number itself, no connection needed
  EXPECT_EQ(lk->invoke("GetNumregCoanFromNumregCoge", args), Variant("G1"));
}

}  // namespace
}  // namespace brelvane::testing
