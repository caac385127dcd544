// Decoders that read one description column of one table by its key.
#include "decode/families.h"

namespace brelvane::decode {

namespace {

/// NaturaCosto: PC04_DESCR of the cost nature, through the company's
/// description function.
void costNature(Frame& f, const std::shared_ptr<Dispatch>& TextEdit,
                const Variant& CodiceNaturaCosto) {
  f.descriptor(TextEdit, "PC04_DESCR");
  SqlText sql(256);
  sql.line(" SELECT (SELECT PC04_DESCR FROM FNPC04_NATURECOSTI(PC04_CODICE,",
           f.host.companyCodeText(), ")) AS PC04_DESCR ");
  sql.line(" FROM   PC04_NATURECOSTI      WITH(NOLOCK)          ");
  sql.line(" WHERE  PC04_CODICE = ", f.numericCode(CodiceNaturaCosto));
  f.sql(sql);
}

}  // namespace

void registerSingleTables(Builder& b) {
  b.method("NaturaCosto", member(costNature), {arg("TextEdit"), arg("CodiceNaturaCosto")},
           "cost nature");
}

}  // namespace brelvane::decode
