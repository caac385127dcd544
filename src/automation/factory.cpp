#include "brelvane/automation/factory.h"

namespace brelvane {

void ObjectFactory::add(std::string progId, Creator creator, const ClassInfo* info) {
  for (auto& s : slots_) {
    if (sameName(s.progId, progId)) {
      s = Slot{std::move(progId), std::move(creator), info};
      return;
    }
  }
  slots_.push_back(Slot{std::move(progId), std::move(creator), info});
}

const ObjectFactory::Slot* ObjectFactory::find(std::string_view progId) const {
  for (const auto& s : slots_)
    if (sameName(s.progId, progId)) return &s;
  return nullptr;
}

bool ObjectFactory::has(std::string_view progId) const {
  return find(progId) != nullptr;
}

std::shared_ptr<Dispatch> ObjectFactory::create(std::string_view progId) {
  auto slot = find(progId);
  if (!slot && fallback_)
    if (auto object = fallback_(progId)) return object;
  if (!slot) throw AutomationError::of(err::kCannotCreate, std::string(progId));
  auto creator = slot->creator;  // a creator may register further ProgIDs
  return creator(*this);
}

std::vector<ObjectFactory::Entry> ObjectFactory::entries() const {
  std::vector<Entry> out;
  for (const auto& s : slots_) out.push_back({s.progId, s.info});
  return out;
}

}  // namespace brelvane
