#include <cstdio>

#include "brelvane/host/utility.h"

namespace brelvane {

std::string ReferenceUtility::ValueToText(const Variant& value) {
  if (value.isNull() || value.isEmpty() || value.isMissing()) return {};
  return toText(value);
}

Variant ReferenceUtility::ValueOrDefault(const Variant& value, const Variant& fallback) {
  return value.isNull() || value.isEmpty() ? fallback : value;
}

std::string ReferenceUtility::ValueForSql(const Variant& value) {
  switch (value.type()) {
    case VarType::Null:
    case VarType::Empty:
      return "NULL";
    case VarType::Boolean:
      return value.boolean() ? "1" : "0";
    case VarType::Date:
      return SqlDateLiteral(value);
    case VarType::String: {
      std::string out = "'";
      for (char c : value.string()) {
        if (c == '\'') out += '\'';
        out += c;
      }
      return out + "'";
    }
    default:
      return toText(value);
  }
}

std::string ReferenceUtility::SqlDateLiteral(const Variant& value) {
  if (value.type() != VarType::Date && value.type() != VarType::String)
    throw AutomationError::of(err::kTypeMismatch, "not a date");
  Date d = toDate(value);
  char buf[16];
  std::snprintf(buf, sizeof buf, "'%04d%02d%02d'", d.year, d.month, d.day);
  return buf;
}

}  // namespace brelvane
