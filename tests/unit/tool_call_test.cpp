// The tool as a command-line program: `call` and `list` on the demo host, and
// every input and output it cannot take.
#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>

#include "brelvane/brelvane.h"
#include "cli/arguments.h"
#include "cli/commands.h"
#include "cli/names.h"
#include "cli/scenario.h"
#include "demo_host.h"
#include "unit/tool_run.h"

namespace brelvane::cli {
namespace {

using standins::Json;
using Args = std::vector<std::string_view>;
using V = Variant;
constexpr const char* kLookup = "Brelvane.CLSCI_LOOKUP";
bool has(const std::string& text, const std::string& part) {
  return text.find(part) != text.npos;
}

TEST(ToolValues, CommandLineFormsGiveTheirVariantsAndAreShownBack) {
  // The last words have no form: texts, including what only looks like a number.
  // clang-format off
  const std::pair<const char*, Variant> forms[] = {
      {"42", V(int32_t{42})}, {"-7", V(int32_t{-7})}, {"4000000000", V(4e9)},
      {"2.5", V(2.5)}, {"'42'", V("42")}, {"''", V("")},
      {"text:null", V("null")}, {"integer:7", V(int16_t{7})},
      {"long:7", V(int32_t{7})}, {"double:7", V(7.0)}, {"true", V(true)},
      {"null", V::null()}, {"empty", V()}, {"missing", V::missing()},
      {"nothing", V::nothing()}, {"date:2026-11-22", V(Date{2026, 11, 22})},
      {"date:2026-11-22T10:30:00", V(Date{2026, 11, 22, 10, 30, 0})},
      {"CI10_CODICE", V("CI10_CODICE")}, {"nan", V("nan")}, {"1e5", V("1e5")},
      {"'", V("'")}};
  // clang-format on
  for (const auto& [text, value] : forms) {
    EXPECT_EQ(parseValue(text), value) << text;
    EXPECT_EQ(parseValue(text).type(), value.type()) << text;
  }
  for (auto bad : {"integer:40000", "integer:x", "long:2147483648", "double:abc", "date:2026-13-01",
                   "date:", "integer:"})
    EXPECT_THROW(parseValue(bad), std::invalid_argument) << bad;
  auto control = standins::makeControl();  // object names come from their source
  ObjectSource source = [&](std::string_view name) {
    return name == "control" ? control : std::shared_ptr<Dispatch>();
  };
  EXPECT_EQ(parseValue("control", source), V(control));
  EXPECT_EQ(parseValue("host", source), V("host"));
  // Shown back: texts as lines, values described.
  EXPECT_EQ(displayLines(" SELECT  \r\n FROM\rX\nY\r\n"),
            (std::vector<std::string>{" SELECT  ", " FROM<CR>X<LF>Y"}));
  EXPECT_EQ(displayLines("a\r\n\r\nb"), (std::vector<std::string>{"a", "", "b"}));
  EXPECT_TRUE(displayLines("").empty());
  standins::Names names;
  names.add(control, "ctl");
  const std::pair<Variant, const char*> shown[] = {
      {V(true), "True"},
      {V("it's"), "\"it's\""},
      {V(control), "<object ctl>"},
      {V::nothing(), "Nothing"},
      {V(SafeArray({Bound{0, 1}, Bound{2, 3}})), "array (0 To 1, 2 To 3)"}};
  for (const auto& [v, text] : shown) EXPECT_EQ(describe(v, names), text);
}

TEST(ToolCatalogue, ReadsLinesOfIdAndTextAndCoversTheCodeTableLookups) {
  auto c = readCatalogue("1\tuno\r\n\n22\tdell'anno\t(tab kept)\n");
  EXPECT_EQ(c, (Catalogue{{1, "uno"}, {22, "dell'anno\t(tab kept)"}}));
  for (auto bad : {"abc\ttext\n", "12 text\n", "1\tok\n\ttext\n", "99999999999\tx\n"})
    EXPECT_THROW(readCatalogue(bad), std::runtime_error) << bad;

  ObjectFactory factory;
  registerBrelvane(factory);
  auto lookup = factory.create(kLookup);
  lookup->putRef("ActiveInterface", V(makeDemoHost(readCatalogue(builtinCatalogue()), {})));
  for (auto method : {"NatureCosti", "ProvenienzeCosti", "TipiContiCoin", "TipiAttivita",
                      "VariabilitaCosti", "NatureCausali", "TipoCliFor", "StatoRegCogeCoin"}) {
    lookup->invoke(method, {});
    std::string sql = toText(lookup->get("Str_Sql")),
                text = sql + toText(lookup->get("Str_Caption"));
    EXPECT_FALSE(sql.empty()) << method;
    EXPECT_FALSE(std::regex_search(text, std::regex(R"(\[[0-9]+\])"))) << method;  // an id missing
  }
}

TEST(ToolCall, PrintsResultsReadably) {
  auto r = tool({"call", kLookup, "NatureCosti"});
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.err, "");
  const std::string head =
      "Caption:   Nature di costo\nLookup id: Lkp_NatureCosti\n"
      "Columns:   Codice | Descrizione | Tipologia | Descrizione Tipologia\nSQL:\n"
      " SELECT          PC04_CODICE";
  EXPECT_EQ(r.out.substr(0, head.size()), head);
  EXPECT_FALSE(has(r.out, "\r"));
  EXPECT_TRUE(has(r.out, "FNPC04_NATURECOSTI(PC04_CODICE,1))"));

