// Masters of the cost-allocation machinery: the allocations and the balance
// adjustments of a company, and the expressions.
#include "compose/case_column.h"
#include "lookup/families.h"

namespace brelvane::lookup {

namespace {

/// A master of one company: its code and description straight from the
/// table, filtered on the company given, in the order the server returns.
struct CompanyMaster {
  std::string_view name;
  std::string_view doc;
  std::string_view id;
  int32_t caption;
  std::string_view select;
  std::string_view description;
  std::string_view from;
  std::string_view where;  ///< the company code follows, with no line break after it
};

constexpr CompanyMaster kCompanyMasters[] = {
    {.name = "AnagraficaRibaltamenti",
     .doc = "allocations of a company",
     .id = "Lkp_AnagRibaltamenti",
     .caption = 74715,
     .select = " SELECT  CI50_RIBALTAMENTO",
     .description = "     ,   CI50_DESCRIZIONE",
     .from = " FROM    CI50_ANAGRIB      WITH(NOLOCK)",
     .where = " WHERE   CI50_DITTA_CG18 = "},
    {.name = "AnagraficaRettifiche",
     .doc = "balance adjustments of a company",
     .id = "Lkp_AnagRettifiche",
     .caption = 74766,
     .select = " SELECT  CI60_RETTIFICA",
     .description = "     ,   CI60_DESCRIZIONE",
     .from = " FROM    CI60_ANAGRETT       WITH(NOLOCK)",
     .where = " WHERE   CI60_DITTA_CG18 = "},
};

void companyMaster(Frame& f, const CompanyMaster& master, int32_t flngCodiceDitta) {
  f.columns({"Codice", "Descrizione"});
  SqlText sql = f.text(256);
  sql.line(master.select).line(master.description).line(master.from);
  sql.append(master.where, flngCodiceDitta);
  f.sql(sql);
  f.caption(master.caption);
  f.id(master.id);
}

/// Espressioni: the expressions with the sign of their movements as words.
void expressions(Frame& f) {
  f.columns({"Codice", "Segno mov.", "Descrizione"});
  SqlText sql = f.text(512);
  sql.line(" SELECT  CI54_CODESP");
  // Aliased without the table prefix; no ELSE, so any other sign shows NULL.
  appendCase(sql, f.host,
             {.open = {"    ,    CASE CI54_INDSEGNOMOV"},
              .form = {.when = "           WHEN ", .then = " THEN '"},
              .branches = {{1, 17737}, {2, 8493}, {3, 17762}},
              .otherwise = {},
              .close = {"         END AS INDSEGNOMOV"}});
  sql.line("    ,    CI54_DESCRIZIONE");
  // The one table of the family read without WITH(NOLOCK); not ordered.
  sql.line(" FROM    CI54_ESPRESSIONI");
  f.sql(sql);
  f.caption(74743);
  f.id("Lkp_Espressioni");
}

}  // namespace

void registerAllocations(Builder& b) {
  b.rows(kCompanyMasters, member(companyMaster), {arg("flngCodiceDitta")});
  b.method("Espressioni", member(expressions), "expressions, with the sign of their movements");
}

}  // namespace brelvane::lookup
