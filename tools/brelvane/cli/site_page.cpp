// The style sheet, the search script and the text helpers of the pages.
#include "cli/site_page.h"

#include <utility>

#include "cli/tsql.h"

namespace brelvane::cli::site {

const char* const kSiteCss =
    R"(body{font:15px/1.45 system-ui,sans-serif;margin:0 auto;max-width:70rem;padding:0 1rem;color:#1d232a}
a{color:#0b5cad}code,pre{font:13px/1.4 ui-monospace,monospace}
nav{padding:.6rem 0;border-bottom:1px solid #ccd}nav a{margin-right:1rem}
table{border-collapse:collapse}td,th{border:1px solid #ccd;padding:.2rem .5rem;text-align:left;vertical-align:top}
.member{border-top:2px solid #ccd;margin-top:1.5rem}.member h2{margin:.6rem 0 .2rem}
.sig{background:#f4f6f8;padding:.3rem .5rem}.shape{margin:.6rem 0 .6rem 1rem}
pre.sql{background:#f8f8f2;border:1px solid #dde;padding:.5rem;overflow-x:auto}
.kw{color:#0033b3;font-weight:bold}.fn{color:#871094}.obj{color:#067d17;font-weight:bold}
.str{color:#a31515}.num{color:#1750eb}.var{color:#9e880d}.cm{color:#8c8c8c;font-style:italic}
.note{background:#fff4d6;border-left:4px solid #e0a800;padding:.3rem .6rem}
.error{background:#fde7e9;border-left:4px solid #c50f1f;padding:.3rem .6rem}
.grid th{background:#e8eef6}#search{font-size:1rem;padding:.3rem;width:24rem}
dt{font-weight:bold}dd{margin:0 0 .3rem 1rem}
)";

// Filters the member table: every word typed must be in a member's name or
// doc line, or begin a table, function, procedure or column it reads.
const char* const kSiteSearchJs = R"('use strict';
const box = document.getElementById('search');
const rows = Array.from(document.querySelectorAll('#members tbody tr'));
const count = document.getElementById('shown');
function filter() {
  const terms = box.value.toLowerCase().split(/\s+/).filter((t) => t !== '');
  let shown = 0;
  for (const row of rows) {
    const text = row.dataset.text;
    const reads = row.dataset.reads.split(' ');
    const match = terms.every((t) => text.includes(t) || reads.some((r) => r.startsWith(t)));
    row.hidden = !match;
    if (match) shown++;
  }
  count.textContent = shown + ' of ' + rows.length + ' members';
}
document.getElementById('searchbar').hidden = false;
box.addEventListener('input', filter);
filter();
)";

std::string esc(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  for (char c : text) {
    switch (c) {
      case '&':
        out += "&amp;";
        break;
      case '<':
        out += "&lt;";
        break;
      case '>':
        out += "&gt;";
        break;
      case '"':
        out += "&quot;";
        break;
      // A CR would become a LF when the page is read: written as a
      // reference, it stays a CR in the text of the page.
      case '\r':
        out += "&#13;";
        break;
      default:
        out += c;
    }
  }
  return out;
}

std::string lower(std::string text) {
  for (char& c : text)
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  return text;
}

/// The CSS class of a token of that kind; null for a plain one.
const char* classOf(tsql::Kind kind) {
  static constexpr std::pair<tsql::Kind, const char*> kClasses[] = {
      {tsql::Kind::Keyword, "kw"}, {tsql::Kind::Function, "fn"}, {tsql::Kind::Object, "obj"},
      {tsql::Kind::String, "str"}, {tsql::Kind::Number, "num"},  {tsql::Kind::Variable, "var"},
      {tsql::Kind::Comment, "cm"}};
  for (const auto& [k, cls] : kClasses)
    if (k == kind) return cls;
  return nullptr;
}

/// The composed text, highlighted; the text content of the <pre> is the
/// text itself (the newline after <pre> is not part of it).
std::string sqlBlock(std::string_view sql) {
  std::string out = "<pre class=\"sql\">\n";
  for (const tsql::Token& t : tsql::tokenize(sql)) {
    const char* cls = classOf(t.kind);
    if (cls)
      out.append("<span class=\"").append(cls).append("\">").append(esc(t.text)).append("</span>");
    else
      out += esc(t.text);
  }
  return out + "</pre>\n";
}

}  // namespace brelvane::cli::site