  r = tool({"call", "--set", "CodicePdC='P01'", "Brelvane.CLSCI_CONNECT", "ExecCodiciPdC"});
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out.rfind("Return: True\n", 0), 0u) << r.out;
  for (auto part : {"CodicePdC: \"P01\"",
                    "Quillane.CLSCI_CONNECT#1 Put {\"name\":\"CodicePdC\",\"value\":\"P01\"}",
                    "Quillane.CLSCI_CONNECT#1 Call {\"name\":\"ExecCodiciPdC\""})
    EXPECT_TRUE(has(r.out, part)) << part << "\n" << r.out;
  // Names without accents find their members.
  r = tool({"call", "brelvane.clsci_lookup", "CausaliContabilitaIndustriale"});
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_TRUE(has(r.out, "Lookup id: Lkp_CauCont"));
}

TEST(ToolCall, OptionsReachTheDemoHostAndFailedLookupsAreStatusOne) {
  std::string file = ::testing::TempDir() + "tool_call_catalogue.tsv";
  std::ofstream(file) << "73320\tCost natures\n39796\tUndefined\n";
  auto r = tool({"call", "--json", "--company", "42", "--catalog", file, kLookup, "NatureCosti"});
  std::remove(file.c_str());
  ASSERT_EQ(r.status, 0) << r.err;
  const Json doc = Json::parse(r.out)["properties"];
  EXPECT_EQ(doc["Str_Caption"], "Cost natures");
  EXPECT_EQ(doc["IDLookup"], "Lkp_NatureCosti");
  EXPECT_EQ(doc["Arr_Fields"]["$array"]["rows"][0][3], "Descrizione Tipologia");
  std::string sql = doc["Str_Sql"];
  EXPECT_TRUE(has(sql, "(PC04_CODICE,42))"));
  EXPECT_TRUE(has(sql, "WHEN 0 THEN 'Undefined'"));
  EXPECT_TRUE(has(sql, "WHEN 1 THEN '[16572]'"));  // not in this catalogue

  // The demo connection's proposal procedures answer for the built-in
  // providers only, with the company code the call passes.
  r = tool({"call", kLookup, "ProposteContiPerProvider", "1", "7"});
  EXPECT_EQ(r.status, 0) << r.err;
  for (auto part : {"Lookup id: Lkp_PropProv_7\n", "Columns:   Conto | Descrizione | Tipo conto\n",
                    " FROM   PC03_ANAGPDC WITH(NOLOCK)\n", "connection ExecuteCommand"})
    EXPECT_TRUE(has(r.out, part)) << part << "\n" << r.out;
  r = tool({"call", kLookup, "ProposteCausaliPerProvider2", "42", "1"});
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_TRUE(has(r.out, "FNCI03_CAUSALI(CI03_CODCAUS, 42)")) << r.out;

  // --harden: the apostrophe doubled; without it, the text as given.
  for (bool harden : {false, true}) {
    Args args = {"call", kLookup, "IntestazioniSchedeCostiPerTipoScheda", "1", "O'Brien"};
    if (harden) args.insert(args.begin() + 1, "--harden");
    r = tool(args);
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_TRUE(has(r.out, harden ? "= 'O''Brien'" : "= 'O'Brien'")) << r.out;
  }
  // A failed lookup is status 1.
  r = tool({"call", "--set", "ActiveInterface=nothing", kLookup, "NatureCosti"});
  EXPECT_EQ(r.status, 1);
  EXPECT_TRUE(has(r.out, "(empty: the lookup failed)"));  // the output as before
  EXPECT_EQ(r.err.rfind("brelvane call: NatureCosti left Str_Sql empty: error 91", 0), 0u) << r.err;
  r = tool({"call", kLookup, "ProposteCogePerProvider", "1", "3"});  // unknown provider
  EXPECT_EQ(r.status, 1) << r.err;
  EXPECT_TRUE(has(r.out, "SQL:       (empty: the lookup failed)")) << r.out;
}

