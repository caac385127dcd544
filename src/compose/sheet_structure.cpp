#include "compose/sheet_structure.h"

namespace brelvane {

namespace {

std::string tokenTest(std::string_view token, std::string_view in) {
  SqlText test(80);
  test.append("PATINDEX('%", token, "%', CI28_CODSTRUTTURA)", in, "(1, 4, 7, 10, 13, 16, 19)");
  return test.take();
}

}  // namespace

std::string tokenPresent(std::string_view token) {
  return tokenTest(token, " IN ");
}

std::string tokenAbsent(std::string_view token) {
  return tokenTest(token, " NOT IN ");
}

void appendTokensAbsent(SqlText& sql, std::span<const std::string_view> tokens) {
  std::string_view head = "    ";
  for (auto token : tokens) {
    sql.line(head, tokenAbsent(token));
    head = "    AND ";
  }
}

}  // namespace brelvane
