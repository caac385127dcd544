#pragma once
// The built-in demo host of `brelvane call`: a host framework that answers
// from a message catalogue and one fixed company, logging nothing. It needs
// the core alone, so the COM test host is built from it too.

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>

#include "brelvane/host/host.h"

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

}  // namespace brelvane::cli
