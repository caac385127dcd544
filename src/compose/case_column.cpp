#include "compose/case_column.h"

#include "compose/guard.h"

namespace brelvane {

void appendLabel(SqlText& sql, const HostAccess& host, int32_t messageId) {
  sql.append(host.label(messageId), "' ");
}

void appendCase(SqlText& sql, const HostAccess& host, const CaseColumn& column) {
  for (auto line : column.open) sql.line(line);
  const BranchForm& form = column.form;
  for (const Branch& branch : column.branches) {
    sql.append(form.when).rightAligned(branch.value, static_cast<size_t>(form.width));
    if (form.twoLines) sql.line();
    sql.append(form.then);
    appendLabel(sql, host, branch.messageId);
    sql.line();
  }
  if (column.otherwise.present()) {
    sql.append(column.otherwise.line);
    if (column.otherwise.messageId != 0) appendLabel(sql, host, column.otherwise.messageId);
    sql.line();
  }
  for (auto line : column.close) sql.line(line);
}

void appendCaseFragment(SqlText& sql, const HostAccess& host, const CaseColumn& column) {
  sql.fragment([&] { appendCase(sql, host, column); });
}

}  // namespace brelvane
