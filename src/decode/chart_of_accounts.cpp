// Chart-of-accounts decoders: the description of an account through the
// analytic (COAN) or the general-accounting (COGE) function of PC03_ANAGPDC,
// chosen by the kind of the chart, which is read over the connection.
#include <iterator>
#include <optional>

#include "compose/account_status.h"
#include "compose/recordset.h"
#include "decode/families.h"

namespace brelvane::decode {

namespace {

/// The flags of CI11_CONTROLLOCONTI in account-type order: the n-th flag
/// allows PC03_TIPOCONTOCI n.
constexpr std::string_view kAccountTypeFlags[] = {
    "CI11_FLGCOLLEG",  "CI11_FLGTRANSIT",  "CI11_FLGCOMPET",    "CI11_FLGCDC",
    "CI11_FLGLAVPROG", "CI11_FLGMAGAZ",    "CI11_FLGMARGLORDI", "CI11_FLGMARGNETTI",
    "CI11_FLGRISULT",  "CI11_FLGALTRITIPI"};

bool flagSet(const Variant& flag) {
  return !flag.isNull() && !flag.isEmpty() && toBool(flag);
}

bool hasValue(const Variant& v) {
  return !v.isEmpty() && !v.isNull() && !equals(v, "");
}

/// TipiContoAmmessi: "(1,4,...)", the account types that a causal code
/// allows on a sign; "" when its first row allows none, when it has no row,
/// or when anything fails: then no restriction applies.
std::string allowedAccountTypes(Connection& connection, const Variant& causal, int32_t sign,
                                bool hardened) {
  return fragmentOrEmpty([&] {
    SqlText query(256);
    query.harden(hardened);
    query.line(" SELECT  *                                   ");
    query.line(" FROM    CI11_CONTROLLOCONTI  WITH(NOLOCK)   ");
    query.line(" WHERE   CI11_CODCAUS_CI03 = '", inQuotes(concatText(causal)), "'");
    query.line(" AND     CI11_SEGNO = ", sign);
    std::string types =
        withRows(connection, std::string(query.view()), ado::kCmdUnspecified, [](Recordset& rows) {
          std::string list;
          if (rows.Eof()) return list;
          for (size_t i = 0; i < std::size(kAccountTypeFlags); ++i) {
            if (!flagSet(rows.Field(std::string(kAccountTypeFlags[i])))) continue;
            if (!list.empty()) list += ",";
            list += decimal(i + 1);
          }
          return list;
        });
    return types.empty() ? types : "(" + types + ")";
  });
}

/// FiltroContiDisattivati: without a reference date, nothing; with one, the
/// NOT EXISTS filter on PC17_STATIPDC. Unlike the lookups, the decoders apply
/// it whatever the company mode. Nothing is appended when anything fails.
void disabledAccountFilter(Frame& f, SqlText& sql, bool opensWhere) {
  sql.fragment([&] {
    const Variant& date = f.object().DataValiditaConti;
    if (date.isNull()) return;
    std::string company = f.host.companyCodeText();
    appendDisabledAccountFilter(sql, opensWhere, company, f.utility().SqlDateLiteral(date));
  });
}

/// Without a connection the kind of the chart is unknown: the analytic
/// description when there is one, else the general-accounting one.
void eitherChartQuery(SqlText& sql) {
  sql.line(
      " SELECT   ISNULL ((SELECT PC03_DESCR FROM FNPC03_ANAGPDC_COAN(<CODICEPDC>, <CONTO>, NULL, "
      "<LINGUA> )), ");
  sql.line(
      "                  (SELECT PC03_DESCR FROM FNPC03_ANAGPDC_COGE(<CODICEPDC>, <CONTO>, NULL, "
      "<LINGUA> ))  ");
  sql.line("                 ) AS PC03_DESCR           ");
}

/// PC01_INDTIPOPDC of the chart (Null read as 1), or none for an unknown chart.
std::optional<int32_t> chartKind(Frame& f, Connection& connection, const Variant& chart) {
  SqlText query(128);
  query.append("SELECT PC01_INDTIPOPDC FROM PC01_DESCRPDC WITH (NOLOCK) WHERE PC01_CODICE = ",
               f.numericCode(chart));
  return withRows(connection, query.take(), ado::kCmdText,
                  [&](Recordset& rows) -> std::optional<int32_t> {
                    if (rows.Eof()) return std::nullopt;
                    return toLong(f.utility().ValueOrDefault(
                        rows.Field(std::string("PC01_INDTIPOPDC")), Variant(int32_t{1})));
                  });
}

void chartQuery(Frame& f, SqlText& sql, Connection& connection, const Variant& chart) {
  std::optional<int32_t> kind = chartKind(f, connection, chart);
  // An unknown chart: a query that finds no row.
  if (!kind) {
    sql.append(" SELECT * FROM PC03_ANAGPDC WHERE 1 = 2 ");
    return;
  }
  const CLSCI_DECODE& d = f.object();
  switch (*kind) {
    case 1:  // industrial accounting: the causal code and sign may restrict the account type
      sql.line(
          " SELECT PC03_DESCR FROM FNPC03_ANAGPDC_COAN(<CODICEPDC>, <CONTO>, NULL, <LINGUA>) ");
      if (hasValue(d.Causale) && d.Segno != 0) {
        std::string types = allowedAccountTypes(connection, d.Causale, d.Segno, f.hardened());
        if (!types.empty()) sql.append(" WHERE     PC03_TIPOCONTOCI IN ", types);
      }
      disabledAccountFilter(f, sql, !sql.contains("WHERE"));
      break;
    case 2:
      sql.line("SELECT PC03_DESCR FROM FNPC03_ANAGPDC_COAN(<CODICEPDC>, <CONTO>, NULL, <LINGUA>) ");
      disabledAccountFilter(f, sql, true);
      break;
    default:  // general accounting
      sql.line("SELECT PC03_DESCR FROM FNPC03_ANAGPDC_COGE(<CODICEPDC>, <CONTO>, NULL, <LINGUA>) ");
      break;
  }
}

/// AnagraficaPianoDeiConti: the account's description. The placeholders of
/// the chosen query are filled in last, in the query's own buffer: their
/// values are read after the query is composed, and the host must see its
/// calls in that order.
void chartAccount(Frame& f, const std::shared_ptr<Dispatch>& TextEdit, const Variant& CodicePdC,
                  const Variant& Conto) {
  std::string language = f.host.hasHost() ? concatText(f.host.languageCode()) : "ITA ";
  f.descriptor(TextEdit, "PC03_DESCR");
  const auto& connection = f.object().Connessione;
  SqlText sql = f.text(320);
  if (connection)
    chartQuery(f, sql, *connection, CodicePdC);
  else
    eitherChartQuery(sql);
  const std::string chart = f.numericCode(CodicePdC);
  const std::string account = quoted(f.textCode(Conto), f.hardened());
  sql.fill(
      {{"<CODICEPDC>", chart}, {"<CONTO>", account}, {"<LINGUA>", quoted(language, f.hardened())}});
  f.sql(sql);
}

}  // namespace

void registerChartOfAccounts(Builder& b) {
  b.method("AnagraficaPianoDeiConti", member(chartAccount),
           {arg("TextEdit"), arg("CodicePdC"), arg("Conto")}, "account of a chart");
}

}  // namespace brelvane::decode
