#pragma once
// `brelvane call`: what a call produced, printed for a reader, and the rows
// of its text run on a real connection.

#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "brelvane/brelvane.h"
#include "standins/standins.h"

namespace brelvane::cli {

/// The rows of the composed text, run on the connection: the captions of
/// Arr_Fields over at most `limit` rows.
struct Grid {
  std::vector<std::string> captions;
  std::vector<std::vector<Variant>> rows;
  bool more = false;  ///< rows were left out at the limit
};

Grid runComposed(Connection& connection, const std::string& sql, const Variant& fields, int limit);
void printGrid(std::ostream& out, const Grid& grid);

/// What the call produced: return value, arguments after it, and every
/// readable property holding a text or an array.
struct Outcome {
  const ClassInfo* info;
  const MethodInfo* method;
  Variant result;
  std::vector<Variant> args;
  std::vector<std::pair<std::string, Variant>> properties;
};

bool hasReadable(const ClassInfo& info, std::string_view name);
/// The lookup definition as the host's grid would use it.
void printLookup(std::ostream& out, const Outcome& o);
void printGeneric(std::ostream& out, const Outcome& o, const standins::Names& names);
void printLog(std::ostream& out, const standins::Json& entries);
/// `--json`: the call, its outputs, the log and the rows read (when any).
void printJson(std::ostream& out, const Outcome& outcome, const standins::Log& log,
               const std::optional<Grid>& grid);

}  // namespace brelvane::cli
