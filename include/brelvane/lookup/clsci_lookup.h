#pragma once
// CLSCI_LOOKUP: composes lookup definitions for the host's lookup grid.
//
// Each lookup method overwrites the four outputs (Str_Sql, Arr_Fields,
// Str_Caption, IDLookup) and returns; it never raises. A failed lookup leaves
// Str_Sql "" and keeps whatever the method had written before the failure.

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "brelvane/automation/dispatch.h"
#include "brelvane/automation/factory.h"
#include "brelvane/export.h"
#include "brelvane/host/ado.h"
#include "brelvane/host/host.h"
#include "brelvane/host/utility.h"

namespace brelvane {

namespace internal {
struct Access;
}

/// Every lookup method is called by name (`invoke`); `brelvane list`
/// shows them with their parameters.
class BRELVANE_API CLSCI_LOOKUP final : public Dispatch {
 public:
  static constexpr std::string_view kProgId = "Brelvane.CLSCI_LOOKUP";
  /// The class description: properties and lookup methods.
  static const ClassInfo& registration();
  const ClassInfo* classInfo() const override { return &registration(); }

  /// Creates the instance's utility object through `factory`; creation
  /// errors are ignored (later lookups then fail and leave Str_Sql "").
  explicit CLSCI_LOOKUP(ObjectFactory& factory);
  /// Releases the utility object, then lets go of the host's objects.
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

 private:
  friend struct internal::Access;
  struct {
    std::shared_ptr<UtilityObject> utility;
    bool hardened = false;  ///< the factory's hardened mode when it was created
    /// The buffer Str_Sql had before the last text: the next text is
    /// composed in it, so rewriting the output costs no allocation.
    std::string spareText;
    Variant languageCode;  ///< replaces `<LINGUA>`; set by the chart-of-accounts lookups
    /// The prepared proposal commands, one per stored procedure: made on
    /// first use over the Connessione of that moment, kept until the end.
    std::array<std::shared_ptr<Command>, 3> proposalCommands;
  } private_;
};

}  // namespace brelvane
