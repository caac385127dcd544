#pragma once
// The lookup frame: one lookup call writing the four outputs of CLSCI_LOOKUP
// (Str_Sql, Arr_Fields, Str_Caption, IDLookup).

#include "brelvane/lookup/clsci_lookup.h"
#include "compose/frame.h"

namespace brelvane::lookup {

class Frame : public FrameBase<CLSCI_LOOKUP> {
 public:
  using FrameBase::FrameBase;

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
  /// Sets the language code: the host company's, or `fallback` when there
  /// is no host (or, its read failing, the call ends with `fallback` kept).
  void takeLanguage(const char* fallback) {
    languageCode() = Variant(fallback);
    if (host.hasHost()) languageCode() = host.languageCode();
  }
  /// Replaces every <LINGUA> with the instance's language code in quotes.
  void substituteLanguage(SqlText& text) {
    text.fill({{"<LINGUA>", quoted(concatText(languageCode()), hardened())}});
  }

 private:
  /// The per-instance language code that replaces <LINGUA>.
  Variant& languageCode() { return internal::Access::of(object_).languageCode; }
};

using Builder = ClassBuilder<CLSCI_LOOKUP>;

/// A lookup method from `fn(Frame&, Args...)`, run under the error convention.
template <class Fn>
auto member(Fn fn) {
  return guardedMember<Frame>(std::move(fn));
}

}  // namespace brelvane::lookup
