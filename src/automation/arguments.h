#pragma once
// How a registered callable meets its Variant arguments: the automation type
// of each declared C++ type and its conversions, the holder that converts an
// argument for the duration of a call and writes a by-reference one back,
// and the signature of any callable (member function, function, lambda).

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>
#include <variant>

#include "brelvane/automation/dispatch.h"

namespace brelvane {

namespace detail {

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
  static std::shared_ptr<T> from(const Variant& v) { return objectAs<T>(v); }
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

/// Whether an argument binds to the object its slot holds, as it is: a
/// const reference to a plain object pointer needs no copy of the pointer
/// (and no reference count going up and down).
template <class A>
inline constexpr bool kBindsSlotObject = std::is_same_v<A, const std::shared_ptr<Dispatch>&>;

/// Holds a converted argument for the duration of a call, writing a
/// by-reference value back into its slot afterwards.
template <class A>
class ArgHolder {
  using Bare = std::remove_cvref_t<A>;

 public:
  explicit ArgHolder(Variant& slot) : slot_(slot) {
    if constexpr (kBindsSlotObject<A>) {
      value_ = &slot.object();  // raises 13 when the slot holds no object
    } else if constexpr (!std::is_same_v<Bare, Variant>) {
      value_ = Conv<Bare>::from(slot);
    }
  }
  A get() {
    if constexpr (kBindsSlotObject<A>) {
      return *value_;
    } else if constexpr (std::is_same_v<Bare, Variant>) {
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
  [[no_unique_address]] std::conditional_t<
      std::is_same_v<Bare, Variant>, std::monostate,
      std::conditional_t<kBindsSlotObject<A>, const std::shared_ptr<Dispatch>*, Bare>>
      value_{};
};

/// The signature of a registered callable: its result and its declared
/// arguments after the object.
template <class R, class... A>
struct Signature {
  using Result = R;
  using Args = std::tuple<A...>;
  static constexpr size_t arity = sizeof...(A);
};

template <class T, class F, class = void>
struct CallableOf;
template <class T, class R, class... A>
struct CallableOf<T, R (T::*)(A...)> : Signature<R, A...> {};
template <class T, class R, class... A>
struct CallableOf<T, R (*)(T&, A...)> : Signature<R, A...> {};
template <class T, class C, class R, class... A>
struct CallableOf<T, R (C::*)(T&, A...) const> : Signature<R, A...> {};
template <class T, class C, class R, class... A>
struct CallableOf<T, R (C::*)(T&, A...) const noexcept> : Signature<R, A...> {};
template <class T, class C, class R, class... A>
struct CallableOf<T, R (C::*)(T&, A...)> : Signature<R, A...> {};
template <class T, class F>
struct CallableOf<T, F, std::void_t<decltype(&F::operator())>>
    : CallableOf<T, decltype(&F::operator())> {};

template <class T, class F>
using CallableSignature = CallableOf<T, std::decay_t<F>>;

/// Calls `fn` with the object and the converted arguments, writes the
/// by-reference ones back, and returns the result as a Variant.
template <class T, class F, class R, class... A, size_t... I>
Variant callWith(T& self, F& fn, std::span<Variant> args, std::tuple<A...>*,
                 std::index_sequence<I...>) {
  [[maybe_unused]] std::tuple<ArgHolder<A>...> holders{ArgHolder<A>(args[I])...};
  (void)args;
  if constexpr (std::is_void_v<R>) {
    std::invoke(fn, self, std::get<I>(holders).get()...);
    (std::get<I>(holders).writeBack(), ...);
    return Variant();
  } else {
    R result = std::invoke(fn, self, std::get<I>(holders).get()...);
    (std::get<I>(holders).writeBack(), ...);
    return Conv<std::remove_cvref_t<R>>::to(result);
  }
}

/// The declared types and by-reference flags of a signature's arguments.
template <class... A>
std::array<std::pair<ParamType, bool>, sizeof...(A)> paramKinds(std::tuple<A...>*) {
  return {std::pair{ArgPass<A>::type, ArgPass<A>::byRef}...};
}

}  // namespace detail

}  // namespace brelvane
