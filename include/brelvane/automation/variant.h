#pragma once
// Variant: the value type of every late-bound call, with the conversions and
// comparisons the component relies on.
//
// Conversions follow automation rules where the component depends on them:
// - toText: Empty -> "", Boolean -> "True"/"False", numbers as plain decimal
//   text without locale (a Double with up to 15 significant digits, "E+nn"
//   exponents), a Date as YYYY-MM-DD (plus THH:MM:SS when it has a time);
//   Null raises 94, objects, arrays and Missing raise 13.
// - concatText: as toText, but Null gives "" (the text operator's rule).
// - toInteger / toLong: numbers and numeric text round half to even; a result
//   outside the target range raises 6; text that is not a number raises 13.
// - equals(v, number) and equals(v, text) never raise: a value that cannot be
//   compared (Null, Missing, an object, a text that is no number) is simply
//   not equal. So ValueOrDefault(Null, "") == 2 is false, not an error.

#include <array>
#include <compare>
#include <concepts>
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "brelvane/export.h"

namespace brelvane {

class Dispatch;
class SafeArray;

/// A calendar date with an optional time of day.
struct BRELVANE_API Date {
  int year = 1899, month = 12, day = 30, hour = 0, minute = 0, second = 0;

  auto operator<=>(const Date&) const = default;
  bool hasTime() const { return hour != 0 || minute != 0 || second != 0; }
  /// "YYYY-MM-DD", or "YYYY-MM-DDTHH:MM:SS" when the time is not midnight.
  std::string iso() const;
  /// Reads "YYYY-MM-DD" or "YYYY-MM-DDTHH:MM[:SS]"; raises 13 on anything else.
  static Date parse(std::string_view text);
};

enum class VarType {
  Empty,
  Null,
  Boolean,
  Integer,
  Long,
  Double,
  Date,
  String,
  Object,
  Array,
  Missing
};

/// The automation name of a type ("Empty", "Integer", "String", ...).
BRELVANE_API std::string_view typeName(VarType type);

/// Deep-copying owner, so that arrays inside Variants keep value semantics.
template <class T>
class BRELVANE_API Box {
 public:
  Box();
  explicit Box(T value);
  Box(const Box& other);
  Box(Box&&) noexcept = default;
  Box& operator=(const Box& other);
  Box& operator=(Box&&) noexcept = default;
  ~Box();
  T& operator*() { return *ptr_; }
  const T& operator*() const { return *ptr_; }
  T* operator->() { return ptr_.get(); }
  const T* operator->() const { return ptr_.get(); }

 private:
  std::unique_ptr<T> ptr_;
};

class BRELVANE_API Variant {
 public:
  Variant() = default;  // Empty
  Variant(bool value) : v_(value) {}
  Variant(int16_t value) : v_(value) {}
  Variant(int32_t value) : v_(value) {}
  Variant(double value) : v_(value) {}
  Variant(Date value) : v_(value) {}
  Variant(std::string value) : v_(std::move(value)) {}
  Variant(std::string_view value) : v_(std::string(value)) {}
  Variant(const char* value) : v_(std::string(value)) {}
  Variant(std::shared_ptr<Dispatch> object) : v_(std::move(object)) {}
  template <class T>
  requires std::derived_from<T, Dispatch> &&
      (!std::same_as<T, Dispatch>)Variant(std::shared_ptr<T> object)
      : v_(std::shared_ptr<Dispatch>(std::move(object))) {}
  Variant(SafeArray array);

  Variant(const Variant&);
  Variant(Variant&&) noexcept;
  Variant& operator=(const Variant&);
  Variant& operator=(Variant&&) noexcept;
  ~Variant();

  /// Makes the Variant the text `value` and returns that text. A Variant
  /// that holds a text already keeps its buffer, so rewriting an output
  /// allocates only when the new text is longer than any it held.
  std::string& setText(std::string_view value);

  static Variant null() { return Variant(NullTag{}); }
  static Variant missing() { return Variant(MissingTag{}); }
  /// An object reference to nothing.
  static Variant nothing() { return Variant(std::shared_ptr<Dispatch>()); }

  VarType type() const { return static_cast<VarType>(v_.index()); }
  bool isEmpty() const { return type() == VarType::Empty; }
  bool isNull() const { return type() == VarType::Null; }
  bool isMissing() const { return type() == VarType::Missing; }
  bool isString() const { return type() == VarType::String; }
  bool isObject() const { return type() == VarType::Object; }
  bool isArray() const { return type() == VarType::Array; }
  bool isNumeric() const;  ///< Integer, Long or Double

