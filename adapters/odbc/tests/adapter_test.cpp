// The connection and its recordsets against the test database.
#include <gmock/gmock.h>

#include "odbc_fixture.h"

namespace brelvane::odbc::testing {
namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;

TEST_F(OdbcTest, ValuesBecomeTheComponentsKinds) {
  std::string longText;  // far longer than one piece read from the driver
  for (int i = 0; i < 7000; ++i) longText += "àb𝄞";
  const Variant null = Variant::null();
  EXPECT_EQ(
      rows("SELECT small_value, long_value, big_value, decimal_value, "
           "double_value, "
           "text_value, long_text, day_value, moment, time_value, flag "
           "FROM value_kinds ORDER BY id"),
      (Rows{{int16_t{-12}, int32_t{70000}, 5000000000.0, 1234.125, 0.5, "città d'arte", null,
             Date{2024, 2, 29}, Date{2024, 2, 29, 13, 45, 59}, Date{1899, 12, 30, 7, 8, 9}, true},
            {null, null, null, null, null, null, null, null, null, null, null},
            {int16_t{0}, int32_t{0}, int32_t{7}, 0.0, 0.0, "", longText + "END", Date{1999, 12, 31},
             Date{1999, 12, 31}, Date{}, false}}));
  // By name, in any order and case, and more than once.
  auto rs = db->Execute("SELECT text_value, small_value, flag FROM value_kinds WHERE id = 1", -1);
  EXPECT_EQ(rs->Field("FLAG"), Variant(true));
  EXPECT_EQ(rs->Field("Text_Value"), Variant("città d'arte"));
  EXPECT_EQ(rs->Field("small_value"), Variant(int16_t{-12}));
  EXPECT_EQ(rs->Field("text_value"), Variant("città d'arte"));
}

TEST_F(OdbcTest, TextsLongerThanTheirDeclaredSizeAreReadWhole) {
  // This driver declares a varchar without a length short; rows come in
  // blocks, and the long values are read again in pieces.
  auto rs = db->Execute(
      "SELECT n, repeat('é', n * 3)::varchar AS t, n * 2 AS twice "
      "FROM generate_series(1, 300) AS n ORDER BY n",
      -1);
  int32_t n = 0;
  for (std::string expected; !rs->Eof(); rs->MoveNext()) {
    expected += "ééé";
    ASSERT_EQ(rs->Field(0), Variant(++n));
    ASSERT_EQ(rs->Field("t"), Variant(expected)) << "row " << n;
    ASSERT_EQ(rs->Field("twice"), Variant(n * 2));
  }
  EXPECT_EQ(n, 300);
}

TEST_F(OdbcTest, RowsGoForwardToTheEnd) {
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

TEST_F(OdbcTest, ClosedConnectionsAndRecordsetsRefuseWork) {
  auto first = db->Execute("SELECT id FROM value_kinds ORDER BY id", -1);
  auto second = db->Execute("SELECT id FROM value_kinds ORDER BY id DESC", -1);
  first->Close();
  EXPECT_EQ(raised([&] { first->Eof(); }).number, kObjectClosed);
  EXPECT_EQ(second->Field(0), Variant(int32_t{3}));  // the others are left alone
  EXPECT_TRUE(db->IsOpen());
  db->Close();
  EXPECT_FALSE(db->IsOpen());
  EXPECT_EQ(raised([&] { db->Execute("SELECT 1", -1); }).number, kObjectClosed);
  EXPECT_EQ(raised([&] { db->NewCommand(); }).number, kObjectClosed);
  EXPECT_EQ(raised([&] { second->Eof(); }).number, kObjectClosed);
  EXPECT_EQ(raised([&] { second->MoveNext(); }).number, kObjectClosed);
  db->Close();  // closing twice is harmless
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
