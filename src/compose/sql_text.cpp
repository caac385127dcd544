#include "compose/sql_text.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace brelvane {

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

}  // namespace brelvane
