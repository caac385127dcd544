// The correlated causal lookup: the general-accounting causal codes that a
// company has correlated with industrial accounting, most columns coded
// flags that the SQL turns into localised words.
#include <array>
#include <vector>

#include "compose/case_column.h"
#include "lookup/families.h"

namespace brelvane::lookup {

namespace {

using namespace std::literals;

/// One column after the alias: its caption and either its CASE or, for a
/// plain column, its single line.
struct CorrelatedColumn {
  std::string_view caption;
  CaseColumn column;
  std::string_view plain = {};
};

// Eleven blanks, WHEN, the value right-aligned in three: "WHEN  1", "WHEN 99".
constexpr BranchForm kForm{.when = "           WHEN", .then = " THEN '", .width = 3};

// The spacing irregularities are those the grid's SQL has always had: the
// tax-register column is opened on CG33_INDTIPOREG but named CG33_TIPOREG,
// and shows '' for 0 without a label; the CG33_INDCAUBENIUS lines are spaced
// unlike the others; only CG33_INDGESTEC has an ELSE.
constexpr CorrelatedColumn kColumns[] = {
    {"Tipo.reg.",
     {.open = {"     ,   CASE   CG33_INDTIPOREG    "sv, "           WHEN  0 THEN ''         "sv},
      .form = kForm,
      .branches = {{1, 36953}, {2, 60625}, {3, 16473}},
      .otherwise = {},
      .close = {"         END AS CG33_TIPOREG       "sv}}},
    {"Caus.IVA", {}, "     ,   CG33_CAUSALEIVA           "},
    {"Reg.marg.",
     {.open = {"     ,   CASE CG33_INDCAUBENIUS    "sv},
      .form = kForm,
      .branches = {{0, 39318}, {1, 74799}, {2, 29298}, {3, 42537}, {4, 37439}},
      .otherwise = {},
      .close = {"         END AS CG33_INDCAUBENIUS       "sv}}},
    {"Cau.coll.", {}, "     ,   CG33_CAUSALECOLL              "},
    {"Cau.prof.",
     {.open = {"     ,   CASE   CG33_INDTIPOMOV        "sv},
      .form = kForm,
      .branches = {{0, 17141}, {1, 17116}, {2, 28274}, {3, 28276}, {4, 28277}, {5, 28275}},
      .otherwise = {},
      .close = {"         END AS CG33_INDTIPOMOV        "sv}}},
    {"Segno",
     {.open = {"     ,   CASE   CG33_INDDAAV           "sv},
      .form = kForm,
      .branches = {{0, 39318}, {1, 17737}, {2, 8493}},
      .otherwise = {},
      .close = {"         END AS CG33_INDDAAV           "sv}}},
    {"Comp. IVA",
     {.open = {"     ,   CASE   CG33_FLGFATTDIFF       "sv},
      .form = kForm,
      .branches = kYesNo,
      .otherwise = {},
      .close = {"         END AS CG33_FLGFATTDIFF       "sv}}},
    {"Sub.forn.",
     {.open = {"     ,   CASE   CG33_FLGSUBFORNI       "sv},
      .form = kForm,
      .branches = kYesNo,
      .otherwise = {},
      .close = {"         END AS CG33_FLGSUBFORNI       "sv}}},
    {"Ag.viag.",
     {.open = {"     ,   CASE   CG33_FLGAGVIAG         "sv},
      .form = kForm,
      .branches = kYesNo,
      .otherwise = {},
      .close = {"         END AS CG33_FLGAGVIAG         "sv}}},
    {"Nr.doc.",
     {.open = {"     ,   CASE   CG33_FLGPROTSEMP       "sv},
      .form = kForm,
      .branches = kYesNo,
      .otherwise = {},
      .close = {"         END AS CG33_FLGPROTSEMP       "sv}}},
    {"Cau.acc.",
     {.open = {"     ,   CASE   CG33_FLGACCONTO        "sv},
      .form = kForm,
      .branches = kYesNo,
      .otherwise = {},
      .close = {"         END AS CG33_FLGACCONTO        "sv}}},
    {"Cau.ins.",
     {.open = {"     ,   CASE   CG33_FLGINSOLUTI       "sv},
      .form = kForm,
      .branches = kYesNo,
      .otherwise = {},
      .close = {"         END AS CG33_FLGINSOLUTI       "sv}}},
    {"C.es.pr.",
     {.open = {"     ,   CASE   CG33_FLGCOMP           "sv},
      .form = kForm,
      .branches = kYesNo,
      .otherwise = {},
      .close = {"         END AS CG33_FLGCOMP           "sv}}},
    {"Mov.EC",
     {.open = {"     ,   CASE   CG33_FLGECONTO         "sv},
      .form = kForm,
      .branches = kYesNo,
      .otherwise = {},
      .close = {"         END AS CG33_FLGECONTO         "sv}}},
    {"Mov.por.",
     {.open = {"     ,   CASE   CG33_FLGPORTAF         "sv},
      .form = kForm,
      .branches = kYesNo,
      .otherwise = {},
      .close = {"         END AS CG33_FLGPORTAF         "sv}}},
    {"Eff. da sel.",
     {.open = {"     ,   CASE   CG33_TIPOEFF           "sv},
      .form = kForm,
      .branches = {{0, 58787},
                   {1, 15498},
                   {2, 49037},
                   {3, 58633},
                   {4, 58634},
                   {5, 10697},
                   {6, 9474},
                   {7, 10141},
                   {8, 8714},
                   {9, 15908},
                   {10, 35510},
                   {11, 49197},
                   {12, 35446},
                   {13, 49660},
                   {14, 8990},
                   {15, 9177},
                   {16, 37084},
                   {99, 53061}},
      .otherwise = {},
      .close = {"         END AS CG33_TIPOEFF           "sv}}},
    {"Gest. Ec/Pf",
     {.open = {"     ,   CASE   CG33_INDGESTEC         "sv},
      .form = kForm,
      .branches = {{0, 6951}, {1, 10889}},
      .otherwise = {"           ELSE ' '      "},
      .close = {"         END AS CG33_INDGESTEC         "sv}}},
    {"Editoria",
     {.open = {"     ,   CASE   CG33_FLGIVAEDIT        "sv},
      .form = kForm,
      .branches = kYesNo,
      .otherwise = {},
      .close = {"         END AS CG33_FLGIVAEDIT        "sv}}},
};

/// CausaliCogeCorrelate(flngCodiceDitta): the description comes from the
/// host's current company, the correlations from the argument's. Each label
/// is fetched as its line is written, 57 in all, repeats included.
void correlatedCausals(Frame& f, int32_t flngCodiceDitta) {
  std::array<std::string_view, 3 + std::size(kColumns)> captions{"Codice", "Descrizione", "Alias"};
  for (size_t i = 0; i < std::size(kColumns); ++i) captions[3 + i] = kColumns[i].caption;
  f.columns(captions);
  SqlText sql = f.text(8192);
  sql.line(" SELECT  CG33_CODICE               ");
  sql.line("     ,  (SELECT CG33_DESCR FROM FNCG33_TABCAU(CG33_CODICE, ", f.host.companyCodeText(),
           " )) AS  CG33_DESCR ");
  sql.line("     ,   CG33_CAUALIAS             ");
  for (const CorrelatedColumn& c : kColumns) {
    if (c.plain.empty())
      appendCase(sql, f.host, c.column);
    else
      sql.line(c.plain);
  }
  sql.line(" FROM    CG33_TABCAU    WITH (NOLOCK)          ");
  sql.line(" INNER JOIN CI24_CAUSCOGECORR                  ");
  sql.line(" ON      CI24_DITTA_CG18 = ", flngCodiceDitta, " ");
  sql.line(" AND     CG33_CODICE = CI24_CAUSALECOGE_CG33   ");
  sql.line(" ORDER BY CG33_CODICE                          ");
  f.sql(sql);
  f.caption(74800);
  f.id("Lkp_CausaliCogeCorrelate");
}

}  // namespace

void registerCorrelatedCausals(Builder& b) {
  b.method("CausaliCogeCorrelate", member(correlatedCausals), {arg("flngCodiceDitta")},
           "general-accounting causal codes correlated with industrial accounting");
}

}  // namespace brelvane::lookup
