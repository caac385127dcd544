// The fragment builders of the chart lookups: exact lines, the account-status
// gate, and the rule that a failing builder drops only its own fragment.
#include "cli/compare.h"
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

TEST_F(BuildersTest, ValueListFormWritesWhenAndThenOnTwoLinesWithTheirPadding) {
  auto host = access({{"kind", "host"}, {"messages", {{"16671", "Da l'esterno"}}}});
  EXPECT_EQ(built(CaseIndProvCosto, host),
            lines({"     ,CASE   PC03_INDPROVCOSTO       ", "             WHEN 0",
                   "               THEN 'Msg''39128' ", "             WHEN 2",
                   "               THEN 'Da l''esterno' ", "             WHEN 3",
                   "               THEN 'Msg''16618' ", "             WHEN 1",
                   "               THEN 'Msg''75180' ", "      END AS PC03_INDPROVCOSTO       "}));
}

TEST_F(BuildersTest, StatusFragmentsNeedMode2AndADateAndAFailingBuilderYieldsNothing) {
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

  // With a reference date, disabled accounts are filtered out.
  auto host = access(company(2, nullptr));
  Variant date(Date::parse("2026-01-31"));
  EXPECT_EQ(built(JoinStatiPdC, host, date), "");
  EXPECT_EQ(built(ColonneStatoPdC, host, date), "");
  // The whole filter is in the golden scenarios; here the two ways it begins.
  std::string where = built(FiltroContiDisattivati, host, date, true);
  const std::string unpadded = cli::withoutLineEndBlanks(where);  // as the scenarios compare
  EXPECT_TRUE(unpadded.starts_with(" WHERE NOT EXISTS\r\n     (\r\n")) << where;
  EXPECT_NE(unpadded.find("PC17_DITTA_CG18 = 0\r\n"), std::string::npos);  // Null company
  std::string andForm = built(FiltroContiDisattivati, host, date, false);
  EXPECT_TRUE(andForm.starts_with(" AND   NOT EXISTS        \r\n"));
  EXPECT_EQ(andForm.substr(andForm.find("\r\n")), where.substr(where.find("\r\n")));

  // A failing builder yields nothing at all.
  auto failing = access({{"kind", "host"},
                         {"company", {{"Code", 1}, {"CompanyMode", 2}}},
                         {"fail", {"GetMessageText:52384"}}});
  EXPECT_EQ(built(CaseFlgQuadratura, failing), "");
  EXPECT_EQ(built(ColonneStatoPdC, failing, Variant::null()), "");
  EXPECT_NE(built(CaseIndProvCosto, failing), "");  // other builders are unaffected
  EXPECT_NE(built(JoinStatiPdC, failing, Variant::null()), "");
  // A date the utility cannot render drops the whole filter.
  EXPECT_EQ(built(FiltroContiDisattivati, failing, Variant("not a date"), true), "");
  // Without a host nothing can be composed.
  const HostAccess noHost(nullptr, utility);
  EXPECT_EQ(built(CaseFlgPartInfra, noHost), "");
}

}  // namespace
}  // namespace brelvane::testing
