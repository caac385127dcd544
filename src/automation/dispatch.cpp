#include "brelvane/automation/dispatch.h"

#include <algorithm>
#include <array>
#include <vector>

namespace brelvane {

namespace {
[[noreturn]] void unknownMember(std::string_view name) {
  throw AutomationError::of(err::kUnknownMember, std::string(name));
}

/// Fills Missing arguments with their defaults and checks required ones.
void prepareArguments(const MethodInfo& method, std::span<Variant> args) {
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
}  // namespace

Variant Dispatch::get(std::string_view name) {
  if (const ClassInfo* info = classInfo()) return info->get(*this, name);
  unknownMember(name);
}
void Dispatch::put(std::string_view name, const Variant& value) {
  if (const ClassInfo* info = classInfo()) return info->put(*this, name, value);
  unknownMember(name);
}
void Dispatch::putRef(std::string_view name, const Variant& value) {
  if (const ClassInfo* info = classInfo()) return info->putRef(*this, name, value);
  unknownMember(name);
}
Variant Dispatch::invoke(std::string_view name, std::span<Variant> args) {
  if (const ClassInfo* info = classInfo()) return info->invoke(*this, name, args);
  unknownMember(name);
}

bool sameName(std::string_view a, std::string_view b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](char x, char y) {
    return (x >= 'A' && x <= 'Z' ? static_cast<char>(x - 'A' + 'a') : x) ==
           (y >= 'A' && y <= 'Z' ? static_cast<char>(y - 'A' + 'a') : y);
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

namespace {

char fold(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

/// Orders names as sameName compares them: ASCII letters folded.
bool foldedLess(std::string_view a, std::string_view b) {
  return std::lexicographical_compare(a.begin(), a.end(), b.begin(), b.end(),
                                      [](char x, char y) { return fold(x) < fold(y); });
}

template <class Info>
std::vector<uint32_t> orderOf(const std::vector<Info>& items) {
  std::vector<uint32_t> order(items.size());
  for (uint32_t i = 0; i < order.size(); ++i) order[i] = i;
  std::stable_sort(order.begin(), order.end(), [&](uint32_t a, uint32_t b) {
    return foldedLess(items[a].name, items[b].name);
  });
  return order;
}

/// The first item of that name: by binary search while the order is up to
/// date, one by one otherwise.
template <class Info>
const Info* find(const std::vector<Info>& items, const std::vector<uint32_t>& order,
                 std::string_view name) {
  if (order.size() == items.size()) {
    auto hit = std::lower_bound(
        order.begin(), order.end(), name,
        [&](uint32_t i, std::string_view n) { return foldedLess(items[i].name, n); });
    if (hit != order.end() && sameName(items[*hit].name, name)) return &items[*hit];
    return nullptr;
  }
  for (const auto& item : items)
    if (sameName(item.name, name)) return &item;
  return nullptr;
}

}  // namespace

void ClassInfo::index() {
  propertyOrder_ = orderOf(properties);
  methodOrder_ = orderOf(methods);
}

const PropertyInfo* ClassInfo::findProperty(std::string_view name) const {
  return find(properties, propertyOrder_, name);
}

const MethodInfo* ClassInfo::findMethod(std::string_view name) const {
  return find(methods, methodOrder_, name);
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
  const size_t count = m->params.size();
  if (args.size() > count) throw AutomationError::of(err::kWrongArgumentCount, m->name);
  // Every argument there: the callee works on the caller's slots, which only
  // by-reference parameters write to.
  if (args.size() == count &&
      std::none_of(args.begin(), args.end(), [](const Variant& a) { return a.isMissing(); }))
    return m->call(self, args);
  // Otherwise a copy, with the arguments not passed Missing then defaulted;
  // only by-reference parameters hand a value back to the caller.
  auto callWith = [&](std::span<Variant> slots) {
    std::copy(args.begin(), args.end(), slots.begin());
    for (size_t i = args.size(); i < count; ++i) slots[i] = Variant::missing();
    prepareArguments(*m, slots);
    Variant result = m->call(self, slots);
    for (size_t i = 0; i < args.size(); ++i)
      if (m->params[i].byRef) args[i] = std::move(slots[i]);
    return result;
  };
  if (count <= 8) {
    std::array<Variant, 8> slots;
    return callWith(std::span<Variant>(slots.data(), count));
  }
  std::vector<Variant> slots(count);
  return callWith(slots);
}
}  // namespace brelvane
