#include "brelvane/decode/clsci_decode.h"

#include "compose/access.h"
#include "compose/host_access.h"
#include "decode/families.h"

namespace brelvane {

CLSCI_DECODE::CLSCI_DECODE(ObjectFactory& factory) {
  beginInstance(*this, factory);
}

CLSCI_DECODE::~CLSCI_DECODE() {
  endInstance(
      *this, [] {}, &CLSCI_DECODE::ActiveInterface, &CLSCI_DECODE::Connessione);
}

const ClassInfo& CLSCI_DECODE::registration() {
  static const ClassInfo info = [] {
    using T = CLSCI_DECODE;
    decode::Builder b(std::string(kProgId), "Decode descriptors: the description of one code");
    b.property("ActiveInterface", &T::ActiveInterface,
               "the host framework object: language and current company", TypeName{"HostInterface"})
        .property("Connessione", &T::Connessione, "the company database", TypeName{"Connection"})
        .property("Str_Sql", &T::Str_Sql, "the decode query; \"\" after a failure")
        .property("Arr_Fields", &T::Arr_Fields, "(0 To 0, 0 To 1): target control, result column")
        .property("Causale", &T::Causale, "causal code restricting account decoding")
        .property("Segno", &T::Segno, "sign restricting account decoding; 0 none",
                  TypeName{"Segno"})
        .property("TipoDecodePdC", &T::TipoDecodePdC, "kind of chart decoding asked for",
                  TypeName{"TipoLookupPdC"})
        .property("DataValiditaConti", &T::DataValiditaConti,
                  "reference date for disabled accounts (Null: none)");
    // The decoder families, in interface order.
    for (auto family :
         {decode::registerSingleTables, decode::registerCodeTables, decode::registerProviders,
          decode::registerCausalCodes, decode::registerEntities, decode::registerChartOfAccounts})
      family(b);
    return b.build();
  }();
  return info;
}

}  // namespace brelvane
