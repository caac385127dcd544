#include "compose/sheet_structure.h"

namespace brelvane {

void TokenTest::writeTo(SqlText& sql) const {
  sql.append("PATINDEX('%", token, "%', CI28_CODSTRUTTURA)", present ? " IN " : " NOT IN ",
             "(1, 4, 7, 10, 13, 16, 19)");
}

void appendTokensAbsent(SqlText& sql, std::span<const std::string_view> tokens) {
  std::string_view head = "    ";
  for (auto token : tokens) {
    sql.line(head, tokenAbsent(token));
    head = "    AND ";
  }
}

}  // namespace brelvane
