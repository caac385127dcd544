// The scenario value encoding, names and the log.
#include <cmath>
#include <limits>

#include "standins/standins.h"

namespace brelvane::standins {

// ---- Names -----------------------------------------------------------------------

void Names::add(const std::shared_ptr<Dispatch>& object, std::string name) {
  entries_.push_back({object, object.get(), std::move(name)});
}

std::string Names::nameOf(const Dispatch* object) const {
  for (auto it = entries_.rbegin(); it != entries_.rend(); ++it)
    if (it->address == object && !it->object.expired()) return it->name;
  return {};
}

std::shared_ptr<Dispatch> Names::find(std::string_view name) const {
  for (auto it = entries_.rbegin(); it != entries_.rend(); ++it)
    if (it->name == name)
      if (auto p = it->object.lock()) return p;
  return nullptr;
}

std::string Names::next(const std::string& prefix) {
  return prefix + "#" + std::to_string(++counters_[prefix]);
}

// ---- Values ----------------------------------------------------------------------

namespace {

Json arrayToJson(const SafeArray& a, const Names& names) {
  Json bounds = Json::array();
  for (const auto& b : a.bounds()) bounds.push_back({b.lower, b.upper});
  Json rows = Json::array();
  const auto& el = a.elements();
  if (a.dimensions() == 1) {
    for (const auto& v : el) rows.push_back(toJson(v, names));
  } else if (a.dimensions() == 2) {
    size_t cols = a.bounds()[1].count();
    for (size_t i = 0; i < a.bounds()[0].count(); ++i) {
      Json row = Json::array();
      for (size_t j = 0; j < cols; ++j) row.push_back(toJson(el[i * cols + j], names));
      rows.push_back(std::move(row));
    }
  } else {
    for (const auto& v : el) rows.push_back(toJson(v, names));
  }
  return Json{{"$array", Json{{"bounds", bounds}, {"rows", rows}}}};
}

[[noreturn]] void bad(const std::string& what, const Json& value) {
  throw ScenarioError(what + ": " + value.dump());
}

int32_t boundValue(const Json& j) {
  if (!j.is_number_integer()) bad("array bound is not an integer", j);
  auto v = j.get<int64_t>();
  if (v < -100000 || v > 100000) bad("array bound out of range", j);
  return static_cast<int32_t>(v);
}

Variant arrayFromJson(const Json& config, const Names& names) {
  if (!config.is_object() || !config.contains("bounds") || !config.contains("rows"))
    bad("an $array needs bounds and rows", config);
  const Json& jb = config["bounds"];
  if (!jb.is_array() || jb.empty() || jb.size() > 2) bad("an $array has one or two bounds", jb);
  std::vector<Bound> bounds;
  for (const auto& pair : jb) {
    if (!pair.is_array() || pair.size() != 2) bad("a bound is [lower, upper]", pair);
    Bound b{boundValue(pair[0]), boundValue(pair[1])};
    if (b.upper < b.lower - 1) bad("a bound's upper is below its lower", pair);
    bounds.push_back(b);
  }
  // The rows are checked against the bounds before anything is allocated,
  // so the array is never larger than the text that describes it.
  const Json& rows = config["rows"];
  if (!rows.is_array() || rows.size() != bounds[0].count())
    bad("rows do not match the bounds", rows);
  if (bounds.size() == 2)
    for (const auto& row : rows)
      if (!row.is_array() || row.size() != bounds[1].count())
        bad("a row does not match the bounds", row);
  SafeArray a(bounds);
  for (size_t i = 0; i < rows.size(); ++i) {
    auto r = static_cast<int32_t>(i) + bounds[0].lower;
    if (bounds.size() == 1) {
      a.at({r}) = fromJson(rows[i], names);
      continue;
    }
    for (size_t j = 0; j < rows[i].size(); ++j)
      a.at({r, static_cast<int32_t>(j) + bounds[1].lower}) = fromJson(rows[i][j], names);
  }
  return Variant(std::move(a));
}

double numberOf(const Json& j) {
  if (!j.is_number()) bad("expected a number", j);
  return j.get<double>();
}

/// A whole number within [low, high], checked before any cast.
bool wholeWithin(double d, double low, double high) {
  return std::isfinite(d) && d == std::trunc(d) && d >= low && d <= high;
}

}  // namespace

Json toJson(const Variant& v, const Names& names) {
  switch (v.type()) {
    case VarType::Empty:
      return Json{{"$empty", true}};
    case VarType::Null:
      return nullptr;
    case VarType::Missing:
      return Json{{"$missing", true}};
    case VarType::Boolean:
      return v.boolean();
    case VarType::Integer:
    case VarType::Long:
      return static_cast<int64_t>(v.number());
    case VarType::Double:
      return v.number();
    case VarType::Date:
      return Json{{"$date", v.date().iso()}};
    case VarType::String:
      return v.string();
    case VarType::Object: {
      if (!v.object()) return Json{{"$object", nullptr}};
      std::string name = names.nameOf(v.object().get());
      return Json{{"$object", name.empty() ? Json("?") : Json(name)}};
    }
    case VarType::Array:
      return arrayToJson(v.array(), names);
  }
  return nullptr;
}

Variant fromJson(const Json& j, const Names& names) {
  switch (j.type()) {
    case Json::value_t::null:
      return Variant::null();
    case Json::value_t::boolean:
      return Variant(j.get<bool>());
    case Json::value_t::string:
      return Variant(j.get<std::string>());
    case Json::value_t::number_integer:
    case Json::value_t::number_unsigned: {
      if (j.is_number_unsigned() && j.get<uint64_t>() > std::numeric_limits<int32_t>::max())
        return Variant(j.get<double>());
      auto n = j.get<int64_t>();
      if (n < std::numeric_limits<int32_t>::min() || n > std::numeric_limits<int32_t>::max())
        return Variant(static_cast<double>(n));
      return Variant(static_cast<int32_t>(n));
    }
    case Json::value_t::number_float:
      return Variant(j.get<double>());
    case Json::value_t::object: {
      if (j.size() != 1) bad("a tagged value has exactly one key", j);
      const std::string& key = j.begin().key();
      const Json& val = j.begin().value();
      if (key == "$integer") {
        double d = numberOf(val);
        if (!wholeWithin(d, std::numeric_limits<int16_t>::min(),
                         std::numeric_limits<int16_t>::max()))
          bad("$integer is a 16-bit whole number", j);
        return Variant(static_cast<int16_t>(d));
      }
      if (key == "$long") {
        double d = numberOf(val);
        if (!wholeWithin(d, std::numeric_limits<int32_t>::min(),
                         std::numeric_limits<int32_t>::max()))
          bad("$long is a 32-bit whole number", j);
        return Variant(static_cast<int32_t>(d));
      }
      if (key == "$double") return Variant(numberOf(val));
      if (key == "$date") {
        if (!val.is_string()) bad("$date is a text", j);
        try {
          return Variant(Date::parse(val.get<std::string>()));
        } catch (const AutomationError&) {
          bad("not a date", j);
        }
      }
      if (key == "$empty") return Variant();
      if (key == "$missing") return Variant::missing();
      if (key == "$object") {
        if (val.is_null()) return Variant::nothing();
        if (!val.is_string()) bad("$object is a name or null", j);
        auto object = names.find(val.get<std::string>());
        if (!object) bad("no object of that name", j);
        return Variant(object);
      }
      if (key == "$array") return arrayFromJson(val, names);
      bad("unknown tagged value", j);
    }
    default:
      bad("not a value", j);
  }
}

// ---- Log and failures -----------------------------------------------------------------

void Log::add(const std::string& object, const std::string& op, const Json& fields, bool failed) {
  Json entry = {{"step", step}, {"object", object}, {"op", op}};
  for (const auto& [k, v] : fields.items()) entry[k] = v;
  if (failed) entry["failed"] = true;
  entries_.push_back(std::move(entry));
}

FailList::FailList(const Json& list) {
  if (list.is_null()) return;
  if (!list.is_array()) bad("fail is a list of operation names", list);
  for (const auto& item : list) {
    if (!item.is_string()) bad("fail is a list of operation names", list);
    auto text = item.get<std::string>();
    auto colon = text.find(':');
    if (colon == std::string::npos)
      rules_.emplace_back(text, "");
    else
      rules_.emplace_back(text.substr(0, colon), text.substr(colon + 1));
  }
}

bool FailList::fails(std::string_view op, std::string_view detail, bool substring) const {
  for (const auto& [o, d] : rules_) {
    if (o != op) continue;
    if (d.empty()) return true;
    if (substring ? detail.find(d) != std::string_view::npos : detail == d) return true;
  }
  return false;
}

AutomationError failure(const std::string& object, std::string_view op) {
  return AutomationError(5, object, std::string(op) + " failed");
}

}  // namespace brelvane::standins
