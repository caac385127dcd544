// The reference site in headless Chromium, against the tool and the T-SQL
// parser: every member is there; the search for a table leaves its readers;
// a deep link scrolls to its member; the SQL shown is the SQL composed; the
// where-used sets are the parser's; the grants cover exactly what is read.
// Usage: node check.mjs TOOL OUTDIR   (writes OUTDIR/site and a screenshot)
import { execFileSync, spawnSync } from 'node:child_process';
import { readFileSync } from 'node:fs';
import { init, parse } from '@guanmingchiu/sqlparser-ts';
import puppeteer from 'puppeteer-core';
import { defectsOf, repaired } from '../sql/deliberate.mjs';

const [tool, outDir] = process.argv.slice(2);
const site = `${outDir}/site`;
const run = (...args) => execFileSync(tool, args, { encoding: 'utf8', maxBuffer: 1 << 26 });
let failures = 0;
const check = (ok, what) => ok || (failures++, console.log(`FAIL ${what}`));
const same = (a, b) => JSON.stringify([...a].sort()) === JSON.stringify([...b].sort());

const started = performance.now();
run('site', site);
const writeMs = Math.round(performance.now() - started);
const classes = JSON.parse(run('list', '--json'));
const expected = classes.flatMap((c) => c.methods.map((m) => `${c.progId}.${m.name}`));
check(expected.length === 127, `127 members listed, not ${expected.length}`);

// --- What the parser reads in each member's texts, from `call --json`.
await init();
const builtins = new Set(['ISNULL', 'PATINDEX', 'COUNT', 'MAX', 'MIN', 'SUM', 'LEN', 'RTRIM', 'LTRIM']);
const reads = () => ({ tables: new Set(), tableFunctions: new Set(), functions: new Set(), columns: new Set() });
const agrees = (what, tokenizer, parser) => Object.keys(parser).forEach((k) =>
  check(tokenizer && same(tokenizer[k], parser[k]), `${what}: ${k} of the tokenizer ` +
    `${JSON.stringify(tokenizer?.[k])} are not the parser's ${JSON.stringify([...parser[k]])}`));
const nameOf = (parts) => parts.map((p) => p.Identifier.value).join('.').replace(/^dbo\./i, '');

function readsOf(sql, cls, member) {
  let tree;
  try {
    tree = parse(sql, 'mssql');
  } catch {
    tree = parse(repaired(sql, defectsOf(cls, member, sql)), 'mssql');  // invalid on purpose
  }
  const r = reads();
  (function walk(node) {
    if (Array.isArray(node)) return node.forEach(walk);
    if (!node || typeof node !== 'object') return;
    for (const [key, value] of Object.entries(node)) {
      if (key === 'Table') (value.args ? r.tableFunctions : r.tables).add(nameOf(value.name));
      else if (key === 'Function' && !builtins.has(nameOf(value.name).toUpperCase()))
        r.functions.add(nameOf(value.name));
      else if (key === 'Identifier' && 'value' in value) r.columns.add(value.value);
      else if (key === 'CompoundIdentifier') r.columns.add(value.at(-1).value);
      if (key !== 'name' && key !== 'with_hints' && key !== 'CompoundIdentifier') walk(value);
    }
  })(tree);
  return r;
}

