#include "compose/account_status.h"

namespace brelvane {

void appendDisabledAccountFilter(SqlText& sql, bool opensWhere, std::string_view companyCode,
                                 std::string_view dateLiteral) {
  sql.line(opensWhere ? " WHERE NOT EXISTS        " : " AND   NOT EXISTS        ");
  sql.line("     (                                                   ");
  sql.line("         SELECT  1                                       ");
  sql.line("         FROM    PC17_STATIPDC   WITH(NOLOCK)            ");
  sql.line("         WHERE   PC17_DITTA_CG18 = ", companyCode);
  sql.line("         AND     PC17_PDC_PC01 = PC03_CODICE_PC01        ");
  sql.line("         AND     PC17_CONTO_PC03 = PC03_CONTO            ");
  sql.line("         AND     PC17_FLGDISATT = 1                      ");
  sql.line("         AND     PC17_DATADISATT <= ", dateLiteral);
  sql.line("     )                                                   ");
}

}  // namespace brelvane
