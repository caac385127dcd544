#pragma once
// The company database of `brelvane call`'s demo host, a scripted
// connection stand-in.

#include <memory>
#include <string>

#include "brelvane/host/ado.h"

namespace brelvane::standins {
class Log;
}

namespace brelvane::cli {

/// The demo company database: the scripted connection stand-in named `name`
/// (every SQL text answers no row; what reaches it goes to `log`), whose
/// three proposal procedures know a few providers, 1 and 7 of each kind.
/// They answer that provider's column labels and query, with the company
/// code in the query; for any other provider both outputs are Null, as when
/// the database finds no such provider.
std::shared_ptr<Connection> makeDemoConnection(standins::Log& log, const std::string& name);

}  // namespace brelvane::cli
