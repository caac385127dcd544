#pragma once
// The pieces every page of the reference site is made of: its style sheet,
// the search script, HTML escaping and the highlighted SQL block.

#include <string>
#include <string_view>

namespace brelvane::cli::site {

extern const char* const kSiteCss;
/// Filters the member table as the reader types (the one script).
extern const char* const kSiteSearchJs;

/// `text` with the characters HTML reads as markup written as references.
std::string esc(std::string_view text);
/// ASCII letters folded to lower case.
std::string lower(std::string text);
/// The composed text, highlighted by the tokenizer's classes.
std::string sqlBlock(std::string_view sql);

}  // namespace brelvane::cli::site