TEST(ToolNames, CaseAndAccentsDoNotMatterAndNearMissesGetASuggestion) {
  EXPECT_EQ(foldName("CausaliContabilitàIndustriale"), "causalicontabilitaindustriale");
  EXPECT_EQ(foldName("ÀÉÎÕÜàéîõüÇçÑñ"), "aeiouaeiouccnn");
  EXPECT_EQ(foldName("×÷"), "×÷");  // signs have no base letter
  std::vector<std::string> names = {"ChiusuraMovimentiContabilitàIndustriale", "NatureCosti"};
  EXPECT_EQ(matchName("chiusuramovimenticontabilitaindustriale", names), names[0]);
  EXPECT_EQ(matchName("NATURECOSTI", names), names[1]);
  EXPECT_EQ(matchName("NatureCost", names), std::nullopt);
  names = {"NatureCosti", "TipiContiCoin", "Brelvane.CLSCI_LOOKUP"};
  EXPECT_EQ(nearestName("NaturCosti", names), "NatureCosti");
  EXPECT_EQ(nearestName("tipicontocoin", names), "TipiContiCoin");
  EXPECT_EQ(nearestName("Brelvane.CLSCI_LOKUP", names), "Brelvane.CLSCI_LOOKUP");
  EXPECT_EQ(nearestName("Magazzino", names), std::nullopt);
  EXPECT_EQ(didYouMean("Magazzino", names), "");
}

