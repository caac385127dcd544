// The fragment builders of the chart lookups: exact lines, the account-status
// gate, and the rule that a failing builder drops only its own fragment.
#include "compose/sql_text.h"
#include "fixture.h"
#include "lookup/builders.h"

namespace brelvane::testing {
namespace {

using namespace lookup;

struct BuildersTest : ::testing::Test {
  World world;
  std::shared_ptr<UtilityObject> utility = world.factory.createAs<UtilityObject>(kUtilityProgId);

  HostAccess access(Json host = Json{{"kind", "host"}}) {
    return HostAccess(world.host(host), utility);
  }
  static Json company(const Json& mode, const Json& code = 12) {
    return {{"kind", "host"}, {"company", {{"Code", code}, {"CompanyMode", mode}}}};
  }
};

TEST_F(BuildersTest, ValueListFormWritesWhenAndThenOnTwoLines) {
  auto host = access({{"kind", "host"}, {"messages", {{"16671", "Da l'esterno"}}}});
  EXPECT_EQ(CaseIndProvCosto(host),
            lines({"     ,CASE   PC03_INDPROVCOSTO       ", "             WHEN 0",
                   "               THEN 'Msg''39128' ", "             WHEN 2",
                   "               THEN 'Da l''esterno' ", "             WHEN 3",
                   "               THEN 'Msg''16618' ", "             WHEN 1",
                   "               THEN 'Msg''75180' ", "      END AS PC03_INDPROVCOSTO       "}));
  std::string segno = CaseIndSegno(host);
  EXPECT_EQ(
      unpadded(segno),
      lines({"     , CASE PC03_INDSEGNO", "           WHEN  1", "               THEN 'Msg''17737'",
             "           WHEN  2", "               THEN 'Msg''8493'", "           WHEN  0",
             "               THEN 'Msg''39301'", "       END", "      AS    PC03_INDSEGNO"}));
  std::string staPer = unpadded(CaseIndStaPer(host));
  EXPECT_TRUE(staPer.starts_with("       CASE CI04_INDSTAPER\r\n")) << staPer;
  EXPECT_TRUE(staPer.ends_with("       END AS CI04_INDSTAPER\r\n")) << staPer;
}

TEST_F(BuildersTest, FlagFormHoldsTheValueInTheWhenLiteral) {
  auto host = access({{"kind", "host"}, {"messages", {{"39318", "No"}, {"52384", "Sì"}}}});
  EXPECT_EQ(unpadded(CaseFlgGesCoSult(host)),
            lines({"     ,CASE PC03_FLGGESCOSULT", "           WHEN  0 THEN 'No'",
                   "           WHEN  1 THEN 'Sì'", "       END", "      AS   PC03_FLGGESCOSULT"}));
  EXPECT_EQ(unpadded(CaseIsAnalitico(host)),
            lines({"     , CASE PC03_ISANALITICO", "           WHEN  0 THEN 'No'",
                   "           WHEN  1 THEN 'Sì'", "       END", "     AS    PC03_ISANALITICO"}));
}

TEST_F(BuildersTest, LongBuildersListEveryValueInTableOrder) {
  auto host = access();
  std::string tipo = CaseTipoContoCI(host);
  EXPECT_NE(tipo.find("           WHEN 10\r\n               THEN 'Msg''6107' \r\n"),
            std::string::npos);
  std::string fonti = CaseIndFontiUsi(host);
  size_t whens = 0;
  for (size_t p = fonti.find("         WHEN "); p != std::string::npos;
       p = fonti.find("         WHEN ", p + 1))
    ++whens;
  EXPECT_EQ(whens, 16u);
  EXPECT_NE(fonti.find("         WHEN 15\r\n             THEN 'Msg''49812' \r\n"),
            std::string::npos);
  std::string ricl = unpadded(CaseTipoContoRicl(host));
  EXPECT_NE(ricl.find("            WHEN 3\r\n               THEN 'Msg''39301'\r\n      END AS  "
                      "PC03_TIPOCONTORICL\r\n"),
            std::string::npos);
}

TEST_F(BuildersTest, StatusFragmentsNeedCompanyMode2) {
  for (const Json& mode : {Json(1), Json(nullptr), Json("2x")}) {
    auto host = access(company(mode));
    for (const Variant& date : {Variant::null(), Variant(Date::parse("2026-01-31"))}) {
      EXPECT_EQ(JoinStatiPdC(host, date), "") << mode;
      EXPECT_EQ(ColonneStatoPdC(host, date), "") << mode;
      EXPECT_EQ(FiltroContiDisattivati(host, date, true), "") << mode;
    }
  }
  // Mode given as text still counts as 2.
  EXPECT_NE(JoinStatiPdC(access(company("2")), Variant::null()), "");
}

TEST_F(BuildersTest, WithoutReferenceDateTheGridShowsEachAccountsStatus) {
  auto host = access(company(2, 12));
  EXPECT_EQ(
      unpadded(JoinStatiPdC(host, Variant::null())),
      lines({" LEFT OUTER JOIN PC17_STATIPDC WITH (NOLOCK)", " ON   PC17_DITTA_CG18 = 12",
             " AND  PC17_PDC_PC01 = PC03_CODICE_PC01", " AND  PC17_CONTO_PC03 = PC03_CONTO"}));
  EXPECT_EQ(unpadded(ColonneStatoPdC(host, Variant())),
            lines({"     , CASE PC17_FLGDISATT", "           WHEN  0 THEN 'Msg''39318'",
                   "           WHEN  1 THEN 'Msg''52384'", "       END",
                   "     AS     PC17_FLGDISATT", "     , PC17_DATADISATT"}));
  EXPECT_EQ(FiltroContiDisattivati(host, Variant::null(), true), "");
}

TEST_F(BuildersTest, WithReferenceDateDisabledAccountsAreFilteredOut) {
  auto host = access(company(2, nullptr));
  Variant date(Date::parse("2026-01-31"));
  EXPECT_EQ(JoinStatiPdC(host, date), "");
  EXPECT_EQ(ColonneStatoPdC(host, date), "");
  std::string where = FiltroContiDisattivati(host, date, true);
  EXPECT_EQ(unpadded(where), lines({" WHERE NOT EXISTS", "     (", "         SELECT  1",
                                    "         FROM    PC17_STATIPDC   WITH(NOLOCK)",
                                    "         WHERE   PC17_DITTA_CG18 = 0",
                                    "         AND     PC17_PDC_PC01 = PC03_CODICE_PC01",
                                    "         AND     PC17_CONTO_PC03 = PC03_CONTO",
                                    "         AND     PC17_FLGDISATT = 1",
                                    "         AND     PC17_DATADISATT <= '20260131'", "     )"}));
  std::string andForm = FiltroContiDisattivati(host, date, false);
  EXPECT_TRUE(andForm.starts_with(" AND   NOT EXISTS        \r\n"));
  EXPECT_EQ(andForm.substr(andForm.find("\r\n")), where.substr(where.find("\r\n")));
}

TEST_F(BuildersTest, AFailingBuilderYieldsNothingAtAll) {
  auto host = access({{"kind", "host"},
                      {"company", {{"Code", 1}, {"CompanyMode", 2}}},
                      {"fail", {"GetMessageText:52384"}}});
  EXPECT_EQ(CaseFlgQuadratura(host), "");
  EXPECT_EQ(ColonneStatoPdC(host, Variant::null()), "");
  EXPECT_NE(CaseIndProvCosto(host), "");  // other builders are unaffected
  EXPECT_NE(JoinStatiPdC(host, Variant::null()), "");
  // A date the utility cannot render drops the whole filter.
  EXPECT_EQ(FiltroContiDisattivati(host, Variant("not a date"), true), "");
  EXPECT_EQ(CaseFlgPartInfra(HostAccess(nullptr, utility)), "");
}

// Placeholders filled in one pass end exactly as replacing each in turn
// would leave them, whatever the values hold.
TEST(Placeholders, OnePassMatchesReplacingInTurn) {
  const std::string texts[] = {"F(<CODICEPDC>, <CONTO>, NULL, <LINGUA>) <CONTO>",
                               "a < b AND <CONTO> > 1", "<CONT<CODICEPDC>>", "no placeholder",
                               "<LINGUA><LINGUA>"};
  const std::string values[][3] = {{"3", "'A1'", "'ITA'"},
                                   {"<CONTO>", "'<LINGUA>'", "'x'"},
                                   {"O", "'B'", "''"},
                                   {"", "'<", ">'"}};
  for (const auto& text : texts) {
    for (const auto& v : values) {
      std::string inTurn = text, onePass = text;
      replaceAll(inTurn, "<CODICEPDC>", v[0]);
      replaceAll(inTurn, "<CONTO>", v[1]);
      replaceAll(inTurn, "<LINGUA>", v[2]);
      fillPlaceholders(onePass, {{"<CODICEPDC>", v[0]}, {"<CONTO>", v[1]}, {"<LINGUA>", v[2]}});
      EXPECT_EQ(onePass, inTurn) << text << " with " << v[0] << ", " << v[1] << ", " << v[2];
    }
  }
}

}  // namespace
}  // namespace brelvane::testing
