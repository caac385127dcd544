#include "decode/keyed.h"

namespace brelvane::decode {

void writeText(SqlText& sql, std::string_view text, bool quoted) {
  if (quoted)
    sql.append(inQuotes(text));
  else
    sql.append(Name{text});
}

void keyedDecode(Frame& f, const KeyedDecoder& row, std::span<const KeyedArg> args) {
  static const std::shared_ptr<Dispatch> kNothing;
  const std::shared_ptr<Dispatch>* control = &kNothing;
  for (const KeyedArg& arg : args)
    if (!arg.write) control = static_cast<const std::shared_ptr<Dispatch>*>(arg.value);
  f.descriptor(*control, row.column);
  SqlText sql = f.text(512);
  for (const Line& line : row.lines) {
    if (line.text.empty()) break;
    if (sql.size() > 0) sql.line();
    sql.append(line.text);
    if (line.value == kNoValue) continue;
    // The value fetched as its line is written: the host sees its calls in
    // the order of the lines.
    const bool quoted = line.text.ends_with('\'');
    if (line.value == kCompany) {
      sql.append(f.host.companyCodeText());
    } else {
      const KeyedArg& arg = args[static_cast<size_t>(line.value)];
      arg.write(sql, f, arg.value, quoted);
    }
    sql.append(line.tail);
  }
  if (row.finalBreak) sql.line();
  f.sql(sql);
}

}  // namespace brelvane::decode
