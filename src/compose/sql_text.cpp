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

void fillPlaceholders(std::string& text, std::initializer_list<Placeholder> placeholders) {
  auto inTurn = [&] {
    for (const Placeholder& p : placeholders) replaceAll(text, p.name, p.value);
  };
  // One pass gives the same text as replacing in turn when no '<' can start
  // anything but a placeholder: no value holds a '<' or '>' that could form
  // a new one, and every '<' of the text starts one of them.
  for (const Placeholder& p : placeholders)
    if (p.name.empty() || p.value.find_first_of("<>") != std::string_view::npos) return inTurn();
  std::string out;
  size_t pos = 0;
  for (size_t at = text.find('<'); at != std::string::npos; at = text.find('<', pos)) {
    const Placeholder* hit = nullptr;
    for (const Placeholder& p : placeholders)
      if (text.compare(at, p.name.size(), p.name) == 0) hit = &p;
    if (!hit) return inTurn();
    if (out.empty()) out.reserve(text.size() + 64);
    out.append(text, pos, at - pos).append(hit->value);
    pos = at + hit->name.size();
  }
  if (pos == 0) return;
  out.append(text, pos);
  text = std::move(out);
}

}  // namespace brelvane
