#include "lookup/builders.h"

#include "compose/account_status.h"
#include "compose/case_column.h"
#include "compose/guard.h"

namespace brelvane::lookup {

namespace {

constexpr BranchForm kValueForm13{
    .when = "             WHEN ", .then = "               THEN '", .twoLines = true};
constexpr BranchForm kValueForm11{
    .when = "           WHEN ", .then = "               THEN '", .twoLines = true};
// Flag form: the value is part of the WHEN literal ("WHEN  0 THEN '").
constexpr BranchForm kFlagForm{.when = "           WHEN ", .then = " THEN '", .width = 2};

std::string flagCase(const HostAccess& host, std::string_view open, std::string_view end,
                     std::string_view alias) {
  return caseFragment(host, {.open = {open},
                             .form = kFlagForm,
                             .branches = kYesNo,
                             .otherwise = {},
                             .close = {end, alias}});
}

// The gate and the reference-date test shared by the three status fragments.
bool gateOpen(const HostAccess& host) {
  return host.companyModeIs2();
}
bool hasReferenceDate(const HostAccess& host, const Variant& date) {
  return !equals(host.utility().ValueOrDefault(date, Variant("")), "");
}

}  // namespace

std::string CaseIndProvCosto(const HostAccess& host) {
  return caseFragment(host, {.open = {"     ,CASE   PC03_INDPROVCOSTO       "},
                             .form = kValueForm13,
                             .branches = {{0, 39128}, {2, 16671}, {3, 16618}, {1, 75180}},
                             .otherwise = {},
                             .close = {"      END AS PC03_INDPROVCOSTO       "}});
}

std::string CaseTipoContoCI(const HostAccess& host) {
  return caseFragment(host, {.open = {"     ,CASE PC03_TIPOCONTOCI                "},
                             .form = kValueForm11,
                             .branches = {{0, 39154},
                                          {1, 15718},
                                          {2, 15884},
                                          {3, 15719},
                                          {4, 10643},
                                          {5, 73249},
                                          {6, 15768},
                                          {7, 15772},
                                          {8, 15773},
                                          {9, 15742},
                                          {10, 6107}},
                             .otherwise = {},
                             .close = {"       END                                 ",
                                       "     AS    PC03_TIPOCONTOCI                "}});
}

std::string CaseFlgGesCoSult(const HostAccess& host) {
  return flagCase(host, "     ,CASE PC03_FLGGESCOSULT               ",
                  "       END                                 ",
                  "      AS   PC03_FLGGESCOSULT               ");
}

std::string CaseFlgPartInfra(const HostAccess& host) {
  return flagCase(host, "     ,CASE PC03_FLGPARTINFRA               ",
                  "       END                                 ",
                  "     AS    PC03_FLGPARTINFRA               ");
}

std::string CaseFlgQuadratura(const HostAccess& host) {
  return flagCase(host, "     ,CASE PC03_FLGQUADRATURA              ",
                  "       END                                 ",
                  "     AS    PC03_FLGQUADRATURA              ");
}

std::string CaseFlgVistoTMas(const HostAccess& host) {
  return flagCase(host, "     ,CASE PC03_FLGVISTOTMAS               ",
                  "       END                                 ",
                  "     AS    PC03_FLGVISTOTMAS               ");
}

std::string CaseIndFontiUsi(const HostAccess& host) {
  return caseFragment(
      host, {.open = {"     ,CASE PC03_INDFONTIUSI              "},
             .form = {.when = "         WHEN ", .then = "             THEN '", .twoLines = true},
             .branches = {{0, 27407},
                          {1, 30698},
                          {2, 36548},
                          {3, 17027},
                          {4, 10202},
                          {5, 20397},
                          {6, 49808},
                          {7, 48094},
                          {8, 9871},
                          {9, 74858},
                          {10, 74859},
                          {11, 20090},
                          {12, 27383},
                          {13, 27384},
                          {14, 48097},
                          {15, 49812}},
             .otherwise = {},
             .close = {"       END                               ",
                       "     AS    PC03_INDFONTIUSI              "}});
}

std::string CaseTipoContoRicl(const HostAccess& host) {
  return caseFragment(
      host,
      {.open = {"     ,CASE  PC03_TIPOCONTORICL          "},
       .form = {.when = "            WHEN ", .then = "               THEN '", .twoLines = true},
       .branches = {{0, 15692}, {1, 43440}, {2, 23889}, {3, 39301}},
       .otherwise = {},
       .close = {"      END AS  PC03_TIPOCONTORICL       "}});
}

std::string CaseIndSegno(const HostAccess& host) {
  // Two blanks after WHEN; 39301 also labels value 3 of PC03_TIPOCONTORICL.
  return caseFragment(
      host,
      {.open = {"     , CASE PC03_INDSEGNO               "},
       .form = {.when = "           WHEN  ", .then = "               THEN '", .twoLines = true},
       .branches = {{1, 17737}, {2, 8493}, {0, 39301}},
       .otherwise = {},
       .close = {"       END                               ",
                 "      AS    PC03_INDSEGNO                "}});
}

std::string CaseIndStaPer(const HostAccess& host) {
  // No leading comma: callers place it first in a SELECT list.
  return caseFragment(host, {.open = {"       CASE CI04_INDSTAPER     "},
                             .form = kValueForm11,
                             .branches = {{0, 55020}, {1, 44336}},
                             .otherwise = {},
                             .close = {"       END AS CI04_INDSTAPER   "}});
}

std::string CaseIsAnalitico(const HostAccess& host) {
  return flagCase(host, "     , CASE PC03_ISANALITICO               ",
                  "       END                                 ",
                  "     AS    PC03_ISANALITICO                ");
}

std::string JoinStatiPdC(const HostAccess& host, const Variant& DataValiditaConti) {
  return fragmentOrEmpty([&]() -> std::string {
    if (!gateOpen(host) || hasReferenceDate(host, DataValiditaConti)) return {};
    SqlText sql(256);
    sql.line(" LEFT OUTER JOIN PC17_STATIPDC WITH (NOLOCK)        ");
    sql.line(" ON   PC17_DITTA_CG18 = ", host.companyCodeText());
    sql.line(" AND  PC17_PDC_PC01 = PC03_CODICE_PC01       ");
    sql.line(" AND  PC17_CONTO_PC03 = PC03_CONTO           ");
    return sql.take();
  });
}

std::string ColonneStatoPdC(const HostAccess& host, const Variant& DataValiditaConti) {
  return fragmentOrEmpty([&]() -> std::string {
    if (!gateOpen(host) || hasReferenceDate(host, DataValiditaConti)) return {};
    SqlText sql(512);
    appendCase(
        sql, host,
        {.open = {"     , CASE PC17_FLGDISATT           "},
         .form = kFlagForm,
         .branches = kYesNo,
         .otherwise = {},
         .close = {"       END                           ", "     AS     PC17_FLGDISATT           ",
                   "     , PC17_DATADISATT               "}});
    return sql.take();
  });
}

std::string FiltroContiDisattivati(const HostAccess& host, const Variant& DataValiditaConti,
                                   bool PrimaCondizione) {
  return fragmentOrEmpty([&]() -> std::string {
    if (!gateOpen(host) || !hasReferenceDate(host, DataValiditaConti)) return {};
    std::string code = host.companyCodeText();
    std::string date = host.utility().SqlDateLiteral(DataValiditaConti);
    SqlText sql(1024);
    appendDisabledAccountFilter(sql, PrimaCondizione, code, date);
    return sql.take();
  });
}

}  // namespace brelvane::lookup
