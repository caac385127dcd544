#pragma once
// CLSCI_DECODE: composes decode descriptors. For one code typed into a host
// form, a decode method leaves the query that yields the code's description
// in Str_Sql and names the target control and the result column in
// Arr_Fields (0 To 0, 0 To 1). The host runs the query and shows that column
// of the first row in the control.
//
// A decode method never raises: on any failure Str_Sql is "" and Arr_Fields
// keeps whatever the method had already written.

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

/// Every decoder is called by name (`invoke`); `brelvane list` shows them
/// with their parameters.
class BRELVANE_API CLSCI_DECODE final : public Dispatch {
 public:
  static constexpr std::string_view kProgId = "Brelvane.CLSCI_DECODE";
  /// The class description: properties and decoders.
  static const ClassInfo& registration();
  const ClassInfo* classInfo() const override { return &registration(); }

  /// Creates and initialises the instance's utility object through
  /// `factory`; creation errors are ignored (decodes then fail).
  explicit CLSCI_DECODE(ObjectFactory& factory);
  /// Releases the utility object, then lets go of the host's objects.
  ~CLSCI_DECODE() override;
  CLSCI_DECODE(const CLSCI_DECODE&) = delete;
  CLSCI_DECODE& operator=(const CLSCI_DECODE&) = delete;

  // ---- Properties (plain fields, in interface order) ----
  std::shared_ptr<HostInterface> ActiveInterface;  ///< language and current company
  std::shared_ptr<Connection> Connessione;         ///< the company database
  std::string Str_Sql;                             ///< the decode query; "" after a failure
  Variant Arr_Fields;                              ///< (0 To 0, 0 To 1): control, result column
  Variant Causale;                                 ///< causal code restricting account decoding
  int32_t Segno = 0;                               ///< sign restricting account decoding; 0 none
  int32_t TipoDecodePdC = 0;                       ///< kind of chart decoding asked for
  Variant DataValiditaConti = Variant::null();     ///< accounts disabled by then are not decoded

 private:
  friend struct internal::Access;
  struct {
    std::shared_ptr<UtilityObject> utility;
    bool hardened = false;  ///< the factory's hardened mode when it was created
    /// The buffer Str_Sql had before the last text: the next text is
    /// composed in it, so rewriting the output costs no allocation.
    std::string spareText;
  } private_;
};

}  // namespace brelvane
