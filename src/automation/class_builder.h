#pragma once
// Registration tables: a class describes its members once, in the style of
// pybind11, and by-name access, argument conversion and listings come from
// that description.
//
//   ClassBuilder<CLSCI_LOOKUP> b("Brelvane.CLSCI_LOOKUP");
//   b.property("Str_Sql", &CLSCI_LOOKUP::Str_Sql)
//    .method("ClassiCorrelate", fn, {arg("CodicePdC")}, "correlated classes")
//    .method("NatureCosti", fn, "cost natures");
//
// A method is any callable taking the object (T&) and then its declared
// arguments: a member function pointer, a function pointer, a lambda, a
// lambda capturing the row of a family table. The C++ type of each argument
// gives its automation type (int16_t Integer, int32_t Long, std::string
// String, Variant Variant, shared_ptr<I> Object); a non-const lvalue
// reference makes it by-reference. There is one parameter description per
// argument, checked when the registration compiles.

#include <array>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

#include "automation/arguments.h"
#include "brelvane/automation/dispatch.h"

namespace brelvane {

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

/// The type name a listing shows: the one given at registration, or the
/// automation name of the C++ type.
inline std::string declaredTypeName(std::string given, ParamType type) {
  return given.empty() ? std::string(paramTypeName(type)) : std::move(given);
}

/// The type name of a property whose automation type is an enumeration or
/// an object interface of another library ("HostInterface", "Connection").
struct TypeName {
  std::string_view name;
};

/// One form of member that the rows of a family table take: the callable
/// `fn(object, row, args...)`, its parameters (a list, or a function of the
/// row that gives it), the rows it applies to (all, or those `when` accepts)
/// and what it adds to each row's name and doc line.
template <class F, class Params = std::vector<ParamSpec>, class When = std::nullptr_t>
struct RowForm {
  F fn;
  Params params;
  When when = nullptr;
  std::string_view nameSuffix = {}, docSuffix = {};

