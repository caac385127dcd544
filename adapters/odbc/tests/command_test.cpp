// Stored-procedure commands against the test database.
#include <gmock/gmock.h>

#include "odbc_fixture.h"

namespace brelvane::odbc::testing {
namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;

class CommandTest : public OdbcTest {
 protected:
  /// A prepared stored-procedure command, set up the way the lookups do it.
  std::shared_ptr<Command> procedure(const std::string& name) {
    auto command = db->NewCommand();
    command->SetActiveConnection(db);
    command->SetCommandType(ado::kCmdStoredProc);
    command->SetCommandText(name);
    command->SetPrepared(true);
    return command;
  }
};

TEST_F(CommandTest, APreparedProcedureAnswersEachExecutionWithItsOwnInputs) {
  auto command = procedure("SPCI_PROPCONTI_LOOKUPPROVIDER");
  command->SetParameter("@DITTA", int16_t{1});
  command->SetParameter("@PROVIDER", int16_t{7});
  command->Execute(ado::kCmdUnspecified);
  EXPECT_EQ(command->GetParameter("@LABELS"), Variant("Code|Description"));
  EXPECT_EQ(command->GetParameter("@query"),
            Variant("SELECT code, description FROM proposal_accounts WHERE company = 1 AND "
                    "provider = 7 ORDER BY code"));

  command->SetParameter("@PROVIDER", int16_t{8});
  command->Execute(ado::kCmdUnspecified);
  EXPECT_EQ(command->GetParameter("@LABELS"), Variant("Code"));

  // A company code too wide for 16 bits goes in as the Long it was set as.
  command->SetParameter("@DITTA", int32_t{70000});
  command->SetParameter("@PROVIDER", int16_t{7});
  command->Execute(ado::kCmdUnspecified);
  EXPECT_EQ(command->GetParameter("@LABELS"), Variant("Code|Description|"));
  EXPECT_EQ(command->GetParameter("@DITTA"), Variant(int32_t{70000}));

  // No answer: the outputs are Null.
  command->SetParameter("@DITTA", int16_t{1});
  command->SetParameter("@PROVIDER", int16_t{9});
  command->Execute(ado::kCmdUnspecified);
  EXPECT_TRUE(command->GetParameter("@LABELS").isNull());
}

TEST_F(CommandTest, ParametersOfEveryKindMatchNamesWithoutTheAt) {
  auto command = procedure("echo_kinds");
  command->SetParameter("@SMALL_IN", int16_t{3});
  command->SetParameter("@long_in", int32_t{41});
  command->SetParameter("@Double_In", 1.25);
  command->SetParameter("@TEXT_IN", "perché");
  command->SetParameter("@DAY_IN", Date{2024, 2, 28, 10, 30, 0});
  command->SetParameter("@FLAG_IN", true);
  command->Execute(-1);
  EXPECT_EQ(command->GetParameter("@TEXT_OUT"), Variant("perché/3"));
  EXPECT_EQ(command->GetParameter("@LONG_OUT"), Variant(int32_t{42}));
  EXPECT_EQ(command->GetParameter("@DAY_OUT"), Variant(Date{2024, 2, 29, 10, 30, 0}));
  EXPECT_EQ(command->GetParameter("@FLAG_OUT"), Variant(false));
  EXPECT_EQ(command->GetParameter("@DOUBLE_OUT"), Variant(2.5));
  EXPECT_EQ(command->GetParameter("@TEXT_IN"), Variant("perché!"));

  // An INOUT sends what it holds: the value it came back with.
  command->SetParameter("@SMALL_IN", Variant::null());
  command->Execute(-1);
  EXPECT_EQ(command->GetParameter("@TEXT_OUT"), Variant("perché!/null"));

  EXPECT_EQ(raised([&] { command->SetParameter("@NO_SUCH", 1); }).number, kItemNotFound);
  EXPECT_EQ(raised([&] { command->GetParameter("@NO_SUCH"); }).number, kItemNotFound);
}

TEST_F(CommandTest, ReadingOutputsClosesTheRecordsetOfTheExecution) {
  auto command = procedure("SPCI_PROPCOGE_LOOKUPPROVIDER");
  command->SetParameter("@DITTA", int16_t{1});
  command->SetParameter("@PROVIDER", int16_t{7});
  auto rows = command->Execute(-1);
  EXPECT_EQ(command->GetParameter("@LABELS"), Variant("Ledger account|Description"));
  EXPECT_EQ(raised([&] { rows->Eof(); }).number, kObjectClosed);
}

TEST_F(CommandTest, AMissingProcedureFailsWithTheDatabasesWords) {
  auto command = procedure("SPCI_NO_SUCH_PROCEDURE");
  command->SetParameter("@DITTA", int16_t{1});
  command->SetParameter("@PROVIDER", int16_t{7});
  AutomationError error = raised([&] { command->Execute(-1); });
  EXPECT_EQ(error.number, kDriverError);
  EXPECT_THAT(error.description, StartsWith("SQLSTATE 42883: "));
  EXPECT_THAT(error.description, HasSubstr("spci_no_such_procedure"));
}

TEST_F(CommandTest, AProcedureFailingInsideRaisesTheDatabasesError) {
  db = connect(connectionSearching("faulty, public"));
  auto command = procedure("SPCI_PROPCONTI_LOOKUPPROVIDER");
  command->SetParameter("@DITTA", int16_t{1});
  command->SetParameter("@PROVIDER", int16_t{7});
  AutomationError error = raised([&] { command->Execute(-1); });
  EXPECT_EQ(error.number, kDriverError);
  EXPECT_THAT(error.description, StartsWith("SQLSTATE 42601: "));
}

TEST_F(CommandTest, ACommandNeedsAnOpenConnection) {
  auto command = db->NewCommand();
  command->SetCommandType(ado::kCmdStoredProc);
  command->SetCommandText("SPCI_PROPCONTI_LOOKUPPROVIDER");
  EXPECT_EQ(raised([&] { command->Execute(-1); }).number, kNoConnection);

  command->SetActiveConnection(db);
  command->SetParameter("@DITTA", int16_t{1});
  command->SetParameter("@PROVIDER", int16_t{7});
  db->Close();
  EXPECT_EQ(raised([&] { command->Execute(-1); }).number, kNoConnection);
}

TEST_F(CommandTest, ATextCommandRunsItsText) {
  auto command = db->NewCommand();
  command->SetActiveConnection(db);
  command->SetCommandType(ado::kCmdText);
  command->SetCommandText("SELECT code FROM proposal_accounts WHERE company = 70000");
  EXPECT_EQ(command->Execute(-1)->Field("CODE"), Variant("Z900"));
}

}  // namespace
}  // namespace brelvane::odbc::testing
