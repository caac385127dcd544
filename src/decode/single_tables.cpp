// Decoders that read one description column of one table by its key.
#include "decode/frame.h"

namespace brelvane {

void CLSCI_DECODE::NaturaCosto(const std::shared_ptr<Dispatch>& TextEdit,
                               const Variant& CodiceNaturaCosto) {
  compose([&](decode::Frame& f) {
    f.descriptor(TextEdit, "PC04_DESCR");
    SqlText sql(256);
    sql.line(" SELECT (SELECT PC04_DESCR FROM FNPC04_NATURECOSTI(PC04_CODICE,",
             f.host.companyCodeText(), ")) AS PC04_DESCR ");
    sql.line(" FROM   PC04_NATURECOSTI      WITH(NOLOCK)          ");
    sql.line(" WHERE  PC04_CODICE = ", f.numericCode(CodiceNaturaCosto));
    f.sql(sql);
  });
}

}  // namespace brelvane
