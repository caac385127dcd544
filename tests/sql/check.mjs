// Parses every SQL text the golden scenarios produce with an independent
// T-SQL parser (sqlparser-rs, MsSql dialect) and adds the one check it lacks
// here: a comparison standing where an ORDER BY expects a value.
//
// Input: JSON lines from brelvane_sql_collect on standard input.
// Texts that are invalid on purpose are listed in deliberate.json, each with
// the member, the reason, and the repair that makes it valid; a listed text
// must parse once repaired, so a real defect cannot hide behind a deliberate
// one. Exit status 1 when any other text is invalid.
import { readFileSync } from 'node:fs';
import { init, parse } from '@guanmingchiu/sqlparser-ts';
import { defectsOf, deliberate, repaired } from './deliberate.mjs';

await init();

const comparisons = new Set(['Eq', 'NotEq', 'Lt', 'Gt', 'LtEq', 'GtEq', 'Spaceship']);

/// Every ORDER BY expression of the statement, wherever it stands.
function* orderByExpressions(node) {
  if (Array.isArray(node)) {
    for (const item of node) yield* orderByExpressions(item);
  } else if (node && typeof node === 'object') {
    for (const [key, value] of Object.entries(node)) {
      if (key === 'order_by' && value?.kind?.Expressions)
        for (const item of value.kind.Expressions) yield item.expr;
      yield* orderByExpressions(value);
    }
  }
}

/// null when the text is valid T-SQL, else the reason.
function problem(sql) {
  let statements;
  try {
    statements = parse(sql, 'mssql');
  } catch (e) {
    return String(e.message ?? e).replace(/\s+/g, ' ');
  }
  for (const expr of orderByExpressions(statements))
    if (expr?.BinaryOp && comparisons.has(expr.BinaryOp.op))
      return `a comparison (${expr.BinaryOp.op}) where ORDER BY expects a value`;
  return null;
}

const texts = readFileSync(0, 'utf8').split('\n').filter(Boolean).map((line) => JSON.parse(line));

let invalid = 0, listed = 0, checked = 0;
const used = new Set();
for (const t of texts) {
  checked++;
  const reason = problem(t.sql);
  if (reason === null) continue;
  const matching = defectsOf(t.class, t.member, t.sql);
  // Repair every listed defect of the member: what remains must parse.
  const left = matching.length ? problem(repaired(t.sql, matching)) : reason;
  matching.forEach((d) => used.add(d));
  if (left === null) {
    listed++;
  } else {
    invalid++;
    console.log(`INVALID ${t.class} ${t.member} (${t.file}, step ${t.step}, ${t.kind})` +
      `${matching.length ? ' beyond its listed defects' : ''}: ${left}`);
    console.log(repaired(t.sql, matching).replace(/\r\n/g, '\n'));
  }
}
for (const d of deliberate)
  if (!used.has(d)) console.log(`note: the deliberate defect of ${d.member} (${d.why}) was not met`);
console.log(`${checked} SQL texts checked: ${checked - listed - invalid} valid, ${listed} invalid on purpose, ${invalid} invalid`);
process.exit(invalid === 0 ? 0 : 1);
