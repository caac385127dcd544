#pragma once
// What a value becomes in a composed text: one function for each place a
// value takes there (between apostrophes, as a number, as a name, in a
// placeholder). With the text's hardened mode off, each writes the value as
// given: hosts depend on the composed texts to the byte, a caller's
// apostrophes included. Hardened, text between apostrophes is escaped, and
// a number or a name that is not one makes the call fail with 13, the way
// any error makes it fail.

#include <charconv>
#include <concepts>
#include <initializer_list>
#include <span>
#include <string>
#include <string_view>

#include "compose/sql_text.h"

namespace brelvane {

/// A value written between the apostrophes its fragment already holds.
/// Hardened, every apostrophe is doubled, and so is every character a
/// server may turn into one when it converts the text to a code page
/// (U+02BC, U+2018, U+2019, U+FF07); the text is never refused, and a later
/// fill leaves it as written.
struct InQuotes {
  std::string_view text;
  void writeTo(SqlText& sql) const {
    if (sql.hardened()) [[unlikely]]
      writeEscaped(sql);
    else
      sql.append(text);
  }
  void writeEscaped(SqlText& sql) const;
};
inline InQuotes inQuotes(std::string_view text) {
  return {text};
}

/// `value` between apostrophes, escaped as InQuotes escapes when `hardened`.
std::string quoted(std::string_view value, bool hardened = false);

/// The text of a number inserted unquoted. Hardened, it must be one, in the
/// invariant form: an optional minus, digits, and a point with digits after
/// it where the place takes a decimal; anything else raises 13.
std::string checkedNumber(std::string text, bool hardened, bool decimal = true);

/// A name written unquoted, such as a column chosen by a mask or a code.
/// Hardened, it must be one of the names the member lists or a plain
/// identifier (up to 128 letters, digits and underscores, not starting with
/// a digit, optionally qualified by one point); anything else raises 13.
struct Name {
  std::string_view text;
  std::span<const std::string_view> listed = {};
  void writeTo(SqlText& sql) const;
};

/// A placeholder of a composed text and the value that takes its place.
struct Placeholder {
  std::string_view name;  ///< "<CONTO>"
  std::string_view value;
};

/// Replaces every occurrence of `from`, left to right, case-sensitively.
void replaceAll(std::string& text, std::string_view from, std::string_view to);

/// Replaces the placeholders as replaceAll would, one after the other, in
/// the order given, but in one pass over the text when that gives the same
/// result: when no value holds a '<' or '>' and every '<' of the text starts
/// a placeholder. That pass writes in the text's own buffer unless the text
/// grows at one placeholder and shrinks at another.
void fillPlaceholders(std::string& text, std::initializer_list<Placeholder> placeholders);

/// The decimal text of an integer, for the few places that need it as a
/// string of its own (a list joined by commas, say).
template <std::integral I>
std::string decimal(I value) {
  char digits[24];
  return std::string(digits, std::to_chars(digits, digits + sizeof digits, value).ptr);
}

}  // namespace brelvane
