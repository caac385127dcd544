#pragma once
// The frame of one composing call: a lookup writing the four outputs of
// CLSCI_LOOKUP, or a decoder writing the descriptor of CLSCI_DECODE. A
// member is a short function of a Frame: set the columns or descriptor,
// compose the text with SqlText, hand it over. `member` turns such a
// function into a registered method that runs under the error convention.

#include <cstdint>
#include <initializer_list>
#include <memory>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <vector>

#include "automation/class_builder.h"
#include "compose/access.h"
#include "compose/guard.h"
#include "compose/host_access.h"
#include "compose/sql_text.h"

namespace brelvane {

template <class Object>
class Frame {
 public:
  explicit Frame(Object& object)
      : host(object.ActiveInterface, internal::Access::of(object).utility), object_(object) {}

  const HostAccess host;

  void sql(SqlText& text) { object_.Str_Sql = text.take(); }
  void sql(std::string text) { object_.Str_Sql = std::move(text); }

  Object& object() { return object_; }
  UtilityObject& utility() const { return host.utility(); }

  /// A Variant code inserted as a number: ValueOrDefault(code, 0).
  std::string numericCode(const Variant& code) const {
    return concatText(utility().ValueOrDefault(code, Variant(int32_t{0})));
  }
  /// A Variant code inserted as text: ValueOrDefault(code, ""); the caller
  /// puts the quotes around it, nothing is escaped.
  std::string textCode(const Variant& code) const {
    return concatText(utility().ValueOrDefault(code, Variant("")));
  }

  // ---- Lookup outputs ----

  /// Arr_Fields (0 To 1, 0 To N-1): the captions, then "" under each.
  void columns(std::initializer_list<std::string_view> captions) {
    object_.Arr_Fields = fieldsArray(captions);
  }
  void columns(std::span<const std::string_view> captions) {
    object_.Arr_Fields = fieldsArray(captions);
  }
  /// Str_Caption from a message id (message text alone, no SQL preparation).
  void caption(int32_t messageId) { object_.Str_Caption = host.message(messageId); }
  void captionText(std::string text) { object_.Str_Caption = std::move(text); }
  void id(std::string_view value) { object_.IDLookup = Variant(value); }
  /// The per-instance language code that replaces <LINGUA>.
  Variant& languageCode() { return internal::Access::of(object_).languageCode; }
  /// Replaces every <LINGUA> with the instance's language code in quotes.
  void substituteLanguage(std::string& text) {
    SqlText quoted(16);
    quoted.append("'", concatText(languageCode()), "'");
    replaceAll(text, "<LINGUA>", quoted.view());
  }

  // ---- Decode outputs ----

  /// Arr_Fields (0 To 0, 0 To 1): the control that shows the description
  /// (Nothing for the existence checks) and the result column to show.
  void descriptor(const std::shared_ptr<Dispatch>& control, std::string_view column) {
    std::vector<Variant> elements;
    elements.reserve(2);
    elements.emplace_back(control);
    elements.emplace_back(column);
    object_.Arr_Fields = Variant(SafeArray({Bound{0, 0}, Bound{0, 1}}, std::move(elements)));
  }

 private:
  Object& object_;
};

/// A public lookup or decode method: runs `body` with a frame under the
/// error convention (any error empties Str_Sql, nothing reaches the caller).
template <class Object, class Body>
void composeGuarded(Object& object, Body&& body) noexcept {
  composeGuarded(object.Str_Sql, [&] {
    Frame<Object> frame(object);
    body(frame);
  });
}

namespace detail {
template <class Object, class Fn, class... A>
auto guardedMember(Fn fn, std::tuple<A...>*) {
  return [fn = std::move(fn)](Object& object, A... args) {
    composeGuarded(object, [&](Frame<Object>& f) { fn(f, std::forward<A>(args)...); });
  };
}
}  // namespace detail

/// Turns `fn(Frame<Object>&, Args...)` into a method of Object that runs
/// under the error convention, ready for ClassBuilder::method.
template <class Object, class Fn>
auto guardedMember(Fn fn) {
  using Args = typename detail::CallableSignature<Frame<Object>, Fn>::Args;
  return detail::guardedMember<Object>(std::move(fn), static_cast<Args*>(nullptr));
}

}  // namespace brelvane
