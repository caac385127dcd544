// CLSCI_CONNECT against recording launchers: what each method exchanges with
// its launcher, failures, events back through Plookup, and lifetimes.
#include <algorithm>
#include <sstream>

#include "brelvane/connect/clsci_connect.h"
#include "connect/launch.h"
#include "fixture.h"

namespace brelvane::testing {
namespace {

using Lines = std::vector<std::string>;

const std::string kTormesk = "Tormesk.CLSCI_CONNECT", kT1 = kTormesk + "#1";
const std::string kQuillane = "Quillane.CLSCI_CONNECT", kQ1 = kQuillane + "#1";

Lines operator+(Lines a, const Lines& b) {
  a.insert(a.end(), b.begin(), b.end());
  return a;
}

/// The operations of one object ("op; op; ..."), each prefixed with its name.
Lines of(const std::string& object, std::string_view ops) {
  Lines out;
  for (size_t at = 0, end = 0; at < ops.size(); at = end + 2) {
    end = std::min(ops.find("; ", at), ops.size());
    out.push_back(object + " " + std::string(ops.substr(at, end - at)));
  }
  return out;
}

/// A logged value the way the lines show it: 'text', Null, True, 7, an object's name.
std::string text(const Json& v) {
  if (v.is_string()) return "'" + v.get<std::string>() + "'";
  if (v.is_object() && v.contains("$object"))
    return v["$object"].is_null() ? "Nothing" : v["$object"].get<std::string>();
  return v.is_null() ? "Null" : v.is_boolean() ? (v.get<bool>() ? "True" : "False") : v.dump();
}

/// A log entry as "OBJECT OP NAME=VALUE" or "OBJECT OP NAME(ARGS)".
std::string line(const Json& e) {
  std::string out = e["object"].get<std::string>() + " " + e["op"].get<std::string>();
  if (e.contains("value")) out += " " + e["name"].get<std::string>() + "=" + text(e["value"]);
  if (e.contains("args")) {
    std::string list;
    for (const auto& a : e["args"]) list += (list.empty() ? "" : ",") + text(a);
    out += " " + e["name"].get<std::string>() + "(" + list + ")";
  }
  return e.value("failed", false) ? out + " failed" : out;
}

/// Both launcher ProgIDs (scripted by `launchers`), a host and one CLSCI_CONNECT.
struct Harness {
  World world;
  size_t taken = 0;
  std::shared_ptr<CLSCI_CONNECT> cn = world.create<CLSCI_CONNECT>();

