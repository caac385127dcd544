// Entity and model lookups: the configured entities of a company, the codes
// of one entity, the cost drivers and the models.
//
// The optional arguments of the entity lookups are told apart by whether
// they were passed at all: that alone chooses the columns, the SELECT list
// and the filter. A passed Null counts as passed and reads as 0.
#include "compose/case_column.h"
#include "lookup/builders.h"
#include "lookup/families.h"

namespace brelvane::lookup {

namespace {

/// The default that ValueOrDefault receives for an optional argument: the
/// Integer 0 once the company was passed, no value (Empty) before.
Variant argumentDefault(bool companyPassed) {
  return companyPassed ? Variant(int16_t{0}) : Variant();
}

/// An optional argument as it goes into the SQL: ValueOrDefault(value, 0)
/// with the Integer 0, unquoted.
std::string argumentText(const Frame& f, const Variant& value) {
  return concatText(f.utility().ValueOrDefault(value, argumentDefault(true)));
}

/// The same where it goes into the SQL: a number, when hardened.
std::string sqlArgument(const Frame& f, const Variant& value) {
  return checkedNumber(argumentText(f, value), f.hardened());
}

/// Whether a ValueOrDefault result extends a caption. An argument that was
/// not passed stays Missing and, like Null, compares neither equal nor
/// unequal to the empty text, so it extends nothing.
bool extendsCaption(const Variant& value) {
  return !value.isMissing() && !value.isNull() && !equals(value, "");
}

/// One line padded with blanks to `width` characters.
void paddedLine(SqlText& sql, std::string_view text, size_t width) {
  sql.append(text).blanks(width > text.size() ? width - text.size() : 0).line();
}

/// Entità(Ditta, NumeroEntità): every company's entity codes, one company's,
/// or one entity's. NumeroEntità counts only once Ditta was passed.
void entityCodes(Frame& f, const Variant& Ditta, const Variant& NumeroEntita) {
  const bool companyPassed = !Ditta.isMissing();
  SqlText sql = f.text(256);
  if (!companyPassed) {
    f.columns({"Ditta", "Numero", "Codice", "Descrizione"});
    sql.append("SELECT CI02_DITTA_CG18, CI02_NUMENTITA_CI01,", " CI02_CODENTITA, CI02_DESCR",
               " FROM CI02_ENTITA", " ORDER BY CI02_DITTA_CG18, CI02_NUMENTITA_CI01");
  } else if (NumeroEntita.isMissing()) {
    f.columns({"Numero", "Codice", "Descrizione"});
    sql.append("SELECT CI02_NUMENTITA_CI01,", " CI02_CODENTITA, CI02_DESCR", " FROM CI02_ENTITA",
               " WHERE CI02_DITTA_CG18 = ", sqlArgument(f, Ditta),
               " ORDER BY CI02_NUMENTITA_CI01, CI02_CODENTITA");
  } else {
    f.columns({"Codice", "Descrizione"});
    // The company is read before the entity number, as the text has them.
    const std::string company = sqlArgument(f, Ditta);
    const std::string number = sqlArgument(f, NumeroEntita);
    sql.append("SELECT CI02_CODENTITA, CI02_DESCR", " FROM CI02_ENTITA",
               " WHERE CI02_DITTA_CG18 = ", company, " AND CI02_NUMENTITA_CI01 = ", number,
               " ORDER BY CI02_CODENTITA");
  }
  f.sql(sql);
  f.caption(74771);
  // The entity number is glued to the caption with no separator, even in
  // the all-companies layout whose SQL ignores it.
  if (extendsCaption(f.utility().ValueOrDefault(NumeroEntita, argumentDefault(companyPassed))))
    f.appendCaption(argumentText(f, NumeroEntita));
  f.id("Lkp_Entità");
}

/// ConfigurazioneEntità(Ditta): the configured entities, of every company
/// or of one, with the entity kind as words.
void entityConfiguration(Frame& f, const Variant& Ditta) {
  const bool companyPassed = !Ditta.isMissing();
  SqlText sql = f.text(1024);
  std::string filter = " ";
  std::string_view order;
  if (!companyPassed) {
    f.columns({"Ditta", "Numero", "Descrizione", "Sigla", "Tipo"});
    sql.line(" SELECT  CI01_DITTA_CG18 , ");
    order = " ORDER BY CI01_DITTA_CG18, CI01_NUMENTITA ";
  } else {
    f.columns({"Numero", "Descrizione", "Sigla", "Tipo"});
    sql.line(" SELECT  ");
    filter = " WHERE   CI01_DITTA_CG18 = " + sqlArgument(f, Ditta) + "\r\n";
    order = " ORDER BY CI01_NUMENTITA ";
  }
  paddedLine(sql, "         CI01_NUMENTITA", 43);
  paddedLine(sql, "     ,   CI01_DESCR", 43);
  paddedLine(sql, "     ,   CI01_SIGLA", 43);
  // No ELSE: a kind other than 0, 1 and 2 shows NULL.
  appendCase(
      sql, f.host,
      {.open = {"     ,   CASE    CI01_INDTIPOENTITA        "},
       .form = {.when = "             WHEN ", .then = "               THEN '", .twoLines = true},
       .branches = {{0, 28191}, {1, 35782}, {2, 36953}},
       .otherwise = {},
       .close = {"         END AS  CI01_INDTIPOENTITA        ",
                 " FROM    CI01_CONFENTITA     WITH(NOLOCK)  "}});
  sql.append(filter, order);
  f.sql(sql);
  f.caption(74783);
  const Variant fallback = argumentDefault(companyPassed);
  if (extendsCaption(f.utility().ValueOrDefault(Ditta, fallback)))
    f.appendCaption(" Ditta ", concatText(f.utility().ValueOrDefault(Ditta, fallback)));
  f.id("Lkp_ConfigEntità");
}

void costDrivers(Frame& f) {
  f.columns({"Codice", "Descrizione"});
  f.sql(std::string("SELECT CI20_CODICE, CI20_DESCRIZIONE") +
        " FROM CI20_COSTDRIVER ORDER BY CI20_CODICE");
  f.caption(74820);
  f.id("Lkp_CostDrivers");
}

/// The columns and first lines shared by both model lookups: the model
/// kind (standard or customised) first, then code, description and
/// identifier, padded to `width`.
void modelColumns(Frame& f, SqlText& sql, size_t width) {
  f.columns({"Tipo", "Codice", "Descrizione", "Identificativo"});
  paddedLine(sql, " SELECT", 31);
  CaseIndStaPer(sql, f.host);
  paddedLine(sql, "     ,      CI04_CODMODELLO", width);
  paddedLine(sql, "     ,      CI04_DESCR, CI04_IDENTIF", width);
  paddedLine(sql, " FROM       CI04_MODELLI", width);
}

void models(Frame& f) {
  SqlText sql = f.text(512);
  modelColumns(f, sql, 43);
  paddedLine(sql, " ORDER BY  CI04_CODMODELLO, CI04_INDSTAPER", 43);
  f.sql(sql);
  f.caption(74819);
  f.id("Lkp_Modelli");
}

/// ModelliStdPers: 0 lists the standard models, 1 the customised ones; any
/// other value (the default 65535, which reads as -1, included) lists all.
void modelsByKind(Frame& f, int16_t StandardPersonalizzato) {
  const int kind =
      StandardPersonalizzato == 0 || StandardPersonalizzato == 1 ? StandardPersonalizzato : -1;
  SqlText sql = f.text(512);
  modelColumns(f, sql, 38);
  if (kind != -1) sql.append(" WHERE     CI04_INDSTAPER = ", kind);
  sql.append(" ORDER BY  CI04_CODMODELLO, CI04_INDSTAPER");
  f.sql(sql);
  f.caption(74819);
  f.id("Lkp_ModelliStdPers");
}

}  // namespace

void registerEntities(Builder& b) {
  b.method("Entità", member(entityCodes), {opt("Ditta"), opt("NumeroEntità")},
           "entity codes: of every company, of one, or of one entity")
      .method("ConfigurazioneEntità", member(entityConfiguration), {opt("Ditta")},
              "configured entities, of every company or of one")
      .method("CostDriver", member(costDrivers), "cost drivers")
      .method("Modelli", member(models), "models")
      .method("ModelliStdPers", member(modelsByKind),
              {opt("StandardPersonalizzato", Variant(int16_t{-1}))},
              "models: standard (0), customised (1) or all");
  // Each optional argument passed narrows the text to one company, one entity.
  b.examples("Entità", {{}, {Variant(int32_t{1})}, {Variant(int32_t{1}), Variant(int32_t{2})}})
      .examples("ConfigurazioneEntità", {{}, {Variant(int32_t{1})}})
      .examples("ModelliStdPers", {{Variant(int16_t{-1})}, {Variant(int16_t{0})}});
}

}  // namespace brelvane::lookup
