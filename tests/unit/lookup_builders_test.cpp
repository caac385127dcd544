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

/// What a builder appends after a text already composed, which it must
/// leave as it was, whether it succeeds or fails.
template <class Builder, class... Args>
std::string built(Builder builder, const HostAccess& host, const Args&... args) {
  constexpr std::string_view kBefore = " SELECT 1\r\n";
  SqlText sql(0);
  sql.append(kBefore);
  builder(sql, host, args...);
  EXPECT_TRUE(sql.view().starts_with(kBefore)) << sql.view();
  return std::string(sql.view().substr(kBefore.size()));
}

TEST_F(BuildersTest, ValueListFormWritesWhenAndThenOnTwoLines) {
  auto host = access({{"kind", "host"}, {"messages", {{"16671", "Da l'esterno"}}}});
  EXPECT_EQ(built(CaseIndProvCosto, host),
            lines({"     ,CASE   PC03_INDPROVCOSTO       ", "             WHEN 0",
                   "               THEN 'Msg''39128' ", "             WHEN 2",
                   "               THEN 'Da l''esterno' ", "             WHEN 3",
                   "               THEN 'Msg''16618' ", "             WHEN 1",
                   "               THEN 'Msg''75180' ", "      END AS PC03_INDPROVCOSTO       "}));
  std::string segno = built(CaseIndSegno, host);
  EXPECT_EQ(
      unpadded(segno),
      lines({"     , CASE PC03_INDSEGNO", "           WHEN  1", "               THEN 'Msg''17737'",
             "           WHEN  2", "               THEN 'Msg''8493'", "           WHEN  0",
             "               THEN 'Msg''39301'", "       END", "      AS    PC03_INDSEGNO"}));
  std::string staPer = unpadded(built(CaseIndStaPer, host));
  EXPECT_TRUE(staPer.starts_with("       CASE CI04_INDSTAPER\r\n")) << staPer;
  EXPECT_TRUE(staPer.ends_with("       END AS CI04_INDSTAPER\r\n")) << staPer;
}

TEST_F(BuildersTest, FlagFormHoldsTheValueInTheWhenLiteral) {
  auto host = access({{"kind", "host"}, {"messages", {{"39318", "No"}, {"52384", "Sì"}}}});
  EXPECT_EQ(unpadded(built(CaseFlgGesCoSult, host)),
            lines({"     ,CASE PC03_FLGGESCOSULT", "           WHEN  0 THEN 'No'",
                   "           WHEN  1 THEN 'Sì'", "       END", "      AS   PC03_FLGGESCOSULT"}));
  EXPECT_EQ(unpadded(built(CaseIsAnalitico, host)),
            lines({"     , CASE PC03_ISANALITICO", "           WHEN  0 THEN 'No'",
                   "           WHEN  1 THEN 'Sì'", "       END", "     AS    PC03_ISANALITICO"}));
}

TEST_F(BuildersTest, LongBuildersListEveryValueInTableOrder) {
  auto host = access();
  std::string tipo = built(CaseTipoContoCI, host);
  EXPECT_NE(tipo.find("           WHEN 10\r\n               THEN 'Msg''6107' \r\n"),
            std::string::npos);
  std::string fonti = built(CaseIndFontiUsi, host);
  size_t whens = 0;
  for (size_t p = fonti.find("         WHEN "); p != std::string::npos;
       p = fonti.find("         WHEN ", p + 1))
    ++whens;
  EXPECT_EQ(whens, 16u);
  EXPECT_NE(fonti.find("         WHEN 15\r\n             THEN 'Msg''49812' \r\n"),
            std::string::npos);
  std::string ricl = unpadded(built(CaseTipoContoRicl, host));
  EXPECT_NE(ricl.find("            WHEN 3\r\n               THEN 'Msg''39301'\r\n      END AS  "
                      "PC03_TIPOCONTORICL\r\n"),
            std::string::npos);
}