  explicit Harness(std::string_view launchers = "{}", const Json& installationSetting = 1) {
    standins::installLaunchers(world.factory, Json::parse(launchers), world.log);
    cn->ActiveInterface =
        world.host({{"kind", "host"}, {"installationSetting", installationSetting}});
    cn->ConnectField = control("field");
    world.log.names.add(cn, "cn");
  }
  /// An opaque object that the lines show as `name`.
  std::shared_ptr<Dispatch> control(const std::string& name) {
    auto object = standins::makeControl();
    world.log.names.add(object, name);
    return object;
  }
  /// What reached the launchers and the sink since the last call.
  Lines take() {
    Lines out;
    const Json& entries = world.log.entries();
    for (; taken < entries.size(); ++taken) {
      const Json& e = entries[taken];
      if (e["op"] == "Event" ||
          e["object"].get<std::string>().find(".CLSCI_CONNECT#") != std::string::npos)
        out.push_back(line(e));
    }
    return out;
  }
  bool call(std::string_view method) { return toBool(cn->invoke(method, {})); }
  /// An event sink "ev" connected to the object.
  int32_t advise(std::string_view handlers = "{}") {
    return cn->Advise(
        standins::makeSink("ev", Json::parse(handlers), &CLSCI_CONNECT::registration(), world.log));
  }
};

Lines opening(const std::string& launcher) {
  return of(launcher,
            "Create; PutRef Plookup=cn; PutRef ActiveInterface=host; "
            "PutRef ConnectField=field");
}

Lines unlinking(const std::string& launcher) {
  return of(launcher,
            "PutRef ConnectField=Nothing; PutRef ActiveInterface=Nothing; PutRef Plookup=Nothing; "
            "Call Terminate()");
}

TEST(ConnectLaunch, EveryMethodHandsItsContextToItsLauncher) {
  enum class After { Keep, Detach, EndCorrelation };
  struct Row {
    std::string method, launcher;
    // Words: "Name" puts a Variant holding 'Name'; "Name=v" puts v; "Name=@obj" is a PutRef.
    std::string context;
    After after = After::Keep;
    std::string call = "()";  // the launcher's method: the same name, these arguments
  };
  using enum After;
  const std::vector<Row> rows = {
      {"ExecAnagraficaPdC", kQ1, "CodicePdC Conto", Detach},
      {"ExecCausaliCOIN", kQ1, "CausaleCoIn"},
      {"ExecGestioneCorrelazioniPS", kT1,
       "Correlazione=@corr VaiADettaglio=True ContoFisso=True CorrelazioneFissa=True",
       EndCorrelation},
      {"ExecMovimentiCOINSemplificata", kT1,
       "CausaleCoIn Ditta NumeroRegistrazione IndProvenienzaOriginale=7"},
      {"ExecQuadratura", kT1, "Ditta NumeroRegistrazione IndProvenienzaOriginale=7", Detach},
      {"ExecVisualizzazioneUltimoMovimentoCOINSemplificataGenerato", kT1,
       "Ditta NumeroRegistrazione", Detach},
      {"ExecStampaCD", kT1, "", Detach},
      {"ExecProviderCausali", kQ1, "ProviderCausale=7"},
      {"ExecCodiciPdC", kQ1, "CodicePdC"},
      {"ExecNatureCosti", kQ1, "CodiceNaturaCosto"},
      {"ExecPropostaSezionale", kQ1, "", Keep, "('')"},
      {"ExecConfigurazionePdC", kQ1, "CodicePdC LivelloPdC"},
      {"ExecClassi", kQ1, "CodicePdC Classe"},
      {"ExecConfigurazioneEntità", kQ1, "Ditta NumeroEntità"},
      {"ExecModelli", kQ1, "CodiceModello TipoModello"},
      {"ExecConfigurazioneModelli", kQ1, "CodiceModello TipoModello"},
      {"ExecMovimentiCOIN", kQ1,
       "CausaleCoIn Ditta NumeroRegistrazione ModalitàOperativa=9 DataRegistrazione "
       "NumeroDocumentoOrigine DescrizioneAggiuntiva DataDocumento TipoCF CodiceCliFor "
       "TotaleDocumento TipoMovimento TipoDocumento Provenienza=9 Sezionale Protocollo "
       "FlagDocBis Sede EsistonoCondizioniPerEsplodere=True DescrizioneModifiche "
       "MovimentoCoinModale=True"},
      {"ExecVisualizzazioneUltimoMovimentoGenerato", kQ1, "Ditta NumeroRegistrazione"},
      {"ExecStampaPianoDeiConti", kQ1, "CodicePdC"},
      {"ExecSelezioneCausaleCOIN", kQ1, "RecordsetCausaliCorrelate=@rs CausaleCoGe"},
      {"ExecRicerca", kQ1, ""},
      {"ExecSchedaConto", kQ1, "CodiceScheda"},
      {"ExecCostDriver", kQ1, "CodiceCostDriver"},
      {"ExecProviderConti", kQ1, "ProviderConto=7"},
      {"ExecProviderCOGE", kQ1, "ProviderCOGE=7"},
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
    h.cn->Correlazione = h.control("corr");
    h.cn->RecordsetCausaliCorrelate = h.control("rs");

    EXPECT_TRUE(h.call(row.method));
    std::string ops;
    std::istringstream words(row.context);
    for (std::string w; words >> w;) {
      if (w.find('=') == std::string::npos) w += "='" + w + "'";
      size_t at = w.find("=@");
      ops += at == std::string::npos ? "Put " + w + "; " : "PutRef " + w.erase(at + 1, 1) + "; ";
    }
    ops += "Call " + row.method + row.call;
    if (row.after == EndCorrelation)
      ops += "; PutRef Correlazione=Nothing; PutRef ConnectField=Nothing; Call Terminate()";
    Lines detached = unlinking(row.launcher) + of(row.launcher, "Release");
    EXPECT_EQ(h.take(), opening(row.launcher) + of(row.launcher, ops) +
                            (row.after == Detach ? detached : Lines{}));

    h.cn.reset();  // a kept launcher is released with the caller's reference
    EXPECT_EQ(h.take(), row.after == Detach
                            ? Lines{}
                            : of(row.launcher, "PutRef ActiveInterface=Nothing; Release"));
  }
}

TEST(ConnectLaunch, TheInstallationSettingChoosesTheLauncherOfTwoPrograms) {
  using Choice = std::pair<Json, std::string>;
  for (const auto& [setting, launcher] :
       std::vector<Choice>{{2, kT1}, {"2", kT1}, {nullptr, kQ1}, {3, kQ1}}) {
    Harness h("{}", setting);
    EXPECT_TRUE(h.call("ExecCausaliCOIN"));
    EXPECT_EQ(h.take().front(), launcher + " Create") << setting;
  }
  Harness h;
  h.cn->ActiveInterface = nullptr;  // the setting cannot be read
  EXPECT_FALSE(h.call("ExecAnagraficaPdC"));
  EXPECT_TRUE(h.take().empty());
}

TEST(ConnectLaunch, AFailureEndsTheMethodWithTheResultReachedSoFar) {
  Harness h(R"({"Tormesk.CLSCI_CONNECT": {"fail": ["create"]},
                "Quillane.CLSCI_CONNECT": {"fail": ["Conto", "Terminate"]}})");
  EXPECT_FALSE(h.call("ExecStampaCD"));
  EXPECT_EQ(h.take(), of(kT1, "Create failed"));
  EXPECT_FALSE(h.call("ExecAnagraficaPdC"));  // before the call: False, the launcher is kept
  EXPECT_EQ(h.take().back(), kQ1 + " Put Conto='' failed");
  EXPECT_TRUE(h.call("ExecStampaCD"));  // after the call: True, no detach
  EXPECT_EQ(h.take().back(), kQ1 + " Call Terminate() failed");
  EXPECT_TRUE(h.call("VisualizzaTracciaRib"));
  EXPECT_EQ(h.take().front(), kQ1 + " Put NumeroRegistrazione=''");  // still the same launcher

