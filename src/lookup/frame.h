#pragma once
// The lookup frame: one lookup call writing the four outputs of CLSCI_LOOKUP.

#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include "brelvane/lookup/clsci_lookup.h"
#include "compose/guard.h"
#include "compose/host_access.h"
#include "compose/sql_text.h"

namespace brelvane::lookup {

class Frame {
 public:
  explicit Frame(CLSCI_LOOKUP& lookup)
      : host(lookup.ActiveInterface, lookup.utility_), lookup_(lookup) {}

  const HostAccess host;

  void columns(std::initializer_list<std::string_view> captions) {
    lookup_.Arr_Fields = fieldsArray(captions);
  }
  void columns(const std::vector<std::string>& captions) {
    lookup_.Arr_Fields = fieldsArray(captions);
  }
  void sql(SqlText& text) { lookup_.Str_Sql = text.take(); }
  void sql(std::string text) { lookup_.Str_Sql = std::move(text); }
  /// Str_Caption from a message id (message text alone, no SQL preparation).
  void caption(int32_t messageId) { lookup_.Str_Caption = host.message(messageId); }
  void captionText(std::string text) { lookup_.Str_Caption = std::move(text); }
  void id(std::string_view value) { lookup_.IDLookup = Variant(value); }

  CLSCI_LOOKUP& object() { return lookup_; }
  Variant& languageCode() { return lookup_.languageCode_; }
  /// Replaces every <LINGUA> with the instance's language code in quotes.
  void substituteLanguage(std::string& text) const {
    replaceAll(text, "<LINGUA>", "'" + concatText(lookup_.languageCode_) + "'");
  }

 private:
  CLSCI_LOOKUP& lookup_;
};

}  // namespace brelvane::lookup

namespace brelvane {

template <class Body>
void CLSCI_LOOKUP::compose(Body&& body) noexcept {
  composeGuarded(Str_Sql, [&] {
    lookup::Frame frame(*this);
    body(frame);
  });
}

}  // namespace brelvane
