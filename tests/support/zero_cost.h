#pragma once
// A world that costs nothing: a host, utility object, connection and
// launchers that answer at once with constant values and log nothing, but
// count every call by kind (a text may cost an allocation). With `record`
// on, each call is also kept as a step that `replay` makes again without
// composing anything: the floor of a member in the benchmark.

#include <array>
#include <cstdint>
#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "brelvane/brelvane.h"
#include "brelvane/host/ado.h"
#include "brelvane/host/host.h"
#include "brelvane/host/utility.h"

namespace brelvane::zerocost {

/// Calls by kind: texts are calls that hand back a text (a std::string, or
/// a Variant holding one).
struct Counts {
  long calls = 0;
  long texts = 0;
  void reset() { *this = {}; }
};

class World;

/// One call made during a recorded run, made again by `replay`.
using Step = std::function<void(World&)>;

class World final : public std::enable_shared_from_this<World> {
 public:
  static std::shared_ptr<World> make();

  Counts counts;
  bool record = false;
  std::vector<Step> steps;

  std::shared_ptr<HostInterface> host;
  std::shared_ptr<Connection> connection;
  std::shared_ptr<Dispatch> control;
  ObjectFactory factory;

  /// Counts a call; `makeStep` builds its replay, only while recording.
  template <class MakeStep>
  void note(bool text, MakeStep&& makeStep) {
    ++counts.calls;
    if (text) ++counts.texts;
    if (record) steps.push_back(makeStep());
  }
  /// Makes the recorded calls again on the same objects.
  void replay() {
    const bool was = record;
    record = false;
    for (auto& step : steps) step(*this);
    record = was;
  }

 private:
  World() = default;
};

namespace detail {

// Counts a call of the member it is in; `again` makes the same call when
// replayed.
#define COUNTED(text, again) w_.note(text, [&] { return Step([=, this](World&) { again; }); })

inline const std::string kLabel = "Descrizione dell'etichetta lunga abbastanza";

class Host final : public HostInterface,
                   public HostContext,
                   public MessageService,
                   public HostCompany,
                   public CompanySettings {
 public:
  explicit Host(World& w) : w_(w) {}
  std::shared_ptr<HostContext> Context() override {
    return COUNTED(false, Context()), part<HostContext>();
  }
  Variant InstallationSetting() override {
    return COUNTED(false, InstallationSetting()), int32_t{1};
  }
  std::shared_ptr<MessageService> Messages() override {
    return COUNTED(false, Messages()), part<MessageService>();
  }
  std::shared_ptr<HostCompany> Company() override {
    return COUNTED(false, Company()), part<HostCompany>();
  }
  std::string GetMessageText(int32_t id, const SafeArray&) override {
    return COUNTED(true, GetMessageText(id, SafeArray())), kLabel;
  }
  std::string PrepareSqlText(const std::string& text) override {
    return COUNTED(true, PrepareSqlText(text)), text;
  }
  std::shared_ptr<CompanySettings> Settings() override {
    return COUNTED(false, Settings()), part<CompanySettings>();
  }
  Variant Code() override { return COUNTED(false, Code()), int32_t{1}; }
  Variant LanguageCode() override { return COUNTED(false, LanguageCode()), "ITA"; }
  Variant CompanyMode() override { return COUNTED(false, CompanyMode()), int32_t{2}; }

 private:
  /// Priced as a reference-counted interface: one count up on the way out,
  /// one down when the caller lets go. The count is a token's, so handing
  /// out a reference never looks the world up; the world outlives them all.
  template <class Part>
  std::shared_ptr<Part> part() {
    return {token_, static_cast<Part*>(this)};
  }
  std::shared_ptr<void> token_ = std::make_shared<char>();
  World& w_;
};

class Utility final : public UtilityObject {
 public:
  explicit Utility(World& w) : w_(w) {}
  void Initialise() override {}
  void Release() override {}
  std::string ValueToText(const Variant& v) override {
    return COUNTED(true, ValueToText(v)), v.isString() ? v.string() : std::string("7");
  }
  Variant ValueOrDefault(const Variant& v, const Variant& d) override {
    return COUNTED(false, ValueOrDefault(v, d)), v.isNull() || v.isEmpty() ? d : v;
  }
  std::string ValueForSql(const Variant& v) override {
    return COUNTED(true, ValueForSql(v)), "'7'";
  }
  std::string SqlDateLiteral(const Variant& v) override {
    return COUNTED(true, SqlDateLiteral(v)), "'20261122'";
  }
  std::pair<std::string, std::string> BindContext(const std::shared_ptr<HostInterface>& h,
                                                  const std::shared_ptr<Connection>& c) override {
    return COUNTED(false, BindContext(h, c)), std::pair<std::string, std::string>();
  }
  std::string ProviderAccountColumn() override { return column(); }
  std::string ProviderCogeColumn() override { return column(); }
  std::string ProviderCausalColumn() override { return column(); }
  std::string HeaderFieldColumn() override { return column(); }

 private:
  std::string column() { return COUNTED(true, column()), "CI07_DESCRIZIONE"; }
  World& w_;
};

/// One row whose every field is 1, whatever its name.
class Row final : public Recordset {
 public:
  bool Eof() override { return done_; }
  Variant Field(int32_t) override { return Variant(int32_t{1}); }
  Variant Field(const std::string&) override { return Variant(int32_t{1}); }
  void MoveNext() override { done_ = true; }
  void rewind() { done_ = false; }

