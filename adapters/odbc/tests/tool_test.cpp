// `brelvane call --connect ... --run`: a proposal lookup whose SQL comes from
// the database, composed and then run on the same real connection.
#include <nlohmann/json.hpp>

#include "odbc_fixture.h"
#include "tool_run.h"

namespace brelvane::odbc::testing {
namespace {

TEST_F(OdbcTest, TheToolRunsTheComposedLookupOnTheConnection) {
  const std::string connection = connectionString();
  auto r = cli::tool({"call", "--connect", connection, "--run", "Brelvane.CLSCI_LOOKUP",
                      "ProposteContiPerProvider", "1", "7"});
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_NE(r.out.find("SELECT code, description FROM proposal_accounts"), std::string::npos);
  EXPECT_NE(r.out.find("Code | Description"), std::string::npos) << r.out;
  EXPECT_NE(r.out.find("A100 | Raw materials"), std::string::npos) << r.out;
  EXPECT_NE(r.out.find("A200 | Services"), std::string::npos) << r.out;
  EXPECT_NE(r.out.find("(2 rows)"), std::string::npos) << r.out;

  auto limited = cli::tool({"call", "--json", "--connect", connection, "--run", "--limit", "1",
                            "Brelvane.CLSCI_LOOKUP", "ProposteContiPerProvider", "1", "7"});
  ASSERT_EQ(limited.status, 0) << limited.err;
  auto doc = nlohmann::json::parse(limited.out);
  EXPECT_EQ(doc["rows"]["columns"], nlohmann::json({"Code", "Description"}));
  EXPECT_EQ(doc["rows"]["rows"],
            nlohmann::json::array({nlohmann::json::array({"A100", "Raw materials"})}));
  EXPECT_EQ(doc["rows"]["more"], true);
}

TEST_F(OdbcTest, TheToolSaysWhyAConnectionOrItsRowsFail) {
  auto refused = cli::tool(
      {"call", "--connect", "Driver=NoSuchDriver;", "Brelvane.CLSCI_LOOKUP", "NatureCosti"});
  EXPECT_EQ(refused.status, 1);
  EXPECT_NE(refused.err.find("--connect: error"), std::string::npos) << refused.err;
  // The composed text speaks the company database's dialect, which this
  // server does not: the run fails and says so.
  auto foreign = cli::tool(
      {"call", "--connect", connectionString(), "--run", "Brelvane.CLSCI_LOOKUP", "NatureCosti"});
  EXPECT_EQ(foreign.status, 1);
  EXPECT_NE(foreign.err.find("running the composed text: error"), std::string::npos) << foreign.err;
  EXPECT_EQ(cli::tool({"call", "--run", "Brelvane.CLSCI_LOOKUP", "NatureCosti"}).status, 2);
}

TEST_F(OdbcTest, TheToolReachesProceduresAndFunctionsAlike) {
  // Search paths of schema.sql: procs holds PROCEDUREs, whose captions start
  // "proc:"; public the functions; faulty a procedure that raises; empty a
  // table of the name.
  struct Case {
    const char *path, *method;
    int status;
    std::vector<std::string> said;
  };
  const Case cases[] = {
      {"procs, public", "ProposteContiPerProvider", 0, {"proc:Code | Description", "A200"}},
      {"procs, public", "ProposteCogePerProvider2", 0, {"proc:Ledger account", "(3 rows)"}},
      {"procs, public", "ProposteCausaliPerProvider", 0, {"Caus_7", "proc:", "(1 rows)"}},
      {"faulty, public", "ProposteCausaliPerProvider2", 0, {"SELECT 1", "(1 rows)"}},
      {"faulty, public", "ProposteCogePerProvider", 1, {"P0001: ERROR: no proposals for"}},
      {"empty", "ProposteCogePerProvider", 1, {"42883: ERROR: function spci_propcoge"}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.path) + ": " + c.method);
    auto r = cli::tool({"call", "--connect", connectionSearching(c.path), "--run",
                        "Brelvane.CLSCI_LOOKUP", c.method, "1", "7"});
    EXPECT_EQ(r.status, c.status) << r.err;
    for (const auto& text : c.said)
      EXPECT_NE((r.out + r.err).find(text), std::string::npos) << text << '\n' << r.out << r.err;
  }
}

TEST_F(OdbcTest, NoErrorShowsThePasswordOfTheConnection) {
  // A missing database; a driver name whose brace is never closed, which the
  // driver manager quotes back with the rest of the string.
  for (const std::string& connection :
       {connectionString() + "Database=no_such_db;PWD=some-unique-secret;",
        std::string("Driver={NoSuchDriver;Server=127.0.0.1;Password=some-unique-secret;")}) {
    auto r = cli::tool({"call", "--connect", connection, "Brelvane.CLSCI_LOOKUP", "NatureCosti"});
    EXPECT_EQ(r.status, 1);
    EXPECT_NE(r.err.find("--connect: error"), std::string::npos) << r.err;
    EXPECT_EQ((r.out + r.err).find("some-unique-secret"), std::string::npos) << r.err;
  }
}

}  // namespace
}  // namespace brelvane::odbc::testing
