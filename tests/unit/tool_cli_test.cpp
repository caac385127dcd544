// How the tool behaves as a command-line program: names typed loosely, the
// messages and exit statuses of bad input, output that cannot be written,
// the listing's width and the completion script.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <sstream>

#include "cli/commands.h"
#include "cli/names.h"
#include "cli/scenario.h"
#include "unit/tool_run.h"

namespace brelvane::cli {
namespace {

TEST(ToolNames, CaseAndAccentsDoNotMatter) {
  EXPECT_EQ(foldName("CausaliContabilitàIndustriale"), "causalicontabilitaindustriale");
  EXPECT_EQ(foldName("ÀÉÎÕÜàéîõüÇçÑñ"), "aeiouaeiouccnn");
  EXPECT_EQ(foldName("×÷"), "×÷");  // signs have no base letter
  std::vector<std::string> names = {"ChiusuraMovimentiContabilitàIndustriale", "NatureCosti"};
  EXPECT_EQ(matchName("chiusuramovimenticontabilitaindustriale", names), names[0]);
  EXPECT_EQ(matchName("NATURECOSTI", names), names[1]);
  EXPECT_EQ(matchName("NatureCost", names), std::nullopt);
}

TEST(ToolNames, NearMissesGetASuggestionAndFarOnesDoNot) {
  std::vector<std::string> names = {"NatureCosti", "TipiContiCoin", "Brelvane.CLSCI_LOOKUP"};
  EXPECT_EQ(nearestName("NaturCosti", names), "NatureCosti");
  EXPECT_EQ(nearestName("tipicontocoin", names), "TipiContiCoin");
  EXPECT_EQ(nearestName("Brelvane.CLSCI_LOKUP", names), "Brelvane.CLSCI_LOOKUP");
  EXPECT_EQ(nearestName("Magazzino", names), std::nullopt);
  EXPECT_EQ(didYouMean("Magazzino", names), "");
}

TEST(ToolCli, NamesWithoutAccentsFindTheirMembers) {
  auto r = tool({"call", "brelvane.clsci_lookup", "CausaliContabilitaIndustriale"});
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_NE(r.out.find("Lookup id: Lkp_CauCont"), std::string::npos);

  r = tool({"call", "Brelvane.CLSCI_LOOKUP", "NaturCosti"});
  EXPECT_EQ(r.status, kBadInput);
  EXPECT_NE(r.err.find("has no method NaturCosti (did you mean NatureCosti?)"), std::string::npos)
      << r.err;
  r = tool({"list", "Brelvane.CLSCI_DECOD"});
  EXPECT_EQ(r.status, kBadInput);
  EXPECT_NE(r.err.find("(did you mean Brelvane.CLSCI_DECODE?)"), std::string::npos) << r.err;
}

TEST(ToolCli, ATypeMismatchNamesMemberParameterTypeAndValue) {
  auto r = tool({"call", "Brelvane.CLSCI_LOOKUP", "CausaliPerTipoMovimentazione", "abc"});
  EXPECT_EQ(r.status, kBadInput);
  EXPECT_EQ(r.err,
            "brelvane call: CausaliPerTipoMovimentazione: fintMaskTipoMovimentazione (Integer) "
            "cannot take \"abc\"\n");
  EXPECT_EQ(r.out, "");
}

TEST(ToolCli, AnEmptyStrSqlIsAFailureWithItsReason) {
  auto r =
      tool({"call", "--set", "ActiveInterface=nothing", "Brelvane.CLSCI_LOOKUP", "NatureCosti"});
  EXPECT_EQ(r.status, 1);
  EXPECT_NE(r.out.find("(empty: the lookup failed)"), std::string::npos);  // output as before
  EXPECT_EQ(r.err.rfind("brelvane call: NatureCosti left Str_Sql empty: error 91", 0), 0u) << r.err;
}

TEST(ToolCli, VersionAndHelpOfEachCommand) {
  auto r = tool({"--version"});
  EXPECT_EQ(r.status, 0);
  // "brelvane MAJOR.MINOR.PATCH", one line.
  std::string version = r.out.substr(0, r.out.find('\n'));
  EXPECT_EQ(version.rfind("brelvane ", 0), 0u) << r.out;
  EXPECT_EQ(std::count(version.begin(), version.end(), '.'), 2) << r.out;
  EXPECT_EQ(version.find_first_not_of("0123456789.", 9), std::string::npos) << r.out;
  EXPECT_EQ(r.out.size(), version.size() + 1) << r.out;
  for (auto command : {"run", "call", "list", "completion"}) {
    auto viaHelp = tool({"help", command});
    auto viaOption = tool({command, "--help"});
    EXPECT_EQ(viaHelp.status, 0) << command;
    EXPECT_EQ(viaHelp.out, viaOption.out) << command;
    EXPECT_NE(viaHelp.out.find(std::string("brelvane ") + command), std::string::npos);
  }
  EXPECT_EQ(tool({"help", "frobnicate"}).status, kBadInput);
}

TEST(ToolCli, AfterADoubleDashEverythingIsAnOperand) {
  // --help after -- is a file name to run, a ProgID to list.
  auto r = tool({"run", "--", "--help"});
  EXPECT_EQ(r.status, kBadInput);
  EXPECT_EQ(r.err.rfind("brelvane run: cannot read --help: ", 0), 0u) << r.err;
  r = tool({"list", "--", "--json"});
  EXPECT_EQ(r.status, kBadInput);
  EXPECT_NE(r.err.find("unknown ProgID --json"), std::string::npos) << r.err;
  r = tool({"call", "--", "Brelvane.CLSCI_LOOKUP", "CausaliPerTipoMovimentazione", "--json"});
  EXPECT_NE(r.err.find("cannot take \"--json\""), std::string::npos) << r.err;
}

TEST(ToolCli, UnreadableFilesSayWhy) {
  std::string dir = std::filesystem::temp_directory_path().string();
  auto r = tool({"run", dir});
  EXPECT_EQ(r.status, kBadInput);
  EXPECT_EQ(r.err, "brelvane run: cannot read " + dir + ": it is a directory\n");
  r = tool({"call", "--catalog", dir, "Brelvane.CLSCI_LOOKUP", "NatureCosti"});
  EXPECT_EQ(r.status, kBadInput);
  EXPECT_EQ(r.err, "brelvane call: cannot read " + dir + ": it is a directory\n");
  r = tool({"run", "/nonexistent/s.json"});
  EXPECT_EQ(r.err, "brelvane run: cannot read /nonexistent/s.json: No such file or directory\n");
}

TEST(ToolCli, ANulByteMakesAScenarioInvalid) {
  using namespace std::string_view_literals;
  for (auto text : {"{\"steps\": []}\0trailing"sv, "{\"steps\": [\0]}"sv}) {
    std::ostringstream out, err;
    EXPECT_EQ(runScenario(text, out, err), kScenarioInvalid);
    EXPECT_EQ(out.str(), "");
    EXPECT_NE(err.str().find("NUL byte"), std::string::npos) << err.str();
  }
}

TEST(ToolCli, MessagesQuoteOnlyAnExcerptOfHugeInput) {
  std::string huge(1 << 16, 'k');  // 64 KiB: far past any message's length
  for (const std::string& text : {"{\"steps\": [{\"" + huge + "\": 1}]}",  // a key
                                  "{\"steps\": [" + huge + "]}",           // a token
                                  "{\"steps\": [{\"$integer\": \"" + huge + "\"}]}"}) {
    std::ostringstream out, err;
    EXPECT_EQ(runScenario(text, out, err), kScenarioInvalid);
    EXPECT_LT(err.str().size(), 400u) << err.str().substr(0, 400);
  }
  auto r = tool({"call", "Brelvane.CLSCI_LOOKUP", huge});
  EXPECT_EQ(r.status, kBadInput);
  EXPECT_LT(r.err.size(), 400u);
}

TEST(ToolCli, OutputThatCannotBeWrittenIsStatusTwo) {
  std::ostream broken(nullptr);  // every write fails
  std::ostringstream err;
  std::vector<std::string_view> args = {"list"};
  EXPECT_EQ(runTool(args, broken, err), kBadInput);
  EXPECT_EQ(err.str().rfind("brelvane: cannot write the output", 0), 0u) << err.str();
}

TEST(ToolCli, ListingFitsEightyColumnsAwayFromATerminal) {
  auto r = tool({"list"});
  ASSERT_EQ(r.status, 0);
  std::istringstream lines(r.out);
  std::string line;
  size_t count = 0;
  while (std::getline(lines, line)) {
    ++count;
    size_t columns = 0;
    for (char c : line) columns += (c & 0xC0) != 0x80;
    // A line may pass the edge only when it is one word after its indent.
    bool oneWord = line.find(' ', line.find_first_not_of(' ')) == std::string::npos;
    EXPECT_TRUE(columns <= 80 || oneWord) << line;
  }
  EXPECT_GT(count, 50u);
}

TEST(ToolCli, CompletionOffersCommandsProgIdsAndMembers) {
  auto r = tool({"completion"});
  ASSERT_EQ(r.status, 0);
  EXPECT_NE(r.out.find("complete -F _brelvane brelvane"), std::string::npos);
  EXPECT_NE(r.out.find("Brelvane.CLSCI_LOOKUP"), std::string::npos);
  // The members of a class are offered after that class's ProgID.
  auto membersOf = [&](const std::string& progId) {
    std::string head = progId + ") words=\"";
    size_t start = r.out.find(head);
    if (start == std::string::npos) return std::string();
    start += head.size();
    return std::string(" ").append(r.out, start, r.out.find('"', start) - start).append(" ");
  };
  EXPECT_NE(membersOf("brelvane.clsci_lookup").find(" NatureCosti "), std::string::npos);
  EXPECT_NE(membersOf("brelvane.clsci_decode").find(" AnagraficaPianoDeiConti "),
            std::string::npos);
}

}  // namespace
}  // namespace brelvane::cli
