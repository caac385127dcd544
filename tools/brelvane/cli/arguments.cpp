#include "cli/arguments.h"

#include <charconv>
#include <limits>
#include <sstream>
#include <stdexcept>

namespace brelvane::cli {

namespace {

bool startsWith(std::string_view text, std::string_view prefix) {
  return text.substr(0, prefix.size()) == prefix;
}

/// A whole number with an optional sign and nothing else.
bool readWhole(std::string_view text, int64_t& out) {
  if (text.empty()) return false;
  auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), out);
  return ec == std::errc() && end == text.data() + text.size();
}

bool readFraction(std::string_view text, double& out) {
  // Digits only: from_chars would also take "inf" and "nan".
  size_t first = !text.empty() && text.front() == '-' ? 1 : 0;
  if (first >= text.size() || text[first] < '0' || text[first] > '9') return false;
  auto [end, ec] =
      std::from_chars(text.data(), text.data() + text.size(), out, std::chars_format::fixed);
  return ec == std::errc() && end == text.data() + text.size();
}

[[noreturn]] void unreadable(std::string_view kind, std::string_view text) {
  throw std::invalid_argument("\"" + std::string(text) + "\" is not " + std::string(kind));
}

int64_t wholeIn(std::string_view text, std::string_view digits, int64_t lo, int64_t hi,
                std::string_view kind) {
  int64_t n = 0;
  if (!readWhole(digits, n) || n < lo || n > hi) unreadable(kind, text);
  return n;
}

}  // namespace

Variant parseValue(std::string_view text, const ObjectSource& objects) {
  if (text == "null") return Variant::null();
  if (text == "empty") return Variant();
  if (text == "missing") return Variant::missing();
  if (text == "nothing") return Variant::nothing();
  if (text == "true") return Variant(true);
  if (text == "false") return Variant(false);
  if (objects)
    if (auto object = objects(text)) return Variant(object);
  if (text.size() >= 2 && text.front() == '\'' && text.back() == '\'')
    return Variant(text.substr(1, text.size() - 2));
  if (startsWith(text, "text:")) return Variant(text.substr(5));
  if (startsWith(text, "integer:"))
    return Variant(
        static_cast<int16_t>(wholeIn(text, text.substr(8), std::numeric_limits<int16_t>::min(),
                                     std::numeric_limits<int16_t>::max(), "an Integer")));
  if (startsWith(text, "long:"))
    return Variant(
        static_cast<int32_t>(wholeIn(text, text.substr(5), std::numeric_limits<int32_t>::min(),
                                     std::numeric_limits<int32_t>::max(), "a Long")));
  if (startsWith(text, "double:")) {
    double d = 0;
    if (!readFraction(text.substr(7), d)) unreadable("a Double", text);
    return Variant(d);
  }
  if (startsWith(text, "date:")) {
    try {
      return Variant(Date::parse(text.substr(5)));
    } catch (const AutomationError&) {
      unreadable("a date (date:YYYY-MM-DD or date:YYYY-MM-DDTHH:MM:SS)", text);
    }
  }
  int64_t whole = 0;
  if (readWhole(text, whole)) {
    if (whole >= std::numeric_limits<int32_t>::min() &&
        whole <= std::numeric_limits<int32_t>::max())
      return Variant(static_cast<int32_t>(whole));
    return Variant(static_cast<double>(whole));
  }
  double fraction = 0;
  if (readFraction(text, fraction)) return Variant(fraction);
  return Variant(text);
}

std::optional<std::string> commandLineText(const Variant& v) {
  switch (v.type()) {
    case VarType::Empty:
      return "empty";
    case VarType::Null:
      return "null";
    case VarType::Missing:
      return "missing";
    case VarType::Boolean:
      return v.boolean() ? "true" : "false";
    case VarType::Integer:
      return "integer:" + std::to_string(static_cast<int>(v.number()));
    case VarType::Long:
      return std::to_string(static_cast<long long>(v.number()));
    case VarType::Double: {
      std::ostringstream out;
      out << "double:" << v.number();
      return out.str();
    }
    case VarType::Date:
      return "date:" + v.date().iso();
    case VarType::String: {
      const std::string& s = v.string();
      Variant back = parseValue(s);
      if (!s.empty() && back.isString() && back.string() == s) return s;
      return "text:" + s;
    }
    case VarType::Object:
    case VarType::Array:
      break;
  }
  return std::nullopt;
}

std::string describe(const Variant& value, const standins::Names& names) {
  switch (value.type()) {
    case VarType::Empty:
      return "Empty";
    case VarType::Null:
      return "Null";
    case VarType::Missing:
      return "Missing";
    case VarType::Boolean:
      return value.boolean() ? "True" : "False";
    case VarType::Integer:
    case VarType::Long:
    case VarType::Double:
    case VarType::Date:
      return toText(value);
    case VarType::String:
      return standins::Json(value.string())
          .dump(-1, ' ', false, standins::Json::error_handler_t::replace);
    case VarType::Object: {
      if (!value.object()) return "Nothing";
      std::string name = names.nameOf(value.object().get());
      return name.empty() ? "<object>" : "<object " + name + ">";
    }
    case VarType::Array: {
      std::string out = "array (";
      const auto& bounds = value.array().bounds();
      for (size_t i = 0; i < bounds.size(); ++i) {
        if (i) out += ", ";
        out += std::to_string(bounds[i].lower) + " To " + std::to_string(bounds[i].upper);
      }
      return out + ")";
    }
  }
  return {};
}

std::vector<std::string> displayLines(std::string_view text) {
  std::vector<std::string> lines;
  std::string line;
  for (size_t i = 0; i < text.size(); ++i) {
    char c = text[i];
    if (c == '\r' && i + 1 < text.size() && text[i + 1] == '\n') {
      lines.push_back(std::move(line));
      line.clear();
      ++i;
    } else if (c == '\r') {
      line += "<CR>";
    } else if (c == '\n') {
      line += "<LF>";
    } else {
      line += c;
    }
  }
  if (!line.empty()) lines.push_back(std::move(line));
  return lines;
}

}  // namespace brelvane::cli