  Harness fresh;
  EXPECT_FALSE(fresh.call("VisualizzaTracciaRib"));  // needs an open trace
  EXPECT_TRUE(fresh.take().empty());
}

TEST(ConnectLaunch, TheTraceMethodsPassModaleByReferenceAndCloseAlwaysAnswersFalse) {
  Harness h(R"({"Tormesk.CLSCI_CONNECT": {"sets": {"ApriTracciaRib": [true]}}})");
  h.advise();
  std::vector<Variant> modale{Variant(false)};
  EXPECT_TRUE(toBool(h.cn->invoke("ApriTracciaRibaltamenti", modale)));
  EXPECT_EQ(modale[0], Variant(true));
  EXPECT_TRUE(h.call("VisualizzaTracciaRib"));
  std::string context = "Put NumeroRegistrazione=''; Put ProgRiga=''; Put TipoTraccia=0; ";
  EXPECT_EQ(h.take(), of(kT1, "Create; PutRef Plookup=cn; PutRef ActiveInterface=host; " + context +
                                  "Call ApriTracciaRib(False); " + context +
                                  "Call VisualizzaTracciaRib()"));  // no ConnectField

  EXPECT_FALSE(h.call("ChiusuraTracciaRib"));
  EXPECT_EQ(h.take(), of("ev", "Event ChiusuraTracciaRibaltamenti()") +
                          of(kT1, "Call ChiudiTracciaRib()") + unlinking(kT1) + of(kT1, "Release"));
  EXPECT_FALSE(h.call("ChiusuraTracciaRib"));  // without a launcher: the event alone
  EXPECT_EQ(h.take(), of("ev", "Event ChiusuraTracciaRibaltamenti()"));
}

TEST(ConnectEvents, HandlersAnswerThroughByReferenceArgumentsAndClosingCallsUnlink) {
  Harness h(R"({"Quillane.CLSCI_CONNECT": {"on": {"ExecCausaliCOIN": [
      {"call": "TransferData", "args": [false, "C01", 8]},
      {"call": "ChiusuraSelezioneCausaleCoIn", "args": ["C01"]}]}}})");
  int32_t cookie =
      h.advise(R"({"TransferData": {"Cancel": true, "tsCalledProgram": {"$integer": 3}},
      "ChiusuraSelezioneCausaleCoIn": {"CausaleCoInSelezionata": "C02"}})");
  EXPECT_TRUE(h.call("ExecCausaliCOIN"));
  EXPECT_EQ(h.take(), opening(kQ1) + of(kQ1, "Put CausaleCoIn=''; Call ExecCausaliCOIN()") +
                          of("ev", "Event TransferData(False,'C01',8)") +
                          of(kQ1, "Callback TransferData(True,'C01',3)") +
                          of("ev", "Event ChiusuraSelezioneCausaleCoIn('C01')") +
                          of(kQ1, "Callback ChiusuraSelezioneCausaleCoIn('C02')"));

  // A later launch hands the field again to the same launcher; with no sink
  // the launcher gets its own values back.
  h.cn->Unadvise(cookie);
  EXPECT_TRUE(h.call("ExecCausaliCOIN"));
  EXPECT_EQ(h.take(), of(kQ1,
                         "PutRef ConnectField=field; Put CausaleCoIn=''; Call ExecCausaliCOIN(); "
                         "Callback TransferData(False,'C01',8); "
                         "Callback ChiusuraSelezioneCausaleCoIn('C01')"));
  EXPECT_THROW(h.cn->Unadvise(cookie), AutomationError);
  EXPECT_EQ(errorOf([&] { h.cn->Advise(nullptr); }), err::kInvalidCall);

  // Closing calls unlink the launcher.
  Harness closing(R"({"Quillane.CLSCI_CONNECT": {"on": {"ExecMovimentiCOIN": [
      {"call": "ChiusuraMovimentiContabilitàIndustriale"}]}}})");
  closing.advise();
  EXPECT_TRUE(closing.call("ExecMovimentiCOIN"));
  Lines trace = closing.take();
  ASSERT_GE(trace.size(), 7u);
  EXPECT_EQ(Lines(trace.end() - 7, trace.end()),
            of(kQ1, "Call ExecMovimentiCOIN()") +
                of("ev", "Event ChiusuraMovimentiContabilitàIndustriale()") + unlinking(kQ1) +
                of(kQ1, "Callback ChiusuraMovimentiContabilitàIndustriale()"));

  closing.call("Teminate");
  EXPECT_EQ(closing.take(), of(kQ1,
                               "PutRef Plookup=Nothing; PutRef ActiveInterface=Nothing; "
                               "PutRef ConnectField=Nothing; Call Teminate(); Release"));
  EXPECT_EQ(closing.cn->ConnectField, nullptr);
  closing.call("Teminate");  // without a launcher there is nothing more to do
  EXPECT_TRUE(closing.take().empty());
}

