#pragma once
// How a scenario's expectations are compared with what a step produced.

#include <string>
#include <string_view>

#include "standins/standins.h"

namespace brelvane::cli {

using standins::Json;

/// The text without the runs of blanks that stand directly before a CR, an
/// LF or the end: line padding that means nothing to the server.
std::string withoutLineEndBlanks(std::string_view text);

/// Brings a value in the scenario encoding to the form the output uses:
/// $integer, $long and $double become plain numbers, dates print in their
/// shortest form; everything else stays as it is.
Json normalized(const Json& value);

/// Whether an expected value holds for an actual one: texts compare after
/// withoutLineEndBlanks (anywhere inside arrays too), numbers by value,
/// everything else exactly.
bool matches(const Json& expected, const Json& actual);

/// Whether an expected error ({"number", "source", "description"}, any of
/// them, or null for none) holds for an actual error (null or all three).
bool errorMatches(const Json& expected, const Json& actual);

/// Whether a step's log entries are those expected: as many, in the same
/// order, each holding the fields its expected entry gives (texts compared
/// as by `matches`).
bool logMatches(const Json& expected, const Json& actual);

}  // namespace brelvane::cli
