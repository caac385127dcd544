#pragma once
// Cost-sheet types (CI28_ANASCHEDAC) carry a structure code, CI28_CODSTRUTTURA,
// made of three-letter tokens written one after the other. A token counts as
// present only where it starts at a token boundary (positions 1, 4, ... 19),
// so one that straddles two others is not taken for present.

#include <span>
#include <string>
#include <string_view>

#include "compose/sql_text.h"

namespace brelvane {

/// The tokens in the order the lookups list them: cost definition, project,
/// subproject, job order, sub-job order.
inline constexpr std::string_view kSheetTokens[] = {"VDS", "PRO", "SPR", "COM", "SCM"};

/// The test of one token, written straight into a text:
/// "PATINDEX('%VDS%', CI28_CODSTRUTTURA) IN (1, 4, 7, 10, 13, 16, 19)", or
/// with NOT IN when the token must be absent.
struct TokenTest {
  std::string_view token;
  bool present;
  void writeTo(SqlText& sql) const;
};
inline TokenTest tokenPresent(std::string_view token) {
  return {token, true};
}
inline TokenTest tokenAbsent(std::string_view token) {
  return {token, false};
}

/// The conditions of a type holding none of `tokens`, one line each, every
/// one followed by CR LF: "    " + the first test, then "    AND " + each other.
void appendTokensAbsent(SqlText& sql, std::span<const std::string_view> tokens);

}  // namespace brelvane
