// The launch methods of CLSCI_CONNECT: one table row per program, one
// common sequence. Each makes sure a launcher exists, hands it this object's
// context and calls the launcher's method of the same name by late binding.
#include <stdexcept>
#include <vector>

#include "brelvane/connect/clsci_connect.h"
#include "compose/guard.h"
#include "compose/host_access.h"

namespace brelvane {

namespace connect {

/// The sibling component that runs a program.
enum class Component {
  BySetting,  ///< Tormesk when the installation setting is 2, else Quillane
  Tormesk,    ///< the PS programs
  Quillane,   ///< all the others
};

/// What becomes of the launcher once its method has returned.
enum class After {
  Keep,            ///< stays linked, so that later events arrive
  Detach,          ///< unlinked, terminated and let go
  EndCorrelation,  ///< its Correlazione and ConnectField cleared, terminated
};

struct Launch {
  std::string_view name;                  ///< the public method
  Component component;                    ///< where a new launcher comes from
  std::vector<std::string_view> context;  ///< properties handed on, in order
  std::string_view call;                  ///< the launcher's method
  After after = After::Keep;
  bool handsConnectField = true;
  bool createsLauncher = true;  ///< false: works on the launcher already made
};

namespace {

using enum Component;
using enum After;

const std::vector<Launch>& launchTable() {
  static const std::vector<Launch> table = {
      {"ExecAnagraficaPdC", BySetting, {"CodicePdC", "Conto"}, "ExecAnagraficaPdC", Detach},
      {"ExecCausaliCOIN", BySetting, {"CausaleCoIn"}, "ExecCausaliCOIN"},
      {"ExecGestioneCorrelazioniPS",
       Tormesk,
       {"Correlazione", "VaiADettaglio", "ContoFisso", "CorrelazioneFissa"},
       "ExecGestioneCorrelazioniPS",
       EndCorrelation},
      {"ExecMovimentiCOINSemplificata",
       Tormesk,
       {"CausaleCoIn", "Ditta", "NumeroRegistrazione", "IndProvenienzaOriginale"},
       "ExecMovimentiCOINSemplificata"},
      {"ExecQuadratura",
       Tormesk,
       {"Ditta", "NumeroRegistrazione", "IndProvenienzaOriginale"},
       "ExecQuadratura",
       Detach},
      {"ExecVisualizzazioneUltimoMovimentoCOINSemplificataGenerato",
       Tormesk,
       {"Ditta", "NumeroRegistrazione"},
       "ExecVisualizzazioneUltimoMovimentoCOINSemplificataGenerato",
       Detach},
      {"ExecStampaCD", Tormesk, {}, "ExecStampaCD", Detach},
      {"ExecProviderCausali", Quillane, {"ProviderCausale"}, "ExecProviderCausali"},
      {"ApriTracciaRibaltamenti",
       Tormesk,
       {"NumeroRegistrazione", "ProgRiga", "TipoTraccia"},
       "ApriTracciaRib",
       Keep,
       false},
      {"ExecCodiciPdC", Quillane, {"CodicePdC"}, "ExecCodiciPdC"},
      {"ExecNatureCosti", Quillane, {"CodiceNaturaCosto"}, "ExecNatureCosti"},
      {"ExecPropostaSezionale", Quillane, {}, "ExecPropostaSezionale"},
      {"ExecConfigurazionePdC", Quillane, {"CodicePdC", "LivelloPdC"}, "ExecConfigurazionePdC"},
      {"ExecClassi", Quillane, {"CodicePdC", "Classe"}, "ExecClassi"},
      {"ExecConfigurazioneEntità", Quillane, {"Ditta", "NumeroEntità"}, "ExecConfigurazioneEntità"},
      {"ExecModelli", Quillane, {"CodiceModello", "TipoModello"}, "ExecModelli"},
      {"ExecConfigurazioneModelli",
       Quillane,
       {"CodiceModello", "TipoModello"},
       "ExecConfigurazioneModelli"},
      {"ExecMovimentiCOIN",
       Quillane,
       {"CausaleCoIn",
        "Ditta",
        "NumeroRegistrazione",
        "ModalitàOperativa",
        "DataRegistrazione",
        "NumeroDocumentoOrigine",
        "DescrizioneAggiuntiva",
        "DataDocumento",
        "TipoCF",
        "CodiceCliFor",
        "TotaleDocumento",
        "TipoMovimento",
        "TipoDocumento",
        "Provenienza",
        "Sezionale",
        "Protocollo",
        "FlagDocBis",
        "Sede",
        "EsistonoCondizioniPerEsplodere",
        "DescrizioneModifiche",
        "MovimentoCoinModale"},
       "ExecMovimentiCOIN"},
      {"ExecVisualizzazioneUltimoMovimentoGenerato",
       Quillane,
       {"Ditta", "NumeroRegistrazione"},
       "ExecVisualizzazioneUltimoMovimentoGenerato"},
      {"ExecStampaPianoDeiConti", Quillane, {"CodicePdC"}, "ExecStampaPianoDeiConti"},
      {"ExecSelezioneCausaleCOIN",
       Quillane,
       {"RecordsetCausaliCorrelate", "CausaleCoGe"},
       "ExecSelezioneCausaleCOIN"},
      {"ExecRicerca", Quillane, {}, "ExecRicerca"},
      {"ExecSchedaConto", Quillane, {"CodiceScheda"}, "ExecSchedaConto"},
      {"ExecCostDriver", Quillane, {"CodiceCostDriver"}, "ExecCostDriver"},
      {"ExecProviderConti", Quillane, {"ProviderConto"}, "ExecProviderConti"},
      {"ExecProviderCOGE", Quillane, {"ProviderCOGE"}, "ExecProviderCOGE"},
      {"VisualizzaTracciaRib",
       Tormesk,
       {"NumeroRegistrazione", "ProgRiga", "TipoTraccia"},
       "VisualizzaTracciaRib",
       Keep,
       false,
       false},
  };
  return table;
}

const Launch& row(std::string_view name) {
  for (const Launch& launch : launchTable())
    if (launch.name == name) return launch;
  throw std::logic_error("no launch row for " + std::string(name));
}

constexpr std::string_view kTormesk = "Tormesk.CLSCI_CONNECT";
constexpr std::string_view kQuillane = "Quillane.CLSCI_CONNECT";

/// The four statements that end a launcher's link to this object, each
/// handed to `run` (which runs it trapped or ignoring its errors).
template <class Run>
void unlinkSteps(const std::shared_ptr<Dispatch>& launcher, Run&& run) {
  run([&] { required(launcher).putRef("ConnectField", Variant::nothing()); });
  run([&] { required(launcher).putRef("ActiveInterface", Variant::nothing()); });
  run([&] { required(launcher).putRef("Plookup", Variant::nothing()); });
  run([&] { required(launcher).invoke("Terminate", {}); });
}

constexpr auto kTrapped = [](auto&& step) { step(); };

}  // namespace

}  // namespace connect

std::shared_ptr<Dispatch> CLSCI_CONNECT::launcherFor(const connect::Launch& row) {
  if (launcher_) return launcher_;
  if (!row.createsLauncher) throw AutomationError::of(err::kObjectNotSet);
  HostAccess host(ActiveInterface, utility_);
  std::string_view progId = connect::kQuillane;
  if (row.component == connect::Component::Tormesk) progId = connect::kTormesk;
  if (row.component == connect::Component::BySetting &&
      equals(host.utility().ValueOrDefault(host.installationSetting(), Variant("")), 2))
    progId = connect::kTormesk;
  launcher_ = factory_.create(progId);
  // Kept even when the links below fail: a later launch then reuses it.
  auto launcher = launcher_;
  required(launcher).putRef("Plookup", Variant(self_.lock()));
  launcher->putRef("ActiveInterface", Variant(ActiveInterface));
  return launcher;
}

bool CLSCI_CONNECT::launch(const connect::Launch& row, std::span<Variant> args) {
  bool called = false;
  // The error trap: the first failure ends the method with the result
  // reached so far.
  ignoringErrors([&] {
    // A local reference keeps the launcher alive while it calls back.
    std::shared_ptr<Dispatch> launcher = launcherFor(row);
    if (row.handsConnectField) launcher->putRef("ConnectField", Variant(ConnectField));
    for (std::string_view name : row.context) {
      const PropertyInfo* property = registration().findProperty(name);
      if (!property) throw std::logic_error("no context property " + std::string(name));
      Variant value = property->getter(*this);
      if (property->type == ParamType::Object)
        launcher->putRef(property->name, value);
      else if (property->type == ParamType::Variant)
        launcher->put(
            property->name,
            HostAccess(ActiveInterface, utility_).utility().ValueOrDefault(value, Variant("")));
      else
        launcher->put(property->name, value);
    }
    launcher->invoke(row.call, args);
    called = true;
    switch (row.after) {
      case connect::After::Keep:
        break;
      case connect::After::Detach:
        connect::unlinkSteps(launcher, connect::kTrapped);
        if (launcher_ == launcher) launcher_.reset();
        break;
      case connect::After::EndCorrelation:
        launcher->putRef("Correlazione", Variant::nothing());
        launcher->putRef("ConnectField", Variant::nothing());
        launcher->invoke("Terminate", {});
        break;
    }
  });
  return called;
}

bool CLSCI_CONNECT::ChiusuraTracciaRib() {
  auto keepAlive = self_.lock();
  ignoringErrors([&] {  // the error trap
    raise("ChiusuraTracciaRibaltamenti", {});
    if (auto launcher = launcher_) {
      launcher->invoke("ChiudiTracciaRib", {});
      connect::unlinkSteps(launcher, connect::kTrapped);
    }
  });
  launcher_.reset();
  // The result is never set: this method answers False even on success.
  return false;
}

bool CLSCI_CONNECT::ApriTracciaRibaltamenti(bool& Modale) {
  Variant args[] = {Variant(Modale)};
  bool called = launch(connect::row("ApriTracciaRibaltamenti"), args);
  ignoringErrors([&] { Modale = toBool(args[0]); });
  return called;
}

bool CLSCI_CONNECT::ExecPropostaSezionale(const Variant& fvarCodiceCausale) {
  Variant args[] = {fvarCodiceCausale};
  return launch(connect::row("ExecPropostaSezionale"), args);
}

// clang-format off
bool CLSCI_CONNECT::ExecAnagraficaPdC() { return launch(connect::row("ExecAnagraficaPdC")); }
bool CLSCI_CONNECT::ExecCausaliCOIN() { return launch(connect::row("ExecCausaliCOIN")); }
bool CLSCI_CONNECT::ExecGestioneCorrelazioniPS() { return launch(connect::row("ExecGestioneCorrelazioniPS")); }
bool CLSCI_CONNECT::ExecMovimentiCOINSemplificata() { return launch(connect::row("ExecMovimentiCOINSemplificata")); }
bool CLSCI_CONNECT::ExecQuadratura() { return launch(connect::row("ExecQuadratura")); }
bool CLSCI_CONNECT::ExecVisualizzazioneUltimoMovimentoCOINSemplificataGenerato() {
  return launch(connect::row("ExecVisualizzazioneUltimoMovimentoCOINSemplificataGenerato"));
}
bool CLSCI_CONNECT::ExecStampaCD() { return launch(connect::row("ExecStampaCD")); }
bool CLSCI_CONNECT::ExecProviderCausali() { return launch(connect::row("ExecProviderCausali")); }
bool CLSCI_CONNECT::ExecCodiciPdC() { return launch(connect::row("ExecCodiciPdC")); }
bool CLSCI_CONNECT::ExecNatureCosti() { return launch(connect::row("ExecNatureCosti")); }
bool CLSCI_CONNECT::ExecConfigurazionePdC() { return launch(connect::row("ExecConfigurazionePdC")); }
bool CLSCI_CONNECT::ExecClassi() { return launch(connect::row("ExecClassi")); }
bool CLSCI_CONNECT::ExecConfigurazioneEntità() { return launch(connect::row("ExecConfigurazioneEntità")); }
bool CLSCI_CONNECT::ExecModelli() { return launch(connect::row("ExecModelli")); }
bool CLSCI_CONNECT::ExecConfigurazioneModelli() { return launch(connect::row("ExecConfigurazioneModelli")); }
bool CLSCI_CONNECT::ExecMovimentiCOIN() { return launch(connect::row("ExecMovimentiCOIN")); }
bool CLSCI_CONNECT::ExecVisualizzazioneUltimoMovimentoGenerato() {
  return launch(connect::row("ExecVisualizzazioneUltimoMovimentoGenerato"));
}
bool CLSCI_CONNECT::ExecStampaPianoDeiConti() { return launch(connect::row("ExecStampaPianoDeiConti")); }
bool CLSCI_CONNECT::ExecSelezioneCausaleCOIN() { return launch(connect::row("ExecSelezioneCausaleCOIN")); }
bool CLSCI_CONNECT::ExecRicerca() { return launch(connect::row("ExecRicerca")); }
bool CLSCI_CONNECT::ExecSchedaConto() { return launch(connect::row("ExecSchedaConto")); }
bool CLSCI_CONNECT::ExecCostDriver() { return launch(connect::row("ExecCostDriver")); }
bool CLSCI_CONNECT::ExecProviderConti() { return launch(connect::row("ExecProviderConti")); }
bool CLSCI_CONNECT::ExecProviderCOGE() { return launch(connect::row("ExecProviderCOGE")); }
bool CLSCI_CONNECT::VisualizzaTracciaRib() { return launch(connect::row("VisualizzaTracciaRib")); }
// clang-format on

}  // namespace brelvane
