#pragma once
// Keyed decoders: members that read one column of one table by its key,
// each written as one row of a table. A row gives the member's parameters,
// the descriptor's result column and the query's lines; a line is a literal
// text, optionally followed by one inserted value and a literal tail. One
// function composes any row; `Builder::rows` with `KeyedForm` registers a
// whole table, each member with the automation types its parameters declare.

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "decode/frame.h"

namespace brelvane::decode {

/// What a parameter is: its automation type and how its value goes into
/// SQL (KindOf below says both).
enum class Kind : uint8_t {
  Control,     ///< the target control (Object): column 0 of the descriptor
  ControlRef,  ///< the same, passed by reference
  Long,        ///< 32-bit integer: its decimal text
  Integer,     ///< 16-bit integer: its decimal text
  Text,        ///< text as given (any quotes are in the line)
  Code,        ///< Variant numeric code: ValueOrDefault(code, 0)
  TextCode,    ///< Variant text code: ValueOrDefault(code, "")
  SqlValue,    ///< Variant as the utility object writes it for SQL
  UserNumber,  ///< text converted to a 16-bit integer: its decimal text
};

struct Param {
  std::string_view name;
  Kind kind;
};

/// The value a line inserts: a parameter's index, or one of these.
inline constexpr int8_t kNoValue = -1;
inline constexpr int8_t kCompany = -2;  ///< the host's current company code

struct Line {
  std::string_view text;
  int8_t value = kNoValue;
  std::string_view tail = {};
};

/// One member. Lines are joined with CR LF; the last one gets its own CR LF
/// only when `finalBreak` says so. Without a control parameter, column 0 of
/// the descriptor is Nothing.
struct KeyedDecoder {
  std::string_view name;
  std::string_view doc;
  Param params[6];
  std::string_view column;
  Line lines[12];
  bool finalBreak = false;

  /// Whether every inserted value is one a line can write: a control has no text.
  constexpr bool insertsNoControl() const {
    for (const Line& line : lines)
      if (line.value >= 0 &&
          (params[line.value].kind == Kind::Control || params[line.value].kind == Kind::ControlRef))
        return false;
    return true;
  }

  constexpr size_t arity() const {
    size_t n = 0;
    while (n < std::size(params) && !params[n].name.empty()) ++n;
    return n;
  }
};

/// One argument of a call as the composing function reads it: a view of
/// the converted value the call already holds, never a copy, and how a line
/// writes it (`quoted`: the line puts it between apostrophes). A control
/// has no `write`.
struct KeyedArg {
  const void* value;
  void (*write)(SqlText& sql, Frame& f, const void* value, bool quoted);
};

/// Sets the descriptor and composes the row's query from the call's
/// arguments (`args[i]` is the value of parameter i).
void keyedDecode(Frame& f, const KeyedDecoder& row, std::span<const KeyedArg> args);

/// Writes text where a line puts it: between its apostrophes, or as a name.
void writeText(SqlText& sql, std::string_view text, bool quoted);

/// Each kind once: the C++ type its parameter takes (which gives the
/// automation type) and how a line writes its value.
template <Kind K>
struct KindOf;
template <>
struct KindOf<Kind::Control> {
  using type = const std::shared_ptr<Dispatch>&;
};
template <>
struct KindOf<Kind::ControlRef> {
  using type = std::shared_ptr<Dispatch>&;
};
template <>
struct KindOf<Kind::Long> {
  using type = int32_t;
  static void write(SqlText& sql, Frame&, int32_t value, bool) { sql.append(value); }
};
template <>
struct KindOf<Kind::Integer> {
  using type = int16_t;
  static void write(SqlText& sql, Frame&, int16_t value, bool) { sql.append(value); }
};
template <>
struct KindOf<Kind::Text> {
  using type = const std::string&;
  static void write(SqlText& sql, Frame&, const std::string& value, bool quoted) {
    writeText(sql, value, quoted);
  }
};
template <>
struct KindOf<Kind::Code> {
  using type = const Variant&;
  static void write(SqlText& sql, Frame& f, const Variant& value, bool) {
    sql.append(f.numericCode(value));
  }
};
template <>
struct KindOf<Kind::TextCode> {
  using type = const Variant&;
  static void write(SqlText& sql, Frame& f, const Variant& value, bool quoted) {
    writeText(sql, f.textCode(value), quoted);
  }
};
template <>
struct KindOf<Kind::SqlValue> {
  using type = const Variant&;
  static void write(SqlText& sql, Frame& f, const Variant& value, bool) {
    sql.append(f.sqlValue(value));
  }
};
template <>
struct KindOf<Kind::UserNumber> {
  using type = const std::string&;
  static void write(SqlText& sql, Frame&, const std::string& value, bool) {
    sql.append(toInteger(Variant(value)));
  }
};

namespace detail {

/// The argument of a parameter of kind K, as keyedDecode reads it.
template <Kind K, class V>
KeyedArg keyedArg(const V& value) {
  if constexpr (K == Kind::Control || K == Kind::ControlRef)
    return {&value, nullptr};
  else
    return {&value, [](SqlText& sql, Frame& f, const void* v, bool quoted) {
              KindOf<K>::write(sql, f, *static_cast<const V*>(v), quoted);
            }};
}

}  // namespace detail

/// How Builder::rows registers a table of KeyedDecoder: each row a method
/// whose C++ parameters are its kinds' types, so the registry declares them.
///   b.rows<kSingleTables, KeyedForm>();
struct KeyedForm {
  template <const auto& kRows, size_t I>
  static auto method() {
    return callable<kRows, I>(std::make_index_sequence<kRows[I].arity()>{});
  }
  template <const auto& kRows, size_t I>
  static std::vector<ParamSpec> params() {
    return specs<kRows, I>(std::make_index_sequence<kRows[I].arity()>{});
  }

 private:
  template <const auto& kRows, size_t I, size_t... P>
  static auto callable(std::index_sequence<P...>) {
    static_assert(kRows[I].insertsNoControl(), "a keyed line inserts a control");
    return member([](Frame& f, typename KindOf<kRows[I].params[P].kind>::type... args) {
      const KeyedArg values[] = {detail::keyedArg<kRows[I].params[P].kind>(args)...};
      keyedDecode(f, kRows[I], values);
    });
  }
  template <const auto& kRows, size_t I, size_t... P>
  static std::vector<ParamSpec> specs(std::index_sequence<P...>) {
    return {arg(std::string(kRows[I].params[P].name))...};
  }
};

}  // namespace brelvane::decode
