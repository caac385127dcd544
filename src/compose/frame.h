#pragma once
// The frame of one composing call: a lookup writing the four outputs of
// CLSCI_LOOKUP, or a decoder writing the descriptor of CLSCI_DECODE. A
// member is a short function of a Frame: set the columns or descriptor,
// compose the text with SqlText, hand it over. `member` turns such a
// function into a registered method that runs under the error convention.

#include <atomic>
#include <cstddef>
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

/// The length of the text a member composed last time, at its longest
/// (before placeholders were filled): its next call reserves that much at
/// once, so the text is written without growing.
/// One per registered member, shared by every instance and thread.
class SizeHint {
 public:
  SizeHint() = default;
  SizeHint(const SizeHint& other) : size_(other.get()) {}
  SizeHint& operator=(const SizeHint&) = delete;
  size_t get() const { return size_.load(std::memory_order_relaxed); }
  void set(size_t size) const { size_.store(size, std::memory_order_relaxed); }

 private:
  mutable std::atomic<size_t> size_{0};
};

template <class Object>
class Frame {
 public:
  Frame(Object& object, const SizeHint& hint)
      : host(HostAccess::onFirstUse(object.ActiveInterface, internal::Access::of(object).utility)),
        object_(object),
        hint_(hint) {}

  const HostAccess host;

  /// The buffer of the member's text: as long as its last text was at its
  /// longest, or `firstGuess` before it has composed one.
  /// It is the storage the output had before its last text, when the
  /// instance kept one.
  SqlText text(size_t firstGuess = 1024) const {
    const size_t last = hint_.get();
    return SqlText(std::move(internal::Access::of(object_).spareText), last ? last : firstGuess);
  }
  void sql(SqlText& text) {
    hint_.set(text.peak());
    output(text.take());
  }
  void sql(std::string text) {
    hint_.set(text.size());
    output(std::move(text));
  }

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
    setFields(object_.Arr_Fields, {captions.begin(), captions.size()});
  }
  void columns(std::span<const std::string_view> captions) {
    setFields(object_.Arr_Fields, captions);
  }
  /// Arr_Fields from one text, the captions separated by `separator`.
  void columnsSplit(std::string_view captions, char separator) {
    setFieldsSplit(object_.Arr_Fields, captions, separator);
  }
  /// Str_Caption from a message id (message text alone, no SQL preparation).
  void caption(int32_t messageId) { object_.Str_Caption = host.message(messageId); }
  /// Str_Caption made of `parts`, written in the buffer it has.
  template <SqlPiece... Parts>
  void captionText(const Parts&... parts) {
    object_.Str_Caption.clear();
    appendTo(object_.Str_Caption, parts...);
  }
  /// Str_Caption followed by `parts`.
  template <SqlPiece... Parts>
  void appendCaption(const Parts&... parts) {
    appendTo(object_.Str_Caption, parts...);
  }
  /// IDLookup made of `parts`, written in the buffer it has.
  template <SqlPiece... Parts>
  void id(const Parts&... parts) {
    appendTo(object_.IDLookup.setText({}), parts...);
  }
  /// The per-instance language code that replaces <LINGUA>.
  Variant& languageCode() { return internal::Access::of(object_).languageCode; }
  /// Sets the language code: the host company's, or `fallback` when there
  /// is no host (or, its read failing, the call ends with `fallback` kept).
  void takeLanguage(const char* fallback) {
    languageCode() = Variant(fallback);
    if (host.hasHost()) languageCode() = host.languageCode();
  }
  /// Replaces every <LINGUA> with the instance's language code in quotes.
  void substituteLanguage(SqlText& text) {
    text.fill({{"<LINGUA>", quoted(concatText(languageCode()))}});
  }

  // ---- Decode outputs ----

  /// Arr_Fields (0 To 0, 0 To 1): the control that shows the description
  /// (Nothing for the existence checks) and the result column to show.
  void descriptor(const std::shared_ptr<Dispatch>& control, std::string_view column) {
    const std::span<Variant> elements =
        reusedArray(object_.Arr_Fields, {Bound{0, 0}, Bound{0, 1}}).elements();
    // A decoder called again for the same control leaves it in place: no
    // reference count goes up for the new one and down for the old.
    if (!elements[0].isObject() || elements[0].object() != control) elements[0] = Variant(control);
    elements[1].setText(column);
  }

 private:
  /// Makes `text` Str_Sql, and keeps the storage of the text it replaces
  /// for the next one.
  void output(std::string text) {
    std::string& spare = internal::Access::of(object_).spareText;
    spare = std::move(object_.Str_Sql);
    object_.Str_Sql = std::move(text);
  }

  Object& object_;
  const SizeHint& hint_;
};

/// A public lookup or decode method: runs `body` with a frame under the
/// error convention (any error empties Str_Sql, nothing reaches the caller).
template <class Object, class Body>
void composeGuarded(Object& object, Body&& body, const SizeHint& hint) noexcept {
  composeGuarded(object.Str_Sql, [&] {
    Frame<Object> frame(object, hint);
    body(frame);
  });
}

namespace detail {
template <class Object, class Fn, class... A>
auto guardedMember(Fn fn, std::tuple<A...>*) {
  return [fn = std::move(fn), hint = SizeHint()](Object& object, A... args) {
    composeGuarded(
        object, [&](Frame<Object>& f) { fn(f, std::forward<A>(args)...); }, hint);
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
