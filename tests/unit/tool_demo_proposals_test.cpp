// The demo connection of `brelvane call`: its proposal procedures answer for
// the built-in providers only, with the company code the call passes.
#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "cli/commands.h"

namespace brelvane::cli {
namespace {

/// What `call` prints; `status` is the exit status expected of it.
std::string callOut(std::vector<std::string_view> args, int status = 0) {
  std::ostringstream out, err;
  args.insert(args.begin(), "call");
  EXPECT_EQ(runTool(args, out, err), status) << err.str();
  return out.str();
}

TEST(ToolDemoProposals, KnownProvidersAnswerWithTheirColumnsAndQuery) {
  std::string out = callOut({"Brelvane.CLSCI_LOOKUP", "ProposteContiPerProvider", "1", "7"});
  EXPECT_NE(out.find("Lookup id: Lkp_PropProv_7\n"), std::string::npos) << out;
  EXPECT_NE(out.find("Columns:   Conto | Descrizione | Tipo conto\n"), std::string::npos) << out;
  EXPECT_NE(out.find(" FROM   PC03_ANAGPDC WITH(NOLOCK)\n"), std::string::npos) << out;
  EXPECT_NE(out.find("connection ExecuteCommand"), std::string::npos) << out;

  // The company code reaches the query through the procedure's input.
  out = callOut({"Brelvane.CLSCI_LOOKUP", "ProposteCausaliPerProvider2", "42", "1"});
  EXPECT_NE(out.find("FNCI03_CAUSALI(CI03_CODCAUS, 42)"), std::string::npos) << out;
}

TEST(ToolDemoProposals, AnUnknownProviderFailsTheLookup) {
  // An empty Str_Sql is a failed call (status 1).
  std::string out = callOut({"Brelvane.CLSCI_LOOKUP", "ProposteCogePerProvider", "1", "3"}, 1);
  EXPECT_NE(out.find("SQL:       (empty: the lookup failed)"), std::string::npos) << out;
}

}  // namespace
}  // namespace brelvane::cli
