#include "brelvane/automation/dispatch.h"

#include <algorithm>

#include "brelvane/automation/factory.h"

namespace brelvane {

namespace {
[[noreturn]] void unknownMember(std::string_view name) {
  throw AutomationError::of(err::kUnknownMember, std::string(name));
}
}  // namespace

Variant Dispatch::get(std::string_view name) {
  unknownMember(name);
}
void Dispatch::put(std::string_view name, const Variant&) {
  unknownMember(name);
}
void Dispatch::putRef(std::string_view name, const Variant&) {
  unknownMember(name);
}
Variant Dispatch::invoke(std::string_view name, std::span<Variant>) {
  unknownMember(name);
}

bool sameName(std::string_view a, std::string_view b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](char x, char y) {
    auto fold = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; };
    return fold(x) == fold(y);
  });
}

std::string_view paramTypeName(ParamType type) {
  switch (type) {
    case ParamType::Variant:
      return "Variant";
    case ParamType::Boolean:
      return "Boolean";
    case ParamType::Integer:
      return "Integer";
    case ParamType::Long:
      return "Long";
    case ParamType::Double:
      return "Double";
    case ParamType::String:
      return "String";
    case ParamType::Date:
      return "Date";
    case ParamType::Object:
      return "Object";
  }
  return "Variant";
}

const PropertyInfo* ClassInfo::findProperty(std::string_view name) const {
  for (const auto& p : properties)
    if (sameName(p.name, name)) return &p;
  return nullptr;
}

const MethodInfo* ClassInfo::findMethod(std::string_view name) const {
  for (const auto& m : methods)
    if (sameName(m.name, name)) return &m;
  return nullptr;
}

Variant ClassInfo::get(Dispatch& self, std::string_view name) const {
  if (auto p = findProperty(name); p && p->canGet) return p->getter(self);
  // A method without arguments can be read like a property.
  if (auto m = findMethod(name)) return invoke(self, m->name, {});
  unknownMember(name);
}

void ClassInfo::put(Dispatch& self, std::string_view name, const Variant& value) const {
  auto p = findProperty(name);
  if (!p || !p->canPut) unknownMember(name);
  p->setter(self, value);
}

void ClassInfo::putRef(Dispatch& self, std::string_view name, const Variant& value) const {
  auto p = findProperty(name);
  if (!p || !p->canPutRef) unknownMember(name);
  if (!value.isObject()) throw AutomationError::of(err::kTypeMismatch);
  p->setter(self, value);
}

Variant ClassInfo::invoke(Dispatch& self, std::string_view name, std::span<Variant> args) const {
  auto m = findMethod(name);
  if (!m) {
    if (auto p = findProperty(name); p && p->canGet && args.empty()) return p->getter(self);
    unknownMember(name);
  }
  if (args.size() > m->params.size()) throw AutomationError::of(err::kWrongArgumentCount, m->name);
  // Arguments not passed are Missing; the callee's view always has every slot.
  std::vector<Variant> slots(args.begin(), args.end());
  slots.resize(m->params.size(), Variant::missing());
  detail::prepareArguments(*m, slots);
  Variant result = m->call(self, slots);
  // Only by-reference parameters hand a value back to the caller.
  for (size_t i = 0; i < args.size(); ++i)
    if (m->params[i].byRef) args[i] = std::move(slots[i]);
  return result;
}

void detail::prepareArguments(const MethodInfo& method, std::span<Variant> args) {
  for (size_t i = 0; i < method.params.size(); ++i) {
    const auto& p = method.params[i];
    if (!args[i].isMissing()) continue;
    if (!p.optional) throw AutomationError::of(err::kArgumentNotOptional, p.name);
    if (!p.defaultValue.isMissing()) {
      args[i] = p.defaultValue;
    } else if (p.type != ParamType::Variant) {
      // Only Variant parameters can receive "not passed" as such.
      throw AutomationError::of(err::kArgumentNotOptional, p.name);
    }
  }
}

// ---- ObjectFactory ----------------------------------------------------------

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
