#include "brelvane/lookup/clsci_lookup.h"

#include "compose/guard.h"
#include "compose/host_access.h"

namespace brelvane {

CLSCI_LOOKUP::CLSCI_LOOKUP(ObjectFactory& factory) : utility_(createUtility(factory)) {}

CLSCI_LOOKUP::~CLSCI_LOOKUP() {
  releaseUtility(utility_);
}

const ClassInfo& CLSCI_LOOKUP::registration() {
  using T = CLSCI_LOOKUP;
  static const ClassInfo info =
      ClassBuilder<T>(std::string(kProgId), "Lookup definitions for the host's lookup grid")
          .property("ActiveInterface", &T::ActiveInterface, "HostInterface", {},
                    "the host framework object: labels and current company")
          .property("Str_Sql", &T::Str_Sql, {}, {}, "SQL of the last lookup; \"\" after a failure")
          .property("Arr_Fields", &T::Arr_Fields, {}, {}, "column captions (0 To 1, 0 To N)")
          .property("Str_Caption", &T::Str_Caption, {}, {}, "caption of the lookup window")
          .property("IDLookup", &T::IDLookup, {}, {}, "lookup identifier \"Lkp_...\"")
          .property("Connessione", &T::Connessione, "Connection", {}, "the company database")
          .property("TipoLookupPdC", &T::TipoLookupPdC, "TipoLookupPdC", {},
                    "kind of chart to list")
          .property("Segno", &T::Segno, "Segno", {}, "sign filter")
          .property("Causale", &T::Causale, {}, {}, "causal code filter")
          .property("DataValiditaConti", &T::DataValiditaConti, {}, {},
                    "reference date for disabled accounts (Null: none)")
          .method("NatureCosti", &T::NatureCosti, {}, "cost natures")
          .method("ProvenienzeCosti", &T::ProvenienzeCosti, {}, "cost origins")
          .method("TipiContiCoin", &T::TipiContiCoin, {}, "industrial account kinds")
          .method("TipiAttivita", &T::TipiAttivita, {}, "activity kinds")
          .method("VariabilitaCosti", &T::VariabilitaCosti, {}, "cost variability")
          .method("NatureCausali", &T::NatureCausali, {}, "causal natures")
          .method("TipoCliFor", &T::TipoCliFor, {}, "customer or supplier")
          .method("StatoRegCogeCoin", &T::StatoRegCogeCoin, {}, "registration states")
          .method("PianoDeiConti", &T::PianoDeiConti, {}, "charts of accounts by TipoLookupPdC")
          .method("AnagraficaInsiemiRibaltamenti", &T::AnagraficaInsiemiRibaltamenti,
                  {opt("CampoOrdinamento")}, "rollover sets")
          .method(
              "AnagraficaIntermediPDCCoGe2", &T::AnagraficaIntermediPDCCoGe2,
              {arg("flngCodiceDitta"), arg("CodicePdC"), opt("fintLivello", Variant(int16_t{1}))},
              "not provided: always a failed lookup")
          .method("ClassiCorrelate", &T::ClassiCorrelate, {arg("CodicePdC")},
                  "correlated account classes of a chart")
          .method("AnagraficaPianoDeiConti", &T::AnagraficaPianoDeiConti, {arg("CodicePdC")},
                  "accounts of a chart, by the chart's kind")
          .method("CausaliContabilitàIndustriale", &T::CausaliContabilitàIndustriale, {},
                  "industrial-accounting causal codes")
          .method("CausaliPerTipoMovimentazione", &T::CausaliPerTipoMovimentazione,
                  {arg("fintMaskTipoMovimentazione")}, "causal codes by movement type")
          .method("CausaliPerTipoMovimentazioneANumerazioneAutomatica",
                  &T::CausaliPerTipoMovimentazioneANumerazioneAutomatica,
                  {arg("fintMaskTipoMovimentazione")},
                  "causal codes by movement type, automatic numbering only")
          .build();
  return info;
}

}  // namespace brelvane
