#include "brelvane/automation/variant.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <limits>
#include <new>
#include <stdexcept>
#include <utility>

#include "brelvane/automation/dispatch.h"
#include "brelvane/automation/error.h"

namespace brelvane {

// ---- Date -------------------------------------------------------------------

std::string Date::iso() const {
  char buf[32];
  if (hasTime())
    std::snprintf(buf, sizeof buf, "%04d-%02d-%02dT%02d:%02d:%02d", year, month, day, hour, minute,
                  second);
  else
    std::snprintf(buf, sizeof buf, "%04d-%02d-%02d", year, month, day);
  return buf;
}

namespace {

bool readInt(std::string_view text, size_t pos, size_t len, int& out) {
  if (pos + len > text.size()) return false;
  auto first = text.data() + pos, last = first + len;
  auto [ptr, ec] = std::from_chars(first, last, out);
  return ec == std::errc() && ptr == last;
}

bool validDate(const Date& d) {
  static constexpr std::array<int, 12> days = {31, 29, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  if (d.year < 100 || d.year > 9999 || d.month < 1 || d.month > 12 || d.day < 1) return false;
  bool leap = (d.year % 4 == 0 && d.year % 100 != 0) || d.year % 400 == 0;
  int limit = d.month == 2 && !leap ? 28 : days[d.month - 1];
  return d.day <= limit && d.hour < 24 && d.minute < 60 && d.second < 60 && d.hour >= 0 &&
         d.minute >= 0 && d.second >= 0;
}

}  // namespace

Date Date::parse(std::string_view text) {
  Date d;
  bool ok = text.size() >= 10 && text[4] == '-' && text[7] == '-' && readInt(text, 0, 4, d.year) &&
            readInt(text, 5, 2, d.month) && readInt(text, 8, 2, d.day);
  if (ok && text.size() > 10) {
    ok = (text.size() == 16 || text.size() == 19) && (text[10] == 'T' || text[10] == ' ') &&
         text[13] == ':' && readInt(text, 11, 2, d.hour) && readInt(text, 14, 2, d.minute);
    if (ok && text.size() == 19) ok = text[16] == ':' && readInt(text, 17, 2, d.second);
  }
  if (!ok || !validDate(d)) throw AutomationError::of(err::kTypeMismatch, "not a date");
  return d;
}

// ---- Box and Variant special members ------------------------------------------

template <class T>
Box<T>::Box() : ptr_(std::make_unique<T>()) {}
template <class T>
Box<T>::Box(T value) : ptr_(std::make_unique<T>(std::move(value))) {}
template <class T>
Box<T>::Box(const Box& other) : ptr_(std::make_unique<T>(*other.ptr_)) {}
template <class T>
Box<T>& Box<T>::operator=(const Box& other) {
  if (this != &other) ptr_ = std::make_unique<T>(*other.ptr_);
  return *this;
}
template <class T>
Box<T>::~Box() = default;
template class Box<SafeArray>;

Variant::Variant(SafeArray array) : v_(Box<SafeArray>(std::move(array))) {}
Variant::Variant(const Variant&) = default;
Variant::Variant(Variant&&) noexcept = default;
Variant& Variant::operator=(const Variant&) = default;
Variant& Variant::operator=(Variant&&) noexcept = default;
Variant::~Variant() = default;

std::string_view typeName(VarType type) {
  static constexpr std::array<std::string_view, 11> names = {
      "Empty", "Null",   "Boolean", "Integer", "Long",   "Double",
      "Date",  "String", "Object",  "Array",   "Missing"};
  return names[static_cast<size_t>(type)];
}

std::string& Variant::setText(std::string_view value) {
  if (auto p = std::get_if<std::string>(&v_)) {
    // An output rewritten with a text of the same length, the usual case,
    // is a plain copy over the old one.
    if (p->size() == value.size()) {
      std::char_traits<char>::move(p->data(), value.data(), value.size());
      return *p;
    }
    return p->assign(value);
  }
  // Built first: a failure leaves *this as it was.
  return v_.emplace<std::string>(std::string(value));
}

bool Variant::isNumeric() const {
  auto t = type();
  return t == VarType::Integer || t == VarType::Long || t == VarType::Double;
}

namespace {
[[noreturn]] void mismatch() {
  throw AutomationError::of(err::kTypeMismatch);
}
}  // namespace

bool Variant::boolean() const {
  if (auto p = std::get_if<bool>(&v_)) return *p;
  mismatch();
}
const std::string& Variant::string() const {
  if (auto p = std::get_if<std::string>(&v_)) return *p;
  mismatch();
}
const Date& Variant::date() const {
  if (auto p = std::get_if<Date>(&v_)) return *p;
  mismatch();
}
const std::shared_ptr<Dispatch>& Variant::object() const {
  if (auto p = std::get_if<std::shared_ptr<Dispatch>>(&v_)) return *p;
  mismatch();
}
const SafeArray& Variant::array() const {
  if (auto p = std::get_if<Box<SafeArray>>(&v_)) return **p;
  mismatch();
}
SafeArray& Variant::array() {
  if (auto p = std::get_if<Box<SafeArray>>(&v_)) return **p;
  mismatch();
}
double Variant::number() const {
  switch (type()) {
    case VarType::Integer:
      return std::get<int16_t>(v_);
    case VarType::Long:
      return std::get<int32_t>(v_);
    case VarType::Double:
      return std::get<double>(v_);
    default:
      mismatch();
  }
}

bool operator==(const Variant& a, const Variant& b) {
  if (a.type() != b.type()) return false;
  switch (a.type()) {
    case VarType::Empty:
    case VarType::Null:
    case VarType::Missing:
      return true;
    case VarType::Boolean:
      return a.boolean() == b.boolean();
    case VarType::Integer:
    case VarType::Long:
    case VarType::Double:
      return a.number() == b.number();
    case VarType::Date:
      return a.date() == b.date();
    case VarType::String:
      return a.string() == b.string();
    case VarType::Object:
      return a.object() == b.object();
    case VarType::Array:
      return a.array() == b.array();
  }
  return false;
}

// ---- SafeArray ----------------------------------------------------------------

namespace {

/// Elements of an array with these bounds; raises 6 beyond 2^31 - 1. The
/// product is checked factor by factor: a product below 2^31 times a count
/// of at most 2^32 stays below 2^63, so it can never wrap (and no division
/// is needed, which every reshaped output would pay for).
size_t elementCount(std::span<const Bound> bounds) {
  constexpr uint64_t kMaxElements = std::numeric_limits<int32_t>::max();
  if (bounds.empty() ||
      std::any_of(bounds.begin(), bounds.end(), [](const Bound& b) { return b.count() == 0; }))
    return 0;
  uint64_t n = 1;
  for (const auto& b : bounds) {
    n *= b.count();
    if (n > kMaxElements) throw AutomationError::of(err::kOverflow);
  }
  return static_cast<size_t>(n);
}

template <class Fn>
auto orOutOfMemory(Fn&& fn) {
  try {
    return fn();
  } catch (const std::bad_alloc&) {
    throw AutomationError::of(err::kOutOfMemory);
  } catch (const std::length_error&) {
    throw AutomationError::of(err::kOutOfMemory);
  }
}

}  // namespace

SafeArray::SafeArray(std::span<const Bound> bounds) {
  const size_t n = elementCount(bounds);
  orOutOfMemory([&] {
    setBounds(bounds);
    elements_.resize(n);
  });
}

SafeArray::SafeArray(std::span<const Bound> bounds, std::vector<Variant> elements)
    : elements_(std::move(elements)) {
  uint64_t n = bounds.empty() ? 0 : 1;
  for (const auto& b : bounds) n = std::min<uint64_t>(n * b.count(), uint64_t{1} << 40);
  if (n != elements_.size()) throw AutomationError::of(err::kInvalidCall, "array elements");
  orOutOfMemory([&] { setBounds(bounds); });
}

void SafeArray::setBounds(std::span<const Bound> bounds) {
  if (bounds.size() <= kInlineDimensions) {
    std::copy(bounds.begin(), bounds.end(), inline_.begin());
    wide_.clear();
  } else {
    wide_.assign(bounds.begin(), bounds.end());
  }
  dimensions_ = bounds.size();
}

void SafeArray::reshape(std::span<const Bound> bounds) {
  const size_t n = elementCount(bounds);
  orOutOfMemory([&] {
    // Both allocations come first, so a failure leaves the array as it was.
    if (bounds.size() > kInlineDimensions) wide_.reserve(bounds.size());
    elements_.reserve(n);
    elements_.resize(n);
    setBounds(bounds);
  });
}

std::span<const Bound> SafeArray::bounds() const {
  if (dimensions_ <= kInlineDimensions) return {inline_.data(), dimensions_};
  return wide_;
}

bool operator==(const SafeArray& a, const SafeArray& b) {
  return std::ranges::equal(a.bounds(), b.bounds()) &&
         std::ranges::equal(a.elements(), b.elements());
}

size_t SafeArray::offset(std::initializer_list<int32_t> index) const {
  if (index.size() != dimensions_) throw AutomationError::of(err::kSubscript);
  size_t off = 0;
  auto b = bounds().begin();
  for (int32_t i : index) {
    if (i < b->lower || i > b->upper) throw AutomationError::of(err::kSubscript);
    off = off * static_cast<size_t>(b->count()) + static_cast<size_t>(int64_t{i} - b->lower);
    ++b;
  }
  return off;
}
Variant& SafeArray::at(std::initializer_list<int32_t> index) {
  return elements_[offset(index)];
}
const Variant& SafeArray::at(std::initializer_list<int32_t> index) const {
  return elements_[offset(index)];
}

}  // namespace brelvane
