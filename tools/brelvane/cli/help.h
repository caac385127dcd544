#pragma once
// The --help texts of the tool and its commands.

namespace brelvane::cli {

inline constexpr const char* kToolHelp =
    R"(brelvane - drive the Brelvane automation component from the command line

Usage: brelvane COMMAND [ARGUMENTS]

Commands:
  run FILE.json                run a scenario file (- reads standard input)
  call PROGID METHOD [ARG...]  make one call on the built-in demo host
  list [--json] [PROGID]       list the classes, their members and events
  site DIR | --grants ROLE     write the reference site of every member, or
                               the grants a database role needs
  completion                   print a bash completion script
  help [COMMAND]               this text, or the options and details of one
                               command (also: brelvane COMMAND --help)
  --version                    the version of the tool and the library

Names of classes and members match whatever their case and accents
(CausaliContabilitaIndustriale finds CausaliContabilitàIndustriale). In every
command, the arguments after "--" are operands, never options.

Examples:
  brelvane call Brelvane.CLSCI_LOOKUP NatureCosti
  brelvane call --json Brelvane.CLSCI_LOOKUP TipiContiCoin
  brelvane list Brelvane.CLSCI_LOOKUP
  brelvane site build/site
  brelvane run tests/scenarios/lookup_code_tables.json

Exit status: 0 success; 1 a scenario expectation failed, or a call raised an
error of its own; 2 bad input (usage, unknown ProgID or member, wrong number
of arguments, malformed JSON or a scenario of the wrong shape) or output that
cannot be written, with a one-line message on standard error.
)";

inline constexpr const char* kCompletionHelp = R"(Usage: brelvane completion

Prints a bash completion script for the tool: its commands and options, and
the ProgIDs and members of the component's classes. Load it with
  source <(brelvane completion)
or install it as /usr/share/bash-completion/completions/brelvane.
)";

inline constexpr const char* kSiteHelp = R"(Usage: brelvane site DIR
       brelvane site --grants ROLE [DIR]

Writes a static reference site into DIR (created when missing): an index
with counts and a search, one page per class with a section per member (its
signature, an example call, the SQL it composes for each of its example
argument sets, its grid, descriptor or launch), and where each table,
function and procedure is used (where-used.html, .json and .csv). Every
member is called on the built-in demo host, as `brelvane call` does. Open
DIR/index.html in a browser; no server is needed.

Options:
  --grants ROLE  print the GRANT SELECT and GRANT EXECUTE statements that
                 ROLE needs for every text the members compose or run
  --help         this text

Exit status: 0, or 2 for a bad option or a directory that cannot be written.
)";

inline constexpr const char* kRunHelp = R"(Usage: brelvane run FILE.json
       brelvane run -              (the scenario on standard input)

Runs a scenario: creates the objects it names, sets their properties, calls
their methods, reads their results and releases them, against scripted
stand-ins for the host framework, its utility object, the database
connection, the sibling launchers (Tormesk.CLSCI_CONNECT and
Quillane.CLSCI_CONNECT) and event sinks.

Document:
  {"objects":   {NAME: {"kind": "host" | "connection" | "control", ...}},
   "utility":   {"fail": [OP, ...]},
   "launchers": {PROGID: {"fail": [...], "on": {METHOD: [{"call": M, "args": [...]}]}}},
   "steps":     [STEP, ...],
   "harden":    true | false}                     (only "steps" is required)

Steps:
  {"create": PROGID, "as": NAME}
  {"set": NAME, "values": {PROPERTY: VALUE, ...}}      (objects by reference)
  {"call": NAME, "method": M, "args": [VALUE, ...]}
  {"get": NAME, "properties": [P, ...]}                (none: every readable one)
  {"advise": NAME, "sink": SINK, "handlers": {EVENT: {PARAM: VALUE}}}
  {"release": NAME}
Any step may carry "expect": {KEY: VALUE}: "error" (only the fields given
are compared), "return" (call steps) or a property of the step's object,
read after the step, or "$log": the list of the log entries of that step,
each giving the fields to compare ({"object": "host", "op": "Code"}). Texts
compare equal when they match after removing the blanks that stand directly
before a CR, an LF or the end of the text.

