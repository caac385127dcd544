#include "brelvane/automation/dispatch.h"

#include <algorithm>
#include <array>
#include <vector>

#include "automation/class_builder.h"
#include "automation/names.h"

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

template <class Info>
std::vector<std::pair<uint64_t, uint32_t>> indexOf(const std::vector<Info>& items) {
  std::vector<std::pair<uint64_t, uint32_t>> index;
  index.reserve(items.size());
  for (uint32_t i = 0; i < items.size(); ++i) index.emplace_back(foldedHash(items[i].name), i);
  std::sort(index.begin(), index.end());
  return index;
}

/// The first item of that name: through the index while it is up to date,
/// one by one otherwise.
template <class Info>
const Info* find(const std::vector<Info>& items,
                 const std::vector<std::pair<uint64_t, uint32_t>>& index, std::string_view name) {
  if (index.size() == items.size()) {
    const uint64_t h = foldedHash(name);
    for (auto it =
             std::lower_bound(index.begin(), index.end(), std::pair<uint64_t, uint32_t>{h, 0});
         it != index.end() && it->first == h; ++it)
      if (sameName(items[it->second].name, name)) return &items[it->second];
    return nullptr;
  }
  for (const auto& item : items)
    if (sameName(item.name, name)) return &item;
  return nullptr;
}

}  // namespace

void ClassInfo::index() {
  propertyIndex_ = indexOf(properties);
  methodIndex_ = indexOf(methods);
}

void checkConvertible(ParamType type, const Variant& value) {
  switch (type) {
    case ParamType::Boolean:
      toBool(value);
      break;
    case ParamType::Integer:
      toInteger(value);
      break;
    case ParamType::Long:
      toLong(value);
      break;
    case ParamType::Double:
      toDouble(value);
      break;
    case ParamType::String:
      toText(value);
      break;
    case ParamType::Date:
      toDate(value);
      break;
    case ParamType::Object:
      if (!value.isObject()) throw AutomationError::of(err::kTypeMismatch);
      break;
    case ParamType::Variant:
      break;
  }
}

const PropertyInfo* ClassInfo::findProperty(std::string_view name) const {
  return find(properties, propertyIndex_, name);
}

const MethodInfo* ClassInfo::findMethod(std::string_view name) const {
  return find(methods, methodIndex_, name);
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
