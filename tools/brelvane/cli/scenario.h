#pragma once
// `brelvane run`: reads a scenario document, drives the component through
// its steps against the scripted stand-ins and reports what happened.

#include <iosfwd>
#include <string_view>

namespace brelvane::cli {

/// Exit statuses of a scenario run.
inline constexpr int kScenarioHeld = 0;     ///< ran, and every expectation held
inline constexpr int kScenarioFailed = 1;   ///< ran, and an expectation failed
inline constexpr int kScenarioInvalid = 2;  ///< not a valid scenario

/// Runs the scenario in `text`. Writes the output document to `out` (only
/// when the scenario is valid) or a one-line reason to `err` (when it is
/// not), and returns one of the statuses above. Never throws.
int runScenario(std::string_view text, std::ostream& out, std::ostream& err);

}  // namespace brelvane::cli