TEST(ToolCli, BadInputUnwritableOutputAndHugeScenariosMakeShortMessages) {
  const std::string dir = std::filesystem::temp_directory_path().string();
  const std::string lk = "call Brelvane.CLSCI_LOOKUP ", set = "call --set ",
                    nc = " Brelvane.CLSCI_LOOKUP NatureCosti";
  // The arguments, split at blanks; the whole message, or a part of it after "...".
  const std::vector<std::pair<std::string, std::string>> rows = {
      {"call", ""},
      {lk, ""},
      {"call Brelvane.CLSCI_NOPE NatureCosti", ""},
      {"call Quillane.CLSCI_CONNECT ExecRicerca", ""},  // a stand-in, not a class
      {lk + "Str_Sql", ""},
      {lk + "NatureCosti 1", ""},
      {lk + "ClassiCorrelate", ""},
      {lk + "ClassiCorrelate missing", ""},
      {lk + "CausaliPerTipoMovimentazione abc",
       "brelvane call: CausaliPerTipoMovimentazione: fintMaskTipoMovimentazione (Integer) "
       "cannot take \"abc\"\n"},
      {lk + "CausaliPerTipoMovimentazione integer:x", ""},
      {lk + "NaturCosti", "...has no method NaturCosti (did you mean NatureCosti?)"},
      {lk + std::string(1 << 16, 'k'), ""},  // 64 KiB: the message quotes an excerpt
      {"call --frobnicate" + nc, "...; see brelvane call --help"},
      {"call --company" + nc, ""},
      {set + "Nope=1" + nc, ""},
      {set + "TipoLookupPdC='x'" + nc, ""},
      {set + "novalue" + nc, ""},
      {"call --catalog /nonexistent/catalogue.tsv" + nc, ""},
      {"call --catalog " + dir + nc, "brelvane call: cannot read " + dir + ": it is a directory\n"},
      // After a double dash everything is an operand: a file to run, a ProgID to list.
      {"call -- Brelvane.CLSCI_LOOKUP CausaliPerTipoMovimentazione --json",
       "...cannot take \"--json\""},
      {"list Brelvane.CLSCI_NOPE", ""},
      {"list Brelvane.CLSCI_DECOD", "...(did you mean Brelvane.CLSCI_DECODE?)"},
      {"list --frobnicate", ""},
      {"list -- --json", "...unknown ProgID --json"},
      {"run", ""},
      {"run /nonexistent/s.json",
       "brelvane run: cannot read /nonexistent/s.json: No such file or directory\n"},
      {"run " + dir, "brelvane run: cannot read " + dir + ": it is a directory\n"},
      {"run -- --help", "...brelvane run: cannot read --help: "},
      {"site", ""},
      {"site a b", ""},
      {"site --grants", ""},
      {"site /dev/null/site", "brelvane site: cannot create the directory /dev/null/site\n"},
      {"help frobnicate", ""},
      {"frobnicate", ""},
      {"", ""},
  };
  for (const auto& [line, message] : rows) {
    std::vector<std::string_view> args;
    for (size_t at = 0, end; at < line.size(); at = end + 1) {
      end = std::min(line.find(' ', at), line.size());
      args.push_back(std::string_view(line).substr(at, end - at));
    }
    SCOPED_TRACE(line.substr(0, 100));
    auto r = tool(args);
    EXPECT_EQ(r.status, kBadInput);
    EXPECT_EQ(r.out, "");
    EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1) << r.err;
    EXPECT_LT(r.err.size(), 400u);
    if (message.starts_with("...")) {
      EXPECT_TRUE(has(r.err, message.substr(3))) << r.err;
    } else if (!message.empty()) {
      EXPECT_EQ(r.err, message);
    }
  }
  std::ostream broken(nullptr);  // output that cannot be written
  std::ostringstream err;
  EXPECT_EQ(runTool(Args{"list"}, broken, err), kBadInput);
  EXPECT_EQ(err.str().rfind("brelvane: cannot write the output", 0), 0u) << err.str();
  // Scenario texts with NUL bytes or huge parts make short messages.
  using namespace std::string_view_literals;
  const std::string huge(1 << 16, 'k');  // 64 KiB: far past any message's length
  const std::pair<std::string, std::string> cases[] = {
      {std::string("{\"steps\": []}\0trailing"sv), "NUL byte"},
      {std::string("{\"steps\": [\0]}"sv), "NUL byte"},
      {"{\"steps\": [{\"" + huge + "\": 1}]}", ""},  // a key
      {"{\"steps\": [" + huge + "]}", ""},           // a token
      {"{\"steps\": [{\"$integer\": \"" + huge + "\"}]}", ""}};
  for (const auto& [text, part] : cases) {
    std::ostringstream out, message;
    EXPECT_EQ(runScenario(text, out, message), kScenarioInvalid);
    EXPECT_EQ(out.str(), "");
    EXPECT_LT(message.str().size(), 400u) << message.str().substr(0, 400);
    EXPECT_NE(message.str().find(part), std::string::npos) << message.str();
  }
}

