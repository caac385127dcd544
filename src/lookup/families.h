#pragma once
// The lookup families. Each registers its members, in its own file; the
// class lists the families once (clsci_lookup.cpp), in interface order.

#include "lookup/frame.h"

namespace brelvane::lookup {

void registerCodeTables(Builder& b);
void registerChartOfAccounts(Builder& b);
void registerCausalCodes(Builder& b);
void registerProposals(Builder& b);
void registerAllocations(Builder& b);
void registerProviders(Builder& b);
void registerProcessingRuns(Builder& b);
void registerCostSheets(Builder& b);
void registerEntities(Builder& b);
void registerCorrelatedCausals(Builder& b);
void registerDocuments(Builder& b);
void registerRegistrationBridge(Builder& b);

}  // namespace brelvane::lookup
