// Code table lookups: cost natures and the classifications of CI90_INDICATORI.
#include "compose/case_column.h"
#include "compose/indicators.h"
#include "lookup/families.h"

namespace brelvane::lookup {

namespace {

// Line lists in constexpr tables carry the sv suffix: GCC 12 cannot
// convert a plain literal inside such an initializer list.
using namespace std::literals;

// The common branch head: six blanks, WHEN, the value right-aligned in two.
constexpr BranchForm kIndicatorForm{.when = "      WHEN ", .then = " THEN '", .width = 2};
constexpr std::initializer_list<std::string_view> kIndicatorOpen{"  , CASE CI90_VALORE"sv};
constexpr std::initializer_list<std::string_view> kIndicatorClose{"    END"sv,
                                                                  "   AS    CI90_DESCRIZIONE"sv};

/// One classification of CI90_INDICATORI: the member, its caption and id,
/// the classification, and the spacing of its CASE, which differs from one
/// member to the next.
struct IndicatorLookup {
  std::string_view name;
  std::string_view doc;
  std::string_view id;
  int32_t caption;
  const Indicator* indicator;
  BranchForm form = kIndicatorForm;
  std::string_view otherwise = "      ELSE  CI90_DESCRIZIONE";  ///< when values fall back
  std::initializer_list<std::string_view> close = kIndicatorClose;
};

constexpr IndicatorLookup kIndicatorLookups[] = {
    // Spaced differently from the other members: seven blanks before WHEN,
    // four before ELSE, three after AS.
    {.name = "ProvenienzeCosti",
     .doc = "cost origins",
     .id = "Lkp_ProvenienzeCosti",
     .caption = 74758,
     .indicator = &kCostOrigins,
     .form = {.when = "       WHEN ", .then = " THEN '", .width = 2},
     .otherwise = "    ELSE  CI90_DESCRIZIONE",
     .close = {"    END"sv, "   AS   CI90_DESCRIZIONE"sv}},
    // No ELSE: a value outside 1 to 10 shows NULL.
    {.name = "TipiContiCoin",
     .doc = "industrial account kinds",
     .id = "Lkp_TipiContiCoin",
     .caption = 74760,
     .indicator = &kIndustrialAccountKinds},
    {.name = "TipiAttivita",
     .doc = "activity kinds",
     .id = "Lkp_TipiAttivita",
     .caption = 74761,
     .indicator = &kActivityKinds},
    {.name = "VariabilitaCosti",
     .doc = "cost variability",
     .id = "Lkp_VariabilitaCosti",
     .caption = 74762,
     .indicator = &kCostVariability},
    // The labels of cost and revenue are those NatureCosti uses for 1 and 2.
    {.name = "NatureCausali",
     .doc = "causal natures",
     .id = "Lkp_NatureCausali",
     .caption = 74763,
     .indicator = &kCausalNatures},
    {.name = "TipoCliFor",
     .doc = "customer or supplier",
     .id = "Lkp_TipoCliFor",
     .caption = 74764,
     .indicator = &kCustomerSupplier},
    {.name = "StatoRegCogeCoin",
     .doc = "registration states",
     .id = "Lkp_StatoRegCogeCoin",
     .caption = 74765,
     .indicator = &kRegistrationStates},
};

void indicatorLookup(Frame& f, const IndicatorLookup& member) {
  f.columns({"Codice", "Descrizione"});
  SqlText sql = f.text();
  sql.line(" SELECT  CI90_VALORE");
  const Indicator& indicator = *member.indicator;
  appendCase(sql, f.host,
             {.open = kIndicatorOpen,
              .form = member.form,
              .branches = indicator.labels,
              .otherwise = indicator.storedFallback ? CaseElse{member.otherwise} : CaseElse{},
              .close = member.close});
  sql.line(" FROM    CI90_INDICATORI   WITH(NOLOCK)");
  sql.line(" WHERE   CI90_CODICE = ", indicator.code);
  sql.line(" ORDER BY CI90_VALORE ASC");
  f.sql(sql);
  f.caption(member.caption);
  f.id(member.id);
}

/// NatureCosti: the cost natures, with the description from the company's
/// function and the kind of each as words.
void costNatures(Frame& f) {
  f.columns({"Codice", "Descrizione", "Tipologia", "Descrizione Tipologia"});
  SqlText sql = f.text();
  sql.line(" SELECT          PC04_CODICE");
  sql.line("     ,   (SELECT PC04_DESCR FROM FNPC04_NATURECOSTI(PC04_CODICE,",
           f.host.companyCodeText(), ")) AS PC04_DESCR");
  sql.line("     ,           PC04_INDCOSTORIC");
  // The ELSE repeats the label of 0 (fetched again): unknown kinds read as 0.
  appendCase(sql, f.host,
             {.open = {"     ,  CASE     PC04_INDCOSTORIC"},
              .form = {.when = "           WHEN ", .then = " THEN '"},
              .branches = kCostNatureKinds,
              .otherwise = {"        ELSE           '", 39796},
              .close = {"        END                         AS DES_TIPOLOGIA"}});
  sql.line(" FROM            PC04_NATURECOSTI  WITH(NOLOCK)");
  sql.line(" ORDER BY        PC04_CODICE");
  f.sql(sql);
  f.caption(73320);
  f.id("Lkp_NatureCosti");
}

}  // namespace

void registerCodeTables(Builder& b) {
  b.method("NatureCosti", member(costNatures), "cost natures");
  b.rows(kIndicatorLookups, member(indicatorLookup));
}

}  // namespace brelvane::lookup
