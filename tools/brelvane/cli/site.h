#pragma once
// `brelvane site`: every member called on the demo host with each of its
// example argument sets, what it composed, and what that reads.

#include <map>
#include <string>
#include <vector>

#include "brelvane/brelvane.h"
#include "cli/tsql.h"
#include "standins/standins.h"

namespace brelvane::cli {

/// One call of a member: its arguments as typed on the command line and
/// what `brelvane call --json` printed for them.
struct SiteShape {
  std::vector<std::string> args;
  standins::Json result;           ///< null when the call stopped
  std::string error;               ///< its message then
  std::vector<std::string> texts;  ///< Str_Sql and the texts run on the connection
};

struct SiteMember {
  const ClassInfo* cls;
  const MethodInfo* method;
  std::string kind;  ///< "lookup", "decoder", "launch" or "member"
  std::vector<SiteShape> shapes;
  tsql::Reads reads;  ///< over every shape
};

/// Calls every member of every registered class; `classes` keeps the
/// registration tables they point into alive.
std::vector<SiteMember> collectMembers(const ObjectFactory& factory);

/// The GRANT statements that `role` needs for everything the members read
/// or run: SELECT on tables and table-valued functions, EXECUTE on
/// procedures and scalar functions, each object once.
std::string grantsFor(const std::vector<SiteMember>& members, const std::string& role);

/// Writes the site into `dir` (created when missing); raises
/// std::runtime_error naming a file that cannot be written.
void writeSite(const std::vector<SiteMember>& members, const std::string& dir);

/// The list of texts invalid on purpose (tests/sql/deliberate.json, built in).
std::string_view deliberateTexts();

}  // namespace brelvane::cli
