// Cost sheets of industrial accounting: the sheet types, the sheet headers
// present for a company, and the monthly rows of one sheet. Their lines are
// joined with CR LF: no line break follows the last one.
#include "compose/case_column.h"
#include "compose/sheet_structure.h"
#include "lookup/families.h"

namespace brelvane::lookup {

namespace {

using namespace std::literals;

// ---- Sheet types ----

/// One yes/no column of a sheet type: whether its structure holds a token.
struct TokenColumn {
  std::string_view open;
  std::string_view token;
  std::string_view end;  ///< "END AS" and the column name
  std::string_view whenEnd = " "sv;
  int32_t yes = 52384;
  int32_t no = 39318;
};

void appendTokenColumn(SqlText& sql, const HostAccess& host, const TokenColumn& column) {
  sql.line(column.open);
  sql.line("        WHEN ", tokenPresent(column.token), column.whenEnd);
  sql.append("        THEN '");
  appendLabel(sql, host, column.yes);
  sql.line().append("        ELSE '");
  appendLabel(sql, host, column.no);
  sql.line().line(column.end);
}

/// A list of sheet types with yes/no columns, optionally only the types
/// without one token.
struct SheetTypeLookup {
  std::string_view name;
  std::string_view doc;
  std::string_view id;
  std::initializer_list<std::string_view> captions;
  std::initializer_list<TokenColumn> columns;
  std::string_view withoutToken;  ///< "" lists every type
};

constexpr std::string_view kOpen = "     , CASE                    "sv;

constexpr SheetTypeLookup kSheetTypeLookups[] = {
    {.name = "AnagraficaSchedeCosti",
     .doc = "cost sheet types",
     .id = "Lkp_AnagraficaSchedeCosti",
     .captions = {"Codice"sv, "Descrizione"sv, "Definizione costo"sv, "Progetto"sv,
                  "Sottoprogetto"sv, "Commessa"sv, "Sottocommessa"sv},
     // The cost definition has labels of its own.
     .columns = {{.open = kOpen,
                  .token = "VDS"sv,
                  .end = "       END AS DEFCOSTO         "sv,
                  .yes = 58583,
                  .no = 15602},
                 {.open = kOpen, .token = "PRO"sv, .end = "       END AS PROGETTO         "sv},
                 {.open = kOpen, .token = "SPR"sv, .end = "       END AS SOTTOPROGETTO    "sv},
                 {.open = kOpen, .token = "COM"sv, .end = "       END AS COMMESSA         "sv},
                 {.open = kOpen, .token = "SCM"sv, .end = "       END AS SOTTOCOMMESSA    "sv}},
     .withoutToken = ""},
    // The types without a cost definition; spaced differently, kept so.
    {.name = "AnagraficaSchedeCostiPerConto",
     .doc = "cost sheet types without a cost definition",
     .id = "Lkp_AnagraficaSchedeCostiPerConto",
     .captions = {"Codice"sv, "Descrizione"sv, "Progetto"sv, "Sottoprogetto"sv, "Commessa"sv,
                  "Sottocommessa"sv},
     .columns = {{.open = kOpen, .token = "PRO"sv, .end = "       END AS PROGETTO         "sv},
                 {.open = "    ,  CASE                    "sv,
                  .token = "SPR"sv,
                  .end = "       END AS SOTTOPROGETTO    "sv,
                  .whenEnd = "  "sv},
                 {.open = "    ,  CASE                    "sv,
                  .token = "COM"sv,
                  .end = "    END AS COMMESSA            "sv},
                 {.open = "    ,  CASE                    "sv,
                  .token = "SCM"sv,
                  .end = "    END AS SOTTOCOMMESSA       "sv}},
     .withoutToken = "VDS"},
};

void sheetTypes(Frame& f, const SheetTypeLookup& lookup) {
  f.columns(lookup.captions);
  SqlText sql = f.text();
  sql.line(" SELECT   CI28_CODICE          ").line("     ,    CI28_DESCRIZIONE     ");
  for (const TokenColumn& column : lookup.columns) appendTokenColumn(sql, f.host, column);
  sql.line(" FROM     CI28_ANASCHEDAC      ");
  if (!lookup.withoutToken.empty()) sql.line(" WHERE  ", tokenAbsent(lookup.withoutToken));
  sql.append(" ORDER BY CI28_CODICE ASC      ");
  f.sql(sql);
  f.caption(74818);
  f.id(lookup.id);
}

/// AnagraficaSchedeCostiPerAutomatiche: the types with none of the tokens.
/// Its id has no Lkp_ prefix.
void sheetTypesForAutomatic(Frame& f) {
  f.columns({"Codice", "Descrizione"});
  SqlText sql = f.text(1024);
  sql.line("SELECT").line("    CI28_CODICE").line("    , CI28_DESCRIZIONE");
  sql.line("FROM").line("    CI28_ANASCHEDAC").line("WHERE");
  appendTokensAbsent(sql, kSheetTokens);
  sql.line("ORDER BY").append("    CI28_CODICE ASC");
  f.sql(sql);
  f.caption(74816);
  f.id("AnagraficaSchedeCostiPerAutomatiche");
}

// ---- Sheet headers ----

/// The header lookups differ in the first column, in the account
/// description and in the sheet-type filter.
struct HeaderLookup {
  std::string_view id;
  int32_t caption;
  std::string_view typeColumn;
  /// Given twice for one sheet type: thirteen columns against twelve captions.
  std::initializer_list<std::string_view> accountDescription;
};

constexpr HeaderLookup kAllHeaders{
    .id = "Lkp_IntestazioniSchedeCosti",
    .caption = 74813,
    .typeColumn = "      CI26_CODICE_CI28          AS TIPOSCHEDA",
    .accountDescription = {"    , (SELECT PC03_DESCR FROM FNPC03_ANAGPDC_COAN(PC03_CODICE_PC01, "
                           "PC03_CONTO, NULL, <LINGUA>))  AS DESCRCONTO "sv}};

constexpr HeaderLookup kHeadersOfType{
    .id = "Lkp_IntestazioniSchedeCostiPerTipoScheda",
    .caption = 74811,
    .typeColumn = "    CI26_CODICE_CI28            AS TIPOSCHEDA",
    .accountDescription = {"    , PC03_DESCR                AS DESCRCONTO"sv,
                           "    , (SELECT PC03_DESCR FROM FNPC03_ANAGPDC_COAN(CI26_PDC_PC01, "
                           "CI26_CONTO_PC03, NULL, <LINGUA>)) AS DESCRCONTO "sv}};

// The key of a sheet header: the inner query lists and groups by these.
constexpr std::initializer_list<std::string_view> kHeaderKey{
    "            CI26_DITTA_CG18"sv,      "            , CI26_CODICE_CI28"sv,
    "            , CI26_PDC_PC01"sv,      "            , CI26_CONTO_PC03"sv,
    "            , CI26_PROGETTO_PD68"sv, "            , CI26_SPROGETTO_PD69"sv,
    "            , CI26_COMMESSA_PD25"sv, "            , CI26_SCOMMESSA_PD25"sv};

/// The sheet headers of a company (of one type when `type` is not empty):
/// the monthly rows grouped to one row per header, with the descriptions
/// of type, account, project, subproject, job order and sub-job order.
void sheetHeaders(Frame& f, const HeaderLookup& lookup, int32_t flngCodiceDitta,
                  std::string_view type) {
  f.takeLanguage("ITA");
  f.columns({"Tipo", "Descr. tipo", "Conto", "Descr. conto", "Progetto", "Descr. progetto",
             "S.progetto", "Descr s.progetto", "Commessa", "Descr. commessa", "S.commessa",
             "Descr. s.commessa"});
  SqlText sql = f.text(4096);
  sql.line("SELECT").line(lookup.typeColumn);
  sql.line("    , CI28_DESCRIZIONE          AS DESCRTIPOSCHEDA");
  sql.line("    , CI26_CONTO_PC03           AS CONTO");
  for (auto line : lookup.accountDescription) sql.line(line);
  for (auto line : {"    , CI26_PROGETTO_PD68        AS PROGETTO"sv,
                    "    , PD68_DESCRPROG            AS DESCRPROGETTO"sv,
                    "    , CI26_SPROGETTO_PD69       AS SOTTOPROGETTO"sv,
                    "    , PD69_SOTPROG              AS DESCRSOTTOPROGETTO"sv,
                    "    , CI26_COMMESSA_PD25        AS COMMESSA"sv,
                    "    , COMMESSA.PD25_DESCR       AS DESCRCOMMESSA"sv,
                    "    , CI26_SCOMMESSA_PD25       AS SOTTOCOMMESSA"sv,
                    "    , SOTTOCOMMESSA.PD25_DESCR  AS DESCRSOTTOCOMMESSA"sv, "FROM"sv, "    ("sv,
                    "        SELECT"sv})
    sql.line(line);
  for (auto line : kHeaderKey) sql.line(line);
  sql.line("        FROM").line("            CI26_SCHEDEC").line("        WHERE");
  sql.line("            CI26_DITTA_CG18 = ", flngCodiceDitta);
  if (!type.empty()) sql.line("            AND CI26_CODICE_CI28 = '", inQuotes(type), "'");
  sql.line("        GROUP BY");
  for (auto line : kHeaderKey) sql.line(line);
  sql.line("    ) AS INTESTAZIONI");
  // The job-order join takes the job order itself (sub-job 0), the second
  // join its sub-job.
  for (auto line : {"    LEFT OUTER JOIN"sv,
                    "    CI28_ANASCHEDAC"sv,
                    "    ON"sv,
                    "    CI26_CODICE_CI28 = CI28_CODICE"sv,
                    "    LEFT OUTER JOIN"sv,
                    "    PC03_ANAGPDC"sv,
                    "    ON"sv,
                    "    CI26_PDC_PC01 = PC03_CODICE_PC01"sv,
                    "    AND CI26_CONTO_PC03 = PC03_CONTO"sv,
                    "    LEFT OUTER JOIN"sv,
                    "    PD68_PROGETTI"sv,
                    "    ON"sv,
                    "    CI26_DITTA_CG18 = PD68_DITTA_CG18"sv,
                    "    AND CI26_PROGETTO_PD68 = PD68_CODPROG"sv,
                    "    LEFT OUTER JOIN"sv,
                    "    PD69_SOTTOPROGETTI"sv,
                    "    ON"sv,
                    "    CI26_DITTA_CG18 = PD69_DITTA_CG18"sv,
                    "    AND CI26_PROGETTO_PD68 = PD69_CODPROG_PD68"sv,
                    "    AND CI26_SPROGETTO_PD69 = PD69_SOTPROG"sv,
                    "    LEFT OUTER JOIN"sv,
                    "    PD25_COMMESSA AS COMMESSA"sv,
                    "    ON"sv,
                    "    CI26_DITTA_CG18 = COMMESSA.PD25_DITTA_CG18"sv,
                    "    AND CI26_COMMESSA_PD25 = COMMESSA.PD25_CODCOMMESSA"sv,
                    "    AND COMMESSA.PD25_CODSOTCOMM = 0"sv,
                    "    LEFT OUTER JOIN"sv,
                    "    PD25_COMMESSA AS SOTTOCOMMESSA"sv,
                    "    ON"sv,
                    "    CI26_DITTA_CG18 = SOTTOCOMMESSA.PD25_DITTA_CG18"sv,
                    "    AND CI26_COMMESSA_PD25 = SOTTOCOMMESSA.PD25_CODCOMMESSA"sv,
                    "    AND CI26_SCOMMESSA_PD25 = SOTTOCOMMESSA.PD25_CODSOTCOMM"sv,
                    "ORDER BY"sv,
                    "    CI26_CODICE_CI28"sv,
                    "    , CI26_CONTO_PC03"sv,
                    "    , CI26_PROGETTO_PD68"sv,
                    "    , CI26_SPROGETTO_PD69"sv,
                    "    , CI26_COMMESSA_PD25"sv})
    sql.line(line);
  sql.append("    , CI26_SCOMMESSA_PD25");
  f.substituteLanguage(sql);
  f.sql(sql);
  f.caption(lookup.caption);
  f.id(lookup.id);
}

/// IntestazioniSchedeCostiPerTipoScheda does nothing at all for an empty
/// sheet type: the previous lookup definition stays as it was.
void sheetHeadersOfType(Frame& f, int32_t flngCodiceDitta, const std::string& fstrTipoScheda) {
  if (f.textCode(Variant(fstrTipoScheda)).empty()) return;
  sheetHeaders(f, kHeadersOfType, flngCodiceDitta, fstrTipoScheda);
}

// ---- Monthly rows ----

/// MensilitaSchedeCosti: the monthly rows of one sheet. The text keeps a
/// comma directly after SELECT and "END AS AS Mese": a server rejects it,
/// and the lookup is produced so all the same.
void sheetMonths(Frame& f, int32_t flngCodiceDitta, const std::string& fstrTipoScheda,
                 int32_t flngCodicePDCCoin, const std::string& fstrConto,
                 const Variant& fvarProgetto, const Variant& fvarSottoprogetto,
                 const Variant& fvarCommessa, const Variant& fvarSottocommessa) {
  f.columns(
      {"Anno", "Mese", "Costo standard", "Qta standard", "Costo consuntivo", "Qta consuntiva"});
  SqlText sql = f.text(2048);
  sql.line(" SELECT                                ");
  sql.line("     ,     CI26_ANNO          AS Anno  ");
  appendCase(sql, f.host,
             {.open = {"     ,CASE CI26_MESE                   "},
              .form = {.when = "        WHEN ", .then = " THEN '", .width = 2},
              .branches = {{1, 28193},
                           {2, 26677},
                           {3, 36698},
                           {4, 7054},
                           {5, 36596},
                           {6, 29285},
                           {7, 36373},
                           {8, 5820},
                           {9, 52092},
                           {10, 42872},
                           {11, 40573},
                           {12, 22569}},
              .otherwise = {},
              .close = {"     END AS AS Mese                    "}});
  sql.line("    , CI26_COSTOSTD    AS [Costo standard]");
  sql.line("    , CI26_QTASTD      AS [Qta standard]");
  sql.line("    , CI26_COSTOCONS   AS [Costo consuntivo]");
  sql.line("    , CI26_QTACONS     AS [Qta consuntiva]");
  sql.line("FROM").line("      CI26_SCHEDEC       ").line("WHERE");
  sql.line("    CI26_DITTA_CG18 = ", flngCodiceDitta);
  sql.line("    AND CI26_CODICE_CI28 = '", inQuotes(fstrTipoScheda), "'");
  sql.line("    AND CI26_PDC_PC01 = ", flngCodicePDCCoin);
  sql.line("    AND CI26_CONTO_PC03 = '", inQuotes(fstrConto), "'");
  // A dimension with a value (ValueToText not empty) is compared with it,
  // as text between apostrophes or as a number; one without must be NULL.
  auto dimension = [&](std::string_view column, std::string_view quote, const Variant& value) {
    std::string text = f.utility().ValueToText(value);
    if (text.empty())
      sql.line(column, " IS NULL");
    else if (quote.empty())
      sql.line(column, " = ", checkedNumber(std::move(text), f.hardened()));
    else
      sql.line(column, " = ", quote, inQuotes(text), quote);
  };
  dimension("    AND CI26_PROGETTO_PD68", "'", fvarProgetto);
  dimension("    AND CI26_SPROGETTO_PD69", "", fvarSottoprogetto);
  dimension("    AND CI26_COMMESSA_PD25", "'", fvarCommessa);
  dimension("    AND CI26_SCOMMESSA_PD25", "", fvarSottocommessa);
  sql.line("ORDER BY").line("    CI26_ANNO").append("    , CI26_MESE");
  f.sql(sql);
  f.caption(74810);
  f.id("Lkp_MensilitaSchedeCosti");
}

}  // namespace

void registerCostSheets(Builder& b) {
  b.rows(kSheetTypeLookups, member(sheetTypes));
  b.method("AnagraficaSchedeCostiPerAutomatiche", member(sheetTypesForAutomatic),
           "cost sheet types with none of the structure tokens")
      .method("IntestazioniSchedeCosti", member([](Frame& f, int32_t flngCodiceDitta) {
                sheetHeaders(f, kAllHeaders, flngCodiceDitta, {});
              }),
              {arg("flngCodiceDitta")}, "cost sheet headers of a company")
      .method("IntestazioniSchedeCostiPerTipoScheda", member(sheetHeadersOfType),
              {arg("flngCodiceDitta"), arg("fstrTipoScheda")},
              "cost sheet headers of a company and sheet type")
      .method("MensilitaSchedeCosti", member(sheetMonths),
              {arg("flngCodiceDitta"), arg("fstrTipoScheda"), arg("flngCodicePDCCoin"),
               arg("fstrConto"), arg("fvarProgetto"), arg("fvarSottoprogetto"), arg("fvarCommessa"),
               arg("fvarSottocommessa")},
              "monthly rows of one cost sheet");
  // An empty project, subproject, job order or sub-order reads IS NULL.
  const Variant none(""), company(int32_t{1}), chart(int32_t{1});
  b.examples("MensilitaSchedeCosti",
             {{company, Variant("T1"), chart, Variant("C1"), none, none, none, none},
              {company, Variant("T1"), chart, Variant("C1"), Variant("P1"), Variant("S1"),
               Variant("K1"), Variant("Q1")}});
}

}  // namespace brelvane::lookup
