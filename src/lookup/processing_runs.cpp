// Processing runs of a company: allocation, adjustment and depreciation runs,
// the saved movement filters of an allocation, the production orders that
// industrial accounting recorded, and the kinds of order-recording movement.
#include "compose/case_column.h"
#include "compose/indicators.h"
#include "lookup/families.h"

namespace brelvane::lookup {

namespace {

using namespace std::literals;

/// The runs of one company: the lines up to WHERE, the company filter, then
/// whatever follows it. Whether the text ends with a line break differs
/// from member to member and is kept so.
struct CompanyRuns {
  std::string_view name;
  std::string_view doc;
  std::string_view id;
  int32_t caption;
  std::initializer_list<std::string_view> captions;
  std::initializer_list<std::string_view> head;
  std::string_view company;  ///< the company code follows
  std::initializer_list<std::string_view> tail;
  bool finalBreak;  ///< CR LF after the last line
};

constexpr CompanyRuns kCompanyRuns[] = {
    {.name = "RibaltamentiCostiIndiretti",
     .doc = "indirect-cost allocation runs of a company",
     .id = "Lkp_Ribaltamenti",
     .caption = 74768,
     .captions = {"Nr. elaborazione"sv, "Ribaltamento"sv, "Descr. ribaltamento"sv, "Data reg."sv},
     .head = {"SELECT"sv, "    CI55_NUMELABORAZIONE"sv, "    , CI55_RIBALTAMENTO_CI50"sv,
              "    , CI50_DESCRIZIONE"sv, "    , CI55_DATAREG"sv, "FROM"sv,
              "    CI55_ELABRIB AS E"sv, "    INNER JOIN"sv, "    CI50_ANAGRIB AS RIB"sv,
              "    ON"sv, "    E.CI55_DITTA_CG18 = RIB.CI50_DITTA_CG18"sv,
              "    AND E.CI55_RIBALTAMENTO_CI50 = RIB.CI50_RIBALTAMENTO"sv, "WHERE"sv},
     .company = "    E.CI55_DITTA_CG18 = ",
     .tail = {},
     .finalBreak = true},
    {.name = "RettificheSaldi",
     .doc = "balance adjustment runs of a company",
     .id = "Lkp_Rettifiche",
     .caption = 74769,
     .captions = {"Nr. elaborazione"sv, "Rettifica"sv, "Descr. rettifica"sv, "Data elaborazione"sv},
     .head = {"SELECT"sv, "    CI62_NUMELABORAZIONE"sv, "    , CI62_RETTIFICA_CI60"sv,
              "    , CI60_DESCRIZIONE"sv, "    , CI62_DATAELAB"sv, "FROM"sv, "    CI62_ELABRETT"sv,
              "    INNER JOIN"sv, "    CI60_ANAGRETT"sv, "    ON"sv,
              "    CI62_DITTA_CG18 = CI60_DITTA_CG18"sv,
              "    AND CI62_RETTIFICA_CI60 = CI60_RETTIFICA"sv, "WHERE"sv},
     .company = "    CI62_DITTA_CG18 = ",
     .tail = {},
     .finalBreak = false},
    // Newest first: latest year, then latest month, then highest number.
    {.name = "ElaborazioniAmmCespiti",
     .doc = "fixed-asset depreciation runs of a company",
     .id = "Lkp_ElaborazioniAmmCespiti",
     .caption = 74770,
     .captions = {"Nr. elaborazione"sv, "Anno"sv, "Mese"sv, "Data elab."sv},
     .head = {"SELECT"sv, "    CI43_PROG"sv, "    , CI43_ANNO"sv, "    , CI43_MESE"sv,
              "    , CI43_DATAELAB"sv, "FROM"sv, "    CI43_ELAMMCESP"sv, "WHERE"sv},
     .company = "    CI43_DITTA_CG18 = ",
     .tail = {"ORDER BY"sv, "    CI43_ANNO DESC"sv, "    , CI43_MESE DESC"sv,
              "    , CI43_PROG DESC"sv},
     .finalBreak = false},
};

void companyRuns(Frame& f, const CompanyRuns& runs, int32_t flngCodiceDitta) {
  f.columns(runs.captions);
  SqlText sql = f.text(1024);
  for (auto line : runs.head) sql.line(line);
  sql.append(runs.company, flngCodiceDitta);
  for (auto line : runs.tail) sql.line().append(line);
  if (runs.finalBreak) sql.line();
  f.sql(sql);
  f.caption(runs.caption);
  f.id(runs.id);
}

/// FiltriMovPerRibaltamenti: the movement filters saved for an allocation,
/// each name once. The allocation code goes in as given, apostrophes and all.
void movementFilters(Frame& f, int32_t flngDitta, const std::string& fstrRibaltamento) {
  f.columns({"Filtro"});
  SqlText sql = f.text(512);
  sql.line("SELECT").line("    CI53_SELEZIONE").line("FROM").line("    CI53_SELEZIONEPRS");
  sql.line("WHERE").line("    CI53_DITTA_CG18 = ", flngDitta);
  sql.line("    AND CI53_UOBJECT = '", inQuotes(fstrRibaltamento), "'");
  sql.line("    AND CI53_ID_FW06 = 0").line("    AND CI53_ID_FW07 = 0").line("GROUP BY");
  sql.append("    CI53_SELEZIONE");
  f.sql(sql);
  f.caption(24511);
  f.id("Lkp_RibFiltri");
}

/// OrdiniLavorazioneRilevati: the document header of each production order
/// that the company's industrial-accounting movements refer to, once. The
/// text is stored with a company placeholder, which is then replaced.
void recordedOrders(Frame& f, int32_t flngCodiceDitta) {
  f.columns({"Numero registrazione", "Tipo documento", "Numero", "Sezionale", "Data",
             "Data registrazione"});
  SqlText sql = f.text(1024);
  for (auto line : {"SELECT DISTINCT"sv,
                    "    DO11_NUMREG_CO99"sv,
                    "    , DO11_DOCUM_MG36"sv,
                    "    , DO11_NUMDOC"sv,
                    "    , DO11_SEZDOC"sv,
                    "    , DO11_DATADOC"sv,
                    "    , DO11_DATAREG"sv,
                    "FROM"sv,
                    "    ("sv,
                    "        SELECT"sv,
                    "            CI12_DITTA_CG18 AS DITTA"sv,
                    "            , CI12_NUMREGORDLAV_CO99 AS NUMREGORDINE"sv,
                    "        FROM"sv,
                    "            CI12_MOVTESTATA"sv,
                    "        WHERE"sv,
                    "            CI12_DITTA_CG18 = @PAR_DITTA"sv,
                    "    ) AS ORDINI"sv,
                    "    INNER JOIN"sv,
                    "    DO11_DOCTESTATA"sv,
                    "    ON"sv,
                    "    DITTA = DO11_DITTA_CG18"sv,
                    "    AND NUMREGORDINE = DO11_NUMREG_CO99"sv})
    sql.line(line);
  sql.fill({{"@PAR_DITTA", decimal(flngCodiceDitta)}});
  f.sql(sql);
  f.caption(74815);
  f.id("Lkp_OrdLavRilevati");
}

/// TipoMovimentoRilevazioneOrdini: the kinds of order-recording movement
/// (indicator 3). Its lines keep their padding to 43 or 37 characters.
void orderMovementKinds(Frame& f) {
  f.columns({"Codice", "Descrizione"});
  SqlText sql = f.text(1024);
  sql.line(" SELECT  CI90_VALORE                       ");
  appendCase(sql, f.host,
             {.open = {"  , CASE CI90_VALORE                       "},
              .form = {.when = "      WHEN ", .then = " THEN '", .width = 2},
              .branches = kOrderMovementKinds.labels,
              .otherwise = {"      ELSE  CI90_DESCRIZIONE         "},
              .close = {"    END                              ",
                        "   AS    CI90_DESCRIZIONE            "}});
  sql.line(" FROM    CI90_INDICATORI   WITH(NOLOCK)    ");
  sql.line(" WHERE   CI90_CODICE = 3                   ");
  sql.line(" ORDER BY CI90_VALORE ASC                  ");
  f.sql(sql);
  f.caption(74814);
  f.id("Lkp_TipiMovRilOrd");
}

}  // namespace

void registerProcessingRuns(Builder& b) {
  b.rows(kCompanyRuns, member(companyRuns), {arg("flngCodiceDitta")});
  b.method("FiltriMovPerRibaltamenti", member(movementFilters),
           {arg("flngDitta"), arg("fstrRibaltamento")}, "saved movement filters of an allocation")
      .method("OrdiniLavorazioneRilevati", member(recordedOrders), {arg("flngCodiceDitta")},
              "production orders recorded by industrial accounting")
      .method("TipoMovimentoRilevazioneOrdini", member(orderMovementKinds),
              "kinds of order-recording movement");
}

}  // namespace brelvane::lookup
