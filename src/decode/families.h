#pragma once
// The decoder families. Each registers its members, in its own file; the
// class lists the families once (clsci_decode.cpp), in interface order.

#include "decode/frame.h"

namespace brelvane::decode {

void registerSingleTables(Builder& b);
void registerCodeTables(Builder& b);
void registerProviders(Builder& b);
void registerCausalCodes(Builder& b);
void registerEntities(Builder& b);
void registerChartOfAccounts(Builder& b);

}  // namespace brelvane::decode