  // Exact access: raise 13 when the Variant holds another kind.
  bool boolean() const;
  const std::string& string() const;
  const Date& date() const;
  const std::shared_ptr<Dispatch>& object() const;
  const SafeArray& array() const;
  SafeArray& array();

  /// The numeric value of an Integer, Long or Double (13 otherwise).
  double number() const;

  /// toText of a Variant about to go: a text is moved out, not copied.
  friend BRELVANE_API std::string toText(Variant&& v);

  /// Structural equality: same kind and same value; objects by identity.
  friend bool operator==(const Variant& a, const Variant& b);

 private:
  struct NullTag {};
  struct MissingTag {};
  explicit Variant(NullTag tag) : v_(tag) {}
  explicit Variant(MissingTag tag) : v_(tag) {}

  // The alternatives are in VarType order.
  std::variant<std::monostate, NullTag, bool, int16_t, int32_t, double, Date, std::string,
               std::shared_ptr<Dispatch>, Box<SafeArray>, MissingTag>
      v_;
};

/// Bounds of one dimension of an array.
struct BRELVANE_API Bound {
  int32_t lower = 0;
  int32_t upper = -1;
  /// Elements in the dimension (0 when upper < lower); computed in 64 bits,
  /// so the widest bounds cannot overflow.
  uint64_t count() const {
    return upper >= lower ? static_cast<uint64_t>(int64_t{upper} - int64_t{lower}) + 1 : 0;
  }
  bool operator==(const Bound&) const = default;
};

/// A multi-dimensional automation array: bounds per dimension, elements in a
/// flat vector with the last index varying fastest.
class BRELVANE_API SafeArray {
 public:
  SafeArray() = default;
  /// Every element starts Empty. Raises 6 when the element count exceeds
  /// what an automation array can hold (2^31 - 1), 7 when memory runs out.
  explicit SafeArray(std::span<const Bound> bounds);
  explicit SafeArray(std::initializer_list<Bound> bounds)
      : SafeArray(std::span<const Bound>(bounds.begin(), bounds.size())) {}
  /// An array built in place: `elements` in row order, the last index
  /// varying fastest. Raises 5 when their number does not match the bounds.
  SafeArray(std::span<const Bound> bounds, std::vector<Variant> elements);
  SafeArray(std::initializer_list<Bound> bounds, std::vector<Variant> elements)
      : SafeArray(std::span<const Bound>(bounds.begin(), bounds.size()), std::move(elements)) {}

  std::span<const Bound> bounds() const;
  size_t dimensions() const { return dimensions_; }
  std::span<const Variant> elements() const { return elements_; }
  std::span<Variant> elements() { return elements_; }

  /// Gives the array new bounds and keeps its storage: the elements that
  /// fit stay as they are (in flat order), any new ones are Empty. Raises
  /// as the constructor does, and then leaves the array unchanged.
  void reshape(std::span<const Bound> bounds);
  void reshape(std::initializer_list<Bound> bounds) {
    reshape(std::span<const Bound>(bounds.begin(), bounds.size()));
  }

  /// Element by index per dimension; raises 9 outside the bounds.
  Variant& at(std::initializer_list<int32_t> index);
  const Variant& at(std::initializer_list<int32_t> index) const;

  friend BRELVANE_API bool operator==(const SafeArray& a, const SafeArray& b);

 private:
  size_t offset(std::initializer_list<int32_t> index) const;
  void setBounds(std::span<const Bound> bounds);

  // The bounds of one or two dimensions, which is every array the classes
  // compose, are kept in place; wider arrays keep theirs in `wide_`.
  static constexpr size_t kInlineDimensions = 2;
  size_t dimensions_ = 0;
  std::array<Bound, kInlineDimensions> inline_{};
  std::vector<Bound> wide_;
  std::vector<Variant> elements_;
};

// Conversions (see the top of this header for the rules).
BRELVANE_API std::string toText(const Variant& v);
BRELVANE_API std::string concatText(const Variant& v);
BRELVANE_API bool toBool(const Variant& v);
BRELVANE_API int16_t toInteger(const Variant& v);
BRELVANE_API int32_t toLong(const Variant& v);
BRELVANE_API double toDouble(const Variant& v);
BRELVANE_API Date toDate(const Variant& v);

/// Plain decimal text of a number, locale-free.
BRELVANE_API std::string formatNumber(double value);
/// Reads a locale-free decimal number ("12", "-3.5", "1E+3", blanks around);
/// false when the text is not a number.
BRELVANE_API bool parseNumber(std::string_view text, double& out);

/// Equality of a Variant with a number or a text; never raises.
BRELVANE_API bool equals(const Variant& v, double number);
BRELVANE_API bool equals(const Variant& v, std::string_view text);

}  // namespace brelvane
