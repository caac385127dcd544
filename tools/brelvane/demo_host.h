#pragma once
// The built-in demo host of `brelvane call`: a host framework that answers
// from a message catalogue and one fixed company, logging nothing, and the
// company database that goes with it.

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>

#include "brelvane/host/ado.h"
#include "brelvane/host/host.h"

namespace brelvane::standins {
class Log;
}

namespace brelvane::cli {

/// Message texts by id.
using Catalogue = std::map<int32_t, std::string>;

/// The Italian catalogue built into the tool (data/catalogo.tsv).
std::string_view builtinCatalogue();

/// Reads a catalogue: one message a line, ID<TAB>TEXT (a CR before the LF
/// and empty lines are allowed). Raises std::runtime_error naming the first
/// line that is not of that form.
Catalogue readCatalogue(std::string_view tsv);

/// What the demo host's current company answers.
struct DemoCompany {
  Variant code = int32_t{1};
  Variant languageCode = "ITA";
  Variant companyMode = int32_t{1};
  Variant installationSetting;  ///< Empty: the launcher class picks Quillane
};

/// A host framework over `catalogue` and `company`. An id missing from the
/// catalogue answers "[ID]"; PrepareSqlText doubles every apostrophe.
std::shared_ptr<HostInterface> makeDemoHost(Catalogue catalogue, DemoCompany company);

/// The demo company database: the scripted connection stand-in named `name`
/// (every SQL text answers no row; what reaches it goes to `log`), whose
/// three proposal procedures know a few providers, 1 and 7 of each kind.
/// They answer that provider's column labels and query, with the company
/// code in the query; for any other provider both outputs are Null, as when
/// the database finds no such provider.
std::shared_ptr<Connection> makeDemoConnection(standins::Log& log, const std::string& name);

}  // namespace brelvane::cli
