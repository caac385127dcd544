#pragma once
// SqlText: appends fragments into one reserved buffer, line by line.

#include <string>
#include <string_view>
#include <utility>

namespace brelvane {

class SqlText {
 public:
  explicit SqlText(size_t reserve = 2048) { text_.reserve(reserve); }

  /// Appends the parts, then CR LF.
  template <class... Parts>
  SqlText& line(const Parts&... parts) {
    (text_.append(std::string_view(parts)), ...);
    text_.append("\r\n");
    return *this;
  }
  /// Appends the parts with no line break.
  template <class... Parts>
  SqlText& append(const Parts&... parts) {
    (text_.append(std::string_view(parts)), ...);
    return *this;
  }
  /// A lone carriage return.
  SqlText& cr() {
    text_.push_back('\r');
    return *this;
  }

  std::string_view view() const { return text_; }
  bool contains(std::string_view s) const { return text_.find(s) != std::string::npos; }
  std::string take() { return std::move(text_); }

 private:
  std::string text_;
};

/// Replaces every occurrence of `from`, left to right, case-sensitively.
void replaceAll(std::string& text, std::string_view from, std::string_view to);

}  // namespace brelvane
