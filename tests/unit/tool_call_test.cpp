// `brelvane call` and `brelvane list`: command-line values, the demo host and
// its catalogue, the printed results and the bad-input exits.
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <sstream>

#include "brelvane/brelvane.h"
#include "cli/arguments.h"
#include "cli/commands.h"
#include "demo_host.h"
#include "unit/tool_run.h"

namespace brelvane::cli {
namespace {

TEST(ToolValues, CommandLineFormsGiveTheirVariants) {
  EXPECT_EQ(parseValue("42"), Variant(int32_t{42}));
  EXPECT_EQ(parseValue("-7"), Variant(int32_t{-7}));
  EXPECT_EQ(parseValue("4000000000"), Variant(4e9));
  EXPECT_EQ(parseValue("2.5"), Variant(2.5));
  EXPECT_EQ(parseValue("'42'"), Variant("42"));
  EXPECT_EQ(parseValue("''"), Variant(""));
  EXPECT_EQ(parseValue("text:null"), Variant("null"));
  EXPECT_EQ(parseValue("integer:7"), Variant(int16_t{7}));
  EXPECT_EQ(parseValue("long:7"), Variant(int32_t{7}));
  EXPECT_EQ(parseValue("double:7"), Variant(7.0));
  EXPECT_EQ(parseValue("true"), Variant(true));
  EXPECT_TRUE(parseValue("null").isNull());
  EXPECT_TRUE(parseValue("empty").isEmpty());
  EXPECT_TRUE(parseValue("missing").isMissing());
  EXPECT_EQ(parseValue("nothing"), Variant::nothing());
  EXPECT_EQ(parseValue("date:2026-11-22"), Variant(Date{2026, 11, 22}));
  EXPECT_EQ(parseValue("date:2026-11-22T10:30:00"), Variant(Date{2026, 11, 22, 10, 30, 0}));
  // Words of no form are texts, including what only looks like a number.
  EXPECT_EQ(parseValue("CI10_CODICE"), Variant("CI10_CODICE"));
  EXPECT_EQ(parseValue("nan"), Variant("nan"));
  EXPECT_EQ(parseValue("1e5"), Variant("1e5"));
  EXPECT_EQ(parseValue("'"), Variant("'"));
}

TEST(ToolValues, PrefixedFormsThatDoNotReadAreRefused) {
  for (auto bad : {"integer:40000", "integer:x", "long:2147483648", "double:abc", "date:2026-13-01",
                   "date:", "integer:"})
    EXPECT_THROW(parseValue(bad), std::invalid_argument) << bad;
}

TEST(ToolValues, ObjectNamesComeFromTheirSource) {
  auto control = standins::makeControl();
  ObjectSource source = [&](std::string_view name) {
    return name == "control" ? control : std::shared_ptr<Dispatch>();
  };
  EXPECT_EQ(parseValue("control", source), Variant(control));
  EXPECT_EQ(parseValue("host", source), Variant("host"));
}

TEST(ToolValues, LinesShowLoneBreaksVisibly) {
  EXPECT_EQ(displayLines(" SELECT  \r\n FROM\rX\nY\r\n"),
            (std::vector<std::string>{" SELECT  ", " FROM<CR>X<LF>Y"}));
  EXPECT_EQ(displayLines("a\r\n\r\nb"), (std::vector<std::string>{"a", "", "b"}));
  EXPECT_TRUE(displayLines("").empty());
}

TEST(ToolValues, DescribeNamesEveryKind) {
  standins::Names names;
  auto control = standins::makeControl();
  names.add(control, "ctl");
  EXPECT_EQ(describe(Variant(true), names), "True");
  EXPECT_EQ(describe(Variant("it's"), names), "\"it's\"");
  EXPECT_EQ(describe(Variant(control), names), "<object ctl>");
  EXPECT_EQ(describe(Variant::nothing(), names), "Nothing");
  EXPECT_EQ(describe(Variant(SafeArray({Bound{0, 1}, Bound{2, 3}})), names),
            "array (0 To 1, 2 To 3)");
}

TEST(ToolCatalogue, ReadsLinesOfIdAndText) {
  auto c = readCatalogue("1\tuno\r\n\n22\tdell'anno\t(tab kept)\n");
  EXPECT_EQ(c.size(), 2u);
  EXPECT_EQ(c.at(1), "uno");
  EXPECT_EQ(c.at(22), "dell'anno\t(tab kept)");
  for (auto bad : {"abc\ttext\n", "12 text\n", "1\tok\n\ttext\n", "99999999999\tx\n"})
    EXPECT_THROW(readCatalogue(bad), std::runtime_error) << bad;
}

/// True when the text holds "[digits]", the demo host's text for an id its
/// catalogue lacks.
bool showsMissingId(const std::string& text) {
  for (size_t open = text.find('['); open != std::string::npos; open = text.find('[', open + 1)) {
    size_t close = text.find_first_not_of("0123456789", open + 1);
    if (close != std::string::npos && close > open + 1 && text[close] == ']') return true;
  }
  return false;
}

TEST(ToolCatalogue, BuiltInCatalogueCoversTheCodeTableLookups) {
  Catalogue catalogue = readCatalogue(builtinCatalogue());
  ObjectFactory factory;
  registerBrelvane(factory);
  auto lookup = factory.create("Brelvane.CLSCI_LOOKUP");
  lookup->putRef("ActiveInterface", Variant(makeDemoHost(catalogue, {})));
  for (auto method : {"NatureCosti", "ProvenienzeCosti", "TipiContiCoin", "TipiAttivita",
                      "VariabilitaCosti", "NatureCausali", "TipoCliFor", "StatoRegCogeCoin"}) {
    lookup->invoke(method, {});
    std::string sql = toText(lookup->get("Str_Sql")), caption = toText(lookup->get("Str_Caption"));
    EXPECT_FALSE(sql.empty()) << method;
    // An id missing from the catalogue would show as [ID].
    EXPECT_FALSE(showsMissingId(sql + caption)) << method;
  }
}

TEST(ToolCall, PrintsALookupDefinitionReadably) {
  auto r = tool({"call", "Brelvane.CLSCI_LOOKUP", "NatureCosti"});
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.err, "");
  std::istringstream lines(r.out);
  std::string line;
  std::getline(lines, line);
  EXPECT_EQ(line, "Caption:   Nature di costo");
  std::getline(lines, line);
  EXPECT_EQ(line, "Lookup id: Lkp_NatureCosti");
  std::getline(lines, line);
  EXPECT_EQ(line, "Columns:   Codice | Descrizione | Tipologia | Descrizione Tipologia");
  std::getline(lines, line);
  EXPECT_EQ(line, "SQL:");
  std::getline(lines, line);
  EXPECT_EQ(line.substr(0, 28), " SELECT          PC04_CODICE");
  EXPECT_EQ(r.out.find('\r'), std::string::npos);
  EXPECT_NE(r.out.find("FNPC04_NATURECOSTI(PC04_CODICE,1))"), std::string::npos);
}

TEST(ToolCall, OptionsReachTheDemoHost) {
  std::string file = ::testing::TempDir() + "tool_call_catalogue.tsv";
  std::ofstream(file) << "73320\tCost natures\n39796\tUndefined\n";
  auto r = tool({"call", "--json", "--company", "42", "--catalog", file, "Brelvane.CLSCI_LOOKUP",
                 "NatureCosti"});
  std::remove(file.c_str());
  ASSERT_EQ(r.status, 0) << r.err;
  auto doc = standins::Json::parse(r.out);
  EXPECT_EQ(doc["properties"]["Str_Caption"], "Cost natures");
  EXPECT_EQ(doc["properties"]["IDLookup"], "Lkp_NatureCosti");
  EXPECT_EQ(doc["properties"]["Arr_Fields"]["$array"]["rows"][0][3], "Descrizione Tipologia");
  std::string sql = doc["properties"]["Str_Sql"];
  EXPECT_NE(sql.find("(PC04_CODICE,42))"), std::string::npos);
  EXPECT_NE(sql.find("WHEN 0 THEN 'Undefined'"), std::string::npos);
  EXPECT_NE(sql.find("WHEN 1 THEN '[16572]'"), std::string::npos);  // not in this catalogue
}

TEST(ToolCall, OtherClassesPrintTheirResultAndTheLaunchers) {
  auto r = tool({"call", "--set", "CodicePdC='P01'", "Brelvane.CLSCI_CONNECT", "ExecCodiciPdC"});
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out.rfind("Return: True\n", 0), 0u) << r.out;
  EXPECT_NE(r.out.find("CodicePdC: \"P01\""), std::string::npos) << r.out;
  EXPECT_NE(r.out.find("Quillane.CLSCI_CONNECT#1 Put {\"name\":\"CodicePdC\",\"value\":\"P01\"}"),
            std::string::npos)
      << r.out;
  EXPECT_NE(r.out.find("Quillane.CLSCI_CONNECT#1 Call {\"name\":\"ExecCodiciPdC\""),
            std::string::npos);
}