TEST(ConnectLifetime, NeitherObjectKeepsTheOtherAliveOnceTheCallerLetsGo) {
  Harness h;
  EXPECT_TRUE(h.call("ExecCodiciPdC"));
  std::weak_ptr<Dispatch> launcher = h.world.log.names.find(kQ1);
  std::weak_ptr<Dispatch> plookup = launcher.lock()->get("Plookup").object();
  EXPECT_EQ(plookup.lock().get(), static_cast<Dispatch*>(h.cn.get()));  // the caller's object
  h.cn.reset();
  EXPECT_TRUE(launcher.expired());
  EXPECT_TRUE(plookup.expired());
  Json utility;  // its last operation
  for (const Json& e : h.world.log.entries())
    if (e["object"] == "utility#1") utility = e["op"];
  EXPECT_EQ(utility, "Release");
  // LeakSanitizer would also report the pair if either still held the other.
}

TEST(ConnectLifetime, ALauncherKeptElsewhereOrLetGoDuringItsCallStillReachesAValidObject) {
  Harness h;
  h.advise(R"({"TransferData": {"Cancel": true}})");
  EXPECT_TRUE(h.call("ExecCodiciPdC"));
  std::shared_ptr<Dispatch> kept = h.world.log.names.find(kQ1);
  h.take();
  h.cn.reset();
  EXPECT_EQ(h.take(), of(kQ1, "PutRef ActiveInterface=Nothing"));
  // The released object still answers its launcher, but no sink hears it.
  std::vector<Variant> args = {false, "x", int32_t{1}};
  kept->get("Plookup").object()->invoke("TransferData", args);
  EXPECT_EQ(args[0], Variant(false));
  kept.reset();
  EXPECT_EQ(h.take(), of(kQ1, "Release"));

  // A launcher let go during its own call survives the call.
  Harness quits(
      R"({"Quillane.CLSCI_CONNECT": {"on": {"ExecNatureCosti": [{"call": "Teminate"}]}}})");
  EXPECT_TRUE(quits.call("ExecNatureCosti"));
  EXPECT_EQ(quits.take().back(), kQ1 + " Release");
  EXPECT_TRUE(quits.call("ExecNatureCosti"));  // the next launch makes a new launcher
  EXPECT_EQ(quits.take().front(), kQuillane + "#2 Create");
}

TEST(ConnectLaunch, ARowNamingAnUnknownContextPropertyFailsAtRegistration) {
  using namespace std::literals;
  connect::Builder b("Test.Connect");
  b.property("Ditta", &CLSCI_CONNECT::Ditta);
  const connect::Launch known[] = {
      {.name = "ExecKnown", .component = connect::Component::Quillane, .context = {"Ditta"sv}}};
  const connect::Launch unknown[] = {
      {.name = "ExecTypo", .component = connect::Component::Quillane, .context = {"Dita"sv}}};
  EXPECT_NO_THROW(connect::registerLaunches(b, known));
  EXPECT_THROW(connect::registerLaunches(b, unknown), std::logic_error);
}

// A registration gives one parameter description per declared argument;
// a wrong count does not compile.
template <class F, class... Specs>
concept Registrable = requires(connect::Builder b, F f, Specs... specs) {
  b.method("X", f, {specs...});
};
using TwoArguments = bool (*)(CLSCI_CONNECT&, int16_t, const Variant&);
static_assert(Registrable<TwoArguments, ParamSpec, ParamSpec>);
static_assert(!Registrable<TwoArguments, ParamSpec>);
static_assert(!Registrable<TwoArguments, ParamSpec, ParamSpec, ParamSpec>);

}  // namespace
}  // namespace brelvane::testing
