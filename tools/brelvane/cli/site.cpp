// `brelvane site`: the reference site, and the grants a role needs.
#include "cli/site.h"

#include <chrono>
#include <ostream>
#include <sstream>
#include <stdexcept>

#include "cli/arguments.h"
#include "cli/call_print.h"
#include "cli/commands.h"
#include "cli/help.h"
#include "cli/parser.h"

namespace brelvane::cli {

namespace {

using standins::Json;

/// A value as `brelvane call` reads it back; an object's place takes the
/// demo's own object of that kind.
std::string argumentText(const Variant& v, const ParamInfo& p) {
  if (auto text = commandLineText(v)) return *text;
  return p.typeName == "Connection" ? "connection" : "control";
}

/// Arguments for a member that declares no examples: each required
/// parameter gets a plain value of its type, the optional ones are left out.
std::vector<std::string> plainArguments(const MethodInfo& m) {
  std::vector<std::string> args;
  for (const ParamInfo& p : m.params) {
    if (p.optional) break;
    switch (p.type) {
      case ParamType::Boolean:
        args.push_back(argumentText(Variant(false), p));
        break;
      case ParamType::Integer:
        args.push_back(argumentText(Variant(int16_t{1}), p));
        break;
      case ParamType::Long:
      case ParamType::Double:
      case ParamType::Variant:
      case ParamType::String:  // "1" converts: some texts must hold a number
        args.emplace_back("1");
        break;
      case ParamType::Date:
        args.push_back(argumentText(Variant(Date::parse("2024-01-31")), p));
        break;
      case ParamType::Object:
        args.push_back(argumentText(Variant::nothing(), p));
        break;
    }
  }
  return args;
}

/// The texts a call composed (Str_Sql) or ran on the connection, and the
/// procedures it ran through a command, read from `brelvane call --json`.
void readTexts(SiteShape& shape, tsql::Reads& reads) {
  const Json& r = shape.result;
  if (r.contains("properties") && r["properties"].contains("Str_Sql") &&
      r["properties"]["Str_Sql"].is_string() &&
      !r["properties"]["Str_Sql"].get<std::string>().empty())
    shape.texts.push_back(r["properties"]["Str_Sql"]);
  for (const Json& e : r.value("log", Json::array())) {
    if (e.value("object", "") != "connection") continue;
    if (e.value("op", "") == "Execute" && e.contains("sql")) shape.texts.push_back(e["sql"]);
    // Command type 4 runs a stored procedure by its name.
    if (e.value("op", "") == "ExecuteCommand" && e.value("commandType", 0) == 4)
      reads.procedures.insert(e.value("commandText", ""));
  }
  for (const std::string& text : shape.texts) reads.merge(tsql::readsOf(text));
}

/// A member of a class with Str_Sql and Arr_Fields is a lookup (with a
/// caption) or a decoder, unless it answers with a value of its own and
/// composes nothing; a member that creates a launcher is a launch.
std::string kindOf(const ClassInfo& c, const SiteMember& m) {
  bool composes = false, creates = false;
  for (const SiteShape& s : m.shapes) {
    const Json* sql =
        s.result.is_object() && s.result.contains("properties") ? &s.result["properties"] : nullptr;
    composes = composes || (sql && sql->contains("Str_Sql") && (*sql)["Str_Sql"] != "");
    for (const Json& e : s.result.value("log", Json::array()))
      creates = creates || e.value("op", "") == "Create";
  }
  if (hasReadable(c, "Str_Sql") && hasReadable(c, "Arr_Fields") && (composes || !m.method->result))
    return hasReadable(c, "Str_Caption") ? "lookup" : "decoder";
  return creates ? "launch" : "member";
}

SiteShape callShape(const ClassInfo& c, const MethodInfo& m, std::vector<std::string> args) {
  SiteShape shape{std::move(args), nullptr, {}, {}};
  std::vector<std::string> words = {"--json", "--", c.progId, m.name};
  words.insert(words.end(), shape.args.begin(), shape.args.end());
  std::vector<std::string_view> views(words.begin(), words.end());
  std::ostringstream out, err;
  callCommand(views, out, err);
  Json doc = Json::parse(out.str(), nullptr, false);
  if (doc.is_discarded()) {
    shape.error = err.str().empty() ? "no output" : err.str();
    while (!shape.error.empty() && shape.error.back() == '\n') shape.error.pop_back();
  } else {
    shape.result = std::move(doc);
    if (!err.str().empty()) shape.error = err.str().substr(0, err.str().find('\n'));
  }
  return shape;
}

}  // namespace

std::vector<SiteMember> collectMembers(const ObjectFactory& factory) {
  std::vector<SiteMember> members;
  for (const auto& entry : factory.entries()) {
    if (!entry.info) continue;
    const ClassInfo& c = *entry.info;
    for (const MethodInfo& m : c.methods) {
      SiteMember member{&c, &m, {}, {}, {}};
      if (m.examples.empty()) member.shapes.push_back(callShape(c, m, plainArguments(m)));
      for (const auto& set : m.examples) {
        std::vector<std::string> args;
        for (size_t i = 0; i < set.size(); ++i) args.push_back(argumentText(set[i], m.params[i]));
        member.shapes.push_back(callShape(c, m, std::move(args)));
      }
      for (SiteShape& s : member.shapes) readTexts(s, member.reads);
      member.kind = kindOf(c, member);
      members.push_back(std::move(member));
    }
  }
  return members;
}

std::string grantsFor(const std::vector<SiteMember>& members, const std::string& role) {
  tsql::Reads all;
  for (const SiteMember& m : members) all.merge(m.reads);
  std::string quoted = "[";
  for (char c : role) quoted += c == ']' ? std::string("]]") : std::string(1, c);
  quoted += "]";
  std::string out;
  auto grant = [&](const char* what, const std::set<std::string>& objects) {
    for (const std::string& o : objects)
      out.append("GRANT ")
          .append(what)
          .append(" ON ")
          .append(o)
          .append(" TO ")
          .append(quoted)
          .append(";\n");
  };
  grant("SELECT", all.tables);
  grant("SELECT", all.functions);
  grant("EXECUTE", all.procedures);
  grant("EXECUTE", all.scalars);
  return out;
}

int siteCommand(std::span<const std::string_view> args, std::ostream& out, std::ostream& err) {
  CommandParser parser;
  std::string role;
  auto* grants = parser.app.add_option("--grants", role);
  if (auto status = parser.read(args, "site", kSiteHelp, out, err)) return *status;
  const auto& operands = parser.operands;
  if (operands.size() > 1 || (operands.empty() && !grants->count())) {
    err << "brelvane site: expects one directory (or --grants ROLE); see brelvane site --help\n";
    return kBadInput;
  }
  if (grants->count() && role.empty()) {
    err << "brelvane site: --grants takes the name of a role\n";
    return kBadInput;
  }
  auto started = std::chrono::steady_clock::now();
  ObjectFactory factory;
  registerBrelvane(factory);
  std::vector<SiteMember> members = collectMembers(factory);
  if (!operands.empty()) {
    try {
      writeSite(members, operands[0]);
    } catch (const std::exception& e) {
      err << "brelvane site: " << excerpt(e.what(), 200) << '\n';
      return kBadInput;
    }
    auto ms = std::chrono::duration_cast<std::chrono::milliseconds>(
        std::chrono::steady_clock::now() - started);
    // The report goes to standard error when the grants take the output.
    (grants->count() ? err : out) << "brelvane site: " << members.size() << " members written to "
                                  << operands[0] << " in " << ms.count() << " ms\n";
  }
  if (grants->count()) out << grantsFor(members, role);
  return 0;
}

}  // namespace brelvane::cli