TEST_F(BuildersTest, StatusFragmentsNeedCompanyMode2) {
  for (const Json& mode : {Json(1), Json(nullptr), Json("2x")}) {
    auto host = access(company(mode));
    for (const Variant& date : {Variant::null(), Variant(Date::parse("2026-01-31"))}) {
      EXPECT_EQ(built(JoinStatiPdC, host, date), "") << mode;
      EXPECT_EQ(built(ColonneStatoPdC, host, date), "") << mode;
      EXPECT_EQ(built(FiltroContiDisattivati, host, date, true), "") << mode;
    }
  }
  // Mode given as text still counts as 2.
  EXPECT_NE(built(JoinStatiPdC, access(company("2")), Variant::null()), "");
}

TEST_F(BuildersTest, WithoutReferenceDateTheGridShowsEachAccountsStatus) {
  auto host = access(company(2, 12));
  EXPECT_EQ(
      unpadded(built(JoinStatiPdC, host, Variant::null())),
      lines({" LEFT OUTER JOIN PC17_STATIPDC WITH (NOLOCK)", " ON   PC17_DITTA_CG18 = 12",
             " AND  PC17_PDC_PC01 = PC03_CODICE_PC01", " AND  PC17_CONTO_PC03 = PC03_CONTO"}));
  EXPECT_EQ(unpadded(built(ColonneStatoPdC, host, Variant())),
            lines({"     , CASE PC17_FLGDISATT", "           WHEN  0 THEN 'Msg''39318'",
                   "           WHEN  1 THEN 'Msg''52384'", "       END",
                   "     AS     PC17_FLGDISATT", "     , PC17_DATADISATT"}));
  EXPECT_EQ(built(FiltroContiDisattivati, host, Variant::null(), true), "");
}

TEST_F(BuildersTest, WithReferenceDateDisabledAccountsAreFilteredOut) {
  auto host = access(company(2, nullptr));
  Variant date(Date::parse("2026-01-31"));
  EXPECT_EQ(built(JoinStatiPdC, host, date), "");
  EXPECT_EQ(built(ColonneStatoPdC, host, date), "");
  std::string where = built(FiltroContiDisattivati, host, date, true);
  EXPECT_EQ(unpadded(where), lines({" WHERE NOT EXISTS", "     (", "         SELECT  1",
                                    "         FROM    PC17_STATIPDC   WITH(NOLOCK)",
                                    "         WHERE   PC17_DITTA_CG18 = 0",
                                    "         AND     PC17_PDC_PC01 = PC03_CODICE_PC01",
                                    "         AND     PC17_CONTO_PC03 = PC03_CONTO",
                                    "         AND     PC17_FLGDISATT = 1",
                                    "         AND     PC17_DATADISATT <= '20260131'", "     )"}));
  std::string andForm = built(FiltroContiDisattivati, host, date, false);
  EXPECT_TRUE(andForm.starts_with(" AND   NOT EXISTS        \r\n"));
  EXPECT_EQ(andForm.substr(andForm.find("\r\n")), where.substr(where.find("\r\n")));
}

TEST_F(BuildersTest, AFailingBuilderYieldsNothingAtAll) {
  auto host = access({{"kind", "host"},
                      {"company", {{"Code", 1}, {"CompanyMode", 2}}},
                      {"fail", {"GetMessageText:52384"}}});
  EXPECT_EQ(built(CaseFlgQuadratura, host), "");
  EXPECT_EQ(built(ColonneStatoPdC, host, Variant::null()), "");
  EXPECT_NE(built(CaseIndProvCosto, host), "");  // other builders are unaffected
  EXPECT_NE(built(JoinStatiPdC, host, Variant::null()), "");
  // A date the utility cannot render drops the whole filter.
  EXPECT_EQ(built(FiltroContiDisattivati, host, Variant("not a date"), true), "");
  // Without a host nothing can be composed.
  const HostAccess noHost(nullptr, utility);
  EXPECT_TRUE(host.hasHost());
  EXPECT_FALSE(noHost.hasHost());
  EXPECT_EQ(built(CaseFlgPartInfra, noHost), "");
}

}  // namespace
}  // namespace brelvane::testing
