// CLSCI_CONNECT against a recording launcher: every launch method's exchange
// with its launcher, the shared launcher, failures, events coming back
// through Plookup, the closing calls, and the lifetime of the pair.
#include <algorithm>
#include <functional>
#include <map>
#include <set>

#include "brelvane/connect/clsci_connect.h"
#include "fixture.h"

namespace brelvane::testing {
namespace {

constexpr std::string_view kTormesk = "Tormesk.CLSCI_CONNECT";
constexpr std::string_view kQuillane = "Quillane.CLSCI_CONNECT";

/// What the launchers did, one readable line per operation.
struct Trace {
  std::vector<std::string> lines;
  std::map<const Dispatch*, std::string> names;  // objects by identity

  std::string text(const Variant& v) const {
    if (v.isNull()) return "Null";
    if (v.isString()) return "'" + v.string() + "'";
    if (!v.isObject()) return toText(v);
    if (!v.object()) return "Nothing";
    auto it = names.find(v.object().get());
    return it == names.end() ? "?" : it->second;
  }
};

using Callback = std::function<void(Dispatch& plookup, std::span<Variant> args)>;

/// A launcher that accepts every member by name and records it; `on` runs
/// when a method is called, given the object its Plookup holds.
class FakeLauncher final : public Dispatch, public std::enable_shared_from_this<FakeLauncher> {
 public:
  FakeLauncher(std::string name, Trace& trace, const std::set<std::string>& fails,
               const std::map<std::string, Callback>& on)
      : name_(std::move(name)), trace_(trace), fails_(fails), on_(on) {}
  ~FakeLauncher() override { trace_.lines.push_back(name_ + " Release"); }

  Variant get(std::string_view name) override { return values_[std::string(name)]; }
  void put(std::string_view name, const Variant& v) override { assign("Put", name, v); }
  void putRef(std::string_view name, const Variant& v) override { assign("PutRef", name, v); }
  Variant invoke(std::string_view name, std::span<Variant> args) override {
    auto keepAlive = shared_from_this();
    std::string list;
    for (const auto& a : args) list += (list.empty() ? "" : ",") + trace_.text(a);
    trace_.lines.push_back(name_ + " Call " + std::string(name) + "(" + list + ")");
    check(name);
    if (auto it = on_.find(std::string(name)); it != on_.end()) {
      std::shared_ptr<Dispatch> target = values_["Plookup"].object();
      it->second(*target, args);
    }
    return {};
  }

 private:
  void assign(const std::string& op, std::string_view name, const Variant& v) {
    trace_.lines.push_back(name_ + " " + op + " " + std::string(name) + "=" + trace_.text(v));
    check(name);
    values_[std::string(name)] = v;
  }
  void check(std::string_view member) const {
    if (fails_.count(std::string(member))) throw AutomationError(5, name_, "failed");
  }
  std::string name_;
  Trace& trace_;
  const std::set<std::string>& fails_;
  const std::map<std::string, Callback>& on_;
  std::map<std::string, Variant> values_;
};

/// An event sink that records each event and lets a handler answer.
class Sink final : public Dispatch {
 public:
  explicit Sink(Trace& trace) : trace_(trace) {}
  std::map<std::string, Callback> handlers;
  Variant invoke(std::string_view name, std::span<Variant> args) override {
    std::string list;
    for (const auto& a : args) list += (list.empty() ? "" : ",") + trace_.text(a);
    trace_.lines.push_back("Event " + std::string(name) + "(" + list + ")");
    if (auto it = handlers.find(std::string(name)); it != handlers.end()) it->second(*this, args);
    return {};
  }

 private:
  Trace& trace_;
};

/// A world with both launcher ProgIDs, a host and one CLSCI_CONNECT.
struct Harness {
  World world;
  Trace trace;
  std::set<std::string> fails;  // member names, or a ProgID whose creation fails
  std::map<std::string, Callback> on;
  std::map<std::string, int> created;
  std::vector<std::weak_ptr<Dispatch>> launchers;  // every launcher made, in order
  std::shared_ptr<Dispatch> field = standins::makeControl();
  std::shared_ptr<CLSCI_CONNECT> cn = world.create<CLSCI_CONNECT>();

