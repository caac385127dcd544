#pragma once
// Late binding: the Dispatch interface, and the per-class registration tables
// from which by-name access, argument conversion and the `list` output come.
//
// A class describes its members once:
//
//   static const ClassInfo& registration() {
//     static const ClassInfo info = ClassBuilder<CLSCI_LOOKUP>("Brelvane.CLSCI_LOOKUP")
//         .property("Str_Sql", &CLSCI_LOOKUP::Str_Sql)
//         .method("NatureCosti", &CLSCI_LOOKUP::NatureCosti)
//         .method("AnagraficaInsiemiRibaltamenti", &CLSCI_LOOKUP::AnagraficaInsiemiRibaltamenti,
//                 {opt("CampoOrdinamento")})
//         .build();
//     return info;
//   }
//
// Member names match case-insensitively, as automation names do. Arguments
// are converted to each parameter's declared type (13 when they cannot be);
// a required argument left Missing raises 449; an unknown name raises 438;
// more arguments than parameters raise 450. By-reference parameters of a
// declared type are converted in, and the callee's value is written back.

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "brelvane/automation/error.h"
#include "brelvane/automation/variant.h"

namespace brelvane {

struct ClassInfo;

/// The late-bound interface of every automation object. The defaults raise
/// 438, so interfaces that are only called early-bound need not implement it.
class Dispatch {
 public:
  virtual ~Dispatch() = default;
  virtual Variant get(std::string_view name);
  virtual void put(std::string_view name, const Variant& value);
  virtual void putRef(std::string_view name, const Variant& value);
  /// Calls a method; `args` are in declaration order and by reference.
  virtual Variant invoke(std::string_view name, std::span<Variant> args);
  /// The registration table of the object's class, when it has one.
  virtual const ClassInfo* classInfo() const { return nullptr; }
};

/// An object with outgoing events. A sink is any Dispatch: each event is
/// delivered synchronously as sink->invoke(eventName, args), by-reference
/// arguments included, so a sink's changes reach the raiser.
class ConnectionPointContainer {
 public:
  virtual ~ConnectionPointContainer() = default;
  /// Connects a sink; returns the cookie that disconnects it.
  virtual int32_t Advise(const std::shared_ptr<Dispatch>& sink) = 0;
  virtual void Unadvise(int32_t cookie) = 0;
};

/// Case-insensitive comparison of member names (ASCII letters fold).
bool sameName(std::string_view a, std::string_view b);

/// Declared type of a parameter or property.
enum class ParamType { Variant, Boolean, Integer, Long, Double, String, Date, Object };
std::string_view paramTypeName(ParamType type);

struct ParamInfo {
  std::string name;
  ParamType type = ParamType::Variant;
  std::string typeName;  ///< the declared type as listed ("Integer", "TipoLookupPdC", ...)
  bool byRef = false;
  bool optional = false;
  Variant defaultValue = Variant::missing();  ///< Missing: no default
};

struct MethodInfo {
  std::string name;
  std::vector<ParamInfo> params;
  std::optional<ParamType> result;  ///< none for a procedure
  std::string doc;
  std::function<Variant(Dispatch&, std::span<Variant>)> call;
};

struct PropertyInfo {
  std::string name;
  ParamType type = ParamType::Variant;
  std::string typeName;
  bool canGet = true, canPut = true, canPutRef = false;
  std::string doc;
  std::function<Variant(Dispatch&)> getter;
  std::function<void(Dispatch&, const Variant&)> setter;
};

/// An outgoing event of a class (listed, raised through its connection point).
struct EventInfo {
  std::string name;
  std::vector<ParamInfo> params;
};

/// A public enumeration of a class's type library.
struct EnumInfo {
  std::string name;
  std::vector<std::pair<std::string, int32_t>> members;
};

struct ClassInfo {
  std::string progId;
  std::string doc;
  std::vector<PropertyInfo> properties;
  std::vector<MethodInfo> methods;
  std::vector<EventInfo> events;
  std::vector<EnumInfo> enums;

  const PropertyInfo* findProperty(std::string_view name) const;
  const MethodInfo* findMethod(std::string_view name) const;

