#pragma once
// CLSCI_CONNECT: starts the programs of the cost-accounting module through a
// late-bound launcher of a sibling component and turns the launcher's calls
// back into the events of __CLSCI_CONNECT for the caller.
//
// The caller fills the context properties, calls one Exec... method and
// listens to the events. The launcher is created by ProgID at the first
// launch and shared by the later ones; it holds a back reference to this
// object (its Plookup), through which it calls TransferData and the closing
// methods.
//
// Lifetime: the reference that `create` returns is the caller's. The
// launcher's Plookup is a separate count on the same object, so it never
// keeps the caller's reference alive: when the caller's last copy goes, the
// release sequence runs and drops the launcher, and the object itself goes
// once the launcher no longer points at it. A launcher that someone else
// keeps alive still reaches a valid (released) object.

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "brelvane/automation/dispatch.h"
#include "brelvane/automation/factory.h"
#include "brelvane/export.h"
#include "brelvane/host/host.h"
#include "brelvane/host/utility.h"

namespace brelvane {

/// The kinds of movement a form accepts, combined as bits (6 is warehouse
/// plus labour). Each maps onto a value 0 to 3 of CI03_INDTIPOMOVDATI.
enum MaskTipoMovimentazione : int32_t {
  MovStandard = 1,
  MovMagazzino = 2,
  MovManodopera = 4,
  MovRipartizioneCosti = 8,
};

namespace internal {
struct Access;
}

/// The launch methods (Exec..., ApriTracciaRibaltamenti, ...) and the calls
/// the launcher makes back (TransferData, the closing methods) are called by
/// name (`invoke`); `brelvane list` shows them.
class BRELVANE_API CLSCI_CONNECT final : public Dispatch, public ConnectionPointContainer {
  struct Key {
    explicit Key() = default;
  };

 public:
  static constexpr std::string_view kProgId = "Brelvane.CLSCI_CONNECT";
  /// The class description: context properties, methods, events, enumerations.
  static const ClassInfo& registration();
  const ClassInfo* classInfo() const override { return &registration(); }

  /// Creates an instance and returns the caller's reference to it; when the
  /// last copy of that reference goes, the release sequence runs.
  static std::shared_ptr<CLSCI_CONNECT> create(ObjectFactory& factory);
  /// Only `create` can build an instance (the key is private).
  CLSCI_CONNECT(Key, ObjectFactory& factory);
  ~CLSCI_CONNECT() override = default;
  CLSCI_CONNECT(const CLSCI_CONNECT&) = delete;
  CLSCI_CONNECT& operator=(const CLSCI_CONNECT&) = delete;

  // ---- Context properties (plain fields), handed on to the launcher ----
  std::shared_ptr<HostInterface> ActiveInterface;       ///< the host framework object
  Variant Ditta;                                        ///< company code
  Variant CausaleCoIn;                                  ///< industrial-accounting causal code
  Variant CausaleCoGe;                                  ///< general-accounting causal code
  Variant Classe;                                       ///< class of accounts
  Variant CodiceNaturaCosto;                            ///< cost nature code
  Variant CodicePdC;                                    ///< chart-of-accounts code
  Variant Conto;                                        ///< account
  int16_t IndProvenienzaOriginale = 0;                  ///< source a movement first came from
  Variant LivelloPdC;                                   ///< chart level
  Variant NumeroEntità;                                 ///< entity number
  Variant CodiceModello;                                ///< model code
  Variant TipoModello;                                  ///< model type
  Variant CodiceScheda;                                 ///< cost-sheet code
  Variant CodiceCostDriver;                             ///< cost-driver code
  Variant ProgRiga;                                     ///< line number
  int32_t TipoTraccia = 0;                              ///< kind of trace
  int32_t ModalitàOperativa = 0;                        ///< operating mode
  int32_t Provenienza = 0;                              ///< source of a movement
  Variant NumeroRegistrazione;                          ///< registration number
  Variant DataRegistrazione;                            ///< registration date
  Variant NumeroDocumentoOrigine;                       ///< number of the source document
  Variant DescrizioneAggiuntiva;                        ///< additional description
  Variant DataDocumento;                                ///< document date
  Variant TipoCF;                                       ///< customer/supplier kind
  Variant CodiceCliFor;                                 ///< customer/supplier code
  Variant TotaleDocumento;                              ///< document total
  Variant TipoMovimento;                                ///< movement type
  Variant TipoDocumento;                                ///< document type
  Variant Sezionale;                                    ///< section (ledger series)
  Variant Protocollo;                                   ///< protocol number
  Variant FlagDocBis;                                   ///< repeated-number document flag
  Variant Sede;                                         ///< branch
  bool EsistonoCondizioniPerEsplodere = false;          ///< the movement may be expanded
  Variant DescrizioneModifiche;                         ///< description of changes
  bool MovimentoCoinModale = false;                     ///< open the movement modally
  std::shared_ptr<Dispatch> RecordsetCausaliCorrelate;  ///< correlated causal codes (a recordset)
  bool ContoFisso = false;                              ///< the account may not be changed
  std::shared_ptr<Dispatch> Correlazione;               ///< the correlation being edited
  bool CorrelazioneFissa = false;                       ///< the correlation may not be changed
  bool VaiADettaglio = false;                           ///< open directly on the detail
  int16_t ProviderConto = 0;                            ///< account provider
  int16_t ProviderCOGE = 0;                             ///< general-accounting provider
  int16_t ProviderCausale = 0;                          ///< causal-code provider
  std::shared_ptr<Dispatch> ConnectField;               ///< the caller's field object (write-only)

  // ---- Outgoing events ----
  int32_t Advise(const std::shared_ptr<Dispatch>& sink) override;
  void Unadvise(int32_t cookie) override;

 private:
  friend struct internal::Access;
  struct {
    ObjectFactory* factory = nullptr;
    std::weak_ptr<CLSCI_CONNECT> self;  ///< the count the launcher's Plookup shares
    std::shared_ptr<UtilityObject> utility;
    std::shared_ptr<Dispatch> launcher;
    std::vector<std::pair<int32_t, std::shared_ptr<Dispatch>>> sinks;
    int32_t nextCookie = 1;
  } private_;
};

}  // namespace brelvane
