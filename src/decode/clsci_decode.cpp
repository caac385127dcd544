#include "brelvane/decode/clsci_decode.h"

#include "compose/guard.h"
#include "compose/host_access.h"

namespace brelvane {

CLSCI_DECODE::CLSCI_DECODE(ObjectFactory& factory) : utility_(createUtility(factory)) {}

CLSCI_DECODE::~CLSCI_DECODE() {
  releaseUtility(utility_);
  ActiveInterface.reset();
  Connessione.reset();
}

const ClassInfo& CLSCI_DECODE::registration() {
  using T = CLSCI_DECODE;
  static const ClassInfo info =
      ClassBuilder<T>(std::string(kProgId), "Decode descriptors: the description of one code")
          .property("ActiveInterface", &T::ActiveInterface, "HostInterface", {},
                    "the host framework object: language and current company")
          .property("Connessione", &T::Connessione, "Connection", {}, "the company database")
          .property("Str_Sql", &T::Str_Sql, {}, {}, "the decode query; \"\" after a failure")
          .property("Arr_Fields", &T::Arr_Fields, {}, {},
                    "(0 To 0, 0 To 1): target control, result column")
          .property("Causale", &T::Causale, {}, {}, "causal code restricting account decoding")
          .property("Segno", &T::Segno, "Segno", {}, "sign restricting account decoding; 0 none")
          .property("TipoDecodePdC", &T::TipoDecodePdC, "TipoLookupPdC", {},
                    "kind of chart decoding asked for")
          .property("DataValiditaConti", &T::DataValiditaConti, {}, {},
                    "reference date for disabled accounts (Null: none)")
          .method("NaturaCosto", &T::NaturaCosto, {arg("TextEdit"), arg("CodiceNaturaCosto")},
                  "cost nature")
          .method("ProviderConti", &T::ProviderConti, {arg("TextEdit"), arg("fintCodiceProvider")},
                  "account provider")
          .method("AnagraficaPianoDeiConti", &T::AnagraficaPianoDeiConti,
                  {arg("TextEdit"), arg("CodicePdC"), arg("Conto")}, "account of a chart")
          .build();
  return info;
}

}  // namespace brelvane
