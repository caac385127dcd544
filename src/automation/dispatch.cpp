#include "brelvane/automation/dispatch.h"

#include <algorithm>

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
  prepareArguments(*m, slots);
  Variant result = m->call(self, slots);
  // Only by-reference parameters hand a value back to the caller.
  for (size_t i = 0; i < args.size(); ++i)
    if (m->params[i].byRef) args[i] = std::move(slots[i]);
  return result;
}
}  // namespace brelvane
