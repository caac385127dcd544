// Code table lookups: cost natures and the classifications of CI90_INDICATORI.
#include "compose/case_column.h"
#include "lookup/frame.h"

namespace brelvane {

namespace {

/// One classification of CI90_INDICATORI: the CASE over CI90_VALORE and the
/// literal lines that differ from one member to the next.
struct IndicatorLookup {
  std::string_view id;
  int32_t caption;
  std::string_view where;  ///< " WHERE   CI90_CODICE = n", the code part of the literal
  CaseColumn column;
};

// The common branch head: six blanks, WHEN, the value right-aligned in two.
constexpr BranchForm kIndicatorForm{"      WHEN ", " THEN '", 2, false};
constexpr CaseElse kStoredDescription{"      ELSE  CI90_DESCRIZIONE"};

void indicatorLookup(lookup::Frame& f, const IndicatorLookup& member) {
  f.columns({"Codice", "Descrizione"});
  SqlText sql;
  sql.line(" SELECT  CI90_VALORE");
  appendCase(sql, f.host, member.column);
  sql.line(" FROM    CI90_INDICATORI   WITH(NOLOCK)");
  sql.line(member.where);
  sql.line(" ORDER BY CI90_VALORE ASC");
  f.sql(sql);
  f.caption(member.caption);
  f.id(member.id);
}

}  // namespace

void CLSCI_LOOKUP::NatureCosti() {
  compose([](lookup::Frame& f) {
    f.columns({"Codice", "Descrizione", "Tipologia", "Descrizione Tipologia"});
    SqlText sql;
    sql.line(" SELECT          PC04_CODICE");
    sql.line("     ,   (SELECT PC04_DESCR FROM FNPC04_NATURECOSTI(PC04_CODICE,",
             f.host.companyCodeText(), ")) AS PC04_DESCR");
    sql.line("     ,           PC04_INDCOSTORIC");
    // The ELSE repeats the label of 0 (fetched again): unknown kinds read as 0.
    appendCase(sql, f.host,
               {.open = {"     ,  CASE     PC04_INDCOSTORIC"},
                .form = {"           WHEN ", " THEN '", 0, false},
                .branches = {{0, 39796}, {1, 16572}, {2, 48931}, {3, 66288}, {4, 59381}},
                .otherwise = {"        ELSE           '", 39796},
                .close = {"        END                         AS DES_TIPOLOGIA"}});
    sql.line(" FROM            PC04_NATURECOSTI  WITH(NOLOCK)");
    sql.line(" ORDER BY        PC04_CODICE");
    f.sql(sql);
    f.caption(73320);
    f.id("Lkp_NatureCosti");
  });
}

void CLSCI_LOOKUP::ProvenienzeCosti() {
  // Spaced differently from the other members: seven blanks before WHEN,
  // four before ELSE, three after AS.
  compose([](lookup::Frame& f) {
    indicatorLookup(f, {"Lkp_ProvenienzeCosti",
                        74758,
                        " WHERE   CI90_CODICE = 1",
                        {.open = {"  , CASE CI90_VALORE"},
                         .form = {"       WHEN ", " THEN '", 2, false},
                         .branches = {{0, 67538}, {1, 75180}, {2, 16671}, {3, 16618}},
                         .otherwise = {"    ELSE  CI90_DESCRIZIONE"},
                         .close = {"    END", "   AS   CI90_DESCRIZIONE"}}});
  });
}

void CLSCI_LOOKUP::TipiContiCoin() {
  // No ELSE: a value outside 1 to 10 shows NULL.
  compose([](lookup::Frame& f) {
    indicatorLookup(f, {"Lkp_TipiContiCoin",
                        74760,
                        " WHERE   CI90_CODICE = 7",
                        {.open = {"  , CASE CI90_VALORE"},
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
                         .close = {"    END", "   AS    CI90_DESCRIZIONE"}}});
  });
}

void CLSCI_LOOKUP::TipiAttivita() {
  compose([](lookup::Frame& f) {
    indicatorLookup(f, {"Lkp_TipiAttivita",
                        74761,
                        " WHERE   CI90_CODICE = 6",
                        {.open = {"  , CASE CI90_VALORE"},
                         .form = kIndicatorForm,
                         .branches = {{0, 39797}, {1, 34030}, {2, 26159}},
                         .otherwise = kStoredDescription,
                         .close = {"    END", "   AS    CI90_DESCRIZIONE"}}});
  });
}

void CLSCI_LOOKUP::VariabilitaCosti() {
  compose([](lookup::Frame& f) {
    indicatorLookup(f, {"Lkp_VariabilitaCosti",
                        74762,
                        " WHERE   CI90_CODICE = 5",
                        {.open = {"  , CASE CI90_VALORE"},
                         .form = kIndicatorForm,
                         .branches = {{0, 39154}, {1, 16666}, {2, 16786}, {3, 16884}},
                         .otherwise = kStoredDescription,
                         .close = {"    END", "   AS    CI90_DESCRIZIONE"}}});
  });
}

void CLSCI_LOOKUP::NatureCausali() {
  // The labels of cost and revenue are those NatureCosti uses for 1 and 2.
  compose([](lookup::Frame& f) {
    indicatorLookup(f, {"Lkp_NatureCausali",
                        74763,
                        " WHERE   CI90_CODICE = 2",
                        {.open = {"  , CASE CI90_VALORE"},
                         .form = kIndicatorForm,
                         .branches = {{0, 16572}, {1, 48931}},
                         .otherwise = kStoredDescription,
                         .close = {"    END", "   AS    CI90_DESCRIZIONE"}}});
  });
}

void CLSCI_LOOKUP::TipoCliFor() {
  compose([](lookup::Frame& f) {
    indicatorLookup(f, {"Lkp_TipoCliFor",
                        74764,
                        " WHERE   CI90_CODICE = 8",
                        {.open = {"  , CASE CI90_VALORE"},
                         .form = kIndicatorForm,
                         .branches = {{0, 39333}, {1, 11180}, {2, 27554}},
                         .otherwise = kStoredDescription,
                         .close = {"    END", "   AS    CI90_DESCRIZIONE"}}});
  });
}

void CLSCI_LOOKUP::StatoRegCogeCoin() {
  compose([](lookup::Frame& f) {
    indicatorLookup(f, {"Lkp_StatoRegCogeCoin",
                        74765,
                        " WHERE   CI90_CODICE = 9",
                        {.open = {"  , CASE CI90_VALORE"},
                         .form = kIndicatorForm,
                         .branches = {{0, 17504}, {1, 17598}, {2, 75885}},
                         .otherwise = kStoredDescription,
                         .close = {"    END", "   AS    CI90_DESCRIZIONE"}}});
  });
}

}  // namespace brelvane
