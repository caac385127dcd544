#include "automation/names.h"

#include <algorithm>

#include "brelvane/automation/dispatch.h"

namespace brelvane {

bool sameName(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  if (a == b) return true;  // names are mostly written as declared
  return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](char x, char y) {
    return (x >= 'A' && x <= 'Z' ? static_cast<char>(x - 'A' + 'a') : x) ==
           (y >= 'A' && y <= 'Z' ? static_cast<char>(y - 'A' + 'a') : y);
  });
}

}  // namespace brelvane
