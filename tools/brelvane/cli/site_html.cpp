// The pages of the reference site, its where-used index and its assets.
#include <cctype>
#include <filesystem>
#include <fstream>
#include <map>
#include <stdexcept>

#include "brelvane/version.h"
#include "cli/arguments.h"
#include "cli/site.h"
#include "cli/site_page.h"

namespace brelvane::cli {

namespace {

using namespace site;
using standins::Json;
namespace fs = std::filesystem;

/// The family a kind of member makes on the index.
std::string familyOf(const std::string& kind) {
  if (kind == "launch") return "launches";
  if (kind == "member") return "other members";
  return kind + "s";
}

std::string pageOf(const ClassInfo& c) {
  std::string name = c.progId.substr(c.progId.find('.') + 1);
  return lower(name) + ".html";
}

std::string shellWord(const std::string& word) {
  bool plain = !word.empty();
  for (unsigned char c : word)
    if (!(std::isalnum(c) || c >= 0x80 ||
          std::string_view("_.:=/-+,").find(static_cast<char>(c)) != std::string_view::npos))
      plain = false;
  if (plain) return word;
  std::string out = "'";
  for (char c : word) out += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return out + "'";
}

std::string exampleCommand(const SiteMember& m, const SiteShape& s) {
  std::string out = "brelvane call ";
  bool dashed = false;
  for (const auto& a : s.args) dashed = dashed || (!a.empty() && a[0] == '-');
  if (dashed) out += "-- ";
  out += m.cls->progId + " " + shellWord(m.method->name);
  for (const auto& a : s.args) out.append(" ").append(shellWord(a));
  return out;
}

std::string signature(const MethodInfo& m) {
  std::string out = m.name + "(";
  for (size_t i = 0; i < m.params.size(); ++i) {
    const ParamInfo& p = m.params[i];
    if (i) out += ", ";
    if (p.optional) out += "Optional ";
    if (p.byRef) out += "ByRef ";
    out += p.name + " As " + p.typeName;
    if (p.optional && !p.defaultValue.isMissing())
      out += " = " + describe(p.defaultValue, standins::Names());
  }
  out += ")";
  if (m.result) out += " As " + std::string(paramTypeName(*m.result));
  return out;
}

/// A value of `call --json` for a reader.
std::string shown(const Json& v) {
  if (v.is_string()) return v.get<std::string>();
  if (v.is_object() && v.contains("$object"))
    return v["$object"].is_null() ? "Nothing" : v["$object"].get<std::string>();
  if (v.is_object() && v.contains("$empty")) return "Empty";
  return v.dump();
}

const Json* property(const SiteShape& s, const char* name) {
  if (s.result.is_null() || !s.result.contains("properties")) return nullptr;
  const Json& p = s.result["properties"];
  return p.contains(name) ? &p[name] : nullptr;
}

/// The first row of a two-dimensional array of `call --json`.
const Json* firstRow(const Json* array) {
  if (!array || !array->is_object() || !array->contains("$array")) return nullptr;
  const Json& rows = (*array)["$array"]["rows"];
  return rows.empty() || !rows[0].is_array() ? nullptr : &rows[0];
}

void gridPreview(std::string& out, const SiteShape& s) {
  const Json* caption = property(s, "Str_Caption");
  const Json* id = property(s, "IDLookup");
  out += "<p>Window caption: <b>" + esc(caption ? shown(*caption) : "") +
         "</b> &middot; IDLookup: <code>" + esc(id ? shown(*id) : "") + "</code></p>\n";
  out += "<table class=\"grid\"><tr>";
  if (const Json* row = firstRow(property(s, "Arr_Fields")))
    for (const Json& c : *row) out += "<th>" + esc(shown(c)) + "</th>";
  out += "</tr></table>\n";
}

void decoderDescriptor(std::string& out, const SiteMember& m, const SiteShape& s) {
  const Json* row = firstRow(property(s, "Arr_Fields"));
  std::string control = row && row->size() > 0 ? shown((*row)[0]) : "";
  std::string column = row && row->size() > 1 ? shown((*row)[1]) : "";
  std::string keys;
  const Json args = s.result.value("args", Json::array());
  for (size_t i = 0; i < args.size() && i < m.method->params.size(); ++i)
    if (m.method->params[i].type != ParamType::Object)
      keys += (keys.empty() ? "" : ", ") + m.method->params[i].name + " = " +
              (args[i].is_string() ? args[i].dump() : shown(args[i]));
  out += "<dl><dt>Control</dt><dd>" +
         esc(control == "Nothing" ? "Nothing (an existence check)" : control) +
         "</dd><dt>Target column</dt><dd><code>" + esc(column) +
         "</code></dd><dt>Decodes</dt><dd>" + esc(m.method->doc) +
         (keys.empty() ? "" : " (" + esc(keys) + ")") + "</dd></dl>\n";
}

/// What the launcher received, in the order of the log: the object created,
/// the context handed over before the call, the method called, and what
/// became of the launcher after it.
void launchDescriptor(std::string& out, const SiteShape& s) {
  std::string launcher, method, after = "no: the launcher stays linked";
  std::vector<std::string> context;
  for (const Json& e : s.result.value("log", Json::array())) {
    std::string op = e.value("op", ""), object = e.value("object", "");
    if (op == "Create" && launcher.empty()) launcher = object;
    if (object != launcher || launcher.empty()) continue;
    std::string name = e.value("name", "");
    if (method.empty() && (op == "Put" || op == "PutRef") && name != "Plookup" &&
        name != "ActiveInterface" && name != "ConnectField")
      context.push_back(name + " = " +
                        (!e.contains("value")     ? std::string()
                         : e["value"].is_string() ? e["value"].dump()
                                                  : shown(e["value"])));
    else if (method.empty() && op == "Call")
      method = name;
    else if (!method.empty() && op == "PutRef" && name == "Plookup")
      after = "yes: unlinked (ConnectField, ActiveInterface, Plookup) and terminated";
    else if (!method.empty() && op == "Call" && name == "Terminate" && after[0] == 'n')
      after = "no: its Correlazione and ConnectField are cleared and it is terminated";
  }
  // The log names an object ProgID#N.
  std::string progId = launcher.substr(0, launcher.find('#'));
  out += "<dl><dt>ProgID</dt><dd><code>" + esc(progId.empty() ? "(none created)" : progId) +
         "</code></dd><dt>Context handed over, in order</dt><dd>";
  for (size_t i = 0; i < context.size(); ++i) out += (i ? "<br>" : "") + esc(context[i]);
  if (context.empty()) out += "(none)";
  out += "</dd><dt>Method called</dt><dd><code>" + esc(method) +
         "</code></dd><dt>Detaches</dt><dd>" + after + "</dd></dl>\n";
}

std::vector<std::string> notesFor(const Json& deliberate, const SiteMember& m,
                                  const std::string& text) {
  std::vector<std::string> notes;
  for (const Json& d : deliberate) {
    if (d.value("member", "") != m.method->name) continue;
    if (d.contains("class") && d["class"] != m.cls->progId) continue;
    bool all = true;
    for (const Json& r : d["repair"])
      all = all && text.find(r[0].get<std::string>()) != std::string::npos;
    if (all) notes.push_back(d.value("why", ""));
  }
  return notes;
}

std::string readsLine(const char* what, const std::set<std::string>& names, bool linked) {
  if (names.empty()) return {};
  std::string out = "<dt>" + std::string(what) + "</dt><dd>";
  bool first = true;
  for (const auto& n : names) {
    out += first ? "" : ", ";
    first = false;
    out += linked ? "<a href=\"where-used.html#" + esc(n) + "\"><code>" + esc(n) + "</code></a>"
                  : "<code>" + esc(n) + "</code>";
  }
  return out + "</dd>";
}

std::string head(const std::string& title) {
  return "<!DOCTYPE html>\n<html lang=\"en\"><head><meta charset=\"utf-8\">"
         "<meta name=\"viewport\" content=\"width=device-width\"><title>" +
         esc(title) + "</title><link rel=\"stylesheet\" href=\"site.css\"></head><body>\n";
}

std::string nav(const std::vector<const ClassInfo*>& classes) {
  std::string out = "<nav><a href=\"index.html\">Index</a>";
  for (const ClassInfo* c : classes)
    out += "<a href=\"" + pageOf(*c) + "\">" + esc(c->progId) + "</a>";
  return out + "<a href=\"where-used.html\">Where used</a></nav>\n";
}

void memberSection(std::string& out, const SiteMember& m, const Json& deliberate) {
  const std::string& name = m.method->name;
  out += "<section class=\"member\" id=\"" + esc(name) + "\">\n<h2><a href=\"#" + esc(name) +
         "\">" + esc(name) + "</a> <small>" + m.kind + "</small></h2>\n";
  out += "<p class=\"sig\"><code>" + esc(signature(*m.method)) + "</code></p>\n";
  if (!m.method->doc.empty()) out += "<p>" + esc(m.method->doc) + "</p>\n";
  for (size_t i = 0; i < m.shapes.size(); ++i) {
    const SiteShape& s = m.shapes[i];
    out += "<div class=\"shape\">";
    if (m.shapes.size() > 1)
      out +=
          "<h3>Shape " + std::to_string(i + 1) + " of " + std::to_string(m.shapes.size()) + "</h3>";
    out += "<p>Example: <code class=\"call\">" + esc(exampleCommand(m, s)) + "</code></p>\n";
    if (!s.error.empty())
      out += std::string("<p class=\"") + (s.result.is_null() ? "error" : "note") + "\">" +
             esc(s.error) + "</p>\n";
    if (m.kind == "lookup" && !s.result.is_null()) gridPreview(out, s);
    if (m.kind == "decoder" && !s.result.is_null()) decoderDescriptor(out, m, s);
    if (m.kind == "launch") launchDescriptor(out, s);
    for (size_t t = 0; t < s.texts.size(); ++t) {
      if (t > 0) out += "<p>Run on the connection:</p>\n";
      out += sqlBlock(s.texts[t]);
      for (const auto& why : notesFor(deliberate, m, s.texts[t]))
        out += "<p class=\"note\">Invalid on purpose: " + esc(why) + ".</p>\n";
    }
    out += "</div>\n";
  }
  std::string reads = readsLine("Tables", m.reads.tables, true) +
                      readsLine("Table-valued functions", m.reads.functions, true) +
                      readsLine("Functions", m.reads.scalars, true) +
                      readsLine("Stored procedures", m.reads.procedures, true) +
                      readsLine("Columns", m.reads.columns, false);
  if (!reads.empty()) out += "<dl class=\"reads\">" + reads + "</dl>\n";
  out += "</section>\n";
}

void save(const fs::path& file, const std::string& text) {
  std::ofstream f(file, std::ios::binary);
  f << text;
  f.close();
  if (!f) throw std::runtime_error("cannot write " + file.string());
}

std::string memberKey(const SiteMember& m) {
  return m.cls->progId + "." + m.method->name;
}

std::string memberLink(const SiteMember& m) {
  return "<a href=\"" + pageOf(*m.cls) + "#" + esc(m.method->name) + "\">" + esc(m.method->name) +
         "</a>";
}

/// The reverse index: each object read, its kind, and the members reading it.
struct Used {
  std::string kind;
  std::vector<const SiteMember*> members;
};

std::map<std::string, Used> reverseIndex(const std::vector<SiteMember>& members) {
  std::map<std::string, Used> index;
  for (const SiteMember& m : members) {
    auto add = [&](const std::set<std::string>& names, const char* kind) {
      for (const auto& n : names) {
        index[n].kind = kind;
        index[n].members.push_back(&m);
      }
    };
    add(m.reads.tables, "table");
    add(m.reads.functions, "table-valued function");
    add(m.reads.scalars, "function");
    add(m.reads.procedures, "stored procedure");
  }
  return index;
}

std::string csvField(const std::string& text) {
  if (text.find_first_of(",\"\n\r") == std::string::npos) return text;
  std::string out = "\"";
  for (char c : text) out += c == '"' ? std::string("\"\"") : std::string(1, c);
  return out + "\"";
}

}  // namespace

void writeSite(const std::vector<SiteMember>& members, const std::string& dir) {
  fs::path root(dir);
  std::error_code ec;
  fs::create_directories(root, ec);
  if (!fs::is_directory(root)) throw std::runtime_error("cannot create the directory " + dir);
  const Json deliberate = Json::parse(deliberateTexts());
  std::vector<const ClassInfo*> classes;
  for (const SiteMember& m : members)
    if (classes.empty() || classes.back() != m.cls) classes.push_back(m.cls);
  const std::string links = nav(classes);
  const std::string foot = "<footer><p>Brelvane " + std::string(kVersion) +
                           " &middot; generated by <code>brelvane site</code></p></footer>\n"
                           "</body></html>\n";

  // One page per class, one section per member.
  for (const ClassInfo* c : classes) {
    std::string page = head(c->progId) + links + "<h1>" + esc(c->progId) + "</h1>\n";
    if (!c->doc.empty()) page += "<p>" + esc(c->doc) + "</p>\n";
    for (const SiteMember& m : members)
      if (m.cls == c) memberSection(page, m, deliberate);
    save(root / pageOf(*c), page + foot);
  }

  // The index: counts, the search, every member.
  std::map<std::string, std::map<std::string, int>> counts;
  for (const SiteMember& m : members) ++counts[m.cls->progId][m.kind];
  std::string index =
      head("Brelvane reference") + links + "<h1>Brelvane " + kVersion +
      ": every member</h1>\n<table><tr><th>Class</th><th>Family</th><th>Members</th></tr>\n";
  for (const ClassInfo* c : classes) {
    int total = 0;
    for (const auto& [kind, n] : counts[c->progId]) {
      index += "<tr><td><a href=\"" + pageOf(*c) + "\">" + esc(c->progId) + "</a></td><td>" +
               familyOf(kind) + "</td><td>" + std::to_string(n) + "</td></tr>\n";
      total += n;
    }
    index += "<tr><td>" + esc(c->progId) + "</td><td><b>all</b></td><td><b>" +
             std::to_string(total) + "</b></td></tr>\n";
  }
  index +=
      "</table>\n<p><b>" + std::to_string(members.size()) +
      " members</b>. Where each table is used: <a href=\"where-used.html\">where-used.html</a>, "
      "<a href=\"where-used.json\">JSON</a>, <a href=\"where-used.csv\">CSV</a>.</p>\n"
      "<p id=\"searchbar\" hidden><label>Search <input id=\"search\" type=\"search\" "
      "placeholder=\"name, doc, "
      "table or column\"></label> <span id=\"shown\"></span></p>\n"
      "<table "
      "id=\"members\"><thead><tr><th>Member</th><th>Class</th><th>Doc</th></tr></thead><tbody>\n";
  for (const SiteMember& m : members) {
    std::string reads;
    for (const auto* set : {&m.reads.tables, &m.reads.functions, &m.reads.scalars,
                            &m.reads.procedures, &m.reads.columns})
      for (const auto& n : *set) reads.append(reads.empty() ? "" : " ").append(lower(n));
    index += "<tr data-member=\"" + esc(memberKey(m)) + "\" data-text=\"" +
             esc(lower(m.method->name + " " + m.method->doc)) + "\" data-reads=\"" + esc(reads) +
             "\"><td>" + memberLink(m) + "</td><td>" + esc(m.cls->progId) + "</td><td>" +
             esc(m.method->doc) + "</td></tr>\n";
  }
  index += "</tbody></table>\n<script src=\"search.js\"></script>\n";
  save(root / "index.html", index + foot);

  // The reverse index, as a page, JSON and CSV.
  auto used = reverseIndex(members);
  std::string page = head("Where used") + links + "<h1>Where each object is used</h1>\n" +
                     "<table><tr><th>Object</th><th>Kind</th><th>Read by</th></tr>\n";
  Json objects = Json::object();
  std::string csv = "object,kind,class,member\r\n";
  for (const auto& [name, u] : used) {
    page += "<tr id=\"" + esc(name) + "\"><td><code>" + esc(name) + "</code></td><td>" + u.kind +
            "</td><td>";
    Json readers = Json::array();
    for (size_t i = 0; i < u.members.size(); ++i) {
      page += (i ? ", " : "") + memberLink(*u.members[i]);
      readers.push_back(memberKey(*u.members[i]));
      csv += csvField(name) + "," + csvField(u.kind) + "," + csvField(u.members[i]->cls->progId) +
             "," + csvField(u.members[i]->method->name) + "\r\n";
    }
    page += "</td></tr>\n";
    objects[name] = {{"kind", u.kind}, {"members", readers}};
  }
  save(root / "where-used.html", page + "</table>\n" + foot);
  Json byMember = Json::array();
  for (const SiteMember& m : members) {
    // What each text reads, in the order of the shapes and of their texts.
    Json texts = Json::array();
    for (const SiteShape& s : m.shapes)
      for (const std::string& text : s.texts) {
        tsql::Reads r = tsql::readsOf(text);
        texts.push_back({{"tables", r.tables},
                         {"tableFunctions", r.functions},
                         {"functions", r.scalars},
                         {"columns", r.columns}});
      }
    byMember.push_back({{"class", m.cls->progId},
                        {"member", m.method->name},
                        {"kind", m.kind},
                        {"tables", m.reads.tables},
                        {"tableFunctions", m.reads.functions},
                        {"functions", m.reads.scalars},
                        {"procedures", m.reads.procedures},
                        {"columns", m.reads.columns},
                        {"texts", texts}});
  }
  save(root / "where-used.json",
       Json{{"version", kVersion}, {"members", byMember}, {"objects", objects}}.dump(1) + "\n");
  save(root / "where-used.csv", csv);
  save(root / "site.css", kSiteCss);
  save(root / "search.js", kSiteSearchJs);
}

}  // namespace brelvane::cli
