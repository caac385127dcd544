#include "compose/sql_text.h"

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

}  // namespace brelvane
