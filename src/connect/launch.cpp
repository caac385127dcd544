// The launch methods of CLSCI_CONNECT: one table row per program, one
// common sequence. Each makes sure a launcher exists, hands it this object's
// context and calls the launcher's method of the same name by late binding.
#include "connect/launch.h"

#include <stdexcept>
#include <string>
#include <vector>

#include "compose/access.h"
#include "compose/guard.h"

namespace brelvane::connect {

namespace {

using enum Component;
using enum After;
using namespace std::literals;

// The context lists are written with the sv suffix: GCC 12 cannot convert
// a plain literal inside an initializer list of a constexpr table.

constexpr Launch kLaunches[] = {
    {.name = "ExecAnagraficaPdC",
     .component = BySetting,
     .context = {"CodicePdC"sv, "Conto"sv},
     .after = Detach},
    {.name = "ExecCausaliCOIN", .component = BySetting, .context = {"CausaleCoIn"sv}},
    {.name = "ExecGestioneCorrelazioniPS",
     .component = Tormesk,
     .context = {"Correlazione"sv, "VaiADettaglio"sv, "ContoFisso"sv, "CorrelazioneFissa"sv},
     .after = EndCorrelation},
    {.name = "ExecMovimentiCOINSemplificata",
     .component = Tormesk,
     .context = {"CausaleCoIn"sv, "Ditta"sv, "NumeroRegistrazione"sv, "IndProvenienzaOriginale"sv}},
    {.name = "ExecQuadratura",
     .component = Tormesk,
     .context = {"Ditta"sv, "NumeroRegistrazione"sv, "IndProvenienzaOriginale"sv},
     .after = Detach},
    {.name = "ExecVisualizzazioneUltimoMovimentoCOINSemplificataGenerato",
     .component = Tormesk,
     .context = {"Ditta"sv, "NumeroRegistrazione"sv},
     .after = Detach},
    {.name = "ExecStampaCD", .component = Tormesk, .context = {}, .after = Detach},
    {.name = "ExecProviderCausali", .component = Quillane, .context = {"ProviderCausale"sv}},
    {.name = "ApriTracciaRibaltamenti",
     .component = Tormesk,
     .context = {"NumeroRegistrazione"sv, "ProgRiga"sv, "TipoTraccia"sv},
     .call = "ApriTracciaRib",
     .handsConnectField = false,
     .arguments = Arguments::Modale,
     .doc = "opens an allocation trace; Modale goes to the launcher by reference"},
    {.name = "ExecCodiciPdC", .component = Quillane, .context = {"CodicePdC"sv}},
    {.name = "ExecNatureCosti", .component = Quillane, .context = {"CodiceNaturaCosto"sv}},
    {.name = "ExecPropostaSezionale",
     .component = Quillane,
     .context = {},
     .arguments = Arguments::CodiceCausale},
    {.name = "ExecConfigurazionePdC",
     .component = Quillane,
     .context = {"CodicePdC"sv, "LivelloPdC"sv}},
    {.name = "ExecClassi", .component = Quillane, .context = {"CodicePdC"sv, "Classe"sv}},
    {.name = "ExecConfigurazioneEntità",
     .component = Quillane,
     .context = {"Ditta"sv, "NumeroEntità"sv}},
    {.name = "ExecModelli", .component = Quillane, .context = {"CodiceModello"sv, "TipoModello"sv}},
    {.name = "ExecConfigurazioneModelli",
     .component = Quillane,
     .context = {"CodiceModello"sv, "TipoModello"sv}},
    {.name = "ExecMovimentiCOIN",
     .component = Quillane,
     .context = {"CausaleCoIn"sv,
                 "Ditta"sv,
                 "NumeroRegistrazione"sv,
                 "ModalitàOperativa"sv,
                 "DataRegistrazione"sv,
                 "NumeroDocumentoOrigine"sv,
                 "DescrizioneAggiuntiva"sv,
                 "DataDocumento"sv,
                 "TipoCF"sv,
                 "CodiceCliFor"sv,
                 "TotaleDocumento"sv,
                 "TipoMovimento"sv,
                 "TipoDocumento"sv,
                 "Provenienza"sv,
                 "Sezionale"sv,
                 "Protocollo"sv,
                 "FlagDocBis"sv,
                 "Sede"sv,
                 "EsistonoCondizioniPerEsplodere"sv,
                 "DescrizioneModifiche"sv,
                 "MovimentoCoinModale"sv}},
    {.name = "ExecVisualizzazioneUltimoMovimentoGenerato",
     .component = Quillane,
     .context = {"Ditta"sv, "NumeroRegistrazione"sv}},
    {.name = "ExecStampaPianoDeiConti", .component = Quillane, .context = {"CodicePdC"sv}},
    {.name = "ExecSelezioneCausaleCOIN",
     .component = Quillane,
     .context = {"RecordsetCausaliCorrelate"sv, "CausaleCoGe"sv}},
    {.name = "ExecRicerca", .component = Quillane, .context = {}},
    {.name = "ExecSchedaConto", .component = Quillane, .context = {"CodiceScheda"sv}},
    {.name = "ExecCostDriver", .component = Quillane, .context = {"CodiceCostDriver"sv}},
    {.name = "ExecProviderConti", .component = Quillane, .context = {"ProviderConto"sv}},
    {.name = "ExecProviderCOGE", .component = Quillane, .context = {"ProviderCOGE"sv}},
    {.name = "VisualizzaTracciaRib",
     .component = Tormesk,
     .context = {"NumeroRegistrazione"sv, "ProgRiga"sv, "TipoTraccia"sv},
     .handsConnectField = false,
     .createsLauncher = false,
     .doc = "shows a line of the open trace"},
};

constexpr std::string_view kTormesk = "Tormesk.CLSCI_CONNECT";
constexpr std::string_view kQuillane = "Quillane.CLSCI_CONNECT";

constexpr auto kTrapped = [](auto&& step) { step(); };

/// A context property of a row, found once at registration.
struct ContextProperty {
  std::string name;
  ParamType type;
  std::function<Variant(Dispatch&)> getter;
};

/// A row with its context properties resolved.
struct ResolvedLaunch {
  const Launch* row;
  std::vector<ContextProperty> context;
  std::string_view name = row->name, doc = row->doc;
  std::string_view call() const { return row->call.empty() ? row->name : row->call; }
};

/// The launcher, created (and linked to the object) when there is none.
std::shared_ptr<Dispatch> launcherFor(CLSCI_CONNECT& self, const Launch& row) {
  auto& state = internal::Access::of(self);
  if (state.launcher) return state.launcher;
  if (!row.createsLauncher) throw AutomationError::of(err::kObjectNotSet);
  HostAccess host(self.ActiveInterface, state.utility);
  std::string_view progId = kQuillane;
  if (row.component == Component::Tormesk) progId = kTormesk;
  if (row.component == Component::BySetting &&
      equals(host.utility().ValueOrDefault(host.installationSetting(), Variant("")), 2))
    progId = kTormesk;
  state.launcher = state.factory->create(progId);
  // Kept even when the links below fail: a later launch then reuses it.
  auto launcher = state.launcher;
  required(launcher).putRef("Plookup", Variant(state.self.lock()));
  launcher->putRef("ActiveInterface", Variant(self.ActiveInterface));
  return launcher;
}

/// The common launch sequence of one row.
bool launch(CLSCI_CONNECT& self, const ResolvedLaunch& launch, std::span<Variant> args = {}) {
  auto& state = internal::Access::of(self);
  const Launch& row = *launch.row;
  bool called = false;
  // The error trap: the first failure ends the method with the result
  // reached so far.
  ignoringErrors([&] {
    // A local reference keeps the launcher alive while it calls back.
    std::shared_ptr<Dispatch> launcher = launcherFor(self, row);
    if (row.handsConnectField) launcher->putRef("ConnectField", Variant(self.ConnectField));
    for (const ContextProperty& property : launch.context) {
      Variant value = property.getter(self);
      if (property.type == ParamType::Object)
        launcher->putRef(property.name, value);
      else if (property.type == ParamType::Variant)
        launcher->put(property.name, HostAccess(self.ActiveInterface, state.utility)
                                         .utility()
                                         .ValueOrDefault(value, Variant("")));
      else
        launcher->put(property.name, value);
    }
    launcher->invoke(launch.call(), args);
    called = true;
    switch (row.after) {
      case After::Keep:
        break;
      case After::Detach:
        unlinkSteps(launcher, kTrapped);
        if (state.launcher == launcher) state.launcher.reset();
        break;
      case After::EndCorrelation:
        launcher->putRef("Correlazione", Variant::nothing());
        launcher->putRef("ConnectField", Variant::nothing());
        launcher->invoke("Terminate", {});
        break;
    }
  });
  return called;
}

ResolvedLaunch resolve(const Builder& b, const Launch& row) {
  ResolvedLaunch resolved{&row, {}};
  for (std::string_view name : row.context) {
    const PropertyInfo* found = nullptr;
    for (const PropertyInfo& p : b.properties())
      if (p.name == name) found = &p;
    if (!found)
      throw std::logic_error("launch row " + std::string(row.name) + " names no property " +
                             std::string(name));
    resolved.context.push_back({found->name, found->type, found->getter});
  }
  return resolved;
}

/// Whether a row takes the arguments `arguments`.
constexpr auto taking(Arguments arguments) {
  return [arguments](const ResolvedLaunch& row) { return row.row->arguments == arguments; };
}

}  // namespace

std::span<const Launch> launchTable() {
  return kLaunches;
}

void registerLaunches(Builder& b, std::span<const Launch> rows) {
  // The resolved rows live as long as the methods made from them.
  auto resolved = std::make_shared<std::vector<ResolvedLaunch>>();
  for (const Launch& row : rows) resolved->push_back(resolve(b, row));
  b.rows(*resolved, form([resolved](CLSCI_CONNECT& self, const ResolvedLaunch& row) {
                      return launch(self, row);
                    }).only(taking(Arguments::None)),
         form(
             [resolved](CLSCI_CONNECT& self, const ResolvedLaunch& row, bool& Modale) {
               Variant args[] = {Variant(Modale)};
               bool called = launch(self, row, args);
               ignoringErrors([&] { Modale = toBool(args[0]); });
               return called;
             },
             {opt("Modale", Variant(false))})
             .only(taking(Arguments::Modale)),
         form(
             [resolved](CLSCI_CONNECT& self, const ResolvedLaunch& row,
                        const Variant& fvarCodiceCausale) {
               Variant args[] = {fvarCodiceCausale};
               return launch(self, row, args);
             },
             {opt("fvarCodiceCausale", Variant(""))})
             .only(taking(Arguments::CodiceCausale)));
}

}  // namespace brelvane::connect
