#include "brelvane/lookup/clsci_lookup.h"

#include "compose/access.h"
#include "compose/host_access.h"
#include "lookup/families.h"

namespace brelvane {

CLSCI_LOOKUP::CLSCI_LOOKUP(ObjectFactory& factory) {
  beginInstance(*this, factory);
}

CLSCI_LOOKUP::~CLSCI_LOOKUP() {
  endInstance(
      *this, [] {}, &CLSCI_LOOKUP::ActiveInterface, &CLSCI_LOOKUP::Connessione);
}

const ClassInfo& CLSCI_LOOKUP::registration() {
  static const ClassInfo info = [] {
    using T = CLSCI_LOOKUP;
    lookup::Builder b(std::string(kProgId), "Lookup definitions for the host's lookup grid");
    b.property("ActiveInterface", &T::ActiveInterface,
               "the host framework object: labels and current company", TypeName{"HostInterface"})
        .property("Str_Sql", &T::Str_Sql, "SQL of the last lookup; \"\" after a failure")
        .property("Arr_Fields", &T::Arr_Fields, "column captions (0 To 1, 0 To N)")
        .property("Str_Caption", &T::Str_Caption, "caption of the lookup window")
        .property("IDLookup", &T::IDLookup, "lookup identifier \"Lkp_...\"")
        .property("Connessione", &T::Connessione, "the company database", TypeName{"Connection"})
        .property("TipoLookupPdC", &T::TipoLookupPdC, "kind of chart to list",
                  TypeName{"TipoLookupPdC"})
        .property("Segno", &T::Segno, "sign filter", TypeName{"Segno"})
        .property("Causale", &T::Causale, "causal code filter")
        .property("DataValiditaConti", &T::DataValiditaConti,
                  "reference date for disabled accounts (Null: none)");
    // The lookup families, in interface order.
    for (auto family : {
             lookup::registerCodeTables,
             lookup::registerChartOfAccounts,
             lookup::registerCausalCodes,
             lookup::registerProposals,
             lookup::registerAllocations,
             lookup::registerProviders,
             lookup::registerProcessingRuns,
             lookup::registerCostSheets,
             lookup::registerEntities,
             lookup::registerCorrelatedCausals,
             lookup::registerDocuments,
             lookup::registerRegistrationBridge,
         })
      family(b);
    return b.build();
  }();
  return info;
}

}  // namespace brelvane