TEST(ToolCli, VersionAndHelpOfEachCommand) {
  auto r = tool({"--version"});
  EXPECT_EQ(r.status, 0);
  EXPECT_TRUE(std::regex_match(r.out, std::regex("brelvane [0-9]+\\.[0-9]+\\.[0-9]+\n"))) << r.out;
  // Each command's help is the one `help COMMAND` prints.
  for (Args args :
       {Args{"--help"}, Args{"run", "--help"}, Args{"call", "--help"}, Args{"list", "--help"},
        Args{"list", "-h"}, Args{"completion", "--help"}, Args{"site", "--help"}}) {
    r = tool(args);
    EXPECT_EQ(r.status, 0);
    EXPECT_TRUE(has(r.out, "Usage"));
    EXPECT_EQ(r.err, "");
    if (args.size() == 1) continue;
    EXPECT_TRUE(has(r.out, "brelvane " + std::string(args[0])));
    auto viaHelp = tool({"help", args[0]});
    EXPECT_EQ(viaHelp.status, 0);
    EXPECT_EQ(viaHelp.out, r.out) << args[0];
  }
}

TEST(ToolList, ListsEveryRegisteredClassWithinEightyColumnsOrAsJson) {
  ObjectFactory factory;
  registerBrelvane(factory);
  auto r = tool({"list"});
  ASSERT_EQ(r.status, 0);
  for (const auto& entry : factory.entries()) {
    if (!entry.info) continue;
    EXPECT_TRUE(has(r.out, entry.progId + " - ")) << entry.progId;
    for (const auto& m : entry.info->methods)
      EXPECT_TRUE(has(r.out, "    " + m.name + "(")) << m.name;
  }
  // Long signatures wrap between parameters, under an indent of eight.
  std::string joined = r.out;
  for (size_t at; (at = joined.find("\n        ")) != std::string::npos;)
    joined.replace(at, 9, " ");
  EXPECT_TRUE(has(joined,
                  "AnagraficaIntermediPDCCoGe2(flngCodiceDitta As Long, CodicePdC As "
                  "Variant, Optional fintLivello As Integer = 1)"));
  // Away from a terminal a line may pass column 80 only when it is one word after its indent.
  std::istringstream lines(r.out);
  size_t count = 0;
  for (std::string line; std::getline(lines, line); ++count) {
    size_t columns = 0;
    for (char c : line) columns += (c & 0xC0) != 0x80;
    EXPECT_TRUE(columns <= 80 || line.find(' ', line.find_first_not_of(' ')) == line.npos) << line;
  }
  EXPECT_GT(count, 50u);

  // As JSON: parameters, events and enumerations.
  r = tool({"list", "--json", "brelvane.clsci_connect"});
  ASSERT_EQ(r.status, 0) << r.err;
  auto doc = Json::parse(r.out);
  ASSERT_EQ(doc.size(), 1u);
  const auto& c = doc[0];
  EXPECT_EQ(c["progId"], "Brelvane.CLSCI_CONNECT");
  auto named = [](const Json& list, const std::string& name) {
    for (const auto& e : list)
      if (e["name"] == name) return e;
    return Json();
  };
  EXPECT_EQ(named(c["events"], "TransferData")["params"][0]["byRef"], true);
  EXPECT_EQ(named(c["events"], "TransferData")["params"][0]["name"], "Cancel");
  EXPECT_EQ(named(c["enumerations"], "MaskTipoMovimentazione")["members"]["MovRipartizioneCosti"],
            8);
  EXPECT_EQ(named(c["properties"], "ConnectField")["access"], Json::parse(R"(["putRef"])"));
}

}  // namespace
}  // namespace brelvane::cli