/// The words of a command as the shell splits it ('...' quoting only).
const words = (command) =>
  [...command.matchAll(/'((?:[^']|'\\'')*)'|(\S+)/g)].map((m) =>
    m[1] !== undefined ? m[1].replace(/'\\''/g, "'") : m[2]);

// The example calls the class pages give, each run by the tool itself.
const browser = await puppeteer.launch({
  executablePath: process.env.CHROMIUM ?? '/usr/bin/chromium',
  headless: true,
  args: process.getuid?.() === 0 ? ['--no-sandbox'] : [],
});
const page = await browser.newPage();
const consoleErrors = [];
page.on('console', (m) => m.type() === 'error' && consoleErrors.push(m.text()));
page.on('pageerror', (e) => consoleErrors.push(String(e)));

const index = JSON.parse(readFileSync(`${site}/where-used.json`, 'utf8'));
const readersOfTable = new Set();
const parserObjects = { SELECT: new Set(), EXECUTE: new Set() };
const onPage = [];
const composed = {};
let texts = 0;
for (const c of classes) {
  await page.goto(`file://${site}/${c.progId.split('.')[1].toLowerCase()}.html`);
  const sections = await page.$$eval('section.member', (all) =>
    all.map((s) => ({ id: s.id, calls: [...s.querySelectorAll('code.call')].map((e) => e.textContent) })));
  for (const s of sections) {
    const key = `${c.progId}.${s.id}`;
    onPage.push(key);
    const union = reads();
    const mine = index.members.find((m) => `${m.class}.${m.member}` === key);
    let n = 0;
    const procedures = new Set();
    for (const command of s.calls) {
      // A lookup that fails on purpose exits 1 and still prints its result.
      const call = spawnSync(tool, ['call', '--json', ...words(command).slice(2)], { encoding: 'utf8' });
      const result = JSON.parse(call.stdout);
      composed[key] ??= result.properties.Str_Sql;
      const sqls = [result.properties.Str_Sql, ...result.log.filter((e) => e.object === 'connection' && e.op === 'Execute').map((e) => e.sql)];
      for (const e of result.log)
        if (e.object === 'connection' && e.op === 'ExecuteCommand' && e.commandType === 4)
          procedures.add(e.commandText);
      for (const sql of sqls.filter((t) => typeof t === 'string' && t !== '')) {
        texts++;
        const r = readsOf(sql, c.progId, s.id);
        const tokenizer = mine?.texts[n++];
        for (const k of Object.keys(union)) r[k].forEach((name) => union[k].add(name));
        agrees(`${key}, text ${n}`, tokenizer, r);
      }
    }
    check(mine && mine.texts.length === n, `${key}: the site reads ${mine?.texts.length} texts, the calls give ${n}`);
    if (union.tables.has('PC04_NATURECOSTI')) readersOfTable.add(key);
    [...union.tables, ...union.tableFunctions].forEach((n) => parserObjects.SELECT.add(n));
    [...union.functions, ...procedures].forEach((n) => parserObjects.EXECUTE.add(n));
    check(mine && same(mine.procedures, procedures), `${key}: procedures ${JSON.stringify(mine?.procedures)}`);
    agrees(key, mine, union);
  }
}
check(same(onPage, expected), `the class pages show ${onPage.length} members, not the 127 listed`);

// --- The index page: every member, and the search.
await page.goto(`file://${site}/index.html`);
const rows = await page.$$eval('#members tbody tr', (all) => all.map((r) => r.dataset.member));
check(same(rows, expected), `the index lists ${rows.length} members, not the 127 listed`);
await page.type('#search', 'PC04_NATURECOSTI');
const left = await page.$$eval('#members tbody tr', (all) => all.filter((r) => !r.hidden).map((r) => r.dataset.member));
check(readersOfTable.size > 0 && same(left, readersOfTable),
  `the search for PC04_NATURECOSTI leaves ${JSON.stringify(left)}, not ${JSON.stringify([...readersOfTable])}`);

// --- A deep link scrolls its member into view.
await page.goto(`file://${site}/clsci_lookup.html#NatureCosti`);
const box = await page.$eval('#NatureCosti', (e) => {
  const r = e.getBoundingClientRect();
  return { top: r.top, scrolled: window.scrollY, height: window.innerHeight };
});
check(box.scrolled > 0 && box.top >= 0 && box.top < box.height, `#NatureCosti is not in view: ${JSON.stringify(box)}`);
await (await page.$('#NatureCosti')).screenshot({ path: `${outDir}/site-NatureCosti.png` });

// --- The SQL shown is the SQL composed, byte for byte (CR LF included).
for (const [cls, member] of [['CLSCI_LOOKUP', 'NatureCosti'], ['CLSCI_LOOKUP', 'MensilitaSchedeCosti'], ['CLSCI_DECODE', 'TipiIVA']]) {
  await page.goto(`file://${site}/${cls.toLowerCase()}.html`);
  const shownSql = await page.$eval(`[id="${member}"] pre.sql`, (e) => e.textContent);
  const want = composed[`Brelvane.${cls}.${member}`];
  check(typeof want === 'string' && want.includes('\r\n') && shownSql === want, `the SQL shown for ${member} is not its Str_Sql`);
}
await browser.close();
check(consoleErrors.length === 0, `console errors: ${consoleErrors.join('; ')}`);

// --- The grants: each object read once, with its privilege, and parsed.
const grants = run('site', '--grants', 'app_reader').split('\n').filter(Boolean);
const granted = { SELECT: [], EXECUTE: [] };
for (const g of grants) {
  const m = /^GRANT (SELECT|EXECUTE) ON (\S+) TO \[app_reader\];$/.exec(g);
  if (check(m !== null, `unexpected grant: ${g}`)) granted[m[1]].push(m[2]);
  try {
    check(parse(g, 'mssql')[0].Grant !== undefined, `not a GRANT: ${g}`);
  } catch (e) {
    check(false, `${g} does not parse: ${e.message}`);
  }
}
for (const p of ['SELECT', 'EXECUTE']) {
  check(new Set(granted[p]).size === granted[p].length, `an object granted ${p} twice`);
  check(same(granted[p], parserObjects[p]), `${p} granted on ${JSON.stringify(granted[p])}, ` +
    `the texts need ${JSON.stringify([...parserObjects[p]])}`);
}
check(same([...granted.SELECT, ...granted.EXECUTE], Object.keys(index.objects)),
  'the grants are not the objects of the where-used index');

console.log(`site written in ${writeMs} ms (with the process start); ${onPage.length} members, ` +
  `${texts} texts parsed, ${readersOfTable.size} read PC04_NATURECOSTI, ${grants.length} grants`);
process.exit(failures === 0 ? 0 : 1);
