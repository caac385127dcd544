#include "cli/call_print.h"

#include <algorithm>
#include <sstream>

#include "cli/arguments.h"
#include "cli/names.h"
#include "cli/parser.h"

namespace brelvane::cli {

using standins::Json;

Grid runComposed(Connection& connection, const std::string& sql, const Variant& fields, int limit) {
  Grid grid;
  if (fields.isArray() && fields.array().dimensions() == 2) {
    const SafeArray& a = fields.array();
    for (int32_t c = a.bounds()[1].lower; c <= a.bounds()[1].upper; ++c)
      grid.captions.push_back(concatText(a.at({a.bounds()[0].lower, c})));
  }
  std::shared_ptr<Recordset> rows = connection.Execute(sql, ado::kCmdText);
  while (rows && !rows->Eof()) {
    if (static_cast<int>(grid.rows.size()) == limit) {
      grid.more = true;
      break;
    }
    std::vector<Variant> row;
    for (size_t c = 0; c < grid.captions.size(); ++c) {
      try {
        row.push_back(rows->Field(static_cast<int32_t>(c)));
      } catch (const AutomationError&) {  // fewer columns than captions
        break;
      }
    }
    grid.rows.push_back(std::move(row));
    rows->MoveNext();
  }
  return grid;
}

void printGrid(std::ostream& out, const Grid& grid) {
  std::vector<std::vector<std::string>> cells{grid.captions};
  for (const auto& row : grid.rows) {
    std::vector<std::string> texts;
    for (const auto& v : row) texts.push_back(v.isNull() ? "NULL" : concatText(v));
    cells.push_back(std::move(texts));
  }
  std::vector<size_t> width(grid.captions.size(), 0);
  for (const auto& line : cells)
    for (size_t c = 0; c < line.size() && c < width.size(); ++c)
      width[c] = std::max(width[c], displayWidth(line[c]));
  out << "Rows:\n";
  for (const auto& line : cells) {
    std::string text;
    for (size_t c = 0; c < line.size(); ++c) {
      if (c) text += " | ";
      text += line[c];
      if (c + 1 < line.size()) text.append(width[c] - displayWidth(line[c]), ' ');
    }
    out << "  " << text << '\n';
  }
  out << "(" << grid.rows.size() << (grid.more ? " rows shown, more left out)" : " rows)") << '\n';
}

bool hasReadable(const ClassInfo& info, std::string_view name) {
  const auto* p = info.findProperty(name);
  return p && p->canGet;
}

namespace {

void printProperty(std::ostream& out, const std::string& name, const Variant& v,
                   const standins::Names& names) {
  if (v.isString()) {
    auto lines = displayLines(v.string());
    if (lines.size() <= 1) {
      out << name << ": " << describe(v, names) << '\n';
    } else {
      out << name << ":\n";
      for (const auto& line : lines) out << line << '\n';
    }
    return;
  }
  out << name << ": " << describe(v, names) << '\n';
  const SafeArray& a = v.array();
  const auto& el = a.elements();
  if (a.dimensions() == 2) {
    size_t cols = a.bounds()[1].count();
    for (size_t i = 0; i < el.size(); ++i)
      out << "  (" << a.bounds()[0].lower + static_cast<int32_t>(i / cols) << ", "
          << a.bounds()[1].lower + static_cast<int32_t>(i % cols) << ")  " << describe(el[i], names)
          << '\n';
  } else if (a.dimensions() == 1) {
    for (size_t i = 0; i < el.size(); ++i)
      out << "  (" << a.bounds()[0].lower + static_cast<int32_t>(i) << ")  "
          << describe(el[i], names) << '\n';
  }
}

}  // namespace

void printLookup(std::ostream& out, const Outcome& o) {
  auto find = [&](std::string_view name) -> const Variant* {
    for (const auto& [n, v] : o.properties)
      if (sameName(n, name)) return &v;
    return nullptr;
  };
  auto text = [&](std::string_view name) {
    const Variant* v = find(name);
    return v ? concatText(*v) : std::string();
  };
  out << "Caption:   " << text("Str_Caption") << '\n';
  out << "Lookup id: " << text("IDLookup") << '\n';
  out << "Columns:  ";
  if (const Variant* fields = find("Arr_Fields"); fields && fields->isArray()) {
    const SafeArray& a = fields->array();
    if (a.dimensions() == 2) {
      int32_t row = a.bounds()[0].lower;
      for (int32_t c = a.bounds()[1].lower; c <= a.bounds()[1].upper; ++c)
        out << (c == a.bounds()[1].lower ? " " : " | ") << concatText(a.at({row, c}));
    }
  }
  out << '\n';
  std::string sql = text("Str_Sql");
  if (sql.empty()) {
    out << "SQL:       (empty: the lookup failed)\n";
    return;
  }
  out << "SQL:\n";
  for (const auto& line : displayLines(sql)) out << line << '\n';
}

void printGeneric(std::ostream& out, const Outcome& o, const standins::Names& names) {
  if (o.method->result) out << "Return: " << describe(o.result, names) << '\n';
  for (size_t i = 0; i < o.method->params.size() && i < o.args.size(); ++i)
    if (o.method->params[i].byRef)
      out << "ByRef " << o.method->params[i].name << ": " << describe(o.args[i], names) << '\n';
  for (const auto& [name, v] : o.properties) printProperty(out, name, v, names);
}

void printLog(std::ostream& out, const Json& entries) {
  if (entries.empty()) return;
  out << "Log:\n";
  for (const auto& e : entries) {
    Json rest = Json::object();
    for (const auto& [k, v] : e.items())
      if (k != "step" && k != "object" && k != "op") rest[k] = v;
    out << "  " << e["object"].get<std::string>() << ' ' << e["op"].get<std::string>();
    if (!rest.empty()) out << ' ' << rest.dump(-1, ' ', false, Json::error_handler_t::replace);
    out << '\n';
  }
}

/// `--json`: the call, its outputs, the log and the rows read.
void printJson(std::ostream& out, const Outcome& outcome, const standins::Log& log,
               const std::optional<Grid>& grid) {
  const auto& names = log.names;
  Json doc = {{"progId", outcome.info->progId}, {"method", outcome.method->name}};
  Json after = Json::array();
  for (const auto& a : outcome.args) after.push_back(standins::toJson(a, names));
  doc["args"] = after;
  doc["return"] = standins::toJson(outcome.result, names);
  doc["properties"] = Json::object();
  for (const auto& [n, v] : outcome.properties) doc["properties"][n] = standins::toJson(v, names);
  doc["log"] = log.entries();
  if (grid) {
    Json rows = Json::array();
    for (const auto& row : grid->rows) {
      Json r = Json::array();
      for (const auto& v : row) r.push_back(standins::toJson(v, names));
      rows.push_back(std::move(r));
    }
    doc["rows"] = {{"columns", grid->captions}, {"rows", rows}, {"more", grid->more}};
  }
  out << doc.dump(2, ' ', false, Json::error_handler_t::replace) << '\n';
}

}  // namespace brelvane::cli
