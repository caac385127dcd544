// CLSCI_CONNECT: life cycle, context properties, events and the closing
// calls of the launcher. The launch methods are in launch.cpp.
#include "brelvane/connect/clsci_connect.h"

#include <algorithm>
#include <utility>

#include "compose/guard.h"
#include "compose/host_access.h"

namespace brelvane {

std::shared_ptr<CLSCI_CONNECT> CLSCI_CONNECT::create(ObjectFactory& factory) {
  auto object = std::make_shared<CLSCI_CONNECT>(Key{}, factory);
  object->self_ = object;
  CLSCI_CONNECT* raw = object.get();
  // The caller's reference is a count of its own whose end runs the release
  // sequence; the launcher's Plookup shares the object's count instead, so
  // the pair cannot keep each other alive.
  return std::shared_ptr<CLSCI_CONNECT>(raw,
                                        [object = std::move(object)](CLSCI_CONNECT* self) mutable {
                                          self->release();
                                          object.reset();
                                        });
}

CLSCI_CONNECT::CLSCI_CONNECT(Key, ObjectFactory& factory)
    : factory_(factory), utility_(createUtility(factory)) {}

void CLSCI_CONNECT::release() noexcept {
  releaseUtility(utility_);
  Correlazione.reset();
  if (auto launcher = std::exchange(launcher_, nullptr))
    ignoringErrors([&] { launcher->putRef("ActiveInterface", Variant::nothing()); });
  ConnectField.reset();
  RecordsetCausaliCorrelate.reset();
  ActiveInterface.reset();
  // No event can reach a caller that has let go.
  sinks_.clear();
}

// ---- Events ------------------------------------------------------------------

int32_t CLSCI_CONNECT::Advise(const std::shared_ptr<Dispatch>& sink) {
  if (!sink) throw AutomationError::of(err::kInvalidCall, "Advise");
  sinks_.emplace_back(nextCookie_, sink);
  return nextCookie_++;
}

void CLSCI_CONNECT::Unadvise(int32_t cookie) {
  auto hit =
      std::find_if(sinks_.begin(), sinks_.end(), [&](const auto& s) { return s.first == cookie; });
  if (hit == sinks_.end()) throw AutomationError::of(err::kInvalidCall, "Unadvise");
  sinks_.erase(hit);
}

void CLSCI_CONNECT::raise(std::string_view event, std::span<Variant> args) {
  auto keepAlive = self_.lock();
  auto sinks = sinks_;  // a handler may connect or disconnect sinks
  for (auto& sink : sinks) sink.second->invoke(event, args);
}

void CLSCI_CONNECT::TransferData(bool& Cancel, const Variant& Data, int32_t& tsCalledProgram) {
  Variant args[] = {Variant(Cancel), Data, Variant(tsCalledProgram)};
  ignoringErrors([&] { raise("TransferData", args); });
  ignoringErrors([&] { Cancel = toBool(args[0]); });
  ignoringErrors([&] { tsCalledProgram = toLong(args[2]); });
}

void CLSCI_CONNECT::ChiusuraMovimentiContabilitàIndustriale() {
  auto keepAlive = self_.lock();
  ignoringErrors([&] { raise("ChiusuraMovimentiContabilitàIndustriale", {}); });
  // Without a launcher each statement fails on its own and is passed over.
  auto launcher = launcher_;
  ignoringErrors([&] { required(launcher).putRef("ConnectField", Variant::nothing()); });
  ignoringErrors([&] { required(launcher).putRef("ActiveInterface", Variant::nothing()); });
  ignoringErrors([&] { required(launcher).putRef("Plookup", Variant::nothing()); });
  ignoringErrors([&] { required(launcher).invoke("Terminate", {}); });
}

void CLSCI_CONNECT::ChiusuraSelezioneCausaleCoIn(Variant& CausaleCoInSelezionata) {
  ignoringErrors([&] { raise("ChiusuraSelezioneCausaleCoIn", {&CausaleCoInSelezionata, 1}); });
}

void CLSCI_CONNECT::Teminate() {
  auto keepAlive = self_.lock();
  ActiveInterface.reset();
  ConnectField.reset();
  if (auto launcher = launcher_) {
    ignoringErrors([&] { launcher->putRef("Plookup", Variant::nothing()); });
    ignoringErrors([&] { launcher->putRef("ActiveInterface", Variant::nothing()); });
    ignoringErrors([&] { launcher->putRef("ConnectField", Variant::nothing()); });
    ignoringErrors([&] { launcher->invoke("Teminate", {}); });
    launcher_.reset();
  }
}

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
  static const ClassInfo info =
      ClassBuilder<T>(std::string(kProgId), "Program launcher, its context and its events")
          .property("ActiveInterface", &T::ActiveInterface, "HostInterface", {},
                    "the host framework object, handed on to the launcher")
          .property("Ditta", &T::Ditta, {}, {}, "company code")
          .property("CausaleCoIn", &T::CausaleCoIn, {}, {}, "industrial-accounting causal code")
          .property("CausaleCoGe", &T::CausaleCoGe, {}, {}, "general-accounting causal code")
          .property("Classe", &T::Classe, {}, {}, "class of accounts")
          .property("CodiceNaturaCosto", &T::CodiceNaturaCosto, {}, {}, "cost nature code")
          .property("CodicePdC", &T::CodicePdC, {}, {}, "chart-of-accounts code")
          .property("Conto", &T::Conto, {}, {}, "account")
          .property("IndProvenienzaOriginale", &T::IndProvenienzaOriginale, {}, {},
                    "source a movement first came from")
          .property("LivelloPdC", &T::LivelloPdC, {}, {}, "chart level")
          .property("NumeroEntità", &T::NumeroEntità, {}, {}, "entity number")
          .property("CodiceModello", &T::CodiceModello, {}, {}, "model code")
          .property("TipoModello", &T::TipoModello, {}, {}, "model type")
          .property("CodiceScheda", &T::CodiceScheda, {}, {}, "cost-sheet code")
          .property("CodiceCostDriver", &T::CodiceCostDriver, {}, {}, "cost-driver code")
          .property("ProgRiga", &T::ProgRiga, {}, {}, "line number")
          .property("TipoTraccia", &T::TipoTraccia, "TipoTraccia", {}, "kind of trace")
          .property("ModalitàOperativa", &T::ModalitàOperativa, "ModalitàOperativa", {},
                    "operating mode")
          .property("Provenienza", &T::Provenienza, "Provenienza", {}, "source of a movement")
          .property("NumeroRegistrazione", &T::NumeroRegistrazione, {}, {}, "registration number")
          .property("DataRegistrazione", &T::DataRegistrazione, {}, {}, "registration date")
          .property("NumeroDocumentoOrigine", &T::NumeroDocumentoOrigine, {}, {},
                    "number of the source document")
          .property("DescrizioneAggiuntiva", &T::DescrizioneAggiuntiva, {}, {},
                    "additional description")
          .property("DataDocumento", &T::DataDocumento, {}, {}, "document date")
          .property("TipoCF", &T::TipoCF, {}, {}, "customer/supplier kind")
          .property("CodiceCliFor", &T::CodiceCliFor, {}, {}, "customer/supplier code")
          .property("TotaleDocumento", &T::TotaleDocumento, {}, {}, "document total")
          .property("TipoMovimento", &T::TipoMovimento, {}, {}, "movement type")
          .property("TipoDocumento", &T::TipoDocumento, {}, {}, "document type")
          .property("Sezionale", &T::Sezionale, {}, {}, "section (ledger series)")
          .property("Protocollo", &T::Protocollo, {}, {}, "protocol number")
          .property("FlagDocBis", &T::FlagDocBis, {}, {}, "repeated-number document flag")
          .property("Sede", &T::Sede, {}, {}, "branch")
          .property("EsistonoCondizioniPerEsplodere", &T::EsistonoCondizioniPerEsplodere, {}, {},
                    "whether the movement may be expanded")
          .property("DescrizioneModifiche", &T::DescrizioneModifiche, {}, {},
                    "description of changes")
          .property("MovimentoCoinModale", &T::MovimentoCoinModale, {}, {},
                    "open the industrial-accounting movement modally")
          .property("RecordsetCausaliCorrelate", &T::RecordsetCausaliCorrelate, "Recordset", {},
                    "correlated causal codes for the causal selection")
          .property("ContoFisso", &T::ContoFisso, {}, {}, "the account may not be changed")
          .property("Correlazione", &T::Correlazione, "Correlazione", {},
                    "the correlation being edited")
          .property("CorrelazioneFissa", &T::CorrelazioneFissa, {}, {},
                    "the correlation may not be changed")
          .property("VaiADettaglio", &T::VaiADettaglio, {}, {}, "open directly on the detail")
          .property("ProviderConto", &T::ProviderConto, {}, {}, "account provider")
          .property("ProviderCOGE", &T::ProviderCOGE, {}, {}, "general-accounting provider")
          .property("ProviderCausale", &T::ProviderCausale, {}, {}, "causal-code provider")
          .property("ConnectField", &T::ConnectField, "Object", kWriteRefOnly,
                    "the caller's field object, handed on to the launcher")
          .method("TransferData", &T::TransferData,
                  {arg("Cancel"), arg("Data"), arg("tsCalledProgram", "tsEnumCalledProgrammiCOAN")},
                  "raises TransferData")
          .method("ChiusuraMovimentiContabilitàIndustriale",
                  &T::ChiusuraMovimentiContabilitàIndustriale, {},
                  "raises its event, then ends the launcher")
          .method("ChiusuraSelezioneCausaleCoIn", &T::ChiusuraSelezioneCausaleCoIn,
                  {arg("CausaleCoInSelezionata")}, "raises its event")
          .method("Teminate", &T::Teminate, {},
                  "drops the links of this object and of the launcher")
          .method("ExecAnagraficaPdC", &T::ExecAnagraficaPdC)
          .method("ExecCausaliCOIN", &T::ExecCausaliCOIN)
          .method("ExecGestioneCorrelazioniPS", &T::ExecGestioneCorrelazioniPS)
          .method("ExecMovimentiCOINSemplificata", &T::ExecMovimentiCOINSemplificata)
          .method("ExecQuadratura", &T::ExecQuadratura)
          .method("ExecVisualizzazioneUltimoMovimentoCOINSemplificataGenerato",
                  &T::ExecVisualizzazioneUltimoMovimentoCOINSemplificataGenerato)
          .method("ExecStampaCD", &T::ExecStampaCD)
          .method("ExecProviderCausali", &T::ExecProviderCausali)
          .method("ApriTracciaRibaltamenti", &T::ApriTracciaRibaltamenti,
                  {opt("Modale", Variant(false))})
          .method("ExecCodiciPdC", &T::ExecCodiciPdC)
          .method("ExecNatureCosti", &T::ExecNatureCosti)
          .method("ExecPropostaSezionale", &T::ExecPropostaSezionale,
                  {opt("fvarCodiceCausale", Variant(""))})
          .method("ExecConfigurazionePdC", &T::ExecConfigurazionePdC)
          .method("ExecClassi", &T::ExecClassi)
          .method("ExecConfigurazioneEntità", &T::ExecConfigurazioneEntità)
          .method("ExecModelli", &T::ExecModelli)
          .method("ExecConfigurazioneModelli", &T::ExecConfigurazioneModelli)
          .method("ExecMovimentiCOIN", &T::ExecMovimentiCOIN)
          .method("ExecVisualizzazioneUltimoMovimentoGenerato",
                  &T::ExecVisualizzazioneUltimoMovimentoGenerato)
          .method("ExecStampaPianoDeiConti", &T::ExecStampaPianoDeiConti)
          .method("ExecSelezioneCausaleCOIN", &T::ExecSelezioneCausaleCOIN)
          .method("ExecRicerca", &T::ExecRicerca)
          .method("ExecSchedaConto", &T::ExecSchedaConto)
          .method("ExecCostDriver", &T::ExecCostDriver)
          .method("ExecProviderConti", &T::ExecProviderConti)
          .method("ExecProviderCOGE", &T::ExecProviderCOGE)
          .method("VisualizzaTracciaRib", &T::VisualizzaTracciaRib, {},
                  "shows a line of the open trace")
          .method("ChiusuraTracciaRib", &T::ChiusuraTracciaRib, {},
                  "raises ChiusuraTracciaRibaltamenti, ends the launcher; always False")
          .event("TransferData", {eventParam("Cancel", ParamType::Boolean, "Boolean", true),
                                  eventParam("Data", ParamType::Variant, "Variant", false),
                                  eventParam("tsCalledProgram", ParamType::Long,
                                             "tsEnumCalledProgrammiCOAN", true)})
          .event("ChiusuraMovimentiContabilitàIndustriale")
          .event("ChiusuraSelezioneCausaleCoIn",
                 {eventParam("CausaleCoInSelezionata", ParamType::Variant, "Variant", true)})
          .event("ChiusuraTracciaRibaltamenti")
          .enumeration("MaskTipoMovimentazione", {{"MovStandard", MovStandard},
                                                  {"MovMagazzino", MovMagazzino},
                                                  {"MovManodopera", MovManodopera},
                                                  {"MovRipartizioneCosti", MovRipartizioneCosti}})
          .enumeration("tsEnumCalledProgrammiCOAN", calledPrograms())
          .build();
  return info;
}

}  // namespace brelvane
