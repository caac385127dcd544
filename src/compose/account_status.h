#pragma once
// The disabled-account filter shared by the chart lookups and decoders.

#include <string>
#include <string_view>

#include "compose/sql_text.h"

namespace brelvane {

/// Appends the NOT EXISTS filter on PC17_STATIPDC: an account disabled on or
/// before `dateLiteral` is left out. `opensWhere` chooses WHERE or AND.
void appendDisabledAccountFilter(SqlText& sql, bool opensWhere, std::string_view companyCode,
                                 std::string_view dateLiteral);

}  // namespace brelvane
