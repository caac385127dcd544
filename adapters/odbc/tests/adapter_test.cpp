// The connection and its recordsets against the test database.
#include <gmock/gmock.h>

#include "odbc_fixture.h"

namespace brelvane::odbc::testing {
namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;

constexpr const char* kKinds =
    "SELECT small_value, long_value, big_value, decimal_value, double_value, text_value, "
    "long_text, day_value, moment, time_value, flag FROM value_kinds WHERE id = ";

TEST_F(OdbcTest, ValuesBecomeTheComponentsKinds) {
  auto rs = db->Execute(std::string(kKinds) + "1", ado::kCmdText);
  ASSERT_FALSE(rs->Eof());
  EXPECT_EQ(rs->Field(0), Variant(int16_t{-12}));
  EXPECT_EQ(rs->Field(1), Variant(int32_t{70000}));
  EXPECT_EQ(rs->Field(2), Variant(5000000000.0));  // beyond 32 bits
  EXPECT_EQ(rs->Field(3), Variant(1234.125));
  EXPECT_EQ(rs->Field(4), Variant(0.5));
  EXPECT_EQ(rs->Field(5), Variant("città d'arte"));
  EXPECT_TRUE(rs->Field(6).isNull());
  EXPECT_EQ(rs->Field(7), Variant(Date{2024, 2, 29}));
  EXPECT_EQ(rs->Field(8), Variant(Date{2024, 2, 29, 13, 45, 59}));
  EXPECT_EQ(rs->Field(9), Variant(Date{1899, 12, 30, 7, 8, 9}));
  EXPECT_EQ(rs->Field(10), Variant(true));
  // By name, in any order and case, and more than once.
  EXPECT_EQ(rs->Field("FLAG"), Variant(true));
  EXPECT_EQ(rs->Field("Text_Value"), Variant("città d'arte"));
  EXPECT_EQ(rs->Field("small_value"), Variant(int16_t{-12}));
  EXPECT_EQ(rs->Field("text_value"), Variant("città d'arte"));

  auto small = db->Execute(std::string(kKinds) + "3", ado::kCmdText);
  EXPECT_EQ(small->Field("big_value"), Variant(int32_t{7}));  // a 64-bit value that fits
  EXPECT_EQ(small->Field("flag"), Variant(false));
  EXPECT_EQ(small->Field("text_value"), Variant(""));
}

TEST_F(OdbcTest, NullsAreNullInEveryKind) {
  auto rs = db->Execute(std::string(kKinds) + "2", ado::kCmdText);
  for (int32_t i = 0; i <= 10; ++i) EXPECT_TRUE(rs->Field(i).isNull()) << "column " << i;
}

TEST_F(OdbcTest, LongTextIsReadWholeAcrossPieces) {
  std::string expected;
  for (int i = 0; i < 7000; ++i) expected += "àb𝄞";
  expected += "END";
  auto rs = db->Execute("SELECT long_text, id FROM value_kinds WHERE id = 3", ado::kCmdText);
  Variant text = rs->Field("long_text");
  ASSERT_TRUE(text.isString());
  EXPECT_EQ(text.string().size(), expected.size());
  EXPECT_EQ(text.string(), expected);
  EXPECT_EQ(rs->Field("id"), Variant(int32_t{3}));  // the field after it is still in reach
}

TEST_F(OdbcTest, TextsLongerThanTheirDeclaredSizeAreReadWhole) {
  // A varchar without a length is declared short by this driver; rows come
  // in blocks, and the long values are read again in pieces.
  auto rs = db->Execute(
      "SELECT n, repeat('é', n * 3)::varchar AS t, n * 2 AS twice "
      "FROM generate_series(1, 300) AS n ORDER BY n",
      -1);
  int32_t n = 0;
  for (; !rs->Eof(); rs->MoveNext()) {
    ++n;
    std::string expected;
    for (int i = 0; i < n * 3; ++i) expected += "é";
    ASSERT_EQ(rs->Field(0), Variant(n));
    ASSERT_EQ(rs->Field("t"), Variant(expected)) << "row " << n;
    ASSERT_EQ(rs->Field("twice"), Variant(n * 2));
  }
  EXPECT_EQ(n, 300);
}

TEST_F(OdbcTest, RowsGoForwardToTheEnd) {
  EXPECT_EQ(rows("SELECT id, text_value FROM value_kinds ORDER BY id DESC"),
            (std::vector<std::vector<Variant>>{
                {int32_t{3}, ""}, {int32_t{2}, Variant::null()}, {int32_t{1}, "città d'arte"}}));
  auto rs = db->Execute("SELECT id FROM value_kinds WHERE id = 1", ado::kCmdText);
  EXPECT_EQ(raised([&] { rs->Field("no_such_column"); }).number, kItemNotFound);
  EXPECT_EQ(raised([&] { rs->Field(1); }).number, kItemNotFound);
  EXPECT_EQ(raised([&] { rs->Field(-1); }).number, kItemNotFound);
  rs->MoveNext();
  EXPECT_TRUE(rs->Eof());
  EXPECT_EQ(raised([&] { rs->Field(0); }).number, kNoCurrentRow);
  EXPECT_EQ(raised([&] { rs->MoveNext(); }).number, kNoCurrentRow);

  EXPECT_TRUE(db->Execute("SELECT id FROM value_kinds WHERE id < 0", -1)->Eof());
  // A statement without a result set gives an empty recordset.
  EXPECT_TRUE(db->Execute("UPDATE value_kinds SET id = id WHERE id < 0", -1)->Eof());
}

TEST_F(OdbcTest, DriverErrorsSayWhatTheDatabaseSaid) {
  AutomationError syntax = raised([&] { db->Execute("SELEC 1", ado::kCmdText); });
  EXPECT_EQ(syntax.number, kDriverError);
  EXPECT_EQ(syntax.source, "ODBC");
  EXPECT_THAT(syntax.description, StartsWith("SQLSTATE 42601: "));
  EXPECT_THAT(syntax.description, HasSubstr("SELEC"));

  AutomationError missing = raised([&] { db->Execute("SELECT * FROM no_such_table", -1); });
  EXPECT_THAT(missing.description, StartsWith("SQLSTATE 42P01: "));
  EXPECT_THAT(missing.description, HasSubstr("no_such_table"));

  // The connection stays usable after a failed statement.
  EXPECT_EQ(db->Execute("SELECT 41 + 1", -1)->Field(0), Variant(int32_t{42}));
}

TEST_F(OdbcTest, AClosedConnectionAndItsRecordsetsRefuseWork) {
  auto open = db->Execute("SELECT id FROM value_kinds ORDER BY id", -1);
  auto command = db->NewCommand();
  EXPECT_TRUE(db->IsOpen());
  db->Close();
  EXPECT_FALSE(db->IsOpen());
  EXPECT_EQ(raised([&] { db->Execute("SELECT 1", -1); }).number, kObjectClosed);
  EXPECT_EQ(raised([&] { db->NewCommand(); }).number, kObjectClosed);
  EXPECT_EQ(raised([&] { open->Eof(); }).number, kObjectClosed);
  EXPECT_EQ(raised([&] { open->MoveNext(); }).number, kObjectClosed);
  command->SetActiveConnection(db);
  command->SetCommandType(ado::kCmdText);
  command->SetCommandText("SELECT 1");
  EXPECT_EQ(raised([&] { command->Execute(-1); }).number, kNoConnection);
  db->Close();  // closing twice is harmless
}

TEST_F(OdbcTest, AClosedRecordsetRefusesWorkAndLeavesOthersAlone) {
  auto first = db->Execute("SELECT id FROM value_kinds ORDER BY id", -1);
  auto second = db->Execute("SELECT id FROM value_kinds ORDER BY id DESC", -1);
  first->Close();
  EXPECT_EQ(raised([&] { first->Eof(); }).number, kObjectClosed);
  EXPECT_EQ(second->Field(0), Variant(int32_t{3}));
}

TEST(OdbcConnect, RefusalsCarryTheDriverManagersState) {
  AutomationError unknownDsn = raised([] { connect("brelvane_no_such_dsn"); });
  EXPECT_EQ(unknownDsn.number, kDriverError);
  EXPECT_THAT(unknownDsn.description, StartsWith("SQLSTATE IM002: "));

  if (connectionString().empty()) GTEST_SKIP() << "BRELVANE_ODBC_TEST is not set";
  // The test server's string with a port where nothing listens.
  std::string refused = connectionString();
  auto port = refused.find("Port=");
  ASSERT_NE(port, std::string::npos);
  refused.replace(port, refused.find(';', port) - port, "Port=1");
  AutomationError error = raised([&] { connect(refused, {.loginTimeoutSeconds = 5}); });
  EXPECT_EQ(error.number, kDriverError);
  EXPECT_THAT(error.description, StartsWith("SQLSTATE 08001: "));
}

}  // namespace
}  // namespace brelvane::odbc::testing
