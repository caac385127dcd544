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

void flagCase(SqlText& sql, const HostAccess& host, std::string_view open, std::string_view end,
              std::string_view alias) {
  appendCaseFragment(sql, host,
                     {.open = {open},
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

void CaseIndProvCosto(SqlText& sql, const HostAccess& host) {
  appendCaseFragment(sql, host,
                     {.open = {"     ,CASE   PC03_INDPROVCOSTO       "},
                      .form = kValueForm13,
                      .branches = {{0, 39128}, {2, 16671}, {3, 16618}, {1, 75180}},
                      .otherwise = {},
                      .close = {"      END AS PC03_INDPROVCOSTO       "}});
}

void CaseTipoContoCI(SqlText& sql, const HostAccess& host) {
  appendCaseFragment(sql, host,
                     {.open = {"     ,CASE PC03_TIPOCONTOCI                "},
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

void CaseFlgGesCoSult(SqlText& sql, const HostAccess& host) {
  flagCase(sql, host, "     ,CASE PC03_FLGGESCOSULT               ",
           "       END                                 ",
           "      AS   PC03_FLGGESCOSULT               ");
}

void CaseFlgPartInfra(SqlText& sql, const HostAccess& host) {
  flagCase(sql, host, "     ,CASE PC03_FLGPARTINFRA               ",
           "       END                                 ",
           "     AS    PC03_FLGPARTINFRA               ");
}

void CaseFlgQuadratura(SqlText& sql, const HostAccess& host) {
  flagCase(sql, host, "     ,CASE PC03_FLGQUADRATURA              ",
           "       END                                 ",
           "     AS    PC03_FLGQUADRATURA              ");
}

void CaseFlgVistoTMas(SqlText& sql, const HostAccess& host) {
  flagCase(sql, host, "     ,CASE PC03_FLGVISTOTMAS               ",
           "       END                                 ",
           "     AS    PC03_FLGVISTOTMAS               ");
}

void CaseIndFontiUsi(SqlText& sql, const HostAccess& host) {
  appendCaseFragment(
      sql, host,
      {.open = {"     ,CASE PC03_INDFONTIUSI              "},
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

void CaseTipoContoRicl(SqlText& sql, const HostAccess& host) {
  appendCaseFragment(
      sql, host,
      {.open = {"     ,CASE  PC03_TIPOCONTORICL          "},
       .form = {.when = "            WHEN ", .then = "               THEN '", .twoLines = true},
       .branches = {{0, 15692}, {1, 43440}, {2, 23889}, {3, 39301}},
       .otherwise = {},
       .close = {"      END AS  PC03_TIPOCONTORICL       "}});
}

void CaseIndSegno(SqlText& sql, const HostAccess& host) {
  // Two blanks after WHEN; 39301 also labels value 3 of PC03_TIPOCONTORICL.
  appendCaseFragment(
      sql, host,
      {.open = {"     , CASE PC03_INDSEGNO               "},
       .form = {.when = "           WHEN  ", .then = "               THEN '", .twoLines = true},
       .branches = {{1, 17737}, {2, 8493}, {0, 39301}},
       .otherwise = {},
       .close = {"       END                               ",
                 "      AS    PC03_INDSEGNO                "}});
}

void CaseIndStaPer(SqlText& sql, const HostAccess& host) {
  // No leading comma: callers place it first in a SELECT list.
  appendCaseFragment(sql, host,
                     {.open = {"       CASE CI04_INDSTAPER     "},
                      .form = kValueForm11,
                      .branches = kIndStaPer,
                      .otherwise = {},
                      .close = {"       END AS CI04_INDSTAPER   "}});
}

void CaseIsAnalitico(SqlText& sql, const HostAccess& host) {
  flagCase(sql, host, "     , CASE PC03_ISANALITICO               ",
           "       END                                 ",
           "     AS    PC03_ISANALITICO                ");
}

void JoinStatiPdC(SqlText& sql, const HostAccess& host, const Variant& DataValiditaConti) {
  sql.fragment([&] {
    if (!gateOpen(host) || hasReferenceDate(host, DataValiditaConti)) return;
    sql.line(" LEFT OUTER JOIN PC17_STATIPDC WITH (NOLOCK)        ");
    sql.line(" ON   PC17_DITTA_CG18 = ", host.companyCodeText());
    sql.line(" AND  PC17_PDC_PC01 = PC03_CODICE_PC01       ");
    sql.line(" AND  PC17_CONTO_PC03 = PC03_CONTO           ");
  });
}

void ColonneStatoPdC(SqlText& sql, const HostAccess& host, const Variant& DataValiditaConti) {
  sql.fragment([&] {
    if (!gateOpen(host) || hasReferenceDate(host, DataValiditaConti)) return;
    appendCase(
        sql, host,
        {.open = {"     , CASE PC17_FLGDISATT           "},
         .form = kFlagForm,
         .branches = kYesNo,
         .otherwise = {},
         .close = {"       END                           ", "     AS     PC17_FLGDISATT           ",
                   "     , PC17_DATADISATT               "}});
  });
}

void FiltroContiDisattivati(SqlText& sql, const HostAccess& host, const Variant& DataValiditaConti,
                            bool PrimaCondizione) {
  sql.fragment([&] {
    if (!gateOpen(host) || !hasReferenceDate(host, DataValiditaConti)) return;
    std::string code = host.companyCodeText();
    std::string date = host.utility().SqlDateLiteral(DataValiditaConti);
    appendDisabledAccountFilter(sql, PrimaCondizione, code, date);
  });
}

}  // namespace brelvane::lookup
