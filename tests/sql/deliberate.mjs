// The texts composed invalid on purpose (deliberate.json) and their repairs.
import { readFileSync } from 'node:fs';

export const deliberate = JSON.parse(readFileSync(new URL('./deliberate.json', import.meta.url)));

/// The listed defects a text of that class and member shows: every repair finds its text.
export const defectsOf = (cls, member, sql) => deliberate.filter((d) => d.member === member &&
  (!d.class || d.class === cls) && d.repair.every(([from]) => sql.includes(from)));

/// The text with the repairs of those defects made.
export const repaired = (sql, defects) =>
  defects.flatMap((d) => d.repair).reduce((text, [from, to]) => text.split(from).join(to), sql);
