#include "compose/sql_values.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <utility>
#include <vector>

#include "brelvane/automation/error.h"

namespace brelvane {

namespace {

/// The length of the apostrophe, or of the character a server may read as
/// one, that starts at `at`; 0 when there is none.
size_t apostropheAt(std::string_view text, size_t at) {
  const auto rest = text.substr(at);
  if (rest.starts_with('\'')) return 1;
  if (rest.starts_with("\xCA\xBC")) return 2;  // U+02BC
  if (rest.starts_with("\xE2\x80\x98") || rest.starts_with("\xE2\x80\x99"))
    return 3;                                      // U+2018, U+2019
  if (rest.starts_with("\xEF\xBC\x87")) return 3;  // U+FF07
  return 0;
}

/// Raises 13 for a value that cannot take its place, quoting part of it.
[[noreturn]] void refuse(std::string_view what, std::string_view value) {
  std::string detail = "hardened mode: not ";
  detail.append(what).append(": ");
  detail.append(value.substr(0, 40));
  if (value.size() > 40) detail.append("...");
  throw AutomationError::of(err::kTypeMismatch, std::move(detail));
}

bool isDigit(char c) {
  return c >= '0' && c <= '9';
}
bool startsName(char c) {
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_';
}

/// Letters, digits and underscores not starting with a digit, at most 128
/// of them (the longest name a server takes), optionally qualified once:
/// "CI58_CODICE", "T.CI58_CODICE".
bool plainIdentifier(std::string_view text) {
  constexpr size_t kLongest = 128;
  bool qualified = false;
  size_t length = 0;
  for (char c : text) {
    if (c == '.' && length > 0 && !qualified) {
      qualified = true;
      length = 0;
    } else if ((startsName(c) || (length > 0 && isDigit(c))) && length < kLongest) {
      ++length;
    } else {
      return false;
    }
  }
  return length > 0;
}

}  // namespace

void InQuotes::writeEscaped(SqlText& sql) const {
  const size_t from = sql.size();
  size_t done = 0;
  for (size_t at = 0; at < text.size();) {
    if (const size_t length = apostropheAt(text, at)) {
      sql.append(text.substr(done, at + length - done), text.substr(at, length));
      done = at += length;
    } else {
      ++at;
    }
  }
  sql.append(text.substr(done));
  sql.keepAsWritten(from);
}

std::string quoted(std::string_view value, bool hardened) {
  SqlText text(value.size() + 2);
  text.harden(hardened);
  text.append("'", inQuotes(value), "'");
  return text.take();
}

std::string checkedNumber(std::string text, bool hardened, bool decimal) {
  if (!hardened) return text;
  std::string_view digits(text);
  if (digits.starts_with('-')) digits.remove_prefix(1);
  const size_t point = decimal ? digits.find('.') : std::string_view::npos;
  const auto allDigits = [](std::string_view part) {
    return !part.empty() && std::all_of(part.begin(), part.end(), isDigit);
  };
  if (point == std::string_view::npos
          ? allDigits(digits)
          : allDigits(digits.substr(0, point)) && allDigits(digits.substr(point + 1)))
    return text;
  refuse("a number", text);
}

void Name::writeTo(SqlText& sql) const {
  if (sql.hardened() && std::find(listed.begin(), listed.end(), text) == listed.end() &&
      !plainIdentifier(text))
    refuse("a name", text);
  sql.append(text);
}

void replaceAll(std::string& text, std::string_view from, std::string_view to) {
  if (from.empty()) return;
  std::string out;
  size_t pos = 0, hit;
  bool any = false;
  while ((hit = text.find(from, pos)) != std::string::npos) {
    if (!any) out.reserve(text.size() + 16);
    any = true;
    out.append(text, pos, hit - pos).append(to);
    pos = hit + from.size();
  }
  if (!any) return;
  out.append(text, pos);
  text = std::move(out);
}

namespace {

/// The placeholder that starts at `at`, or null.
const Placeholder* placeholderAt(std::string_view text, size_t at,
                                 std::initializer_list<Placeholder> placeholders) {
  for (const Placeholder& p : placeholders)
    if (text.compare(at, p.name.size(), p.name) == 0) return &p;
  return nullptr;
}

/// A name the one pass can find: "<" letters ">", no other bracket.
bool plainName(std::string_view name) {
  return name.size() > 2 && name.front() == '<' && name.back() == '>' &&
         name.substr(1, name.size() - 2).find_first_of("<>") == std::string_view::npos;
}

/// Left to right in the text's own buffer: safe while the text has not
/// grown at any placeholder so far, so writing never overtakes reading.
void fillForward(std::string& text, std::initializer_list<Placeholder> placeholders) {
  char* data = text.data();
  const size_t size = text.size();
  size_t read = 0, write = 0;
  for (size_t at = text.find('<'); at != std::string::npos; at = text.find('<', read)) {
    const Placeholder& p = *placeholderAt(text, at, placeholders);
    std::memmove(data + write, data + read, at - read);
    write += at - read;
    write = static_cast<size_t>(std::copy(p.value.begin(), p.value.end(), data + write) - data);
    read = at + p.name.size();
  }
  std::memmove(data + write, data + read, size - read);
  text.resize(write + size - read);
}

/// Right to left, into the text grown to its final `size`: safe while the
/// text has not shrunk before any placeholder, so the part not yet read is
/// never written over.
void fillBackward(std::string& text, std::initializer_list<Placeholder> placeholders, size_t size) {
  const size_t original = text.size();
  text.resize(size);
  char* data = text.data();
  const std::string_view source(data, original);
  size_t read = original, write = size;
  for (size_t at = read; at > 0 && (at = source.rfind('<', at - 1)) != std::string_view::npos;) {
    const Placeholder& p = *placeholderAt(source, at, placeholders);
    const size_t tail = read - (at + p.name.size());
    write -= tail;
    std::memmove(data + write, data + at + p.name.size(), tail);
    write -= p.value.size();
    std::copy(p.value.begin(), p.value.end(), data + write);
    read = at;
  }
}

}  // namespace

void fillPlaceholders(std::string& text, std::initializer_list<Placeholder> placeholders) {
  auto inTurn = [&] {
    for (const Placeholder& p : placeholders) replaceAll(text, p.name, p.value);
  };
  // One pass gives the same text as replacing in turn when no '<' can start
  // anything but a placeholder: no value holds a '<' or '>' that could form
  // a new one, and every '<' of the text starts one of them.
  for (const Placeholder& p : placeholders)
    if (!plainName(p.name) || p.value.find_first_of("<>") != std::string_view::npos)
      return inTurn();
  // The first pass checks every '<' and follows how the text's length moves
  // from one placeholder to the next, which decides the direction of the
  // second pass.
  ptrdiff_t shift = 0, lowest = 0, highest = 0;
  size_t found = 0;
  for (size_t at = text.find('<'); at != std::string::npos; ++found) {
    const Placeholder* p = placeholderAt(text, at, placeholders);
    if (!p) return inTurn();
    shift += static_cast<ptrdiff_t>(p->value.size()) - static_cast<ptrdiff_t>(p->name.size());
    lowest = std::min(lowest, shift);
    highest = std::max(highest, shift);
    at = text.find('<', at + p->name.size());
  }
  if (found == 0) return;
  if (highest == 0) return fillForward(text, placeholders);
  if (lowest == 0)
    return fillBackward(text, placeholders, text.size() + static_cast<size_t>(shift));
  // The text grows at one placeholder and shrinks at another: neither
  // direction is safe in place, so the pass writes a second buffer.
  std::string out;
  out.reserve(text.size() + static_cast<size_t>(highest));
  size_t pos = 0;
  for (size_t at = text.find('<'); at != std::string::npos; at = text.find('<', pos)) {
    const Placeholder& p = *placeholderAt(text, at, placeholders);
    out.append(text, pos, at - pos).append(p.value);
    pos = at + p.name.size();
  }
  out.append(text, pos);
  text = std::move(out);
}

namespace {

/// Fills the placeholders in one pass, trying them in the order given at
/// each place, and never reading the `values` spans ([begin, end) of the
/// text, in order): a value that holds a placeholder's name keeps it. The
/// spans are moved to where their values are in the filled text.
void fillAround(std::string& text, std::initializer_list<Placeholder> placeholders,
                std::vector<std::pair<size_t, size_t>>& values) {
  std::string out;
  out.reserve(text.size() + 64);
  size_t at = 0, next = 0;
  while (at < text.size()) {
    if (next < values.size() && values[next].first == at) {
      auto& [begin, end] = values[next++];
      const size_t moved = out.size();
      out.append(text, begin, end - begin);
      at = end;
      end = moved + (end - begin);
      begin = moved;
      continue;
    }
    if (const Placeholder* p = placeholderAt(text, at, placeholders)) {
      out.append(p->value);
      at += p->name.size();
    } else {
      out.push_back(text[at++]);
    }
  }
  text = std::move(out);
}

}  // namespace

SqlText& SqlText::fill(std::initializer_list<Placeholder> placeholders) {
  keepPeak();
  text_.resize(size_);
  if (hardened_)
    fillAround(text_, placeholders, values_);
  else
    fillPlaceholders(text_, placeholders);
  size_ = text_.size();
  return *this;
}

}  // namespace brelvane
