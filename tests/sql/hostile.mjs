// Judges the hostile calls of brelvane_sql_hostile (JSON lines on standard
// input) with the T-SQL parser of check.mjs.
//
// A text is reduced to its parse tree without source positions and with the
// content of every literal blanked, so two texts compare equal when they
// differ only in what their literals hold. Deliberately invalid texts get
// their listed repair first (deliberate.json), the hostile and the benign
// alike. For each (member, position, mode):
// - the references are the calls with the benign values "7" and "Abc" that
//   composed a text;
// - a hostile call that composed a text is held when its texts, one by one,
//   equal those of a reference; otherwise the value escaped its literal
//   (or broke the statement, when a text no longer parses);
// - the empty text has no character that could leave a literal, but it may
//   take a branch of its own (a filter left out), which no benign value
//   takes: it is judged alone, and held when its texts parse;
// - a call that left Str_Sql empty failed cleanly when nothing reached the
//   caller, and every text it ran before equals the reference's at the same
//   place; with the mode on, that is allowed in number and identifier
//   positions, and wherever the same call fails with the mode off too;
// - a text position must also keep the value as written inside one literal
//   (its apostrophes doubled, not re-read): `a'--` can leave the tree as it
//   was and still cut the rest of a line off as a comment.
// A position whose marker stood outside quotes is a number position when
// the mode on refuses "Abc" there, an identifier position otherwise (its
// name is blanked like a literal); one inside quotes is a text position,
// or a quoted number when the mode on refuses "Abc" (listed by name); one
// that reaches the SQL only as a date literal is a date position.
// Exit status 1 when the mode on lets any value escape, alters one, or fails
// any case but a non-number in a number position (quoted or not), a
// non-identifier in an identifier position or a non-date in a date position.
import { readFileSync } from 'node:fs';
import { init, parse } from '@guanmingchiu/sqlparser-ts';

await init();

const deliberate = JSON.parse(readFileSync(new URL('./deliberate.json', import.meta.url)));
const lines = readFileSync(0, 'utf8').split('\n').filter(Boolean).map((l) => JSON.parse(l));
const hostile = lines.shift().hostile;

function repair(c, sql) {
  for (const d of deliberate)
    if (d.member === c.member && (!d.class || d.class === c.class) && d.repair.every(([from]) => sql.includes(from)))
      for (const [from, to] of d.repair) sql = sql.split(from).join(to);
  return sql;
}

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
      return JSON.stringify(reduce(parse(repair(c, sql), 'mssql')));
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
const tally = { off: { cases: 0, escapes: new Map(), broken: 0, altered: 0, raised: 0, failed: new Map(), byKind: new Map() },
                on: { cases: 0, escapes: new Map(), broken: 0, altered: 0, raised: 0, failed: new Map(), byKind: new Map() } };
const faults = [];
const positions = new Set();
const quotedNumbers = new Set();
let longNames = 0;  // names past the server's 128 characters that the mode on let through
for (const cases of groups.values()) {
  const where = `${cases[0].class}\t${cases[0].member}\t${cases[0].position}`;
  // Outside quotes, a number position when the mode on refuses "Abc" there,
  // else an identifier position; inside quotes, a number (the company code
  // of a few members) when the mode on refuses "Abc", else a text.
  const kind = cases[0].kind === 'date' ? 'date'
    : cases[0].kind === 'text' ? (refusesAbc.has(where) ? 'quoted number' : 'text')
    : refusesAbc.has(where) ? 'number' : 'identifier';
  if (kind === 'quoted number') quotedNumbers.add(where.replaceAll('\t', ' '));
  const refs = cases.filter((c) => typeof c.value === 'string' && !c.failed && !c.raised);
  const refTrees = refs.map((c) => trees(c, kind === 'identifier').list);
  for (const c of cases.filter((c) => typeof c.value === 'number')) {
    const t = tally[c.mode];
    const value = hostile[c.value];
    const family = c.class.replace('Brelvane.', '');
    const label = `${c.class}.${c.member} ${c.position} (${kind}) mode ${c.mode} <- ${JSON.stringify(value.slice(0, 40))}`;
    positions.add(`${c.class}\t${c.member}\t${c.position}`);
    t.cases++;
    const mine = trees(c, kind === 'identifier');
    if (kind === 'identifier' && c.mode === 'on' && !c.failed && value.length > 128) longNames++;
    const same = (ref) => mine.list.every((tree, i) => tree !== null && tree === ref[i]);
    let verdict = 'held';
    if (c.raised) {
      verdict = 'raised';
    } else if (c.failed) {
      verdict = refTrees.some(same) || mine.list.length === 0 ? 'failed' : 'escape';
    } else if (mine.list.includes(null)) {
      verdict = 'broken';
    } else if (value === '') {
      verdict = 'held';
    } else if (!refTrees.some((r) => r.length === mine.list.length && same(r))) {
      verdict = 'escape';
    } else if (kind === 'text') {
      const doubled = value.replace(/[\u02BC\u2018\u2019\uFF07]/g, '$&$&');
      if (!mine.literals.some((l) => l.includes(value) || l.includes(doubled))) verdict = 'altered';
    }
    if (verdict === 'raised') t.raised++;
    else if (verdict !== 'held' && verdict !== 'failed') {
      count(t.escapes, family);
      count(t.byKind, kind);
      if (verdict === 'broken') t.broken++;
      if (verdict === 'altered') t.altered++;
    }
    if (verdict === 'failed') count(t.failed, kind);
    const own = failedOff.has(`${c.class}\t${c.member}\t${c.position}\t${c.value}`);
    const allowed = verdict === 'held' || (verdict === 'failed' && (kind !== 'text' || own));
    if (c.mode === 'on' && !allowed) faults.push(`${verdict.toUpperCase()} ${label}${c.why ? `: ${c.why}` : ''}${c.raised ? ` ${JSON.stringify(c.raised)}` : ''}`);
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
