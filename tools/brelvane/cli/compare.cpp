#include "cli/compare.h"

namespace brelvane::cli {

std::string withoutLineEndBlanks(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  size_t blanks = 0;  // blanks seen but not yet written
  for (char c : text) {
    if (c == ' ') {
      ++blanks;
      continue;
    }
    if (c != '\r' && c != '\n') out.append(blanks, ' ');
    blanks = 0;
    out += c;
  }
  return out;
}

Json normalized(const Json& value) {
  if (value.is_array()) {
    Json out = Json::array();
    for (const auto& v : value) out.push_back(normalized(v));
    return out;
  }
  if (!value.is_object()) return value;
  if (value.size() == 1) {
    const std::string& key = value.begin().key();
    const Json& inner = value.begin().value();
    if ((key == "$integer" || key == "$long" || key == "$double") && inner.is_number())
      return inner;
    if (key == "$date" && inner.is_string()) {
      try {
        return Json{{"$date", Date::parse(inner.get<std::string>()).iso()}};
      } catch (const AutomationError&) {
        return value;
      }
    }
    if (key == "$empty" || key == "$missing") return Json{{key, true}};
  }
  Json out = Json::object();
  for (const auto& [k, v] : value.items()) out[k] = normalized(v);
  return out;
}

namespace {

bool same(const Json& a, const Json& b) {
  if (a.is_string() && b.is_string())
    return withoutLineEndBlanks(a.get_ref<const std::string&>()) ==
           withoutLineEndBlanks(b.get_ref<const std::string&>());
  if (a.is_array() && b.is_array()) {
    if (a.size() != b.size()) return false;
    for (size_t i = 0; i < a.size(); ++i)
      if (!same(a[i], b[i])) return false;
    return true;
  }
  if (a.is_object() && b.is_object()) {
    if (a.size() != b.size()) return false;
    for (const auto& [k, v] : a.items()) {
      auto it = b.find(k);
      if (it == b.end() || !same(v, *it)) return false;
    }
    return true;
  }
  if (a.is_number() && b.is_number()) return a.get<double>() == b.get<double>();
  return a == b;
}

}  // namespace

bool matches(const Json& expected, const Json& actual) {
  return same(normalized(expected), normalized(actual));
}

namespace {

/// Every field of `expected` is in `actual` with the same value.
bool holdsFields(const Json& expected, const Json& actual) {
  if (!expected.is_object() || !actual.is_object()) return false;
  for (const auto& [k, v] : expected.items()) {
    auto it = actual.find(k);
    if (it == actual.end() || !same(normalized(v), normalized(*it))) return false;
  }
  return true;
}

}  // namespace

bool errorMatches(const Json& expected, const Json& actual) {
  if (expected.is_null() || actual.is_null()) return expected.is_null() && actual.is_null();
  return holdsFields(expected, actual);
}

bool logMatches(const Json& expected, const Json& actual) {
  if (!expected.is_array() || !actual.is_array() || expected.size() != actual.size()) return false;
  for (size_t i = 0; i < expected.size(); ++i)
    if (!holdsFields(expected[i], actual[i])) return false;
  return true;
}

}  // namespace brelvane::cli
