// Judges the hostile calls of brelvane_sql_hostile (JSON lines on standard
// input) with the T-SQL parser of check.mjs. Texts are compared as parse
// trees without source positions and with literals blanked, after the repair
// of their deliberate defects. Per member, position and mode, a hostile call
// is held when its texts equal those of a benign reference ("7", "Abc") one
// by one, else it escaped (or broke the statement). The empty value may take
// a branch no benign value takes (a filter left out): held when it parses.
// A call that left Str_Sql empty failed cleanly when nothing reached the
// caller and every text it ran equals the reference's. A text position must
// also keep the value as written in one literal: `a'--` can leave the tree
// as it was and still comment the rest of a line out.
// Positions: outside quotes a number (the mode on refuses "Abc" there) or an
// identifier (its name blanked like a literal); inside quotes a text or a
// quoted number; reached only as a date literal, a date.
// Exit status 1 when the mode on lets a value escape, alters one, or fails a
// case, but a non-number, non-identifier or non-date in such a position, or
// a text the mode off refuses too.
import { readFileSync } from 'node:fs';
import { init, parse } from '@guanmingchiu/sqlparser-ts';
import { defectsOf, repaired } from './deliberate.mjs';

await init();

const lines = readFileSync(0, 'utf8').split('\n').filter(Boolean).map((l) => JSON.parse(l));
const hostile = lines.shift().hostile;

const literals = [];  // of the last tree reduced
let name = null;  // the value of an identifier position, blanked like a literal
function reduce(node) {
  if (Array.isArray(node)) return node.map(reduce);
  if (!node || typeof node !== 'object') return node;
  if (name !== null && node.value === name && !node.quote_style) return '?';
  const out = {};
  for (const [key, value] of Object.entries(node)) {
    if (key === 'span') continue;
    if (key === 'Value' && value?.value && typeof value.value === 'object') {
      const [kind, content] = Object.entries(value.value)[0];
      if (typeof content === 'string') literals.push(content);
      out[key] = kind;
    } else {
      out[key] = reduce(value);
    }
  }
  return out;
}

/// The reduced trees of a call's texts (null for one that does not parse)
/// and its literals; `identifier`: the value is a name, blanked too.
function trees(c, identifier) {
  literals.length = 0;
  name = identifier ? (typeof c.value === 'number' ? hostile[c.value] : c.value) : null;
  const list = c.sql.map((sql) => {
    try {
      return JSON.stringify(reduce(parse(repaired(sql, defectsOf(c.class, c.member, sql)), 'mssql')));
    } catch {
      return null;
    }
  });
  return { list, literals: [...literals] };
}

const groups = new Map();
for (const c of lines) {
  const key = `${c.class}\t${c.member}\t${c.position}\t${c.mode}`;
  if (!groups.has(key)) groups.set(key, []);
  groups.get(key).push(c);
}
// A member that leaves no Str_Sql (a bridge that runs its query and returns
// a value) fails by running none.
for (const cases of groups.values())
  if (cases.find((c) => c.value === '7')?.failed)
    for (const c of cases) c.failed = c.sql.length === 0;
const failedOff = new Set();  // cases that fail with the mode off too: the member's own refusal
const refusesAbc = new Set();  // positions where the mode on refuses "Abc": numbers
for (const c of lines) {
  if (c.mode === 'on' && c.value === 'Abc' && c.failed) refusesAbc.add(`${c.class}\t${c.member}\t${c.position}`);
  if (c.mode === 'off' && c.failed) failedOff.add(`${c.class}\t${c.member}\t${c.position}\t${c.value}`);
}

const count = (map, key) => map.set(key, (map.get(key) ?? 0) + 1);
const counts = () => ({ cases: 0, escapes: new Map(), broken: 0, altered: 0, raised: 0, failed: new Map(), byKind: new Map() });
const tally = { off: counts(), on: counts() };
const faults = [];
const positions = new Set();
const quotedNumbers = new Set();
let longNames = 0;  // names past the server's 128 characters that the mode on let through
for (const cases of groups.values()) {
  const where = `${cases[0].class}\t${cases[0].member}\t${cases[0].position}`;
  const kind = cases[0].kind === 'date' ? 'date'
    : cases[0].kind === 'text' ? (refusesAbc.has(where) ? 'quoted number' : 'text')
    : refusesAbc.has(where) ? 'number' : 'identifier';
  if (kind === 'quoted number') quotedNumbers.add(where.replaceAll('\t', ' '));
  const refs = cases.filter((c) => typeof c.value === 'string' && !c.failed && !c.raised);
  const refTrees = refs.map((c) => trees(c, kind === 'identifier').list);
  for (const c of cases.filter((c) => typeof c.value === 'number')) {
    const t = tally[c.mode];
    const value = hostile[c.value];
    positions.add(where);
    t.cases++;
    const mine = trees(c, kind === 'identifier');
    if (kind === 'identifier' && c.mode === 'on' && !c.failed && value.length > 128) longNames++;
    const same = (ref) => mine.list.every((tree, i) => tree !== null && tree === ref[i]);
    const doubled = value.replace(/[\u02BC\u2018\u2019\uFF07]/g, '$&$&');
    const verdict = c.raised ? 'raised'
      : c.failed ? (refTrees.some(same) || mine.list.length === 0 ? 'failed' : 'escape')
      : mine.list.includes(null) ? 'broken'
      : value === '' ? 'held'
      : !refTrees.some((r) => r.length === mine.list.length && same(r)) ? 'escape'
      : kind === 'text' && !mine.literals.some((l) => l.includes(value) || l.includes(doubled)) ? 'altered'
      : 'held';
    if (verdict === 'raised') t.raised++;
    else if (verdict === 'failed') count(t.failed, kind);
    else if (verdict !== 'held') {
      count(t.escapes, c.class.replace('Brelvane.', ''));
      count(t.byKind, kind);
      if (verdict === 'broken') t.broken++;
      if (verdict === 'altered') t.altered++;
    }
    const own = failedOff.has(`${where}\t${c.value}`);
    if (c.mode === 'on' && verdict !== 'held' && (verdict !== 'failed' || (kind === 'text' && !own)))
      faults.push(`${verdict.toUpperCase()} ${c.class}.${c.member} ${c.position} (${kind}) mode ${c.mode} <- ` +
        `${JSON.stringify(value.slice(0, 40))}${c.why ? `: ${c.why}` : ''}${c.raised ? ` ${JSON.stringify(c.raised)}` : ''}`);
  }
}

const list = (map) => [...map].map(([k, n]) => `${k} ${n}`).join(', ') || 'none';
const total = (map) => [...map.values()].reduce((a, b) => a + b, 0);
for (const f of faults) console.log(f);
console.log(`hostile values: ${tally.off.cases} cases in each mode (${positions.size} positions of members, ${hostile.length} values)`);
for (const mode of ['off', 'on']) {
  const t = tally[mode];
  console.log(`mode ${mode}: ${total(t.escapes)} escapes (${list(t.escapes)}; by position ${list(t.byKind)}; ` +
              `${t.broken} of them texts that no longer parse, ` +
              `${t.altered} values not kept as written), ` +
              `${total(t.failed)} clean failures (${list(t.failed)})` +
              (t.raised ? `, ${t.raised} errors that reached the caller` : ''));
}
for (const q of quotedNumbers) console.log(`quoted number (the mode on refuses a text): ${q}`);
if (longNames) console.log(`note: the mode on took ${longNames} name(s) longer than the server's 128 characters`);
process.exit(faults.length === 0 ? 0 : 1);
