// CLSCI_CONNECT: life cycle, context properties, events and the closing
// calls of the launcher. The launch methods are in launch.cpp.
#include "brelvane/connect/clsci_connect.h"

#include <algorithm>
#include <utility>

#include "compose/access.h"
#include "compose/guard.h"
#include "compose/host_access.h"
#include "connect/launch.h"

namespace brelvane {

namespace {

/// The release sequence, run when the caller's last reference goes.
void release(CLSCI_CONNECT& self) noexcept {
  using T = CLSCI_CONNECT;
  auto& state = internal::Access::of(self);
  endInstance(
      self,
      [&] {
        self.Correlazione.reset();  // before the launcher is let go
        if (auto launcher = std::exchange(state.launcher, nullptr))
          ignoringErrors([&] { launcher->putRef("ActiveInterface", Variant::nothing()); });
      },
      &T::ConnectField, &T::RecordsetCausaliCorrelate, &T::ActiveInterface);
  // No event can reach a caller that has let go.
  state.sinks.clear();
}

}  // namespace

std::shared_ptr<CLSCI_CONNECT> CLSCI_CONNECT::create(ObjectFactory& factory) {
  auto object = std::make_shared<CLSCI_CONNECT>(Key{}, factory);
  object->private_.self = object;
  CLSCI_CONNECT* raw = object.get();
  // The caller's reference is a count of its own whose end runs the release
  // sequence; the launcher's Plookup shares the object's count instead, so
  // the pair cannot keep each other alive.
  return std::shared_ptr<CLSCI_CONNECT>(raw,
                                        [object = std::move(object)](CLSCI_CONNECT* self) mutable {
                                          release(*self);
                                          object.reset();
                                        });
}

CLSCI_CONNECT::CLSCI_CONNECT(Key, ObjectFactory& factory) {
  private_.factory = &factory;
  beginInstance(*this, factory);
}

// ---- Events ------------------------------------------------------------------

int32_t CLSCI_CONNECT::Advise(const std::shared_ptr<Dispatch>& sink) {
  if (!sink) throw AutomationError::of(err::kInvalidCall, "Advise");
  private_.sinks.emplace_back(private_.nextCookie, sink);
  return private_.nextCookie++;
}

void CLSCI_CONNECT::Unadvise(int32_t cookie) {
  auto& sinks = private_.sinks;
  auto hit =
      std::find_if(sinks.begin(), sinks.end(), [&](const auto& s) { return s.first == cookie; });
  if (hit == sinks.end()) throw AutomationError::of(err::kInvalidCall, "Unadvise");
  sinks.erase(hit);
}

// ---- Called back by the launcher; each raises its event ---------------------

namespace {

/// Raises an event to every connected sink, in order of connection.
void raise(CLSCI_CONNECT& self, std::string_view event, std::span<Variant> args) {
  auto& state = internal::Access::of(self);
  auto keepAlive = state.self.lock();
  auto sinks = state.sinks;  // a handler may connect or disconnect sinks
  for (auto& sink : sinks) sink.second->invoke(event, args);
}

/// TransferData: the handlers' changes to Cancel and tsCalledProgram come
/// back to the launcher.
void transferData(CLSCI_CONNECT& self, bool& Cancel, const Variant& Data,
                  int32_t& tsCalledProgram) {
  Variant args[] = {Variant(Cancel), Data, Variant(tsCalledProgram)};
  ignoringErrors([&] { raise(self, "TransferData", args); });
  ignoringErrors([&] { Cancel = toBool(args[0]); });
  ignoringErrors([&] { tsCalledProgram = toLong(args[2]); });
}

/// ChiusuraMovimentiContabilitàIndustriale: raises its event, then unlinks
/// the launcher and calls its Terminate, keeping it.
void closeMovements(CLSCI_CONNECT& self) {
  auto& state = internal::Access::of(self);
  auto keepAlive = state.self.lock();
  ignoringErrors([&] { raise(self, "ChiusuraMovimentiContabilitàIndustriale", {}); });
  // Without a launcher each statement fails on its own and is passed over.
  connect::unlinkSteps(state.launcher, [](auto&& step) { ignoringErrors(step); });
}

/// ChiusuraSelezioneCausaleCoIn: a handler's change of the code comes back.
void closeCausalSelection(CLSCI_CONNECT& self, Variant& CausaleCoInSelezionata) {
  ignoringErrors([&] {
    raise(self, "ChiusuraSelezioneCausaleCoIn", {&CausaleCoInSelezionata, 1});
  });
}

/// Teminate: drops this object's links and those of the launcher, calls the
/// launcher's Teminate and lets it go.
void endLinks(CLSCI_CONNECT& self) {
  auto& state = internal::Access::of(self);
  auto keepAlive = state.self.lock();
  self.ActiveInterface.reset();
  self.ConnectField.reset();
  if (auto launcher = state.launcher) {
    ignoringErrors([&] { launcher->putRef("Plookup", Variant::nothing()); });
    ignoringErrors([&] { launcher->putRef("ActiveInterface", Variant::nothing()); });
    ignoringErrors([&] { launcher->putRef("ConnectField", Variant::nothing()); });
    ignoringErrors([&] { launcher->invoke("Teminate", {}); });
    state.launcher.reset();
  }
}

/// ChiusuraTracciaRib: raises ChiusuraTracciaRibaltamenti, then closes the
/// trace and ends the launcher; always False.
bool closeTrace(CLSCI_CONNECT& self) {
  auto& state = internal::Access::of(self);
  auto keepAlive = state.self.lock();
  ignoringErrors([&] {  // the error trap
    raise(self, "ChiusuraTracciaRibaltamenti", {});
    if (auto launcher = state.launcher) {
      launcher->invoke("ChiudiTracciaRib", {});
      connect::unlinkSteps(launcher, [](auto&& step) { step(); });
    }
  });
  state.launcher.reset();
  // The result is never set: this method answers False even on success.
  return false;
}

}  // namespace

// ---- Registration --------------------------------------------------------------

namespace {

ParamInfo eventParam(std::string name, ParamType type, std::string typeName, bool byRef) {
  return {.name = std::move(name), .type = type, .typeName = std::move(typeName), .byRef = byRef};
}

/// tsEnumCalledProgrammiCOAN: which program speaks in TransferData; the
/// value of each member is its position.
std::vector<std::pair<std::string, int32_t>> calledPrograms() {
  static constexpr std::string_view kNames[] = {
      "tsCodiciPianoDeiConti",
      "tsNatureCosti",
      "tsConfigurazionePdC",
      "tsAnagraficaPdC",
      "tsClassi",
      "tsEntità",
      "tsConfigurazioneEntità",
      "tsCorrelazioneClassi",
      "tsCausaliContabilitàIndustriale",
      "tsModelliContabilitàIndustriale",
      "tsConfigurazioneModelli",
      "tsMovimentiContabilitàIndustriale",
      "tsVisualizzazioneUltimoMovimento",
      "tsStampaPianoDeiConti",
      "tsCorrelazioneCausaliCoGeCoIn",
      "tsCorrelazioneContoCoGeCoIn",
      "tsSelezioneCausaleCoIn",
      "tsRicerca",
      "tsCorrelazioneContiMagazzino",
      "tsSchedaConto",
      "tsCostDriver",
      "tsStampaCausaliCoin",
      "tsStampaClassiCoin",
      "tsStampaCorrCausaliCoin",
      "tsStampaCorrCorrelazioni",
      "tsStampaEntità",
      "tsStampaNature",
      "tsRibaltamenti",
      "tsTabelleDiRibaltamento",
      "tsPropostaSezionale",
      "tsProviderConti",
      "tsProviderCausali",
      "tsPropContiPerProvider",
      "tsPropCausPerProvider",
      "tsProviderCOGE",
      "tsGestioneCorrelazioniPS",
      "tsVisualizzaTracciaRibaltamenti",
      "tsQuadratura",
  };
  std::vector<std::pair<std::string, int32_t>> members;
  for (auto name : kNames) members.emplace_back(name, static_cast<int32_t>(members.size()));
  return members;
}

}  // namespace

const ClassInfo& CLSCI_CONNECT::registration() {
  using T = CLSCI_CONNECT;
  static const ClassInfo info = [] {
    connect::Builder b(std::string(kProgId), "Program launcher, its context and its events");
    b.property("ActiveInterface", &T::ActiveInterface,
               "the host framework object, handed on to the launcher", TypeName{"HostInterface"})
        .property("Ditta", &T::Ditta, "company code")
        .property("CausaleCoIn", &T::CausaleCoIn, "industrial-accounting causal code")
        .property("CausaleCoGe", &T::CausaleCoGe, "general-accounting causal code")
        .property("Classe", &T::Classe, "class of accounts")
        .property("CodiceNaturaCosto", &T::CodiceNaturaCosto, "cost nature code")
        .property("CodicePdC", &T::CodicePdC, "chart-of-accounts code")
        .property("Conto", &T::Conto, "account")
        .property("IndProvenienzaOriginale", &T::IndProvenienzaOriginale,
                  "source a movement first came from")
        .property("LivelloPdC", &T::LivelloPdC, "chart level")
        .property("NumeroEntità", &T::NumeroEntità, "entity number")
        .property("CodiceModello", &T::CodiceModello, "model code")
        .property("TipoModello", &T::TipoModello, "model type")
        .property("CodiceScheda", &T::CodiceScheda, "cost-sheet code")
        .property("CodiceCostDriver", &T::CodiceCostDriver, "cost-driver code")
        .property("ProgRiga", &T::ProgRiga, "line number")
        .property("TipoTraccia", &T::TipoTraccia, "kind of trace", TypeName{"TipoTraccia"})
        .property("ModalitàOperativa", &T::ModalitàOperativa, "operating mode",
                  TypeName{"ModalitàOperativa"})
        .property("Provenienza", &T::Provenienza, "source of a movement", TypeName{"Provenienza"})
        .property("NumeroRegistrazione", &T::NumeroRegistrazione, "registration number")
        .property("DataRegistrazione", &T::DataRegistrazione, "registration date")
        .property("NumeroDocumentoOrigine", &T::NumeroDocumentoOrigine,
                  "number of the source document")
        .property("DescrizioneAggiuntiva", &T::DescrizioneAggiuntiva, "additional description")
        .property("DataDocumento", &T::DataDocumento, "document date")
        .property("TipoCF", &T::TipoCF, "customer/supplier kind")
        .property("CodiceCliFor", &T::CodiceCliFor, "customer/supplier code")
        .property("TotaleDocumento", &T::TotaleDocumento, "document total")
        .property("TipoMovimento", &T::TipoMovimento, "movement type")
        .property("TipoDocumento", &T::TipoDocumento, "document type")
        .property("Sezionale", &T::Sezionale, "section (ledger series)")
        .property("Protocollo", &T::Protocollo, "protocol number")
        .property("FlagDocBis", &T::FlagDocBis, "repeated-number document flag")
        .property("Sede", &T::Sede, "branch")
        .property("EsistonoCondizioniPerEsplodere", &T::EsistonoCondizioniPerEsplodere,
                  "whether the movement may be expanded")
        .property("DescrizioneModifiche", &T::DescrizioneModifiche, "description of changes")
        .property("MovimentoCoinModale", &T::MovimentoCoinModale,
                  "open the industrial-accounting movement modally")
        .property("RecordsetCausaliCorrelate", &T::RecordsetCausaliCorrelate,
                  "correlated causal codes for the causal selection", TypeName{"Recordset"})
        .property("ContoFisso", &T::ContoFisso, "the account may not be changed")
        .property("Correlazione", &T::Correlazione, "the correlation being edited",
                  TypeName{"Correlazione"})
        .property("CorrelazioneFissa", &T::CorrelazioneFissa, "the correlation may not be changed")
        .property("VaiADettaglio", &T::VaiADettaglio, "open directly on the detail")
        .property("ProviderConto", &T::ProviderConto, "account provider")
        .property("ProviderCOGE", &T::ProviderCOGE, "general-accounting provider")
        .property("ProviderCausale", &T::ProviderCausale, "causal-code provider")
        .property("ConnectField", &T::ConnectField,
                  "the caller's field object, handed on to the launcher", TypeName{"Object"},
                  kWriteRefOnly)
        .method("TransferData", transferData,
                {arg("Cancel"), arg("Data"), arg("tsCalledProgram", "tsEnumCalledProgrammiCOAN")},
                "raises TransferData")
        .method("ChiusuraMovimentiContabilitàIndustriale", closeMovements,
                "raises its event, then ends the launcher")
        .method("ChiusuraSelezioneCausaleCoIn", closeCausalSelection,
                {arg("CausaleCoInSelezionata")}, "raises its event")
        .method("Teminate", endLinks, "drops the links of this object and of the launcher");
    connect::registerLaunches(b, connect::launchTable());
    b.method("ChiusuraTracciaRib", closeTrace,
             "raises ChiusuraTracciaRibaltamenti, ends the launcher; always False")
        .event("TransferData",
               {eventParam("Cancel", ParamType::Boolean, "Boolean", true),
                eventParam("Data", ParamType::Variant, "Variant", false),
                eventParam("tsCalledProgram", ParamType::Long, "tsEnumCalledProgrammiCOAN", true)})
        .event("ChiusuraMovimentiContabilitàIndustriale")
        .event("ChiusuraSelezioneCausaleCoIn",
               {eventParam("CausaleCoInSelezionata", ParamType::Variant, "Variant", true)})
        .event("ChiusuraTracciaRibaltamenti")
        .enumeration("MaskTipoMovimentazione", {{"MovStandard", MovStandard},
                                                {"MovMagazzino", MovMagazzino},
                                                {"MovManodopera", MovManodopera},
                                                {"MovRipartizioneCosti", MovRipartizioneCosti}})
        .enumeration("tsEnumCalledProgrammiCOAN", calledPrograms());
    return b.build();
  }();
  return info;
}

}  // namespace brelvane
