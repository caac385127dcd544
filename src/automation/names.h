#pragma once
// Member names as automation compares them: ASCII letters fold, nothing
// else does. sameName (public, in dispatch.h) says whether two names are
// one; foldedHash gives the hash that cannot tell them apart.

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace brelvane {

/// A hash of the name that sameName cannot tell apart: every byte has its
/// 0x20 bit set, so a letter hashes the same in either case. Eight bytes go
/// in at a time; a by-name call hashes its name on every call.
inline uint64_t foldedHash(std::string_view name) {
  constexpr uint64_t kFold = 0x2020202020202020ull;
  constexpr uint64_t kMultiplier = 0x9E3779B97F4A7C15ull;
  uint64_t h = name.size() * kMultiplier;
  auto mix = [&](uint64_t word) {
    h = (h ^ (word | kFold)) * kMultiplier;
    h ^= h >> 29;
  };
  size_t i = 0;
  for (; i + 8 <= name.size(); i += 8) {
    uint64_t word;
    std::memcpy(&word, name.data() + i, 8);
    mix(word);
  }
  if (i < name.size()) {
    uint64_t word = 0;
    std::memcpy(&word, name.data() + i, name.size() - i);
    mix(word);
  }
  return h;
}

}  // namespace brelvane
