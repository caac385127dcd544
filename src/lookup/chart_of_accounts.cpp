// Chart-of-accounts lookups: the list of charts, the rollover sets, the
// correlated account classes and the accounts of one chart.
#include <array>
#include <iterator>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "compose/case_column.h"
#include "compose/recordset.h"
#include "lookup/builders.h"
#include "lookup/families.h"

namespace brelvane::lookup {

namespace {

// ---- PianoDeiConti -------------------------------------------------------

/// The label of a chart kind in the PC01_INDTIPOPDC column. Kind 1 reads
/// differently when the company uses account statuses.
int32_t chartKindLabel(const HostAccess& host, int kind) {
  switch (kind) {
    case 1:
      return host.companyModeIs2() ? 15471 : 75036;
    case 2:
      return 61310;
    case 3:
      return 49181;
    case 4:
      return 49174;
    case 5:
      return 90764;
    default:
      return 93858;
  }
}

/// What each TipoLookupPdC lists: the window caption and the condition on
/// PC01_INDTIPOPDC. The simple conditions end in a lone CR, with the ORDER BY
/// right after it; the configured ones add the check that PC02_CONFIGPDC has
/// one row per level.
struct ChartSelection {
  std::string_view caption;
  std::string_view condition;  ///< "" for no WHERE at all
  bool configuredOnly = false;
};

constexpr ChartSelection kChartSelections[] = {
    {"Elenco piano dei conti", ""},
    {"Elenco piano dei conti di riclassificazione", " WHERE     PC01_INDTIPOPDC IN (3,5,6)"},
    {"Elenco piano dei conti non di riclassificazione",
     " WHERE     PC01_INDTIPOPDC NOT IN (3,4,5,6)"},
    {"Elenco piano dei conti di contabilità industriale", " WHERE     PC01_INDTIPOPDC = 1"},
    {"Elenco piano dei conti voci di spesa", " WHERE     PC01_INDTIPOPDC = 2"},
    {"Elenco piano dei conti di contabilità industriale configurati",
     " WHERE     PC01_INDTIPOPDC = 1", true},
    {"Elenco piano dei conti voci di spesa configurati", " WHERE     PC01_INDTIPOPDC = 2", true},
    {"Elenco piano dei conti riclassificato intercompany", " WHERE     PC01_INDTIPOPDC = 4"},
    {"Elenco piano dei conti riclassificato BE - VL", " WHERE     PC01_INDTIPOPDC = 5"},
    {"Elenco piano dei conti riclassificato Bilanci Infrannuali", " WHERE     PC01_INDTIPOPDC = 6"},
};

void appendChartSelection(SqlText& sql, const ChartSelection& selection) {
  if (selection.condition.empty()) return;
  if (!selection.configuredOnly) {
    sql.append(selection.condition).cr();
    return;
  }
  sql.line(selection.condition);
  sql.line("   AND (");
  sql.line("           (                                           ");
  sql.line("               SELECT  COUNT(*)                        ");
  sql.line("               FROM    PC02_CONFIGPDC  WITH(NOLOCK)    ");
  sql.line("               WHERE   PC02_CODICE_PC01 = PC01_CODICE  ");
  sql.line("           ) = PC01_TOTLIVELLI                         ");
  sql.line("       )");
}

// ---- AnagraficaPianoDeiConti ---------------------------------------------

/// The kind of a chart as PC01_DESCRPDC stores it.
enum class ChartKind { Unknown, Industrial, SpendingItems, Reclassification };

ChartKind chartKindOf(const Variant& kind) {
  if (equals(kind, 1)) return ChartKind::Industrial;
  if (equals(kind, 2)) return ChartKind::SpendingItems;
  for (int k = 3; k <= 6; ++k)
    if (equals(kind, k)) return ChartKind::Reclassification;
  return ChartKind::Unknown;
}

/// Reads PC01_INDTIPOPDC of the chart over the connection; nothing when the
/// chart is not in the register. The recordset is closed either way.
std::optional<Variant> readChartKind(Connection& connection, const std::string& chartCode) {
  SqlText query(256);
  query.line(" SELECT  PC01_INDTIPOPDC");
  query.line(" FROM    PC01_DESCRPDC   WITH(NOLOCK)");
  query.line(" WHERE   PC01_CODICE = ", chartCode);
  return withRows(connection, query.take(), ado::kCmdUnspecified,
                  [](Recordset& rows) -> std::optional<Variant> {
                    if (rows.Eof()) return std::nullopt;
                    return rows.Field(std::string("PC01_INDTIPOPDC"));
                  });
}

/// Without a connection the kind of the chart cannot be read: account and
/// description only, the analytic description preferred.
void generalLayout(Frame& f, SqlText& sql, const std::string& chartCode) {
  f.columns({"Conto", "Descrizione"});
  sql.line(" SELECT   PC03_CONTO");
  sql.line(
      "     ,   ISNULL ((SELECT PC03_DESCR FROM FNPC03_ANAGPDC_COAN(PC03_CODICE_PC01 ,PC03_CONTO, "
      "NULL, <LINGUA> )),");
  sql.line(
      "                 (SELECT PC03_DESCR FROM FNPC03_ANAGPDC_COGE(PC03_CODICE_PC01, PC03_CONTO, "
      "NULL, <LINGUA> ))");
  sql.line("                 ) AS PC03_DESCR");
  sql.line(" FROM     PC03_ANAGPDC     WITH(NOLOCK)");
  sql.line(" WHERE    PC03_CODICE_PC01 = ", chartCode);
  sql.line(" ORDER BY PC03_CONTO");
  f.id("Lkp_AnagraficaPdC");
}

// Layouts of the industrial (kind 1) and spending-items (kind 2) charts.
// Each shows its accounts with the columns a user of that chart works with,
// the status columns of ColonneStatoPdC ("Disattivato", "Data
// Disattivazione") exactly when that fragment is produced (account statuses
// on, no reference date), in which case JoinStatiPdC brings in PC17_STATIPDC;
// with a reference date FiltroContiDisattivati follows the chart condition
// instead. The status captions follow the status fragment actually composed.
// A CASE builder that fails yields no column while its caption stays, so
// then Arr_Fields has one caption more than the SELECT list has columns, as
// the host expects of a lookup that lost a fragment.
//
// Kind 1: Conto, Descrizione, Tipo conto (CaseTipoContoCI), Conto di
// riferimento, Natura, UM, Costo ultimo (CaseFlgGesCoSult), Quadratura
// (CaseFlgQuadratura), Raggruppamento (CaseFlgVistoTMas), Analitico
// (CaseIsAnalitico), Provenienza (CaseIndProvCosto), then the status columns.
// Only accounts of an industrial-account kind (1 to 10, the members of
// indicator 7) are listed.
//
// Kind 2: Conto, Descrizione, Natura, Tipologia Natura, Provenienza
// (CaseIndProvCosto), Analitico (CaseIsAnalitico), the status columns, UM,
// Costo ultimo (CaseFlgGesCoSult), Raggruppamento (CaseFlgVistoTMas).

constexpr std::string_view kIndustrialAccountKinds = "(1,2,3,4,5,6,7,8,9,10)";

/// Writes a layout's captions with those of the two status columns at
/// `statusAt`, when the status fragment was composed.
template <size_t N>
void columnsWithStatus(Frame& f, const std::string_view (&captions)[N], size_t statusAt,
                       const SqlText& statusColumns) {
  constexpr std::string_view kStatusCaptions[] = {"Disattivato", "Data Disattivazione"};
  std::array<std::string_view, N + std::size(kStatusCaptions)> all{};
  size_t n = 0;
  for (size_t i = 0; i <= N; ++i) {
    if (i == statusAt && statusColumns.size() > 0)
      for (std::string_view caption : kStatusCaptions) all[n++] = caption;
    if (i < N) all[n++] = captions[i];
  }
  f.columns(std::span(all).first(n));
}

void industrialLayout(Frame& f, SqlText& sql, const std::string& chartCode) {
  const HostAccess& host = f.host;
  const Variant& date = f.object().DataValiditaConti;
  SqlText statusColumns(512);
  ColonneStatoPdC(statusColumns, host, date);
  const std::string_view captions[] = {
      "Conto",          "Descrizione", "Tipo conto",   "Conto di riferimento",
      "Natura",         "UM",          "Costo ultimo", "Quadratura",
      "Raggruppamento", "Analitico",   "Provenienza"};
  columnsWithStatus(f, captions, std::size(captions), statusColumns);
  sql.line(" SELECT   PC03_CONTO");
  sql.line(
      "      ,    ( SELECT PC03_DESCR FROM FNPC03_ANAGPDC_COAN(PC03_CODICE_PC01, PC03_CONTO, NULL, "
      "<LINGUA>)) AS PC03_DESCR");
  CaseTipoContoCI(sql, host);
  sql.line("     ,     PC03_CONTORIF_PC03");
  sql.line("     ,     ISNULL(PC04_DESCR,'')  AS PC03_NATURA_PC04");
  sql.line("     ,     PC03_UM");
  CaseFlgGesCoSult(sql, host);
  CaseFlgQuadratura(sql, host);
  CaseFlgVistoTMas(sql, host);
  CaseIsAnalitico(sql, host);
  CaseIndProvCosto(sql, host);
  sql.append(statusColumns.view());
  sql.line(" FROM      PC03_ANAGPDC   WITH(NOLOCK)");
  sql.line(" OUTER APPLY DBO.FNPC04_NATURECOSTI(PC03_NATURA_PC04, ", host.companyCodeText(), ") ");
  JoinStatiPdC(sql, host, date);
  sql.line(" WHERE     PC03_CODICE_PC01 = ", chartCode);
  FiltroContiDisattivati(sql, host, date, false);
  sql.line(" AND PC03_TIPOCONTOCI IN ", kIndustrialAccountKinds);
  sql.line(" ORDER BY PC03_TIPOCONTOCI, PC03_CONTO");
  f.id("Lkp_COINPDCCOIN");
}

void spendingItemsLayout(Frame& f, SqlText& sql, const std::string& chartCode) {
  const HostAccess& host = f.host;
  const Variant& date = f.object().DataValiditaConti;
  SqlText statusColumns(512);
  ColonneStatoPdC(statusColumns, host, date);
  const std::string_view captions[] = {"Conto",         "Descrizione", "Natura", "Tipologia Natura",
                                       "Provenienza",   "Analitico",   "UM",     "Costo ultimo",
                                       "Raggruppamento"};
  columnsWithStatus(f, captions, 6, statusColumns);
  sql.line("SELECT    PC03_CONTO");
  sql.line(
      "    ,    ( SELECT PC03_DESCR FROM FNPC03_ANAGPDC_COAN(PC03_CODICE_PC01, PC03_CONTO, NULL, "
      "<LINGUA>)) AS PC03_DESCR");
  sql.line("    ,     ISNULL(PC04_DESCR,'')  AS PC03_NATURA_PC04");
  // The cost-nature kinds; no ELSE, so an unknown kind shows NULL.
  appendCase(sql, host,
             {.open = {"     , (CASE PC04_INDCOSTORIC"},
              .form = {.when = "           WHEN ", .then = " THEN '"},
              .branches = kCostNatureKinds,
              .otherwise = {},
              .close = {"        END  )               AS TIPOLOGIA_NTC_DES"}});
  CaseIndProvCosto(sql, host);
  CaseIsAnalitico(sql, host);
  sql.append(statusColumns.view());
  sql.line("     ,     PC03_UM");
  CaseFlgGesCoSult(sql, host);
  CaseFlgVistoTMas(sql, host);
  sql.line(" FROM      PC03_ANAGPDC   WITH(NOLOCK)");
  sql.line(" OUTER APPLY DBO.FNPC04_NATURECOSTI(PC03_NATURA_PC04, ", host.companyCodeText(), ") ");
  JoinStatiPdC(sql, host, date);
  sql.line(" WHERE     PC03_CODICE_PC01 = ", chartCode);
  FiltroContiDisattivati(sql, host, date, false);
  sql.line(" ORDER BY  PC03_CONTO");
  f.id("Lkp_COINPDCVDS");
}

/// Reclassification charts (kinds 3 to 6): the general-accounting
/// description and the reclassification columns.
void reclassificationLayout(Frame& f, SqlText& sql, const std::string& chartCode) {
  const HostAccess& host = f.host;
  f.columns({"Conto", "Descrizione", "Tipo conto", "Fonti e impieghi", "Segno", "Raggruppamento",
             "Partite infragruppo"});
  sql.line(" SELECT    PC03_CONTO");
  sql.line(
      "      ,    (SELECT PC03_DESCR FROM FNPC03_ANAGPDC_COGE(PC03_CODICE_PC01, PC03_CONTO, NULL, "
      "<LINGUA>)) AS PC03_DESCR");
  CaseTipoContoRicl(sql, host);
  CaseIndFontiUsi(sql, host);
  CaseIndSegno(sql, host);
  CaseFlgVistoTMas(sql, host);
  CaseFlgPartInfra(sql, host);
  sql.line(" FROM      PC03_ANAGPDC   WITH(NOLOCK)");
  sql.line(" WHERE     PC03_CODICE_PC01 = ", chartCode);
  sql.line(" ORDER BY  PC03_CONTO");
  f.id("Lkp_COINPDCRICL");
}

/// PianoDeiConti: the charts of the kind TipoLookupPdC selects.
void charts(Frame& f) {
  const int32_t TipoLookupPdC = f.object().TipoLookupPdC;
  f.columns({"Codice", "Descrizione", "Numero livelli", "Tipo PdC"});
  SqlText sql = f.text();
  sql.line(" SELECT   PC01_CODICE              ");
  sql.line("     ,    PC01_DESCR               ");
  sql.line("     ,    PC01_TOTLIVELLI          ");
  sql.line("     ,                              ");
  sql.line("     CASE PC01_INDTIPOPDC           ");
  // Labels fetched inline: a failing fetch fails the whole lookup.
  for (int kind = 1; kind <= 6; ++kind) {
    sql.line("       WHEN ", kind);
    sql.append("           THEN '");
    appendLabel(sql, f.host, chartKindLabel(f.host, kind));
    sql.line();
  }
  sql.line("     END AS PC01_INDTIPOPDC         ");
  sql.line(" FROM      PC01_DESCRPDC WITH(NOLOCK)             ");
  // Any other TipoLookupPdC keeps the previous caption and lists every chart.
  if (TipoLookupPdC >= 0 && TipoLookupPdC < static_cast<int32_t>(std::size(kChartSelections))) {
    const ChartSelection& selection = kChartSelections[TipoLookupPdC];
    appendChartSelection(sql, selection);
    f.captionText(selection.caption);
  }
  sql.line(" ORDER     BY PC01_CODICE  ");
  f.sql(sql);
  f.id("Lkp_PdC");
}

/// AnagraficaInsiemiRibaltamenti: the rollover sets of the current company.
void rolloverSets(Frame& f, const Variant& CampoOrdinamento) {
  f.columns({"Codice", "Descrizione"});
  f.caption(74710);
  // Missing, Null, Empty and "" all sort by code; any other text is used
  // as given, so the host may pass a column list or a DESC clause.
  std::string order = CampoOrdinamento.isMissing() ? "" : concatText(CampoOrdinamento);
  if (order.empty()) order = "CI58_CODICE";
  // Hardened, the ordering must be a plain name or one of these.
  static constexpr std::string_view kOrderings[] = {"CI58_CODICE DESC", "CI58_DESCRIZIONE DESC",
                                                    "CI58_CODICE, CI58_DESCRIZIONE",
                                                    "CI58_DESCRIZIONE, CI58_CODICE"};
  SqlText sql = f.text(256);
  sql.append("SELECT CI58_CODICE, CI58_DESCRIZIONE FROM CI58_INSIEMI WITH (NOLOCK) ",
             " WHERE CI58_DITTA_CG18 = ", f.host.companyCodeText(), " ORDER BY ",
             Name{order, kOrderings});
  f.sql(sql);
  f.id("Lkp_AnagraficaInsiemiRibaltamenti");
}

/// ClassiCorrelate: the class correlations of one chart.
void correlatedClasses(Frame& f, const Variant& CodicePdC) {
  f.columns(
      {"Classe", "Descrizione", "Classe correlata", "Conto correlato", "Classe da esplodere"});
  const std::string chartCode = f.numericCode(CodicePdC);
  f.captionText(f.host.message(74741), " ", chartCode);
  SqlText sql = f.text();
  sql.line(" SELECT  PC06_CLASSE_PC05              ");
  sql.line("     ,   PC05_DESCR                    ");
  sql.line("     ,   PC06_CLASCOR_PC05             ");
  sql.line("     ,   PC06_CONTOCOR_PC03            ");
  appendCase(
      sql, f.host,
      {.open = {"     ,   CASE    PC06_FLGESPLCLASSE    "},
       .form = {.when = "           WHEN ", .then = "               THEN '", .twoLines = true},
       .branches = kYesNo,
       .otherwise = {},
       .close = {"         END AS  PC06_FLGESPLCLASSE    "}});
  sql.line(" FROM    PC06_CORRCLASSI         WITH(NOLOCK)   ");
  sql.line(" OUTER APPLY FNPC05_CLASSI(PC06_CODICE_PC01, PC06_CLASSE_PC05 , ",
           f.host.companyCodeText(), ") ");
  sql.line(" WHERE   PC06_CODICE_PC01 = ", chartCode);
  sql.append(" ORDER BY PC05_ORDSTAMPA, PC06_CLASSE_PC05, PC06_PROG    ");
  f.sql(sql);
  f.id("Lkp_CorrClassi");
}

/// AnagraficaPianoDeiConti: the accounts of one chart, laid out by the
/// chart's kind, read over Connessione first.
void chartAccounts(Frame& f, const Variant& CodicePdC) {
  f.takeLanguage("ITA ");
  // A Null chart code reads as chart 0, which lists nothing.
  const std::string chartCode = f.numericCode(CodicePdC);
  SqlText sql = f.text();
  const auto& Connessione = f.object().Connessione;
  if (!Connessione) {
    generalLayout(f, sql, chartCode);
  } else if (const auto kind = readChartKind(*Connessione, chartCode); !kind) {
    // Unknown chart: a query with the table's columns and no row.
    sql.append("SELECT * FROM PC03_ANAGPDC WITH(NOLOCK) WHERE 1 = 2");
  } else {
    // A kind this lookup has no layout for (0, negative, 7 or more, Null)
    // composes nothing: Str_Sql ends up "", so the host shows no list, as
    // after a failed lookup, rather than a stale one; Arr_Fields and
    // IDLookup keep what the previous lookup left, as for an unknown chart.
    switch (chartKindOf(*kind)) {
      case ChartKind::Industrial:
        industrialLayout(f, sql, chartCode);
        break;
      case ChartKind::SpendingItems:
        spendingItemsLayout(f, sql, chartCode);
        break;
      case ChartKind::Reclassification:
        reclassificationLayout(f, sql, chartCode);
        break;
      case ChartKind::Unknown:
        break;
    }
  }
  f.substituteLanguage(sql);
  f.sql(sql);
}

}  // namespace

void registerChartOfAccounts(Builder& b) {
  b.method("PianoDeiConti", member(charts), "charts of accounts by TipoLookupPdC")
      .method("AnagraficaInsiemiRibaltamenti", member(rolloverSets), {opt("CampoOrdinamento")},
              "rollover sets")
      .method(
          "AnagraficaIntermediPDCCoGe2",
          // Kept empty on purpose: the host sees a failed lookup.
          [](CLSCI_LOOKUP& self, int32_t, const Variant&, int16_t) { self.Str_Sql.clear(); },
          {arg("flngCodiceDitta"), arg("CodicePdC"), opt("fintLivello", Variant(int16_t{1}))},
          "not provided: always a failed lookup")
      .method("ClassiCorrelate", member(correlatedClasses), {arg("CodicePdC")},
              "correlated account classes of a chart")
      .method("AnagraficaPianoDeiConti", member(chartAccounts), {arg("CodicePdC")},
              "accounts of a chart, by the chart's kind");
  // Sorted by code, or by whatever the host passes.
  b.examples("AnagraficaInsiemiRibaltamenti", {{}, {Variant("CI58_DESCRIZIONE DESC")}});
}

}  // namespace brelvane::lookup