 private:
  bool done_ = false;
};

class Procedure final : public Command {
 public:
  explicit Procedure(World& w) : w_(w) {}
  void SetActiveConnection(const std::shared_ptr<Connection>&) override {}
  void SetCommandType(int32_t) override {}
  void SetCommandText(const std::string&) override {}
  void SetPrepared(bool) override {}
  void SetParameter(const std::string& name, const Variant& v) override {
    COUNTED(false, SetParameter(name, v));
  }
  Variant GetParameter(const std::string& name) override {
    return COUNTED(true, GetParameter(name)),
           name == "@LABELS" ? Variant("Codice|Descrizione") : Variant("SELECT 1");
  }
  std::shared_ptr<Recordset> Execute(int32_t options) override {
    return COUNTED(false, Execute(options)), nullptr;
  }

 private:
  World& w_;
};

class Database final : public Connection {
 public:
  explicit Database(World& w) : w_(w) {}
  /// The same recordset each time, rewound, unless a caller still holds it.
  std::shared_ptr<Recordset> Execute(const std::string& sql, int32_t options) override {
    COUNTED(false, Execute(sql, options));
    if (row_.use_count() != 1) row_ = std::make_shared<Row>();
    row_->rewind();
    return row_;
  }
  std::shared_ptr<Command> NewCommand() override {
    return COUNTED(false, NewCommand()), std::make_shared<Procedure>(w_);
  }

 private:
  World& w_;
  std::shared_ptr<Row> row_;
};

/// A launcher that accepts every member by name and does nothing. Its
/// recorded calls keep it alive: a detached launcher is gone after the call.
class Launcher final : public Dispatch, public std::enable_shared_from_this<Launcher> {
 public:
  explicit Launcher(World& w) : w_(w) {}
  Variant get(std::string_view) override { return Variant(); }
  void put(std::string_view name, const Variant& v) override {
    w_.note(false, [&] {
      return Step(
          [self = shared_from_this(), n = std::string(name), v](World&) { self->put(n, v); });
    });
  }
  void putRef(std::string_view name, const Variant& v) override {
    w_.note(false, [&] {
      return Step(
          [self = shared_from_this(), n = std::string(name), v](World&) { self->putRef(n, v); });
    });
  }
  Variant invoke(std::string_view name, std::span<Variant> args) override {
    w_.note(false, [&] {
      return Step([self = shared_from_this(), n = std::string(name),
                   a = std::vector<Variant>(args.begin(), args.end())](World&) mutable {
        self->invoke(n, a);
      });
    });
    return Variant();
  }

 private:
  World& w_;
};

#undef COUNTED
}  // namespace detail

inline std::shared_ptr<World> World::make() {
  std::shared_ptr<World> w(new World());
  w->host = std::make_shared<detail::Host>(*w);
  w->connection = std::make_shared<detail::Database>(*w);
  w->control = std::make_shared<Dispatch>();
  World* raw = w.get();
  w->factory.add(std::string(kUtilityProgId), [raw](ObjectFactory&) -> std::shared_ptr<Dispatch> {
    return std::make_shared<detail::Utility>(*raw);
  });
  for (const char* progId : {"Tormesk.CLSCI_CONNECT", "Quillane.CLSCI_CONNECT"})
    w->factory.add(progId, [raw](ObjectFactory&) -> std::shared_ptr<Dispatch> {
      return std::make_shared<detail::Launcher>(*raw);
    });
  registerBrelvane(w->factory);
  return w;
}

/// A plausible argument for a parameter: a code, a text, the connection
/// for a connection, a control for any other object.
inline Variant plausible(const World& w, const ParamInfo& p) {
  using T = ParamType;
  if (p.type == T::Object)
    return p.typeName == "Connection" ? Variant(std::shared_ptr<Dispatch>(w.connection))
                                      : Variant(w.control);
  return p.type == T::Boolean   ? Variant(false)
         : p.type == T::String  ? Variant("7")
         : p.type == T::Date    ? Variant(Date{2026, 11, 22})
         : p.type == T::Integer ? Variant(int16_t{1})
                                : Variant(int32_t{1});
}

/// A member ready to be called: its object, set up as a host would, and
/// its arguments.
struct Member {
  const ClassInfo* cls;
  const MethodInfo* method;
  std::shared_ptr<Dispatch> object;
  std::vector<Variant> args;
  /// The text the member composed, when its class composes one.
  size_t outputBytes() const {
    if (!cls->findProperty("Str_Sql")) return 0;
    return toText(object->get("Str_Sql")).size();
  }
};

/// Every member of the three classes, each on an object of its own.
inline std::vector<Member> members(World& w) {
  std::vector<Member> out;
  for (const auto& entry : w.factory.entries()) {
    if (!entry.info || entry.info->progId.rfind("Brelvane.", 0) != 0) continue;
    for (const MethodInfo& m : entry.info->methods) {
      Member member{entry.info, &m, w.factory.create(entry.info->progId), {}};
      Dispatch& o = *member.object;
      o.putRef("ActiveInterface", Variant(std::shared_ptr<Dispatch>(w.host)));
      if (entry.info->findProperty("Connessione"))
        o.putRef("Connessione", Variant(std::shared_ptr<Dispatch>(w.connection)));
      if (entry.info->findProperty("ConnectField")) o.putRef("ConnectField", Variant(w.control));
      for (const auto& p : m.params) member.args.push_back(plausible(w, p));
      // A launcher open on a trace, for the members that work on one.
      if (entry.info->findMethod("ApriTracciaRibaltamenti")) {
        std::vector<Variant> modale{Variant(false)};
        o.invoke("ApriTracciaRibaltamenti", modale);
      }
      out.push_back(std::move(member));
    }
  }
  return out;
}

}  // namespace brelvane::zerocost
