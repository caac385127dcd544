// Commands against the test database.
#include <gmock/gmock.h>

#include "odbc_fixture.h"

namespace brelvane::odbc::testing {
namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;

constexpr const char* kConti = "SPCI_PROPCONTI_LOOKUPPROVIDER";

class CommandTest : public OdbcTest {
 protected:
  /// A command set up the way the lookups do it; a procedure is prepared
  /// and given company 1 and provider 7.
  std::shared_ptr<Command> command(const std::string& text, int32_t type = ado::kCmdStoredProc) {
    auto command = db->NewCommand();
    command->SetActiveConnection(db);
    command->SetCommandType(type);
    command->SetCommandText(text);
    if (type != ado::kCmdStoredProc) return command;
    command->SetPrepared(true);
    if (text == "echo_kinds") return command;
    command->SetParameter("@DITTA", int16_t{1});
    command->SetParameter("@PROVIDER", int16_t{7});
    return command;
  }
};

TEST_F(CommandTest, APreparedProcedureAnswersEachExecutionWithItsOwnInputs) {
  auto command = this->command(kConti);
  auto rows = command->Execute(ado::kCmdUnspecified);
  EXPECT_EQ(command->GetParameter("@query"),
            Variant("SELECT code, description FROM proposal_accounts WHERE company = 1 AND "
                    "provider = 7 ORDER BY code"));
  // Reading outputs closes the recordset of the execution.
  EXPECT_EQ(raised([&] { rows->Eof(); }).number, kObjectClosed);
  // Company, provider (the company kept when null) and the labels answered:
  // a code too wide for 16 bits goes in as the Long it was set as; no answer
  // gives Null outputs.
  const Variant runs[][3] = {{Variant::null(), int16_t{7}, "Code|Description"},
                             {Variant::null(), int16_t{8}, "Code"},
                             {int32_t{70000}, int16_t{7}, "Code|Description|"},
                             {int16_t{1}, int16_t{9}, Variant::null()}};
  for (const auto& [company, provider, labels] : runs) {
    if (!company.isNull()) command->SetParameter("@DITTA", company);
    command->SetParameter("@PROVIDER", provider);
    command->Execute(ado::kCmdUnspecified);
    EXPECT_EQ(command->GetParameter("@LABELS"), labels) << toText(provider);
    if (!company.isNull()) {
      EXPECT_EQ(command->GetParameter("@DITTA"), company);
    }
  }
}

TEST_F(CommandTest, ParametersOfEveryKindMatchNamesWithoutTheAt) {
  auto command = this->command("echo_kinds");
  const std::pair<const char*, Variant> in[] = {{"@SMALL_IN", int16_t{3}},
                                                {"@long_in", int32_t{41}},
                                                {"@Double_In", 1.25},
                                                {"@TEXT_IN", "perché"},
                                                {"@DAY_IN", Date{2024, 2, 28, 10, 30, 0}},
                                                {"@FLAG_IN", true}};
  for (const auto& [name, value] : in) command->SetParameter(name, value);
  command->Execute(-1);
  const std::pair<const char*, Variant> out[] = {{"@TEXT_OUT", "perché/3"},
                                                 {"@LONG_OUT", int32_t{42}},
                                                 {"@DAY_OUT", Date{2024, 2, 29, 10, 30, 0}},
                                                 {"@FLAG_OUT", false},
                                                 {"@DOUBLE_OUT", 2.5},
                                                 {"@TEXT_IN", "perché!"}};
  for (const auto& [name, value] : out) EXPECT_EQ(command->GetParameter(name), value) << name;
  // An INOUT sends what it holds: the value it came back with.
  command->SetParameter("@SMALL_IN", Variant::null());
  command->Execute(-1);
  EXPECT_EQ(command->GetParameter("@TEXT_OUT"), Variant("perché!/null"));
  EXPECT_EQ(raised([&] { command->SetParameter("@NO_SUCH", 1); }).number, kItemNotFound);
  EXPECT_EQ(raised([&] { command->GetParameter("@NO_SUCH"); }).number, kItemNotFound);
}

TEST_F(CommandTest, ProceduresMissingOrFailingRaiseTheDatabasesError) {
  AutomationError missing = raised([&] { command("SPCI_NO_SUCH_PROCEDURE")->Execute(-1); });
  EXPECT_EQ(missing.number, kDriverError);
  EXPECT_THAT(missing.description, StartsWith("SQLSTATE 42883: "));
  EXPECT_THAT(missing.description, HasSubstr("spci_no_such_procedure"));
  db = connect(connectionSearching("faulty, public"));  // a syntax error inside
  AutomationError failing = raised([&] { command(kConti)->Execute(-1); });
  EXPECT_EQ(failing.number, kDriverError);
  EXPECT_THAT(failing.description, StartsWith("SQLSTATE 42601: "));
}

TEST_F(CommandTest, ACommandRunsOnAnOpenConnectionOnly) {
  auto unbound = db->NewCommand();
  unbound->SetCommandType(ado::kCmdStoredProc);
  unbound->SetCommandText(kConti);
  EXPECT_EQ(raised([&] { unbound->Execute(-1); }).number, kNoConnection);
  auto procedure = command(kConti);
  auto text = command("SELECT code FROM proposal_accounts WHERE company = 70000", ado::kCmdText);
  EXPECT_EQ(text->Execute(-1)->Field("CODE"), Variant("Z900"));
  db->Close();
  EXPECT_EQ(raised([&] { procedure->Execute(-1); }).number, kNoConnection);
  EXPECT_EQ(raised([&] { text->Execute(-1); }).number, kNoConnection);
}

}  // namespace
}  // namespace brelvane::odbc::testing
