// `brelvane call --connect ... --run`: a lookup composed, then run on the
// same real connection.
#include <nlohmann/json.hpp>

#include "odbc_fixture.h"
#include "tool_run.h"

namespace brelvane::odbc::testing {
namespace {

TEST_F(OdbcTest, TheToolRunsTheComposedLookupOnTheConnection) {
  // Search paths of schema.sql: procs holds PROCEDUREs, whose captions start
  // "proc:"; public the functions; faulty a procedure that raises; empty a
  // table of the name. NatureCosti speaks the company database's dialect,
  // which this server does not.
  struct Case {
    std::string connection, method;
    int status;
    std::vector<std::string> said;
  };
  const std::string plain = connectionString(), procs = connectionSearching("procs, public"),
                    faulty = connectionSearching("faulty, public"),
                    empty = connectionSearching("empty");
  const Case cases[] = {
      {plain,
       "ProposteContiPerProvider",
       0,
       {"SELECT code, description FROM proposal_accounts", "Code | Description",
        "A100 | Raw materials", "A200 | Services", "(2 rows)"}},
      {procs, "ProposteContiPerProvider", 0, {"proc:Code | Description", "A200"}},
      {procs, "ProposteCogePerProvider2", 0, {"proc:Ledger account", "(3 rows)"}},
      {procs, "ProposteCausaliPerProvider", 0, {"Caus_7", "proc:", "(1 rows)"}},
      {faulty, "ProposteCausaliPerProvider2", 0, {"SELECT 1", "(1 rows)"}},
      {faulty, "ProposteCogePerProvider", 1, {"P0001: ERROR: no proposals for"}},
      {empty, "ProposteCogePerProvider", 1, {"42883: ERROR: function spci_propcoge"}},
      {plain, "NatureCosti", 1, {"running the composed text: error"}},
      {"", "NatureCosti", 2, {}},  // --run needs --connect
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.connection + ": " + c.method);
    std::vector<std::string_view> args{"call", "--connect", c.connection, "--run"};
    if (c.connection.empty()) args.erase(args.begin() + 1, args.begin() + 3);
    args.insert(args.end(), {"Brelvane.CLSCI_LOOKUP", c.method});
    if (c.method != "NatureCosti") args.insert(args.end(), {"1", "7"});
    auto r = cli::tool(args);
    EXPECT_EQ(r.status, c.status) << r.err;
    for (const auto& text : c.said)
      EXPECT_NE((c.status ? r.err : r.out).find(text), std::string::npos) << r.out << r.err;
  }

  auto limited = cli::tool({"call", "--json", "--connect", plain, "--run", "--limit", "1",
                            "Brelvane.CLSCI_LOOKUP", "ProposteContiPerProvider", "1", "7"});
  ASSERT_EQ(limited.status, 0) << limited.err;
  auto doc = nlohmann::json::parse(limited.out);
  EXPECT_EQ(doc["rows"]["columns"], nlohmann::json({"Code", "Description"}));
  EXPECT_EQ(doc["rows"]["rows"],
            nlohmann::json::array({nlohmann::json::array({"A100", "Raw materials"})}));
  EXPECT_EQ(doc["rows"]["more"], true);
}

TEST_F(OdbcTest, NoErrorShowsThePasswordOfTheConnection) {
  // A missing driver; a missing database; a driver name whose brace is never
  // closed, which the driver manager quotes back with the rest of the string.
  for (const std::string& connection :
       {std::string("Driver=NoSuchDriver;"),
        connectionString() + "Database=no_such_db;PWD=some-unique-secret;",
        std::string("Driver={NoSuchDriver;Server=127.0.0.1;Password=some-unique-secret;")}) {
    auto r = cli::tool({"call", "--connect", connection, "Brelvane.CLSCI_LOOKUP", "NatureCosti"});
    EXPECT_EQ(r.status, 1);
    EXPECT_NE(r.err.find("--connect: error"), std::string::npos) << r.err;
    EXPECT_EQ((r.out + r.err).find("some-unique-secret"), std::string::npos) << r.err;
  }
}

}  // namespace
}  // namespace brelvane::odbc::testing
