#include "decode/keyed.h"

namespace brelvane::decode {

namespace {

bool isControl(Kind kind) {
  return kind == Kind::Control || kind == Kind::ControlRef;
}

/// The text a line inserts, fetched when the line is written.
std::string valueText(Frame& f, const KeyedDecoder& row, int8_t value,
                      std::span<const Variant> args) {
  if (value == kCompany) return f.host.companyCodeText();
  const Variant& v = args[static_cast<size_t>(value)];
  switch (row.params[value].kind) {
    case Kind::Code:
      return f.numericCode(v);
    case Kind::TextCode:
      return f.textCode(v);
    case Kind::SqlValue:
      return f.utility().ValueForSql(v);
    case Kind::UserNumber:
      return decimal(toInteger(v));
    default:  // numbers and texts, already converted by the call
      return concatText(v);
  }
}

}  // namespace

void keyedDecode(Frame& f, const KeyedDecoder& row, std::span<const Variant> args) {
  std::shared_ptr<Dispatch> control;
  for (size_t i = 0; i < args.size(); ++i)
    if (isControl(row.params[i].kind)) control = args[i].object();
  f.descriptor(control, row.column);
  SqlText sql = f.text(512);
  for (const Line& line : row.lines) {
    if (line.text.empty()) break;
    if (sql.size() > 0) sql.line();
    sql.append(line.text);
    if (line.value != kNoValue) sql.append(valueText(f, row, line.value, args), line.tail);
  }
  if (row.finalBreak) sql.line();
  f.sql(sql);
}

}  // namespace brelvane::decode