  explicit Harness(const Json& installationSetting = 1) {
    for (auto progId : {kTormesk, kQuillane}) {
      world.factory.add(std::string(progId), [this, progId](ObjectFactory&) {
        std::string name = std::string(progId.substr(0, progId.find('.'))) + "#" +
                           std::to_string(++created[std::string(progId)]);
        trace.lines.push_back(name + " Create");
        if (fails.count(std::string(progId))) throw AutomationError(5, name, "failed");
        auto launcher = std::make_shared<FakeLauncher>(name, trace, fails, on);
        launchers.push_back(launcher);
        return launcher;
      });
    }
    cn->ActiveInterface =
        world.host({{"kind", "host"}, {"installationSetting", installationSetting}});
    cn->ConnectField = field;
    name(cn, "cn");
    name(cn->ActiveInterface, "host");
    name(field, "field");
  }
  void name(const std::shared_ptr<Dispatch>& object, std::string text) {
    trace.names[object.get()] = std::move(text);
  }
  /// The trace since the last call, cleared.
  std::vector<std::string> take() { return std::exchange(trace.lines, {}); }
  bool call(std::string_view method, std::vector<Variant> args = {}) {
    return toBool(cn->invoke(method, args));
  }
};

std::vector<std::string> opening(const std::string& launcher, bool connectField = true) {
  std::vector<std::string> out = {launcher + " Create", launcher + " PutRef Plookup=cn",
                                  launcher + " PutRef ActiveInterface=host"};
  if (connectField) out.push_back(launcher + " PutRef ConnectField=field");
  return out;
}

std::vector<std::string> unlinking(const std::string& launcher) {
  return {launcher + " PutRef ConnectField=Nothing", launcher + " PutRef ActiveInterface=Nothing",
          launcher + " PutRef Plookup=Nothing", launcher + " Call Terminate()"};
}

TEST(ConnectLaunch, EveryMethodHandsItsContextToItsLauncher) {
  enum class After { Keep, Detach, EndCorrelation };
  struct Row {
    std::string method, launcher;
    // "Name": a Variant holding 'Name'; "Name=value": put; "PutRef Name=object".
    std::vector<std::string> context;
    std::string call;
    After after = After::Keep;
  };
  const std::vector<Row> rows = {
      {"ExecAnagraficaPdC",
       "Quillane#1",
       {"CodicePdC", "Conto"},
       "ExecAnagraficaPdC()",
       After::Detach},
      {"ExecCausaliCOIN", "Quillane#1", {"CausaleCoIn"}, "ExecCausaliCOIN()"},
      {"ExecGestioneCorrelazioniPS",
       "Tormesk#1",
       {"PutRef Correlazione=corr", "VaiADettaglio=True", "ContoFisso=True",
        "CorrelazioneFissa=True"},
       "ExecGestioneCorrelazioniPS()",
       After::EndCorrelation},
      {"ExecMovimentiCOINSemplificata",
       "Tormesk#1",
       {"CausaleCoIn", "Ditta", "NumeroRegistrazione", "IndProvenienzaOriginale=7"},
       "ExecMovimentiCOINSemplificata()"},
      {"ExecQuadratura",
       "Tormesk#1",
       {"Ditta", "NumeroRegistrazione", "IndProvenienzaOriginale=7"},
       "ExecQuadratura()",
       After::Detach},
      {"ExecVisualizzazioneUltimoMovimentoCOINSemplificataGenerato",
       "Tormesk#1",
       {"Ditta", "NumeroRegistrazione"},
       "ExecVisualizzazioneUltimoMovimentoCOINSemplificataGenerato()",
       After::Detach},
      {"ExecStampaCD", "Tormesk#1", {}, "ExecStampaCD()", After::Detach},
      {"ExecProviderCausali", "Quillane#1", {"ProviderCausale=7"}, "ExecProviderCausali()"},
      {"ExecCodiciPdC", "Quillane#1", {"CodicePdC"}, "ExecCodiciPdC()"},
      {"ExecNatureCosti", "Quillane#1", {"CodiceNaturaCosto"}, "ExecNatureCosti()"},
      {"ExecPropostaSezionale", "Quillane#1", {}, "ExecPropostaSezionale('')"},
      {"ExecConfigurazionePdC",
       "Quillane#1",
       {"CodicePdC", "LivelloPdC"},
       "ExecConfigurazionePdC()"},
      {"ExecClassi", "Quillane#1", {"CodicePdC", "Classe"}, "ExecClassi()"},
      {"ExecConfigurazioneEntità",
       "Quillane#1",
       {"Ditta", "NumeroEntità"},
       "ExecConfigurazioneEntità()"},
      {"ExecModelli", "Quillane#1", {"CodiceModello", "TipoModello"}, "ExecModelli()"},
      {"ExecConfigurazioneModelli",
       "Quillane#1",
       {"CodiceModello", "TipoModello"},
       "ExecConfigurazioneModelli()"},
      {"ExecMovimentiCOIN",
       "Quillane#1",
       {"CausaleCoIn",
        "Ditta",
        "NumeroRegistrazione",
        "ModalitàOperativa=9",
        "DataRegistrazione",
        "NumeroDocumentoOrigine",
        "DescrizioneAggiuntiva",
        "DataDocumento",
        "TipoCF",
        "CodiceCliFor",
        "TotaleDocumento",
        "TipoMovimento",
        "TipoDocumento",
        "Provenienza=9",
        "Sezionale",
        "Protocollo",
        "FlagDocBis",
        "Sede",
        "EsistonoCondizioniPerEsplodere=True",
        "DescrizioneModifiche",
        "MovimentoCoinModale=True"},
       "ExecMovimentiCOIN()"},
      {"ExecVisualizzazioneUltimoMovimentoGenerato",
       "Quillane#1",
       {"Ditta", "NumeroRegistrazione"},
       "ExecVisualizzazioneUltimoMovimentoGenerato()"},
      {"ExecStampaPianoDeiConti", "Quillane#1", {"CodicePdC"}, "ExecStampaPianoDeiConti()"},
      {"ExecSelezioneCausaleCOIN",
       "Quillane#1",
       {"PutRef RecordsetCausaliCorrelate=rs", "CausaleCoGe"},
       "ExecSelezioneCausaleCOIN()"},
      {"ExecRicerca", "Quillane#1", {}, "ExecRicerca()"},
      {"ExecSchedaConto", "Quillane#1", {"CodiceScheda"}, "ExecSchedaConto()"},
      {"ExecCostDriver", "Quillane#1", {"CodiceCostDriver"}, "ExecCostDriver()"},
      {"ExecProviderConti", "Quillane#1", {"ProviderConto=7"}, "ExecProviderConti()"},
      {"ExecProviderCOGE", "Quillane#1", {"ProviderCOGE=7"}, "ExecProviderCOGE()"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.method);
    Harness h;
    // Every context property holds a value of its own: a Variant its name.
    for (const PropertyInfo& p : CLSCI_CONNECT::registration().properties) {
      if (p.type == ParamType::Variant) h.cn->put(p.name, Variant(p.name));
      if (p.type == ParamType::Boolean) h.cn->put(p.name, true);
      if (p.type == ParamType::Integer) h.cn->put(p.name, int16_t{7});
      if (p.type == ParamType::Long) h.cn->put(p.name, int32_t{9});
    }
    h.cn->Correlazione = standins::makeControl();
    h.cn->RecordsetCausaliCorrelate = standins::makeControl();
    h.name(h.cn->Correlazione, "corr");
    h.name(h.cn->RecordsetCausaliCorrelate, "rs");

    EXPECT_TRUE(h.call(row.method));
    std::vector<std::string> expected = opening(row.launcher);
    for (const std::string& c : row.context) {
      bool plain = c.find('=') == std::string::npos;
      std::string line = plain ? "Put " + c + "='" + c + "'" : c;
      if (line.rfind("Put", 0) != 0) line = "Put " + line;
      expected.push_back(row.launcher + " " + line);
    }
    expected.push_back(row.launcher + " Call " + row.call);
    if (row.after == After::Detach) {
      for (auto& line : unlinking(row.launcher)) expected.push_back(line);
      expected.push_back(row.launcher + " Release");
    } else if (row.after == After::EndCorrelation) {
      for (auto op :
           {" PutRef Correlazione=Nothing", " PutRef ConnectField=Nothing", " Call Terminate()"})
        expected.push_back(row.launcher + op);
    }
    EXPECT_EQ(h.take(), expected);

    h.cn.reset();  // a kept launcher is released with the caller's reference
    std::vector<std::string> released;
    if (row.after != After::Detach)
      released = {row.launcher + " PutRef ActiveInterface=Nothing", row.launcher + " Release"};
    EXPECT_EQ(h.take(), released);
  }
}

TEST(ConnectLaunch, LaterLaunchesShareTheLauncherMadeFirst) {
  Harness h;
  h.cn->CodicePdC = Variant::null();
  EXPECT_TRUE(h.call("ExecCodiciPdC"));
  h.cn->CodicePdC = 4;
  EXPECT_TRUE(h.call("ExecCodiciPdC"));
  // A Tormesk row still talks to the Quillane launcher; it detaches it.
  EXPECT_TRUE(h.call("ExecStampaCD"));
  std::vector<std::string> expected = opening("Quillane#1");
  for (std::string line :
       {"Put CodicePdC=''", "Call ExecCodiciPdC()", "PutRef ConnectField=field", "Put CodicePdC=4",
        "Call ExecCodiciPdC()", "PutRef ConnectField=field", "Call ExecStampaCD()"})
    expected.push_back("Quillane#1 " + line);
  for (auto& line : unlinking("Quillane#1")) expected.push_back(line);
  expected.push_back("Quillane#1 Release");
  EXPECT_EQ(h.take(), expected);
  EXPECT_TRUE(h.call("ExecRicerca"));  // a new launcher after a detach
  EXPECT_EQ(h.take().front(), "Quillane#2 Create");
}

TEST(ConnectLaunch, TheInstallationSettingChoosesTheLauncherOfTwoPrograms) {
  using Choice = std::pair<Json, std::string>;
  for (const auto& [setting, launcher] : std::vector<Choice>{
           {2, "Tormesk#1"}, {"2", "Tormesk#1"}, {nullptr, "Quillane#1"}, {3, "Quillane#1"}}) {
    Harness h(setting);
    EXPECT_TRUE(h.call("ExecCausaliCOIN"));
    EXPECT_EQ(h.take().front(), launcher + " Create") << setting;
  }
  Harness h;
  h.cn->ActiveInterface = nullptr;  // the setting cannot be read
  EXPECT_FALSE(h.call("ExecAnagraficaPdC"));
  EXPECT_TRUE(h.take().empty());
}

TEST(ConnectLaunch, AFailureEndsTheMethodWithTheResultReachedSoFar) {
  Harness h;
  h.fails = {std::string(kQuillane)};
  EXPECT_FALSE(h.call("ExecRicerca"));
  EXPECT_EQ(h.take(), (std::vector<std::string>{"Quillane#1 Create"}));

  h.fails = {"Conto"};  // before the call: False, the launcher is kept
  EXPECT_FALSE(h.call("ExecAnagraficaPdC"));
  EXPECT_EQ(h.take().back(), "Quillane#2 Put Conto=''");
  h.fails = {"Terminate"};  // after the call: True, no detach
  EXPECT_TRUE(h.call("ExecAnagraficaPdC"));
  EXPECT_EQ(h.take().back(), "Quillane#2 Call Terminate()");
  EXPECT_TRUE(h.call("VisualizzaTracciaRib"));
  EXPECT_EQ(h.take().front(), "Quillane#2 Put NumeroRegistrazione=''");  // still the same launcher

  Harness fresh;
  EXPECT_FALSE(fresh.call("VisualizzaTracciaRib"));  // needs an open trace
  EXPECT_TRUE(fresh.take().empty());
}

TEST(ConnectLaunch, TheTraceMethodsPassModaleByReferenceAndCloseAlwaysAnswersFalse) {
  Harness h;
  h.on["ApriTracciaRib"] = [](Dispatch&, std::span<Variant> args) { args[0] = true; };
  auto sink = std::make_shared<Sink>(h.trace);
  h.cn->Advise(sink);
  bool modale = false;
  EXPECT_TRUE(h.cn->ApriTracciaRibaltamenti(modale));
  EXPECT_TRUE(modale);
  EXPECT_TRUE(h.cn->VisualizzaTracciaRib());
  std::vector<std::string> expected = opening("Tormesk#1", false);
  for (std::string line : {"Put NumeroRegistrazione=''", "Put ProgRiga=''", "Put TipoTraccia=0",
                           "Call ApriTracciaRib(False)", "Put NumeroRegistrazione=''",
                           "Put ProgRiga=''", "Put TipoTraccia=0", "Call VisualizzaTracciaRib()"})
    expected.push_back("Tormesk#1 " + line);
  EXPECT_EQ(h.take(), expected);

  EXPECT_FALSE(h.cn->ChiusuraTracciaRib());
  expected = {"Event ChiusuraTracciaRibaltamenti()", "Tormesk#1 Call ChiudiTracciaRib()"};
  for (auto& line : unlinking("Tormesk#1")) expected.push_back(line);
  expected.push_back("Tormesk#1 Release");
  EXPECT_EQ(h.take(), expected);
  EXPECT_FALSE(h.cn->ChiusuraTracciaRib());  // without a launcher: the event alone
  EXPECT_EQ(h.take(), (std::vector<std::string>{"Event ChiusuraTracciaRibaltamenti()"}));
}

TEST(ConnectEvents, HandlersAnswerTheLauncherThroughByReferenceArguments) {
  Harness h;
  auto sink = std::make_shared<Sink>(h.trace);
  sink->handlers["TransferData"] = [](Dispatch&, std::span<Variant> args) {
    args[0] = true;
    args[2] = int32_t{3};
  };
  sink->handlers["ChiusuraSelezioneCausaleCoIn"] = [](Dispatch&, std::span<Variant> args) {
    args[0] = "C02";
  };
  std::vector<std::string> seen;
  h.on["ExecCausaliCOIN"] = [&](Dispatch& plookup, std::span<Variant>) {
    std::vector<Variant> transfer = {false, "C01", int32_t{8}}, selection = {"C01"};
    plookup.invoke("TransferData", transfer);
    plookup.invoke("ChiusuraSelezioneCausaleCoIn", selection);
    for (const auto& v : transfer) seen.push_back(h.trace.text(v));
    seen.push_back(h.trace.text(selection[0]));
  };
  int32_t cookie = h.cn->Advise(sink);
  EXPECT_TRUE(h.call("ExecCausaliCOIN"));
  EXPECT_EQ(seen, (std::vector<std::string>{"True", "'C01'", "3", "'C02'"}));
  std::vector<std::string> trace = h.take();
  EXPECT_NE(std::find(trace.begin(), trace.end(), "Event TransferData(False,'C01',8)"),
            trace.end());

  h.cn->Unadvise(cookie);
  seen.clear();
  EXPECT_TRUE(h.call("ExecCausaliCOIN"));
  EXPECT_EQ(seen, (std::vector<std::string>{"False", "'C01'", "8", "'C01'"}));
  EXPECT_THROW(h.cn->Unadvise(cookie), AutomationError);
}

TEST(ConnectEvents, ClosingCallsUnlinkTheLauncher) {
  Harness h;
  auto sink = std::make_shared<Sink>(h.trace);
  h.cn->Advise(sink);
  h.on["ExecMovimentiCOIN"] = [](Dispatch& plookup, std::span<Variant>) {
    plookup.invoke("ChiusuraMovimentiContabilitàIndustriale", {});
  };
  EXPECT_TRUE(h.call("ExecMovimentiCOIN"));
  std::vector<std::string> trace = h.take();
  std::vector<std::string> tail(trace.end() - 6, trace.end());
  std::vector<std::string> expected = {"Quillane#1 Call ExecMovimentiCOIN()",
                                       "Event ChiusuraMovimentiContabilitàIndustriale()"};
  for (auto& line : unlinking("Quillane#1")) expected.push_back(line);
  EXPECT_EQ(tail, expected);

  h.cn->Teminate();
  EXPECT_EQ(h.take(),
            (std::vector<std::string>{"Quillane#1 PutRef Plookup=Nothing",
                                      "Quillane#1 PutRef ActiveInterface=Nothing",
                                      "Quillane#1 PutRef ConnectField=Nothing",
                                      "Quillane#1 Call Teminate()", "Quillane#1 Release"}));
  EXPECT_EQ(h.cn->ActiveInterface, nullptr);
  EXPECT_EQ(h.cn->ConnectField, nullptr);
  h.cn->Teminate();  // without a launcher there is nothing more to do
  EXPECT_TRUE(h.take().empty());
}

TEST(ConnectLifetime, NeitherObjectKeepsTheOtherAliveOnceTheCallerLetsGo) {
  Harness h;
  EXPECT_TRUE(h.call("ExecCodiciPdC"));
  std::weak_ptr<Dispatch> launcher = h.launchers.at(0);
  std::weak_ptr<Dispatch> plookup = launcher.lock()->get("Plookup").object();
  EXPECT_EQ(plookup.lock().get(),
            static_cast<Dispatch*>(h.cn.get()));  // the caller's object itself
  h.take();
  h.cn.reset();
  EXPECT_EQ(h.take(), (std::vector<std::string>{"Quillane#1 PutRef ActiveInterface=Nothing",
                                                "Quillane#1 Release"}));
  EXPECT_TRUE(launcher.expired());
  EXPECT_TRUE(plookup.expired());
  EXPECT_EQ(h.world.ops("utility#1").back(), "Release");
  // LeakSanitizer would also report the pair if either still held the other.
}

TEST(ConnectLifetime, ALauncherKeptElsewhereStillReachesAValidObject) {
  Harness h;
  auto sink = std::make_shared<Sink>(h.trace);
  h.cn->Advise(sink);
  EXPECT_TRUE(h.call("ExecCodiciPdC"));
  std::shared_ptr<Dispatch> kept = h.launchers.at(0).lock();
  h.take();
  h.cn.reset();
  EXPECT_EQ(h.take(), (std::vector<std::string>{"Quillane#1 PutRef ActiveInterface=Nothing"}));
  // The released object still answers its launcher, but no sink hears it.
  std::vector<Variant> args = {false, "x", int32_t{1}};
  kept->get("Plookup").object()->invoke("TransferData", args);
  EXPECT_EQ(args[0], Variant(false));
  kept.reset();
  EXPECT_EQ(h.take(), (std::vector<std::string>{"Quillane#1 Release"}));
}

TEST(ConnectLifetime, ALauncherLetGoDuringItsOwnCallSurvivesTheCall) {
  Harness h;
  h.on["ExecNatureCosti"] = [](Dispatch& plookup, std::span<Variant>) {
    plookup.invoke("Teminate", {});
  };
  EXPECT_TRUE(h.call("ExecNatureCosti"));
  EXPECT_EQ(h.take().back(), "Quillane#1 Release");
  EXPECT_TRUE(h.call("ExecNatureCosti"));  // the next launch makes a new launcher
  EXPECT_EQ(h.take().front(), "Quillane#2 Create");
}

}  // namespace
}  // namespace brelvane::testing
