#include "cli/names.h"

#include <algorithm>
#include <cstdint>

namespace brelvane::cli {

namespace {

/// Base letter of a two-byte UTF-8 Latin-1 letter (U+00C0..U+00FF), or 0.
char baseLetter(unsigned char lead, unsigned char next) {
  if (lead != 0xC3 || (next & 0xC0) != 0x80) return 0;
  // U+00C0 + i for i in 0..63, lower-cased: the letters of the Latin-1 block.
  static constexpr std::string_view kBase =
      "aaaaaaaceeeeiiii"   // À..Ï
      "dnooooo ouuuuy s"   // Ð..ß (× and Þ have none)
      "aaaaaaaceeeeiiii"   // à..ï
      "dnooooo ouuuuy y";  // ð..ÿ
  char c = kBase[next - 0x80];
  return c == ' ' ? 0 : c;
}

size_t editDistance(const std::string& a, const std::string& b) {
  std::vector<size_t> row(b.size() + 1);
  for (size_t j = 0; j <= b.size(); ++j) row[j] = j;
  for (size_t i = 1; i <= a.size(); ++i) {
    size_t diagonal = row[0];
    row[0] = i;
    for (size_t j = 1; j <= b.size(); ++j) {
      size_t up = row[j];
      row[j] = std::min({row[j] + 1, row[j - 1] + 1, diagonal + (a[i - 1] != b[j - 1])});
      diagonal = up;
    }
  }
  return row[b.size()];
}

}  // namespace

std::string foldName(std::string_view name) {
  std::string out;
  out.reserve(name.size());
  for (size_t i = 0; i < name.size(); ++i) {
    auto c = static_cast<unsigned char>(name[i]);
    if (i + 1 < name.size())
      if (char base = baseLetter(c, static_cast<unsigned char>(name[i + 1]))) {
        out += base;
        ++i;
        continue;
      }
    out += c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : static_cast<char>(c);
  }
  return out;
}

std::optional<std::string> matchName(std::string_view typed,
                                     const std::vector<std::string>& candidates) {
  std::string folded = foldName(typed);
  for (const auto& c : candidates)
    if (foldName(c) == folded) return c;
  return std::nullopt;
}

std::optional<std::string> nearestName(std::string_view typed,
                                       const std::vector<std::string>& candidates) {
  std::string folded = foldName(typed);
  // A slip is a few letters: one in four of the name, at least two.
  size_t limit = std::max<size_t>(2, folded.size() / 4);
  std::optional<std::string> best;
  size_t bestDistance = limit + 1;
  for (const auto& c : candidates) {
    size_t d = editDistance(folded, foldName(c));
    if (d < bestDistance) {
      bestDistance = d;
      best = c;
    }
  }
  return best;
}

std::string didYouMean(std::string_view typed, const std::vector<std::string>& candidates) {
  auto near = nearestName(typed, candidates);
  return near ? " (did you mean " + *near + "?)" : "";
}

size_t displayWidth(std::string_view text) {
  return static_cast<size_t>(
      std::count_if(text.begin(), text.end(), [](char c) { return (c & 0xC0) != 0x80; }));
}

}  // namespace brelvane::cli
