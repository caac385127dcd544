#pragma once
// Finding a class or member from a name typed on the command line: case and
// accents do not matter, and a near miss gets a suggestion.

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace brelvane::cli {

/// The name as compared: ASCII letters in lower case, the accented Latin
/// letters of UTF-8 (à, É, ...) as their base letter.
std::string foldName(std::string_view name);

/// The candidate that matches `typed` once both are folded, if any.
std::optional<std::string> matchName(std::string_view typed,
                                     const std::vector<std::string>& candidates);

/// The candidate nearest to `typed` (edit distance of the folded names) when
/// it is near enough to be a likely typing slip, for a "did you mean" hint.
std::optional<std::string> nearestName(std::string_view typed,
                                       const std::vector<std::string>& candidates);

/// Columns the text takes on a terminal: UTF-8 continuation bytes take none.
size_t displayWidth(std::string_view text);

/// " (did you mean NAME?)" for a near miss, or "".
std::string didYouMean(std::string_view typed, const std::vector<std::string>& candidates);

}  // namespace brelvane::cli
