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
std::string allowedAccountTypes(Connection& connection, const Variant& causal, int32_t sign) {
  return fragmentOrEmpty([&] {
    SqlText query(256);
    query.line(" SELECT  *                                   ");
    query.line(" FROM    CI11_CONTROLLOCONTI  WITH(NOLOCK)   ");
    query.line(" WHERE   CI11_CODCAUS_CI03 = '", concatText(causal), "'");
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
/// it whatever the company mode. "" when anything fails.
std::string disabledAccountFilter(Frame& f, bool opensWhere) {
  return fragmentOrEmpty([&] {
    const Variant& date = f.object().DataValiditaConti;
    if (date.isNull()) return std::string();
    SqlText sql(640);
    std::string company = f.host.companyCodeText();
    appendDisabledAccountFilter(sql, opensWhere, company, f.utility().SqlDateLiteral(date));
    return sql.take();
  });
}

/// Without a connection the kind of the chart is unknown: the analytic
/// description when there is one, else the general-accounting one.
std::string eitherChartQuery() {
  SqlText sql(320);
  sql.line(
      " SELECT   ISNULL ((SELECT PC03_DESCR FROM FNPC03_ANAGPDC_COAN(<CODICEPDC>, <CONTO>, NULL, "
      "<LINGUA> )), ");
  sql.line(
      "                  (SELECT PC03_DESCR FROM FNPC03_ANAGPDC_COGE(<CODICEPDC>, <CONTO>, NULL, "
      "<LINGUA> ))  ");
  sql.line("                 ) AS PC03_DESCR           ");
  return sql.take();
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

std::string chartQuery(Frame& f, Connection& connection, const Variant& chart) {
  std::optional<int32_t> kind = chartKind(f, connection, chart);
  // An unknown chart: a query that finds no row.
  if (!kind) return " SELECT * FROM PC03_ANAGPDC WHERE 1 = 2 ";
  const CLSCI_DECODE& d = f.object();
  SqlText sql(1024);
  switch (*kind) {
    case 1:  // industrial accounting: the causal code and sign may restrict the account type
      sql.line(
          " SELECT PC03_DESCR FROM FNPC03_ANAGPDC_COAN(<CODICEPDC>, <CONTO>, NULL, <LINGUA>) ");
      if (hasValue(d.Causale) && d.Segno != 0) {
        std::string types = allowedAccountTypes(connection, d.Causale, d.Segno);
        if (!types.empty()) sql.append(" WHERE     PC03_TIPOCONTOCI IN ", types);
      }
      sql.append(disabledAccountFilter(f, !sql.contains("WHERE")));
      break;
    case 2:
      sql.line("SELECT PC03_DESCR FROM FNPC03_ANAGPDC_COAN(<CODICEPDC>, <CONTO>, NULL, <LINGUA>) ");
      sql.append(disabledAccountFilter(f, true));
      break;
    default:  // general accounting
      sql.line("SELECT PC03_DESCR FROM FNPC03_ANAGPDC_COGE(<CODICEPDC>, <CONTO>, NULL, <LINGUA>) ");
      break;
  }
  return sql.take();
}

/// AnagraficaPianoDeiConti: the account's description, the placeholders of
/// the chosen query filled in last.
void chartAccount(Frame& f, const std::shared_ptr<Dispatch>& TextEdit, const Variant& CodicePdC,
                  const Variant& Conto) {
  std::string language = f.host.hasHost() ? concatText(f.host.languageCode()) : "ITA ";
  f.descriptor(TextEdit, "PC03_DESCR");
  const auto& connection = f.object().Connessione;
  std::string sql = connection ? chartQuery(f, *connection, CodicePdC) : eitherChartQuery();
  replaceAll(sql, "<CODICEPDC>", f.numericCode(CodicePdC));
  // Appended rather than concatenated with +: GCC 12 at -O2 misreads
  // "'" + std::string&& + "'" as an overlapping copy (-Wrestrict).
  replaceAll(sql, "<CONTO>", std::string("'").append(f.textCode(Conto)).append("'"));
  replaceAll(sql, "<LINGUA>", std::string("'").append(language).append("'"));
  f.sql(std::move(sql));
}

}  // namespace

void registerChartOfAccounts(Builder& b) {
  b.method("AnagraficaPianoDeiConti", member(chartAccount),
           {arg("TextEdit"), arg("CodicePdC"), arg("Conto")}, "account of a chart");
}

}  // namespace brelvane::decode
