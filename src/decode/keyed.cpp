#include "decode/keyed.h"

#include <stdexcept>

namespace brelvane::decode {

namespace {

bool isControl(Kind kind) {
  return kind == Kind::Control || kind == Kind::ControlRef;
}

/// Appends the text a line inserts, fetched when the line is written.
void appendValue(SqlText& sql, Frame& f, const KeyedDecoder& row, int8_t value,
                 std::span<const KeyedArg> args) {
  if (value == kCompany) {
    sql.append(f.host.companyCodeText());
    return;
  }
  const KeyedArg& arg = args[static_cast<size_t>(value)];
  switch (row.params[value].kind) {
    case Kind::Code:
      sql.append(f.numericCode(*std::get<const Variant*>(arg)));
      return;
    case Kind::TextCode:
      sql.append(f.textCode(*std::get<const Variant*>(arg)));
      return;
    case Kind::SqlValue:
      sql.append(f.utility().ValueForSql(*std::get<const Variant*>(arg)));
      return;
    case Kind::UserNumber:
      sql.append(toInteger(Variant(std::get<std::string_view>(arg))));
      return;
    case Kind::Long:
    case Kind::Integer:
      sql.append(std::get<int32_t>(arg));
      return;
    case Kind::Text:
      sql.append(std::get<std::string_view>(arg));
      return;
    default:  // a control: refused when the table compiles (insertsNoControl)
      break;
  }
  throw std::logic_error("a keyed line inserts a control");
}

}  // namespace

void keyedDecode(Frame& f, const KeyedDecoder& row, std::span<const KeyedArg> args) {
  static const std::shared_ptr<Dispatch> kNothing;
  const std::shared_ptr<Dispatch>* control = &kNothing;
  for (size_t i = 0; i < args.size(); ++i)
    if (isControl(row.params[i].kind))
      control = std::get<const std::shared_ptr<Dispatch>*>(args[i]);
  f.descriptor(*control, row.column);
  SqlText sql = f.text(512);
  for (const Line& line : row.lines) {
    if (line.text.empty()) break;
    if (sql.size() > 0) sql.line();
    sql.append(line.text);
    if (line.value != kNoValue) {
      appendValue(sql, f, row, line.value, args);
      sql.append(line.tail);
    }
  }
  if (row.finalBreak) sql.line();
  f.sql(sql);
}

}  // namespace brelvane::decode