"harden": true creates every object in the hardened mode (see brelvane call
--help); false, the default, composes exactly as without the key.

Values: null, true/false, integers (Long), fractions (Double), texts, and
  {"$integer": 5} {"$long": 5} {"$double": 5} {"$date": "2026-11-22"}
  {"$empty": true} {"$missing": true} {"$object": NAME} {"$object": null}
  {"$array": {"bounds": [[0, 1], [0, 3]], "rows": [[...], [...]]}}

Output (standard output): {"steps": [...], "log": [...], "failures": [...]}.
"log" lists every operation that reached a stand-in and every event, each
stamped with the step that caused it; objects the scenario still holds at
the end are released after the last step, under the step number that
follows it.

Exit status: 0 every expectation held; 1 an expectation failed (listed in
"failures"); 2 the file is not valid JSON or not a valid scenario (a one-line
reason on standard error, nothing on standard output).
)";

inline constexpr const char* kCallHelp = R"(Usage: brelvane call [OPTIONS] PROGID METHOD [ARG...]

Creates PROGID on the built-in demo host, sets its ActiveInterface and
Connessione when it has them, applies the --set values, calls METHOD with
the arguments and prints what the call produced. The demo host speaks
Italian from a message catalogue built into the tool; its connection answers
every query with no rows, and its proposal procedures know providers 1 and 7
of each kind; the sibling launchers are recording stand-ins.

Options:
  --company VALUE      the current company's code (default 1)
  --language VALUE     the current company's language code (default 'ITA')
  --mode VALUE         the company mode setting (default 1)
  --catalog FILE       read the message catalogue from FILE instead
                       (one message a line: ID<TAB>TEXT)
  --set PROPERTY=VALUE set a property before the call (repeatable, in order)
  --connect TEXT       use a real database instead of the demo connection: an
                       ODBC connection string ("Driver=...;Server=...;...") or
                       a DSN name; it becomes Connessione and `connection`
  --run                run the composed Str_Sql on that connection and print
                       its rows under the captions of Arr_Fields
  --limit N            at most N rows (default 50)
  --harden             compose in the hardened mode: texts go into the SQL
                       with their apostrophes doubled, numbers must be
                       numbers, and a value never rewrites the query; by
                       default the text is composed as hosts expect it, values
                       as given
  --json               print the result as one JSON document
  --help               this text
Options may come anywhere before "--"; after it every word is an argument
(a text argument that starts with "-" and is no number goes there).

Values (arguments, --set, --company, --language, --mode):
  42, -7               a Long; 2.5 a Double
  'text'               a String (quote it for the shell: "'text'"); a word
                       that is none of the forms here is a String as well
  text:42              a String, whatever follows the colon
  integer:7            an Integer (16-bit); double:7 a Double
  true, false          a Boolean
  null, empty          Null, Empty
  missing              an optional argument left out
  date:2026-11-22      a Date (date:2026-11-22T10:30:00 with a time)
  host, connection     the demo host, the demo connection
  control              an opaque control object (a text box, a field)
  nothing              an empty object reference

Output: for a lookup, its caption, lookup id, column captions and the SQL
text line by line, each line as composed (CR LF ends a line; a lone CR
shows as <CR>, a lone LF as <LF>). For anything else: the return value, the
by-reference arguments after the call, then every readable property that
holds a text or an array, and what reached the launchers. An empty SQL text
means the lookup failed.

Exit status: 0 the call completed; 1 it raised an error of its own, or a
lookup or decoder left Str_Sql empty (the error it met is on standard
error); 2 bad input: an unknown ProgID or method, a wrong number of
arguments, an argument the method cannot take, a bad option or catalogue.
)";

inline constexpr const char* kListHelp = R"(Usage: brelvane list [--json] [PROGID]

Lists every class of the component (or only PROGID) from its registration
table: its properties (type and access), its methods with their parameters
(type, ByRef, Optional and default), its events and its enumerations. The
text fits the terminal's width (80 columns when not on a terminal).

Options:
  --json   print the listing as one JSON document (for editors and scripts)
  --help   this text

Exit status: 0, or 2 for an unknown ProgID or option.
)";

}  // namespace brelvane::cli
