#pragma once
// What the frames of the lookup and decode classes share: one composing
// call, its host, its text buffer and its Str_Sql. Each class's own frame
// (lookup/frame.h, decode/frame.h) adds the outputs of that class. A member
// is a short function of its class's Frame; `guardedMember` turns such a
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
#include "compose/sql_values.h"

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
class FrameBase {
 public:
  FrameBase(Object& object, const SizeHint& hint)
      : host(HostAccess::onFirstUse(object.ActiveInterface, internal::Access::of(object).utility,
                                    internal::Access::of(object).hardened)),
        object_(object),
        hint_(hint) {}

  const HostAccess host;

  /// The buffer of the member's text: as long as its last text was at its
  /// longest, or `firstGuess` before it has composed one.
  /// It is the storage the output had before its last text, when the
  /// instance kept one.
  SqlText text(size_t firstGuess = 1024) const {
    const size_t last = hint_.get();
    SqlText text(std::move(internal::Access::of(object_).spareText), last ? last : firstGuess);
    text.harden(hardened());
    return text;
  }
  /// A text of its own, for a query run on the connection or a part
  /// composed aside, in the instance's hardened mode.
  SqlText scratch(size_t reserve) const {
    SqlText text(reserve);
    text.harden(hardened());
    return text;
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

  /// Whether the instance composes hardened (ObjectFactory::setHardened).
  bool hardened() const { return internal::Access::of(object_).hardened; }

  /// A Variant code inserted as a number: ValueOrDefault(code, 0), which
  /// must be a number when hardened.
  std::string numericCode(const Variant& code) const {
    return checkedNumber(concatText(utility().ValueOrDefault(code, Variant(int32_t{0}))),
                         hardened());
  }
  /// A Variant as the utility object writes it for SQL (ValueForSql).
  /// Hardened, a text is written here, between apostrophes and escaped,
  /// whatever the utility object would make of it.
  std::string sqlValue(const Variant& value) const {
    if (hardened() && value.type() == VarType::String) return quoted(value.string(), true);
    return utility().ValueForSql(value);
  }
  /// A Variant code inserted as text: ValueOrDefault(code, ""); the caller
  /// writes it between its quotes with inQuotes.
  std::string textCode(const Variant& code) const {
    return concatText(utility().ValueOrDefault(code, Variant("")));
  }

 protected:
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

namespace detail {
template <class FrameT, class Fn, class... A>
auto guardedMember(Fn fn, std::tuple<A...>*) {
  using Object = std::remove_cvref_t<decltype(std::declval<FrameT&>().object())>;
  return [fn = std::move(fn), hint = SizeHint()](Object& object, A... args) {
    composeGuarded(object.Str_Sql, [&] {
      FrameT frame(object, hint);
      fn(frame, std::forward<A>(args)...);
    });
  };
}
}  // namespace detail

/// Turns `fn(FrameT&, Args...)` into a method of the frame's class that
/// runs under the error convention (any error empties Str_Sql, nothing
/// reaches the caller), ready for ClassBuilder::method and rows.
template <class FrameT, class Fn>
auto guardedMember(Fn fn) {
  using Args = typename detail::CallableSignature<FrameT, Fn>::Args;
  return detail::guardedMember<FrameT>(std::move(fn), static_cast<Args*>(nullptr));
}

}  // namespace brelvane
