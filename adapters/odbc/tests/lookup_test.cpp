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
class CaptionHost final : public HostInterface, public HostContext, public MessageService {
 public:
  std::shared_ptr<HostContext> Context() override { return {shared(), this}; }
  Variant InstallationSetting() override { return {}; }
  std::shared_ptr<MessageService> Messages() override { return {shared(), this}; }
  std::shared_ptr<HostCompany> Company() override { return nullptr; }
  std::string GetMessageText(int32_t id, const SafeArray&) override {
    return id == 74716 ? "Proposte del provider" : "[" + std::to_string(id) + "]";
  }
  std::string PrepareSqlText(const std::string& text) override { return text; }
  std::weak_ptr<CaptionHost> self;

 private:
  std::shared_ptr<CaptionHost> shared() { return self.lock(); }
};

std::shared_ptr<HostInterface> captionHost() {
  auto host = std::make_shared<CaptionHost>();
  host->self = host;
  return host;
}

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
    lookup->ActiveInterface = captionHost();
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

struct Proposal {
  const char* method;
  Variant company;
  const char* labels;  ///< as the procedure answers for provider 7
  const char* prefix;
};

const Proposal kProposals[] = {
    {"ProposteContiPerProvider", int16_t{1}, "Code|Description", "Lkp_PropProv_"},
    {"ProposteContiPerProvider2", int32_t{70000}, "Code|Description|", "Lkp_PropProv_"},
    {"ProposteCogePerProvider", int16_t{1}, "Ledger account|Description", "Lkp_PropProv_"},
    {"ProposteCogePerProvider2", int32_t{1}, "Ledger account|Description", "Lkp_PropProv_"},
    {"ProposteCausaliPerProvider", int16_t{1}, "", "Lkp_PropProvCaus_"},
    {"ProposteCausaliPerProvider2", int32_t{1}, "", "Lkp_PropProvCaus_"},
};

TEST_F(LookupOverOdbc, ProposalsTakeTheirDefinitionFromTheDatabase) {
  for (const auto& p : kProposals) {
    SCOPED_TRACE(p.method);
    call(p.method, {p.company, int16_t{7}});
    // The procedure's answer, straight from the table it reads.
    auto answer = rows(std::string("SELECT labels, query FROM proposal_answers WHERE company = ") +
                       toText(p.company) + " AND provider = 7 AND labels = '" + p.labels + "'");
    ASSERT_EQ(answer.size(), 1u);
    EXPECT_EQ(lookup->Str_Sql, answer[0][1].string());
    std::vector<std::string> expected;
    std::string labels = p.labels;
    for (size_t from = 0;;) {
      size_t bar = labels.find('|', from);
      expected.push_back(labels.substr(from, bar - from));
      if (bar == std::string::npos) break;
      from = bar + 1;
    }
    EXPECT_THAT(captions(), ElementsAreArray(expected));
    EXPECT_EQ(lookup->Str_Caption, "Proposte del provider 7");
    EXPECT_EQ(lookup->IDLookup, Variant(std::string(p.prefix) + "7"));
    // The composed SQL is the database's own: it runs there, one field per caption.
    auto listed = rows(lookup->Str_Sql);
    ASSERT_FALSE(listed.empty());
    EXPECT_EQ(listed[0].size(), expected.size());
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
              "SELECT code FROM proposal_accounts WHERE company = 1 AND provider = 8");
    EXPECT_EQ(lookup->IDLookup, Variant("Lkp_PropProv_8"));
    call("ProposteContiPerProvider2", {int32_t{70000}, int16_t{7}});
    EXPECT_THAT(captions(), ElementsAre(p + "Code", "Description", ""));
  }
}

TEST_F(LookupOverOdbc, DatabaseFailuresLeaveAnEmptySqlAndRaiseNothing) {
  // Each case on a fresh instance, whose command binds to its connection.
  auto fails = [&](const std::shared_ptr<OdbcConnection>& connection, int16_t provider) {
    fresh(connection);
    lookup->Str_Sql = "not yet";
    EXPECT_NO_THROW(call("ProposteContiPerProvider", {int16_t{1}, provider}));
    EXPECT_EQ(lookup->Str_Sql, "");
  };
  {
    SCOPED_TRACE("no labels to read as text");
    fails(db, 9);
  }
  {
    SCOPED_TRACE("a syntax error inside the procedure");
    fails(connect(connectionSearching("faulty, public")), 7);
  }
  {
    SCOPED_TRACE("a missing procedure");
    fails(connect(connectionSearching("empty")), 7);
  }
  {
    SCOPED_TRACE("a closed connection");
    auto closed = connect(connectionString());
    closed->Close();
    fails(closed, 7);
  }
}

TEST_F(LookupOverOdbc, TheBridgeReraisesTheDriversErrorUnderItsName) {
  // Its query is in the company database's dialect (TOP, WITH (NOLOCK)),
  // which the test database rejects as a syntax error.
  std::vector<Variant> args{Variant(db), int32_t{1}, "R1", int16_t{1}};
  std::string sqlstate;
  try {
    lookup->invoke("GetNumregCoanFromNumregCoge", args);
    ADD_FAILURE() << "the bridge returned instead of raising";
  } catch (const AutomationError& e) {
    EXPECT_EQ(e.number, kDriverError);
    EXPECT_EQ(e.source, "GetNumregCoanFromNumregCoge:\r\nODBC");
    EXPECT_THAT(e.description, StartsWith("SQLSTATE 42601: "));
  }
  // Mode 2 answers without the connection, even a closed one.
  db->Close();
  std::vector<Variant> mode2{Variant(db), int32_t{1}, "ABC", int16_t{2}};
  EXPECT_EQ(lookup->invoke("GetNumregCoanFromNumregCoge", mode2), Variant("ABC"));
}

}  // namespace
}  // namespace brelvane::odbc::testing