  Variant get(Dispatch& self, std::string_view name) const;
  void put(Dispatch& self, std::string_view name, const Variant& value) const;
  void putRef(Dispatch& self, std::string_view name, const Variant& value) const;
  Variant invoke(Dispatch& self, std::string_view name, std::span<Variant> args) const;
};

/// Parameter descriptions given at registration.
struct ParamSpec {
  std::string name;
  bool optional = false;
  Variant defaultValue = Variant::missing();
  std::string typeName;  ///< overrides the name derived from the C++ type
};
inline ParamSpec arg(std::string name, std::string typeName = {}) {
  return {std::move(name), false, Variant::missing(), std::move(typeName)};
}
inline ParamSpec opt(std::string name, Variant defaultValue = Variant::missing()) {
  return {std::move(name), true, std::move(defaultValue), {}};
}

namespace detail {

/// Converts a Variant to the object interface T (13 when it is another kind
/// or another interface; Nothing gives a null pointer).
template <class T>
std::shared_ptr<T> toObject(const Variant& v) {
  if (!v.isObject()) throw AutomationError::of(err::kTypeMismatch);
  const auto& object = v.object();
  if (!object) return nullptr;
  if constexpr (std::is_same_v<T, Dispatch>) {
    return object;
  } else {
    auto cast = std::dynamic_pointer_cast<T>(object);
    if (!cast) throw AutomationError::of(err::kTypeMismatch);
    return cast;
  }
}

template <class T>
struct is_shared_ptr : std::false_type {};
template <class T>
struct is_shared_ptr<std::shared_ptr<T>> : std::true_type {};

/// Conversion between a declared C++ type and Variants.
template <class T>
struct Conv;
template <>
struct Conv<Variant> {
  static constexpr ParamType type = ParamType::Variant;
  static Variant from(const Variant& v) { return v; }
  static Variant to(const Variant& v) { return v; }
};
template <>
struct Conv<bool> {
  static constexpr ParamType type = ParamType::Boolean;
  static bool from(const Variant& v) { return toBool(v); }
  static Variant to(bool v) { return Variant(v); }
};
template <>
struct Conv<int16_t> {
  static constexpr ParamType type = ParamType::Integer;
  static int16_t from(const Variant& v) { return toInteger(v); }
  static Variant to(int16_t v) { return Variant(v); }
};
template <>
struct Conv<int32_t> {
  static constexpr ParamType type = ParamType::Long;
  static int32_t from(const Variant& v) { return toLong(v); }
  static Variant to(int32_t v) { return Variant(v); }
};
template <>
struct Conv<double> {
  static constexpr ParamType type = ParamType::Double;
  static double from(const Variant& v) { return toDouble(v); }
  static Variant to(double v) { return Variant(v); }
};
template <>
struct Conv<std::string> {
  static constexpr ParamType type = ParamType::String;
  static std::string from(const Variant& v) { return toText(v); }
  static Variant to(const std::string& v) { return Variant(v); }
};
template <class T>
struct Conv<std::shared_ptr<T>> {
  static constexpr ParamType type = ParamType::Object;
  static std::shared_ptr<T> from(const Variant& v) { return toObject<T>(v); }
  static Variant to(const std::shared_ptr<T>& v) { return Variant(std::shared_ptr<Dispatch>(v)); }
};

/// How one declared parameter receives its argument slot.
template <class A>
struct ArgPass {
  using Bare = std::remove_cvref_t<A>;
  static constexpr bool byRef =
      std::is_lvalue_reference_v<A> && !std::is_const_v<std::remove_reference_t<A>>;
  static constexpr ParamType type = Conv<Bare>::type;
};

/// Holds a converted argument for the duration of a call, writing a
/// by-reference value back into its slot afterwards.
template <class A>
class ArgHolder {
  using Bare = std::remove_cvref_t<A>;

 public:
  explicit ArgHolder(Variant& slot) : slot_(slot) {
    if constexpr (!std::is_same_v<Bare, Variant>) value_ = Conv<Bare>::from(slot);
  }
  A get() {
    if constexpr (std::is_same_v<Bare, Variant>) {
      if constexpr (ArgPass<A>::byRef)
        return slot_;
      else
        return static_cast<const Variant&>(slot_);  // copies, or binds a const&
    } else {
      return value_;
    }
  }
  void writeBack() {
    if constexpr (ArgPass<A>::byRef && !std::is_same_v<Bare, Variant>)
      slot_ = Conv<Bare>::to(value_);
  }

