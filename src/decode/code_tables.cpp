// Code-table decoders: one value of a classification of CI90_INDICATORI
// turned into words. Known values take the host's localised label, so the
// text follows the user's language; others keep the stored description.
//
// The descriptor names CI90_VALORE, the key, although the query returns
// only CI90_DESCRIZIONE: hosts rely on that descriptor as it stands.
#include "compose/indicators.h"
#include "decode/families.h"

namespace brelvane::decode {

namespace {

struct IndicatorDecoder {
  std::string_view name;
  std::string_view doc;
  std::string_view argument;
  const Indicator& indicator;
  std::string_view select = " SELECT                              ";
};

constexpr IndicatorDecoder kIndicatorDecoders[] = {
    {"ProvenienzaCosto", "cost origin", "CodiceProvenienzaCosto", kCostOrigins},
    {"NaturaCausale", "causal nature", "CodiceNaturaCausale", kCausalNatures},
    {"TipoMovimentoRilevazioneOrdini", "order-recording movement kind",
     "TipoMovimentoRilevazioneOrdini", kOrderMovementKinds},
    {"VariabilitaCosto", "cost variability", "CodiceVariabilitaCosto", kCostVariability},
    {"TipoAttivita", "activity kind", "CodiceTipoAttivita", kActivityKinds},
    // No ELSE: a value outside 1 to 10 decodes to Null.
    {"TipoContoCoin", "industrial account kind", "CodiceTipoContoCoin", kIndustrialAccountKinds},
    {"TipoCliFor", "customer or supplier", "CodiceTipoCliFor", kCustomerSupplier},
    // Its SELECT line is padded wider than the others'.
    {"StatoRegCogeCoin", "registration state", "CodiceStatoRegCogeCoin", kRegistrationStates,
     " SELECT                                    "},
};

void indicatorDecode(Frame& f, const IndicatorDecoder& row,
                     const std::shared_ptr<Dispatch>& control, const Variant& code) {
  f.descriptor(control, "CI90_VALORE");
  SqlText sql = f.text(1024);
  appendCase(
      sql, f.host,
      {.open = {row.select, "    CASE CI90_VALORE                 "},
       .form = {.when = "      WHEN ", .then = " THEN '", .width = 2},
       .branches = row.indicator.labels,
       .otherwise = row.indicator.storedFallback ? CaseElse{"      ELSE  CI90_DESCRIZIONE         "}
                                                 : CaseElse{},
       .close = {"    END                              ",
                 "   AS    CI90_DESCRIZIONE            "}});
  sql.line(" FROM    CI90_INDICATORI   WITH(NOLOCK)    ");
  sql.line(" WHERE   CI90_CODICE = ", row.indicator.code, "                   ");
  sql.line(" AND     CI90_VALORE = ", f.numericCode(code));
  // At most one row comes back; the ORDER BY stays all the same.
  sql.line(" ORDER BY CI90_VALORE ASC                  ");
  f.sql(sql);
}

}  // namespace

void registerCodeTables(Builder& b) {
  b.rows(kIndicatorDecoders, form(member(indicatorDecode), [](const IndicatorDecoder& row) {
           return std::vector{arg("TextEdit"), arg(std::string(row.argument))};
         }));
}

}  // namespace brelvane::decode