TEST(ToolCall, BadInputIsOneLineAndStatusTwo) {
  const std::vector<std::vector<std::string_view>> cases = {
      {"call"},
      {"call", "Brelvane.CLSCI_LOOKUP"},
      {"call", "Brelvane.CLSCI_NOPE", "NatureCosti"},
      {"call", "Quillane.CLSCI_CONNECT", "ExecRicerca"},  // a stand-in, not a class
      {"call", "Brelvane.CLSCI_LOOKUP", "Str_Sql"},
      {"call", "Brelvane.CLSCI_LOOKUP", "NatureCosti", "1"},
      {"call", "Brelvane.CLSCI_LOOKUP", "ClassiCorrelate"},
      {"call", "Brelvane.CLSCI_LOOKUP", "ClassiCorrelate", "missing"},
      {"call", "Brelvane.CLSCI_LOOKUP", "CausaliPerTipoMovimentazione", "abc"},
      {"call", "Brelvane.CLSCI_LOOKUP", "CausaliPerTipoMovimentazione", "integer:x"},
      {"call", "--frobnicate", "Brelvane.CLSCI_LOOKUP", "NatureCosti"},
      {"call", "--company", "Brelvane.CLSCI_LOOKUP", "NatureCosti"},
      {"call", "--set", "Nope=1", "Brelvane.CLSCI_LOOKUP", "NatureCosti"},
      {"call", "--set", "TipoLookupPdC='x'", "Brelvane.CLSCI_LOOKUP", "NatureCosti"},
      {"call", "--set", "novalue", "Brelvane.CLSCI_LOOKUP", "NatureCosti"},
      {"call", "--catalog", "/nonexistent/catalogue.tsv", "Brelvane.CLSCI_LOOKUP", "NatureCosti"},
      {"list", "Brelvane.CLSCI_NOPE"},
      {"list", "--frobnicate"},
      {"run"},
      {"run", "/nonexistent/scenario.json"},
      {"frobnicate"},
      {},
  };
  for (const auto& args : cases) {
    auto r = tool(args);
    std::string shown;
    for (auto a : args) shown += std::string(a) + " ";
    EXPECT_EQ(r.status, kBadInput) << shown;
    EXPECT_EQ(r.out, "") << shown;
    EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1) << shown << r.err;
  }
}

