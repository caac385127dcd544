#pragma once
// The decode frame: one decode call writing the descriptor of CLSCI_DECODE.
// A decoder is a short function of a Frame: set the descriptor, compose the
// text with SqlText, hand it over.

#include <memory>
#include <string>
#include <string_view>

#include "brelvane/decode/clsci_decode.h"
#include "compose/guard.h"
#include "compose/host_access.h"
#include "compose/sql_text.h"

namespace brelvane::decode {

class Frame {
 public:
  explicit Frame(CLSCI_DECODE& decode)
      : host(decode.ActiveInterface, decode.utility_), decode_(decode) {}

  const HostAccess host;

  /// Arr_Fields (0 To 0, 0 To 1): the control that shows the description
  /// (Nothing for the existence checks) and the result column to show.
  void descriptor(const std::shared_ptr<Dispatch>& control, std::string_view column) {
    SafeArray fields({Bound{0, 0}, Bound{0, 1}});
    fields.at({0, 0}) = Variant(control);
    fields.at({0, 1}) = Variant(column);
    decode_.Arr_Fields = Variant(std::move(fields));
  }

  void sql(SqlText& text) { decode_.Str_Sql = text.take(); }
  void sql(std::string text) { decode_.Str_Sql = std::move(text); }

  UtilityObject& utility() const { return host.utility(); }
  CLSCI_DECODE& object() { return decode_; }

  /// A Variant code inserted as a number: ValueOrDefault(code, 0).
  std::string numericCode(const Variant& code) const {
    return concatText(utility().ValueOrDefault(code, Variant(int32_t{0})));
  }
  /// A Variant code inserted as text: ValueOrDefault(code, ""); the caller
  /// puts the quotes around it, nothing is escaped.
  std::string textCode(const Variant& code) const {
    return concatText(utility().ValueOrDefault(code, Variant("")));
  }
  /// The decimal text of an integer argument.
  static std::string decimal(int32_t value) { return std::to_string(value); }

 private:
  CLSCI_DECODE& decode_;
};

/// Runs `sql` on `connection` and hands the recordset to `read`; the
/// recordset is closed afterwards, whatever happened.
template <class Read>
auto withRows(Connection& connection, const std::string& sql, int32_t options, Read&& read) {
  std::shared_ptr<Recordset> rows = connection.Execute(sql, options);
  struct Closer {
    Recordset* rows;
    ~Closer() {
      if (rows) ignoringErrors([&] { rows->Close(); });
    }
  } closer{rows.get()};
  return read(required(rows));
}

}  // namespace brelvane::decode

namespace brelvane {

template <class Body>
void CLSCI_DECODE::compose(Body&& body) noexcept {
  composeGuarded(Str_Sql, [&] {
    decode::Frame frame(*this);
    body(frame);
  });
}

}  // namespace brelvane