  /// The same form, for the rows `accepts(row)` is true of.
  template <class Accepts>
  RowForm<F, Params, Accepts> only(Accepts accepts) && {
    return {std::move(fn), std::move(params), std::move(accepts), nameSuffix, docSuffix};
  }
  /// The same form, its members named row.name + name, documented row.doc + doc.
  RowForm suffixed(std::string_view name, std::string_view doc) && {
    nameSuffix = name;
    docSuffix = doc;
    return std::move(*this);
  }
};

template <class F>
RowForm<F> form(F fn, std::vector<ParamSpec> params = {}) {
  return {std::move(fn), std::move(params)};
}
template <class F, class ParamsOfRow>
requires(!std::is_convertible_v<ParamsOfRow, std::vector<ParamSpec>>) RowForm<F, ParamsOfRow> form(
    F fn, ParamsOfRow paramsOfRow) {
  return {std::move(fn), std::move(paramsOfRow)};
}

namespace detail {
template <class F>
inline constexpr bool kIsRowForm = false;
template <class F, class P, class W>
inline constexpr bool kIsRowForm<RowForm<F, P, W>> = true;

/// `fn(object, row, args...)` with the row bound: a method of `args...`.
/// The row is bound by reference: tables outlive the classes they describe.
template <class T, class F, class Row, class R, class First, class... A>
auto bindRow(const F& fn, const Row& row, std::tuple<First, A...>*, R*) {
  return [fn, &row](T& self, A... args) mutable -> R {
    return std::invoke(fn, self, row, std::forward<A>(args)...);
  };
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

  /// A property backed by a field, with its doc line and only the options
  /// that differ from the defaults: a TypeName, an Access. Access defaults by
  /// type: Variants get, put and putRef; objects get and putRef; everything
  /// else get and put.
  template <class F, class... Options>
  ClassBuilder& property(std::string name, F T::*field, std::string doc = {}, Options... options) {
    PropertyInfo p;
    p.name = std::move(name);
    p.type = detail::Conv<F>::type;
    Access a = std::is_same_v<F, Variant>        ? kReadWriteRef
               : detail::is_shared_ptr<F>::value ? kReadRef
                                                 : kReadWrite;
    std::string typeName;
    [[maybe_unused]] auto apply = [&](const auto& option) {
      if constexpr (std::is_same_v<std::decay_t<decltype(option)>, Access>)
        a = option;
      else
        typeName = std::string(option.name);
    };
    (apply(options), ...);
    p.typeName = declaredTypeName(std::move(typeName), p.type);
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

  /// A method with parameters, one description per declared argument.
  template <class F, size_t N>
  requires(detail::CallableSignature<T, F>::arity == N) ClassBuilder& method(std::string name, F fn,
                                                                             ParamSpec (&&specs)[N],
                                                                             std::string doc = {}) {
    return add(std::move(name), std::move(fn), std::span<ParamSpec>(specs), std::move(doc));
  }

  /// A method without parameters.
  template <class F>
  requires(detail::CallableSignature<T, F>::arity == 0) ClassBuilder& method(std::string name, F fn,
                                                                             std::string doc = {}) {
    return add(std::move(name), std::move(fn), std::span<ParamSpec>(), std::move(doc));
  }

  /// The members of a family table, in table order: for each row, one
  /// method per form that applies to it, named `row.name` and documented
  /// `row.doc`. Every family table, whatever its class, is registered here.
  template <class Rows, class... Forms>
  requires(detail::kIsRowForm<Forms>&&...) ClassBuilder& rows(const Rows& table,
                                                              const Forms&... forms) {
    for (const auto& row : table) (addRow(row, forms), ...);
    return *this;
  }
  /// The same with one form: `fn(object, row, args...)` and its parameters.
  template <class Rows, class F>
  requires(!detail::kIsRowForm<F>) ClassBuilder& rows(const Rows& table, F fn,
                                                      std::vector<ParamSpec> params = {}) {
    return rows(table, form(std::move(fn), std::move(params)));
  }

  /// The members of a constexpr table whose rows each give their own C++
  /// signature: `Form::template method<kTable, I>()` is the callable of row
  /// I and `Form::template params<kTable, I>()` its parameters, one per
  /// argument by construction. Named, documented and added in table order
  /// as above.
  template <const auto& kTable, class Form>
  ClassBuilder& rows() {
    addRowsOf<kTable, Form>(std::make_index_sequence<std::size(kTable)>{});
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

  /// Declares the example argument sets of a member registered before
  /// (MethodInfo::examples), one per shape of its text. Raises
  /// std::logic_error for a name not registered yet, or a set longer than
  /// the member's parameters.
  ClassBuilder& examples(std::string_view member, std::vector<std::vector<Variant>> sets) {
    for (MethodInfo& m : info_.methods) {
      if (m.name != member) continue;
      for (const auto& set : sets)
        if (set.size() > m.params.size())
          throw std::logic_error("examples of " + m.name + ": more values than parameters");
      m.examples = std::move(sets);
      return *this;
    }
    throw std::logic_error("examples of " + std::string(member) + ": no such member yet");
  }

  /// The properties registered so far, for rows that refer to them.
  const std::vector<PropertyInfo>& properties() const { return info_.properties; }

  ClassInfo build() {
    info_.index();
    return std::move(info_);
  }

 private:
  template <class F>
  ClassBuilder& add(std::string name, F fn, std::span<ParamSpec> specs, std::string doc) {
    using Sig = detail::CallableSignature<T, F>;
    using R = typename Sig::Result;
    using Args = typename Sig::Args;
    MethodInfo m;
    m.name = std::move(name);
    m.doc = std::move(doc);
    if constexpr (!std::is_void_v<R>) m.result = detail::Conv<std::remove_cvref_t<R>>::type;
    if constexpr (Sig::arity > 0) {
      const auto kinds = detail::paramKinds(static_cast<Args*>(nullptr));
      for (size_t i = 0; i < Sig::arity; ++i) {
        ParamInfo p;
        p.name = std::move(specs[i].name);
        p.type = kinds[i].first;
        p.typeName = declaredTypeName(std::move(specs[i].typeName), p.type);
        p.byRef = kinds[i].second;
        p.optional = specs[i].optional;
        p.defaultValue = std::move(specs[i].defaultValue);
        m.params.push_back(std::move(p));
      }
    }
    m.call = [fn = std::move(fn)](Dispatch& self, std::span<Variant> args) mutable {
      return detail::callWith<T, F, R>(static_cast<T&>(self), fn, args, static_cast<Args*>(nullptr),
                                       std::make_index_sequence<Sig::arity>{});
    };
    info_.methods.push_back(std::move(m));
    return *this;
  }

  template <class Row, class Form>
  void addRow(const Row& row, const Form& form) {
    if constexpr (!std::is_null_pointer_v<decltype(form.when)>)
      if (!form.when(row)) return;
    std::vector<ParamSpec> specs;
    if constexpr (std::is_convertible_v<decltype(form.params), std::vector<ParamSpec>>)
      specs = form.params;
    else
      specs = form.params(row);
    using Sig = detail::CallableSignature<T, decltype(form.fn)>;
    if (specs.size() + 1 != Sig::arity)
      throw std::logic_error("row " + std::string(row.name) + ": one parameter per argument");
    addNamed(row,
             detail::bindRow<T>(form.fn, row, static_cast<typename Sig::Args*>(nullptr),
                                static_cast<typename Sig::Result*>(nullptr)),
             std::move(specs), form.nameSuffix, form.docSuffix);
  }

  template <const auto& kTable, class Form, size_t... I>
  void addRowsOf(std::index_sequence<I...>) {
    (addNamed(kTable[I], Form::template method<kTable, I>(), Form::template params<kTable, I>()),
     ...);
  }

  /// Adds `fn`, a method of the row's arguments, as the row's member: named
  /// row.name + nameSuffix, documented row.doc + docSuffix.
  template <class Row, class F>
  void addNamed(const Row& row, F fn, std::vector<ParamSpec> specs,
                std::string_view nameSuffix = {}, std::string_view docSuffix = {}) {
    add(std::string(row.name) + std::string(nameSuffix), std::move(fn), std::span<ParamSpec>(specs),
        std::string(row.doc) + std::string(docSuffix));
  }

  ClassInfo info_;
};

}  // namespace brelvane
