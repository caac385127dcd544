// The proposal lookups and the registration number bridge of CLSCI_LOOKUP
// over a real connection.
#include <gmock/gmock.h>

#include "brelvane/brelvane.h"
#include "brelvane/lookup/clsci_lookup.h"
#include "odbc_fixture.h"

namespace brelvane::odbc::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::StartsWith;

/// A host whose message catalogue holds the proposal caption, and whose
/// company answers the defaults.
struct CaptionHost final : HostInterface,
                           HostContext,
                           MessageService,
                           std::enable_shared_from_this<CaptionHost> {
  std::shared_ptr<HostContext> Context() override { return {shared_from_this(), this}; }
  Variant InstallationSetting() override { return {}; }
  std::shared_ptr<MessageService> Messages() override { return {shared_from_this(), this}; }
  std::shared_ptr<HostCompany> Company() override { return nullptr; }
  std::string GetMessageText(int32_t id, const SafeArray&) override {
    return id == 74716 ? "Proposte del provider" : "[" + std::to_string(id) + "]";
  }
  std::string PrepareSqlText(const std::string& text) override { return text; }
};

class LookupOverOdbc : public OdbcTest {
 protected:
  void SetUp() override {
    OdbcTest::SetUp();
    if (IsSkipped()) return;
    registerBrelvane(factory);
    fresh(db);
  }

  /// A new instance on `connection`: its commands bind to that connection.
  void fresh(const std::shared_ptr<OdbcConnection>& connection) {
    lookup = factory.createAs<CLSCI_LOOKUP>(CLSCI_LOOKUP::kProgId);
    lookup->ActiveInterface = std::make_shared<CaptionHost>();
    lookup->Connessione = connection;
  }

  void call(std::string_view method, std::vector<Variant> args) {
    lookup->invoke(method, args);  // a lookup never raises
  }

  /// The captions of Arr_Fields, its shape checked on the way.
  std::vector<std::string> captions() const {
    std::vector<std::string> out;
    const SafeArray& a = lookup->Arr_Fields.array();
    EXPECT_EQ(a.bounds()[0], (Bound{0, 1}));
    for (int32_t c = a.bounds()[1].lower; c <= a.bounds()[1].upper; ++c) {
      out.push_back(a.at({0, c}).string());
      EXPECT_EQ(a.at({1, c}), Variant(""));
    }
    return out;
  }

  ObjectFactory factory;
  std::shared_ptr<CLSCI_LOOKUP> lookup;
};

TEST_F(LookupOverOdbc, ProposalsTakeTheirDefinitionFromTheDatabase) {
  struct Proposal {
    const char *method, *procedure;
    Variant company;
    std::vector<std::string> captions;  ///< as the procedure answers for provider 7
  };
  const Proposal proposals[] = {
      {"ProposteContiPerProvider", "accounts", int16_t{1}, {"Code", "Description"}},
      {"ProposteContiPerProvider2", "accounts", int32_t{70000}, {"Code", "Description", ""}},
      {"ProposteCogePerProvider", "ledger", int16_t{1}, {"Ledger account", "Description"}},
      {"ProposteCogePerProvider2", "ledger", int32_t{1}, {"Ledger account", "Description"}},
      {"ProposteCausaliPerProvider", "causals", int16_t{1}, {""}},
      {"ProposteCausaliPerProvider2", "causals", int32_t{1}, {""}},
  };
  for (const auto& p : proposals) {
    SCOPED_TRACE(p.method);
    call(p.method, {p.company, int16_t{7}});
    // The procedure's answer, straight from the table it reads.
    EXPECT_EQ(rows(std::string("SELECT query FROM proposal_answers WHERE procedure_name = '") +
                   p.procedure + "' AND company = " + toText(p.company) + " AND provider = 7"),
              (Rows{{lookup->Str_Sql}}));
    EXPECT_THAT(captions(), ElementsAreArray(p.captions));
    EXPECT_EQ(lookup->Str_Caption, "Proposte del provider 7");
    EXPECT_EQ(lookup->IDLookup,
              Variant(p.captions[0].empty() ? "Lkp_PropProvCaus_7" : "Lkp_PropProv_7"));
    // The composed SQL is the database's own: it runs there, one field per
    // caption.
    auto listed = rows(lookup->Str_Sql);
    ASSERT_FALSE(listed.empty());
    EXPECT_EQ(listed[0].size(), p.captions.size());
  }
}

TEST_F(LookupOverOdbc, OneInstanceReusesItsCommandAcrossProviders) {
  // The functions, then the procedures (captions "proc:..."), called by CALL.
  for (std::string p : {"", "proc:"}) {
    SCOPED_TRACE(p);
    if (!p.empty()) fresh(connect(connectionSearching("procs, public")));
    call("ProposteContiPerProvider", {int16_t{1}, int16_t{7}});
    EXPECT_THAT(captions(), ElementsAre(p + "Code", "Description"));
    call("ProposteContiPerProvider", {int16_t{1}, int16_t{8}});
    EXPECT_THAT(captions(), ElementsAre(p + "Code"));
    EXPECT_EQ(lookup->Str_Sql,
              "SELECT code FROM proposal_accounts WHERE "
              "company = 1 AND provider = 8");
    EXPECT_EQ(lookup->IDLookup, Variant("Lkp_PropProv_8"));
    call("ProposteContiPerProvider2", {int32_t{70000}, int16_t{7}});
    EXPECT_THAT(captions(), ElementsAre(p + "Code", "Description", ""));
  }
}

TEST_F(LookupOverOdbc, DatabaseFailuresLeaveAnEmptySqlAndRaiseNothing) {
  auto closed = connect(connectionString());
  closed->Close();
  const std::pair<const char*, std::shared_ptr<OdbcConnection>> cases[] = {
      {"no labels to read as text", db},
      {"a syntax error inside the procedure", connect(connectionSearching("faulty, public"))},
      {"a missing procedure", connect(connectionSearching("empty"))},
      {"a closed connection", closed}};
  for (const auto& [why, connection] : cases) {
    SCOPED_TRACE(why);
    fresh(connection);  // a fresh instance, whose command binds to its connection
    lookup->Str_Sql = "not yet";
    EXPECT_NO_THROW(
        call("ProposteContiPerProvider", {int16_t{1}, int16_t(connection == db ? 9 : 7)}));
    EXPECT_EQ(lookup->Str_Sql, "");
  }
}

TEST_F(LookupOverOdbc, TheBridgeReraisesTheDriversErrorUnderItsName) {
  // Its query is in the company database's dialect (TOP, WITH (NOLOCK)),
  // which the test database rejects as a syntax error.
  std::vector<Variant> args{Variant(db), int32_t{1}, "R1", int16_t{1}};
  AutomationError e = raised([&] { lookup->invoke("GetNumregCoanFromNumregCoge", args); });
  EXPECT_EQ(e.number, kDriverError);
  EXPECT_EQ(e.source, "GetNumregCoanFromNumregCoge:\r\nODBC");
  EXPECT_THAT(e.description, StartsWith("SQLSTATE 42601: "));
  // Mode 2 answers without the connection, even a closed one.
  db->Close();
  std::vector<Variant> mode2{Variant(db), int32_t{1}, "ABC", int16_t{2}};
  EXPECT_EQ(lookup->invoke("GetNumregCoanFromNumregCoge", mode2), Variant("ABC"));
}

}  // namespace
}  // namespace brelvane::odbc::testing
