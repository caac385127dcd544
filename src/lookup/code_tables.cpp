// Code table lookups: cost natures and the classifications of CI90_INDICATORI.
#include "compose/case_column.h"
#include "lookup/families.h"

namespace brelvane::lookup {

namespace {

// Line lists in constexpr tables carry the sv suffix: GCC 12 cannot
// convert a plain literal inside such an initializer list.
using namespace std::literals;

/// One classification of CI90_INDICATORI: the member, its caption and id,
/// the code it lists and the CASE over CI90_VALORE, whose spacing differs
/// from one member to the next.
struct IndicatorLookup {
  std::string_view name;
  std::string_view doc;
  std::string_view id;
  int32_t caption;
  int32_t code;  ///< CI90_CODICE
  CaseColumn column;
};

// The common branch head: six blanks, WHEN, the value right-aligned in two.
constexpr BranchForm kIndicatorForm{.when = "      WHEN ", .then = " THEN '", .width = 2};
constexpr CaseElse kStoredDescription{"      ELSE  CI90_DESCRIZIONE"};
constexpr std::initializer_list<std::string_view> kIndicatorOpen{"  , CASE CI90_VALORE"sv};
constexpr std::initializer_list<std::string_view> kIndicatorClose{"    END"sv,
                                                                  "   AS    CI90_DESCRIZIONE"sv};

constexpr IndicatorLookup kIndicatorLookups[] = {
    // Spaced differently from the other members: seven blanks before WHEN,
    // four before ELSE, three after AS.
    {.name = "ProvenienzeCosti",
     .doc = "cost origins",
     .id = "Lkp_ProvenienzeCosti",
     .caption = 74758,
     .code = 1,
     .column = {.open = kIndicatorOpen,
                .form = {.when = "       WHEN ", .then = " THEN '", .width = 2},
                .branches = {{0, 67538}, {1, 75180}, {2, 16671}, {3, 16618}},
                .otherwise = {"    ELSE  CI90_DESCRIZIONE"},
                .close = {"    END"sv, "   AS   CI90_DESCRIZIONE"sv}}},
    // No ELSE: a value outside 1 to 10 shows NULL.
    {.name = "TipiContiCoin",
     .doc = "industrial account kinds",
     .id = "Lkp_TipiContiCoin",
     .caption = 74760,
     .code = 7,
     .column = {.open = kIndicatorOpen,
                .form = kIndicatorForm,
                .branches = {{1, 84689},
                             {2, 85258},
                             {3, 14234},
                             {4, 10643},
                             {5, 35336},
                             {6, 36548},
                             {7, 36959},
                             {8, 84937},
                             {9, 49888},
                             {10, 84543}},
                .otherwise = {},
                .close = kIndicatorClose}},
    {.name = "TipiAttivita",
     .doc = "activity kinds",
     .id = "Lkp_TipiAttivita",
     .caption = 74761,
     .code = 6,
     .column = {.open = kIndicatorOpen,
                .form = kIndicatorForm,
                .branches = {{0, 39797}, {1, 34030}, {2, 26159}},
                .otherwise = kStoredDescription,
                .close = kIndicatorClose}},
    {.name = "VariabilitaCosti",
     .doc = "cost variability",
     .id = "Lkp_VariabilitaCosti",
     .caption = 74762,
     .code = 5,
     .column = {.open = kIndicatorOpen,
                .form = kIndicatorForm,
                .branches = {{0, 39154}, {1, 16666}, {2, 16786}, {3, 16884}},
                .otherwise = kStoredDescription,
                .close = kIndicatorClose}},
    // The labels of cost and revenue are those NatureCosti uses for 1 and 2.
    {.name = "NatureCausali",
     .doc = "causal natures",
     .id = "Lkp_NatureCausali",
     .caption = 74763,
     .code = 2,
     .column = {.open = kIndicatorOpen,
                .form = kIndicatorForm,
                .branches = {{0, 16572}, {1, 48931}},
                .otherwise = kStoredDescription,
                .close = kIndicatorClose}},
    {.name = "TipoCliFor",
     .doc = "customer or supplier",
     .id = "Lkp_TipoCliFor",
     .caption = 74764,
     .code = 8,
     .column = {.open = kIndicatorOpen,
                .form = kIndicatorForm,
                .branches = {{0, 39333}, {1, 11180}, {2, 27554}},
                .otherwise = kStoredDescription,
                .close = kIndicatorClose}},
    {.name = "StatoRegCogeCoin",
     .doc = "registration states",
     .id = "Lkp_StatoRegCogeCoin",
     .caption = 74765,
     .code = 9,
     .column = {.open = kIndicatorOpen,
                .form = kIndicatorForm,
                .branches = {{0, 17504}, {1, 17598}, {2, 75885}},
                .otherwise = kStoredDescription,
                .close = kIndicatorClose}},
};

void indicatorLookup(Frame& f, const IndicatorLookup& member) {
  f.columns({"Codice", "Descrizione"});
  SqlText sql;
  sql.line(" SELECT  CI90_VALORE");
  appendCase(sql, f.host, member.column);
  sql.line(" FROM    CI90_INDICATORI   WITH(NOLOCK)");
  sql.line(" WHERE   CI90_CODICE = ", member.code);
  sql.line(" ORDER BY CI90_VALORE ASC");
  f.sql(sql);
  f.caption(member.caption);
  f.id(member.id);
}

/// NatureCosti: the cost natures, with the description from the company's
/// function and the kind of each as words.
void costNatures(Frame& f) {
  f.columns({"Codice", "Descrizione", "Tipologia", "Descrizione Tipologia"});
  SqlText sql;
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
  for (const IndicatorLookup& row : kIndicatorLookups)
    b.method(std::string(row.name), member([&row](Frame& f) { indicatorLookup(f, row); }),
             std::string(row.doc));
}

}  // namespace brelvane::lookup
