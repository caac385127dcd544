#pragma once
// CLSCI_LOOKUP: composes lookup definitions for the host's lookup grid.
//
// Each lookup method overwrites the four outputs (Str_Sql, Arr_Fields,
// Str_Caption, IDLookup) and returns; it never raises. A failed lookup leaves
// Str_Sql "" and keeps whatever the method had written before the failure.

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "brelvane/automation/dispatch.h"
#include "brelvane/automation/factory.h"
#include "brelvane/host/ado.h"
#include "brelvane/host/host.h"
#include "brelvane/host/utility.h"

namespace brelvane {

namespace lookup {
class Frame;
}

class CLSCI_LOOKUP final : public AutomationObject<CLSCI_LOOKUP> {
 public:
  static constexpr std::string_view kProgId = "Brelvane.CLSCI_LOOKUP";
  static const ClassInfo& registration();

  /// Creates the instance's utility object through `factory`; creation
  /// errors are ignored (later lookups then fail and leave Str_Sql "").
  explicit CLSCI_LOOKUP(ObjectFactory& factory);
  ~CLSCI_LOOKUP() override;
  CLSCI_LOOKUP(const CLSCI_LOOKUP&) = delete;
  CLSCI_LOOKUP& operator=(const CLSCI_LOOKUP&) = delete;

  // ---- Properties (plain fields, in interface order) ----
  std::shared_ptr<HostInterface> ActiveInterface;  ///< labels and current company
  std::string Str_Sql;                             ///< SQL of the last lookup; "" after a failure
  Variant Arr_Fields;                              ///< (0 To 1, 0 To N): captions, then ""
  std::string Str_Caption;                         ///< caption of the lookup window
  Variant IDLookup;                                ///< "Lkp_..."
  std::shared_ptr<Connection> Connessione;         ///< the company database
  int32_t TipoLookupPdC = 0;                       ///< kind of chart to list
  int32_t Segno = 0;                               ///< sign filter
  Variant Causale;                                 ///< causal code filter
  Variant DataValiditaConti = Variant::null();     ///< reference date for disabled accounts

  // ---- Code tables ----
  void NatureCosti();
  void ProvenienzeCosti();
  void TipiContiCoin();
  void TipiAttivita();
  void VariabilitaCosti();
  void NatureCausali();
  void TipoCliFor();
  void StatoRegCogeCoin();

  // ---- Charts of accounts ----
  /// The charts of the kind TipoLookupPdC selects (0 to 9).
  void PianoDeiConti();
  /// The rollover sets of the current company, sorted by CampoOrdinamento
  /// (default CI58_CODICE).
  void AnagraficaInsiemiRibaltamenti(const Variant& CampoOrdinamento);
  /// Empty on purpose: only sets Str_Sql to "".
  void AnagraficaIntermediPDCCoGe2(int32_t flngCodiceDitta, const Variant& CodicePdC,
                                   int16_t fintLivello);
  /// The class correlations of one chart.
  void ClassiCorrelate(const Variant& CodicePdC);
  /// The accounts of one chart, laid out by the chart's kind (read over
  /// Connessione first).
  void AnagraficaPianoDeiConti(const Variant& CodicePdC);

  // ---- Causal codes ----
  /// Every causal code; the project layout when CompanyMode is 2.
  void CausaliContabilitàIndustriale();
  /// The causal codes of the movement types the mask selects.
  void CausaliPerTipoMovimentazione(int16_t fintMaskTipoMovimentazione);
  /// As CausaliPerTipoMovimentazione, automatic numbering only.
  void CausaliPerTipoMovimentazioneANumerazioneAutomatica(int16_t fintMaskTipoMovimentazione);

 private:
  friend class lookup::Frame;
  std::shared_ptr<UtilityObject> utility_;
  Variant languageCode_;  ///< replaces <LINGUA>; set by the chart-of-accounts lookups

  /// Runs one lookup body under the error convention.
  template <class Body>
  void compose(Body&& body) noexcept;
};

}  // namespace brelvane
