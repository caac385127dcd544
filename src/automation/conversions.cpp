// Variant conversions by automation rules: numbers written and read
// locale-free, text to integer rounding half to even with an overflow
// error, and comparison of a Variant with a number or a text.
#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <limits>
#include <new>
#include <stdexcept>
#include <utility>

#include "brelvane/automation/dispatch.h"
#include "brelvane/automation/error.h"
#include "brelvane/automation/variant.h"

namespace brelvane {

// ---- Numbers -----------------------------------------------------------------

std::string formatNumber(double value) {
  if (value == std::trunc(value) && std::fabs(value) < 1e15) {
    char buf[32];
    auto [ptr, ec] = std::to_chars(buf, buf + sizeof buf, static_cast<long long>(value));
    return std::string(buf, ptr);
  }
  // Up to 15 significant digits, exponent written as E+nn / E-nn.
  char buf[64];
  auto [ptr, ec] = std::to_chars(buf, buf + sizeof buf, value, std::chars_format::general, 15);
  std::string text(buf, ptr);
  if (auto e = text.find('e'); e != std::string::npos) text[e] = 'E';
  return text;
}

bool parseNumber(std::string_view text, double& out) {
  while (!text.empty() && (text.front() == ' ' || text.front() == '\t')) text.remove_prefix(1);
  while (!text.empty() && (text.back() == ' ' || text.back() == '\t')) text.remove_suffix(1);
  bool negative = false;
  if (!text.empty() && (text.front() == '+' || text.front() == '-')) {
    negative = text.front() == '-';
    text.remove_prefix(1);
  }
  if (text.empty() ||
      !(std::isdigit(static_cast<unsigned char>(text.front())) || text.front() == '.'))
    return false;
  double value = 0;
  auto [ptr, ec] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (ec != std::errc() || ptr != text.data() + text.size()) return false;
  out = negative ? -value : value;
  return true;
}

namespace {

// The numeric reading of a Variant for the integer and floating conversions.
double numericValue(const Variant& v) {
  switch (v.type()) {
    case VarType::Empty:
      return 0;
    case VarType::Null:
      throw AutomationError::of(err::kInvalidNull);
    case VarType::Boolean:
      return v.boolean() ? -1 : 0;
    case VarType::Integer:
    case VarType::Long:
    case VarType::Double:
      return v.number();
    case VarType::String: {
      double d;
      if (!parseNumber(v.string(), d)) throw AutomationError::of(err::kTypeMismatch);
      return d;
    }
    default:
      throw AutomationError::of(err::kTypeMismatch);
  }
}

template <class I>
I roundToInteger(const Variant& v) {
  double d = numericValue(v);
  double r = std::nearbyint(d);  // the default rounding mode: half to even
  if (!std::isfinite(r) || r < std::numeric_limits<I>::min() || r > std::numeric_limits<I>::max())
    throw AutomationError::of(err::kOverflow);
  return static_cast<I>(r);
}

}  // namespace

int16_t toInteger(const Variant& v) {
  return roundToInteger<int16_t>(v);
}
int32_t toLong(const Variant& v) {
  return roundToInteger<int32_t>(v);
}
double toDouble(const Variant& v) {
  return numericValue(v);
}

bool toBool(const Variant& v) {
  if (v.type() == VarType::String) {
    const auto& s = v.string();
    if (sameName(s, "True")) return true;
    if (sameName(s, "False")) return false;
  }
  return numericValue(v) != 0;
}

Date toDate(const Variant& v) {
  if (v.type() == VarType::Date) return v.date();
  if (v.type() == VarType::String) return Date::parse(v.string());
  if (v.isNull()) throw AutomationError::of(err::kInvalidNull);
  throw AutomationError::of(err::kTypeMismatch);
}

std::string toText(const Variant& v) {
  switch (v.type()) {
    case VarType::Empty:
      return {};
    case VarType::Null:
      throw AutomationError::of(err::kInvalidNull);
    case VarType::Boolean:
      return v.boolean() ? "True" : "False";
    case VarType::Integer:
    case VarType::Long:
    case VarType::Double:
      return formatNumber(v.number());
    case VarType::Date:
      return v.date().iso();
    case VarType::String:
      return v.string();
    default:
      throw AutomationError::of(err::kTypeMismatch);
  }
}

std::string toText(Variant&& v) {
  if (auto p = std::get_if<std::string>(&v.v_)) return std::move(*p);
  return toText(std::as_const(v));
}

std::string concatText(const Variant& v) {
  return v.isNull() ? std::string() : toText(v);
}

bool equals(const Variant& v, double number) {
  switch (v.type()) {
    case VarType::Empty:
      return number == 0;
    case VarType::Boolean:
      return (v.boolean() ? -1 : 0) == number;
    case VarType::Integer:
    case VarType::Long:
    case VarType::Double:
      return v.number() == number;
    case VarType::String: {
      double d;
      return parseNumber(v.string(), d) && d == number;
    }
    default:
      return false;
  }
}

bool equals(const Variant& v, std::string_view text) {
  switch (v.type()) {
    case VarType::Empty:
      return text.empty();
    case VarType::String:
      return v.string() == text;
    case VarType::Boolean:
      return toText(v) == text;
    case VarType::Integer:
    case VarType::Long:
    case VarType::Double: {
      double d;
      return parseNumber(text, d) && d == v.number();
    }
    case VarType::Date:
      return v.date().iso() == text;
    default:
      return false;
  }
}

}  // namespace brelvane