TEST(ToolCall, EveryCommandHasHelp) {
  for (auto args : std::vector<std::vector<std::string_view>>{
           {"--help"}, {"run", "--help"}, {"call", "--help"}, {"list", "-h"}}) {
    auto r = tool(args);
    EXPECT_EQ(r.status, 0);
    EXPECT_NE(r.out.find("Usage"), std::string::npos);
    EXPECT_EQ(r.err, "");
  }
}

TEST(ToolList, ListsEveryRegisteredClassFromItsTable) {
  ObjectFactory factory;
  registerBrelvane(factory);
  auto r = tool({"list"});
  ASSERT_EQ(r.status, 0);
  for (const auto& entry : factory.entries()) {
    if (!entry.info) continue;
    EXPECT_NE(r.out.find(entry.progId + " - "), std::string::npos) << entry.progId;
    for (const auto& m : entry.info->methods)
      EXPECT_NE(r.out.find("    " + m.name + "("), std::string::npos) << m.name;
  }
  // Long signatures wrap between parameters, under an indent of eight.
  std::string joined = r.out;
  for (size_t at; (at = joined.find("\n        ")) != std::string::npos;)
    joined.replace(at, 9, " ");
  EXPECT_NE(joined.find("AnagraficaIntermediPDCCoGe2(flngCodiceDitta As Long, CodicePdC As "
                        "Variant, Optional fintLivello As Integer = 1)"),
            std::string::npos);
}

TEST(ToolList, JsonListingCarriesParametersEventsAndEnumerations) {
  auto r = tool({"list", "--json", "brelvane.clsci_connect"});
  ASSERT_EQ(r.status, 0) << r.err;
  auto doc = standins::Json::parse(r.out);
  ASSERT_EQ(doc.size(), 1u);
  const auto& c = doc[0];
  EXPECT_EQ(c["progId"], "Brelvane.CLSCI_CONNECT");
  bool transfer = false;
  for (const auto& e : c["events"])
    if (e["name"] == "TransferData") {
      transfer = true;
      EXPECT_EQ(e["params"][0]["name"], "Cancel");
      EXPECT_EQ(e["params"][0]["byRef"], true);
    }
  EXPECT_TRUE(transfer);
  bool mask = false;
  for (const auto& e : c["enumerations"])
    if (e["name"] == "MaskTipoMovimentazione") mask = e["members"]["MovRipartizioneCosti"] == 8;
  EXPECT_TRUE(mask);
  for (const auto& p : c["properties"]) {
    if (p["name"] == "ConnectField") {
      EXPECT_EQ(p["access"], standins::Json::parse(R"(["putRef"])"));
    }
  }
}

}  // namespace
}  // namespace brelvane::cli
