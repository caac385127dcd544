// Document lookups: the numbering sections of general accounting, document
// types and subtypes, VAT types and the saved grid orderings of a form.
//
// Sections and VAT types take the company from the host's current company,
// whatever the caller passes; the saved orderings use the caller's.
#include "lookup/families.h"

namespace brelvane::lookup {

namespace {

/// Sezionali(flngDitta): flngDitta is accepted and ignored. The language
/// code set here is not used by this SQL; it stays in the instance for
/// later lookups that substitute <LINGUA>.
void sections(Frame& f, int32_t) {
  f.takeLanguage("ITA ");
  f.columns({"Codice", "Descrizione"});
  SqlText sql = f.text(512);
  sql.line(" SELECT    CG68_SEZIONALE               ");
  // No comma before the sub-select: the text hosts receive has none.
  sql.line(
      "       (SELECT CG68_DESCSEZ FROM FNCG68_NUMERDESC(CG68_SEZIONALE,CG68_DITTA_CG18)) AS "
      "CG68_DESCSEZ ");
  sql.line(" FROM      CG68_NUMERDESC  WITH(NOLOCK) ");
  sql.line(" WHERE     CG68_DITTA_CG18 = ", f.host.companyCodeText());
  sql.line(" ORDER BY  CG68_SEZIONALE               ");
  f.sql(sql);
  f.caption(24626);
  f.id("Lkp_SezionaliDitta");
}

/// TipoDocumento: every document type of the database, unfiltered.
void documentTypes(Frame& f) {
  f.columns({"Codice", "Descrizione"});
  SqlText sql = f.text(256);
  sql.line(" SELECT   DO01_TIPODOC                 ");
  sql.line("     ,    DO01_DESCR                   ");
  sql.line(" FROM     DO01_TIPIDOC  WITH(NOLOCK)   ");
  sql.line(" ORDER BY DO01_TIPODOC                 ");
  f.sql(sql);
  f.caption(24653);
  f.id("Lkp_TipiDoc");
}

/// SottotipoDocumento: the subtypes of one document type, which goes in as
/// the utility object's SQL rendering of it, quotes and all.
void documentSubtypes(Frame& f, const Variant& fvarTipoDocumento) {
  f.columns({"Codice", "Descrizione", "Descrizione ridotta"});
  SqlText sql = f.text(512);
  sql.line(" SELECT   DO02_STIPODOC                ");
  sql.line("     ,    DO02_DESCR                   ");
  sql.line("     ,    DO02_DESCRRID                ");
  sql.line(" FROM     DO02_STIPIDOC  WITH(NOLOCK)  ");
  sql.line(" WHERE    DO02_TIPODOC_DO01 = ", f.sqlValue(fvarTipoDocumento));
  sql.line(" ORDER BY DO02_STIPODOC ASC            ");
  f.sql(sql);
  f.caption(24637);
  f.id("Lkp_SottotipiDoc");
}

/// TipiIVA: the VAT types of one kind (not checked against a list). The
/// description function takes the company code as text, hence the quotes.
void vatTypes(Frame& f, int16_t fintIndicatoreMonofaseRSM) {
  f.columns({"Codice", "Descrizione"});
  SqlText sql = f.text(512);
  sql.line(" SELECT          CG0T_CODICE                       ");
  sql.line("     , ( SELECT  CG0T_DESCR FROM FNCG0T_TIPOIVA(CG0T_CODICE,'",
           f.host.companyCodeText(), "'))   AS CG0T_DESCR   ");
  sql.line(" FROM            CG0T_TIPOIVA      WITH(NOLOCK)    ");
  sql.line(" WHERE           CG0T_INDTIPO = ", f.numericCode(Variant(fintIndicatoreMonofaseRSM)));
  sql.line(" ORDER BY        CG0T_CODICE                       ");
  f.sql(sql);
  f.caption(24654);
  f.id("Lkp_TipiIVA");
}

/// PersonalizzazioniEnhOrder: the orderings saved for a form by record 1
/// and by the given user, each name once. The user number is converted
/// first, so a bad one fails the lookup before any line is written;
/// fstrGruppo is accepted and not used.
void savedOrderings(Frame& f, int32_t flngCodiceDitta, const std::string& fstrUObject,
                    const std::string&, const std::string& fstrUtente) {
  f.columns({"Codice"});
  const int16_t user = toInteger(Variant(fstrUtente));
  SqlText sql = f.text(512);
  sql.line(" SELECT    FW17_ORDERNAME      ");
  sql.line(" FROM      FW17_ORDERPRS       ");
  sql.line(" WHERE     FW17_DITTA_CG18 = ", flngCodiceDitta);
  sql.line(" AND       FW17_UOBJECT = '", inQuotes(fstrUObject), "'");
  sql.line(" AND       FW17_ID_FW07 IN (1, ", user, " )");
  sql.line(" GROUP BY  FW17_ORDERNAME      ");
  f.sql(sql);
  f.caption(74804);
  f.id("Lkp_EnhOrder");
}

}  // namespace

void registerDocuments(Builder& b) {
  b.method("Sezionali", member(sections), {arg("flngDitta")},
           "numbering sections of the host's current company")
      .method("TipoDocumento", member(documentTypes), "document types")
      .method("SottotipoDocumento", member(documentSubtypes), {arg("fvarTipoDocumento")},
              "subtypes of a document type")
      .method("TipiIVA", member(vatTypes), {arg("fintIndicatoreMonofaseRSM")},
              "VAT types of one kind")
      .method("PersonalizzazioniEnhOrder", member(savedOrderings),
              {arg("flngCodiceDitta"), arg("fstrUObject"), arg("fstrGruppo"), arg("fstrUtente")},
              "saved grid orderings of a form");
}

}  // namespace brelvane::lookup