 private:
  Variant& slot_;
  [[no_unique_address]] std::conditional_t<std::is_same_v<Bare, Variant>, std::monostate, Bare>
      value_{};
};

/// Fills Missing arguments with their defaults and checks required ones.
void prepareArguments(const MethodInfo& method, std::span<Variant> args);

template <class T, class R, class... A, size_t... I>
Variant callMember(T& self, R (T::*fn)(A...), std::span<Variant> args, std::index_sequence<I...>) {
  [[maybe_unused]] std::tuple<ArgHolder<A>...> holders{ArgHolder<A>(args[I])...};
  (void)args;
  if constexpr (std::is_void_v<R>) {
    (self.*fn)(std::get<I>(holders).get()...);
    (std::get<I>(holders).writeBack(), ...);
    return Variant();
  } else {
    R result = (self.*fn)(std::get<I>(holders).get()...);
    (std::get<I>(holders).writeBack(), ...);
    return Conv<std::remove_cvref_t<R>>::to(result);
  }
}

}  // namespace detail

/// Access of a property: get, put (by value), putRef (by reference).
struct Access {
  bool get = true, put = true, putRef = false;
};
inline constexpr Access kReadWrite{true, true, false};
inline constexpr Access kReadWriteRef{true, true, true};
inline constexpr Access kReadRef{true, false, true};
inline constexpr Access kWriteRefOnly{false, false, true};

template <class T>
class ClassBuilder {
 public:
  explicit ClassBuilder(std::string progId, std::string doc = {}) {
    info_.progId = std::move(progId);
    info_.doc = std::move(doc);
  }

  /// A property backed by a field; access defaults by type: Variants get,
  /// put and putRef; objects get and putRef; everything else get and put.
  template <class F>
  ClassBuilder& property(std::string name, F T::*field, std::string typeName = {},
                         std::optional<Access> access = {}, std::string doc = {}) {
    PropertyInfo p;
    p.name = std::move(name);
    p.type = detail::Conv<F>::type;
    p.typeName = typeName.empty() ? std::string(paramTypeName(p.type)) : std::move(typeName);
    Access a = access ? *access
                      : (std::is_same_v<F, Variant>        ? kReadWriteRef
                         : detail::is_shared_ptr<F>::value ? kReadRef
                                                           : kReadWrite);
    p.canGet = a.get;
    p.canPut = a.put;
    p.canPutRef = a.putRef;
    p.doc = std::move(doc);
    p.getter = [field](Dispatch& self) {
      return detail::Conv<F>::to(static_cast<T&>(self).*field);
    };
    p.setter = [field](Dispatch& self, const Variant& v) {
      static_cast<T&>(self).*field = detail::Conv<F>::from(v);
    };
    info_.properties.push_back(std::move(p));
    return *this;
  }

  template <class R, class... A>
  ClassBuilder& method(std::string name, R (T::*fn)(A...), std::vector<ParamSpec> specs = {},
                       std::string doc = {}) {
    if (specs.size() != sizeof...(A)) throw std::logic_error("parameter names of " + name);
    MethodInfo m;
    m.name = std::move(name);
    m.doc = std::move(doc);
    if constexpr (!std::is_void_v<R>) m.result = detail::Conv<std::remove_cvref_t<R>>::type;
    ParamType types[] = {detail::ArgPass<A>::type..., ParamType::Variant};
    bool refs[] = {detail::ArgPass<A>::byRef..., false};
    for (size_t i = 0; i < specs.size(); ++i) {
      ParamInfo p;
      p.name = std::move(specs[i].name);
      p.type = types[i];
      p.typeName =
          specs[i].typeName.empty() ? std::string(paramTypeName(types[i])) : specs[i].typeName;
      p.byRef = refs[i];
      p.optional = specs[i].optional;
      p.defaultValue = std::move(specs[i].defaultValue);
      m.params.push_back(std::move(p));
    }
    m.call = [fn](Dispatch& self, std::span<Variant> args) {
      return detail::callMember(static_cast<T&>(self), fn, args, std::index_sequence_for<A...>{});
    };
    info_.methods.push_back(std::move(m));
    return *this;
  }

  ClassBuilder& event(std::string name, std::vector<ParamInfo> params = {}) {
    info_.events.push_back({std::move(name), std::move(params)});
    return *this;
  }

  ClassBuilder& enumeration(std::string name,
                            std::vector<std::pair<std::string, int32_t>> members) {
    info_.enums.push_back({std::move(name), std::move(members)});
    return *this;
  }

  ClassInfo build() { return std::move(info_); }

 private:
  ClassInfo info_;
};

/// Base of the component's classes: by-name access through `T::registration()`.
template <class T>
class AutomationObject : public Dispatch {
 public:
  Variant get(std::string_view name) override { return T::registration().get(*this, name); }
  void put(std::string_view name, const Variant& value) override {
    T::registration().put(*this, name, value);
  }
  void putRef(std::string_view name, const Variant& value) override {
    T::registration().putRef(*this, name, value);
  }
  Variant invoke(std::string_view name, std::span<Variant> args) override {
    return T::registration().invoke(*this, name, args);
  }
  const ClassInfo* classInfo() const override { return &T::registration(); }
};

}  // namespace brelvane
