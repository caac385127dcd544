// Causal-code lookups over CI03_CAUSALI: the full list (a project layout
// when the company runs in mode 2, the standard one otherwise) and the lists
// filtered by movement type.
#include <string>
#include <vector>

#include "compose/case_column.h"
#include "lookup/families.h"

namespace brelvane::lookup {

namespace {

// Branch forms of the causal CASE columns. A: WHEN and THEN on two lines;
// A8: the same with eight blanks before WHEN; B: one line; B2: the value
// right-aligned in two ("WHEN  0", "WHEN 99"); B3: two blanks after the value.
constexpr BranchForm kFormA{.when = "       WHEN ", .then = "           THEN '", .twoLines = true};
constexpr BranchForm kFormA8{
    .when = "        WHEN ", .then = "           THEN '", .twoLines = true};
constexpr BranchForm kFormB{.when = "       WHEN ", .then = " THEN '"};
constexpr BranchForm kFormB2{.when = "       WHEN ", .then = " THEN '", .width = 2};
constexpr BranchForm kFormB3{.when = "       WHEN ", .then = "  THEN '"};

// CI03_INDTIPOMOVDATI: standard, warehouse, labour, cost allocation.
constexpr std::initializer_list<Branch> kMovementTypes{
    {0, 55020}, {1, 36548}, {2, 36800}, {3, 49727}};

enum class Else { None, Empty };  ///< Empty: unknown values show '' instead of NULL

/// One causal CASE column: a comma line, "CASE column", the branches, the
/// optional ELSE '' and "END AS column".
void causalCase(SqlText& sql, const HostAccess& host, std::string_view column,
                const BranchForm& form, std::initializer_list<Branch> branches, Else otherwise) {
  sql.line("     ,");
  sql.line("     CASE ", column);
  appendCase(sql, host,
             {.open = {},
              .form = form,
              .branches = branches,
              .otherwise = otherwise == Else::Empty ? CaseElse{"       ELSE ''"} : CaseElse{},
              .close = {}});
  sql.line("     END AS ", column);
}

void descriptionColumn(SqlText& sql, const HostAccess& host) {
  sql.line("     , (SELECT CI03_DESCR FROM FNCI03_CAUSALI(CI03_CODCAUS, ", host.companyCodeText(),
           ")) AS  CI03_DESCR");
}

/// The SELECT list of the standard layout, shared by the full list and the
/// filtered ones.
void standardColumns(SqlText& sql, const HostAccess& host) {
  sql.line(" SELECT  CI03_CODCAUS");
  descriptionColumn(sql, host);
  causalCase(sql, host, "CI03_INDTIPOCOSRIC", kFormA, {{0, 16572}, {1, 48931}}, Else::Empty);
  causalCase(sql, host, "CI03_INDPROPCOSTO", kFormA, {{0, 39301}, {1, 74729}, {2, 74730}},
             Else::Empty);
  causalCase(sql, host, "CI03_INDPROVCOSTO", kFormA, {{0, 17354}, {1, 17683}}, Else::Empty);
  causalCase(sql, host, "CI03_INDTIPOMOVDATI", kFormA, kMovementTypes, Else::None);
  sql.line("   ,   CI03_CODCAUSCOLL , CI03_MODELLO_CI04");
  causalCase(sql, host, "CI03_INDSTAPER_CI04", kFormA8, kIndStaPer, Else::None);
  causalCase(sql, host, "CI03_FLGCOSTOMANOD", kFormA, kYesNo, Else::None);
  causalCase(sql, host, "CI03_FLGNUMAUTOM", kFormA, kYesNo, Else::Empty);
  causalCase(sql, host, "CI03_FLGAUTOMATICO", kFormA, kYesNo, Else::None);
}

void projectLayout(Frame& f) {
  f.columns({"Codice",
             "Descrizione",
             "Tipo Movimentazione",
             "Gen. Movimenti a Valore",
             "Prev/Cons",
             "Anagrafica",
             "Accetta Reg. Sbilanciate",
             "Valorizzazione",
             "Default Tipo Mov.",
             "Tipo Mov. da Mov. Origine",
             "Causale Collegata",
             "AggMto Budget",
             "Crea doc progetto",
             "Commessa",
             "Commessa Obbligatorio",
             "Progetto",
             "Progetto Obbligatorio",
             "Competenza",
             "Competenza Obbligatorio",
             "Prop. Nr Doc.",
             "Gestione Segno"});
  const HostAccess& host = f.host;
  SqlText sql = f.text();
  sql.line(" SELECT  CI03_CODCAUS");
  descriptionColumn(sql, host);
  causalCase(sql, host, "CI03_INDTIPOMOVDATI", kFormA, kMovementTypes, Else::None);
  causalCase(sql, host, "CI03_INDREGORIDEST", kFormB, {{0, 55020}, {1, 16885}, {2, 55024}},
             Else::None);
  causalCase(sql, host, "CI03_INDOPERAZIONE", kFormB, {{0, 15430}, {1, 44940}}, Else::Empty);
  causalCase(sql, host, "CI03_INDRICCLIFOR", kFormB, {{0, 39318}, {1, 11180}, {2, 27554}},
             Else::Empty);
  causalCase(sql, host, "CI03_INDQUADRATURA", kFormB2,
             {{0, 39318}, {1, 52384}, {2, 52403}, {99, 14138}}, Else::Empty);
  causalCase(sql, host, "CI03_INDREGVALQTA", kFormB2, {{0, 47316}, {1, 53393}}, Else::Empty);
  // The default movement type's description comes from the OUTER APPLY below.
  sql.line("     ,                         ");
  sql.line(" ISNULL(CGT0_DESCR,'') AS CI03_INDTIPOMOV");
  causalCase(sql, host, "CI03_FLGTIPOMOVDAORIGINE", kFormB2, kYesNo, Else::Empty);
  sql.line("     , CI03_CODCAUSCOLL");
  sql.line("     , CI03_SOTTOTIPOPS_BU01");
  causalCase(sql, host, "CI03_FLGRILPROG", kFormA, kYesNo, Else::None);
  causalCase(sql, host, "CI03_FLGRICCOMMESSA", kFormA, kYesNo, Else::None);
  causalCase(sql, host, "CI03_FLGOBBLCOMMESSA", kFormA, kYesNo, Else::Empty);
  causalCase(sql, host, "CI03_FLGRICPROGETTO", kFormA, kYesNo, Else::None);
  causalCase(sql, host, "CI03_FLGOBBLPROGETTO", kFormA, kYesNo, Else::Empty);
  causalCase(sql, host, "CI03_FLGRICCOMPETENZA", kFormA, kYesNo, Else::None);
  causalCase(sql, host, "CI03_FLGOBBLCOMPETENZA", kFormA, kYesNo, Else::Empty);
  causalCase(sql, host, "CI03_FLGNUMAUTOM", kFormA, kYesNo, Else::Empty);
  causalCase(sql, host, "CI03_FLGINVSEGNO", kFormB3, {{0, 39318}, {1, 34358}, {2, 8390}},
             Else::Empty);
  sql.line(" FROM    CI03_CAUSALI              WITH(NOLOCK)");
  sql.line(" OUTER APPLY DBO.FNCGT0_TIPOMOV(CI03_INDTIPOMOV, ", host.companyCodeText(), ") ");
  sql.line(" ORDER BY CI03_CODCAUS");
  f.sql(sql);
  f.caption(74725);
  f.id("Lkp_PSCauCont");
}

/// The captions of the standard columns; column 3 reads "costo" in the full
/// list and "conto" in the filtered ones, deliberately.
std::vector<std::string_view> standardCaptions(std::string_view proposalCaption) {
  return {"Codice",
          "Descrizione",
          "Tipo costo/ricavo",
          proposalCaption,
          "Tipo provenienza costo",
          "Tipo movimentazione dati",
          "Causale collegata",
          "Modello",
          "Tipo modello",
          "Gestione costo manodopera",
          "Numerazione automatica",
          "Generazione registrazione automatica"};
}

void standardLayout(Frame& f) {
  f.columns(standardCaptions("Tipo proposta costo"));
  SqlText sql = f.text();
  standardColumns(sql, f.host);
  sql.line(" FROM    CI03_CAUSALI              WITH(NOLOCK)");
  sql.line(" ORDER BY CI03_CODCAUS");
  f.sql(sql);
  f.caption(74726);
  f.id("Lkp_CauCont");
}

/// The movement types a mask selects: the CI03_INDTIPOMOVDATI values and
/// their names, both joined by ", ", in bit order 1, 2, 4, 8. Other bits are
/// ignored.
struct MovementSelection {
  std::string values;
  std::string names;
  bool filters() const { return !values.empty(); }
};

MovementSelection selectMovements(const HostAccess& host, int16_t mask) {
  MovementSelection selection;
  int bit = 1;
  for (const Branch& type : kMovementTypes) {
    if (mask & bit) {
      if (!selection.values.empty()) selection.values += ", ";
      selection.values += decimal(type.value);
      if (!selection.names.empty()) selection.names += ", ";
      selection.names += host.message(type.messageId);
    }
    bit <<= 1;
  }
  return selection;
}

struct FilteredCaptions {
  int32_t filtered;  ///< followed by " " and the names of the selected types
  int32_t all;
};

/// The filtered lists: the standard columns (column 3 reads "conto" here),
/// an optional WHERE and ORDER BY, the last two without a line break.
void filteredLookup(Frame& f, int16_t mask, bool automaticNumberingOnly,
                    FilteredCaptions captions) {
  const MovementSelection selection = selectMovements(f.host, mask);
  f.columns(standardCaptions("Tipo proposta conto"));
  SqlText sql = f.text();
  standardColumns(sql, f.host);
  sql.line(" FROM    CI03_CAUSALI    WITH(NOLOCK)");
  if (selection.filters()) {
    sql.append(" WHERE CI03_CAUSALI.CI03_INDTIPOMOVDATI IN (", selection.values, ")");
    if (automaticNumberingOnly) sql.append(" AND CI03_CAUSALI.CI03_FLGNUMAUTOM = 1");
  } else if (automaticNumberingOnly) {
    sql.append(" WHERE CI03_CAUSALI.CI03_FLGNUMAUTOM = 1");
  }
  sql.append(" ORDER BY CI03_CODCAUS");
  f.sql(sql);
  if (selection.filters())
    f.captionText(f.host.message(captions.filtered), " ", selection.names);
  else
    f.caption(captions.all);
  f.id("Lkp_CauCont");
}

// Unlike the other lookups, the causal-code lookups test ActiveInterface
// first: without it they only empty Str_Sql and leave the other outputs.

void causalCodes(Frame& f) {
  if (!f.host.hasHost()) return f.sql("");
  if (f.host.companyModeIs2())
    projectLayout(f);
  else
    standardLayout(f);
}

/// The lists by movement type, all or automatic numbering only.
template <bool automaticNumberingOnly>
void causalCodesByMovement(Frame& f, int16_t fintMaskTipoMovimentazione) {
  if (!f.host.hasHost()) return f.sql("");
  if constexpr (automaticNumberingOnly)
    filteredLookup(f, fintMaskTipoMovimentazione, true, {74788, 74787});
  else
    filteredLookup(f, fintMaskTipoMovimentazione, false, {74785, 74786});
}

}  // namespace

void registerCausalCodes(Builder& b) {
  b.method("CausaliContabilitàIndustriale", member(causalCodes),
           "industrial-accounting causal codes")
      .method("CausaliPerTipoMovimentazione", member(causalCodesByMovement<false>),
              {arg("fintMaskTipoMovimentazione")}, "causal codes by movement type")
      .method("CausaliPerTipoMovimentazioneANumerazioneAutomatica",
              member(causalCodesByMovement<true>), {arg("fintMaskTipoMovimentazione")},
              "causal codes by movement type, automatic numbering only");
  // No movement type selected lists every causal code; a mask filters them.
  for (const char* name :
       {"CausaliPerTipoMovimentazione", "CausaliPerTipoMovimentazioneANumerazioneAutomatica"})
    b.examples(name, {{Variant(int16_t{0})}, {Variant(int16_t{5})}});
}

}  // namespace brelvane::lookup
