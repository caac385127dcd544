#pragma once
// Text across the boundary: the core speaks UTF-8, the platform UTF-16.

#include <windows.h>

#include <oleauto.h>

#include <string>
#include <string_view>

namespace brelvane::com {

std::wstring widen(std::string_view utf8);
std::string narrow(std::wstring_view utf16);
/// The text of a BSTR (null is the empty text).
std::string fromBstr(BSTR text);
/// A new BSTR the caller frees; raises std::bad_alloc when there is no memory.
BSTR toBstr(std::string_view utf8);

/// Owns a BSTR for the length of a scope.
class Bstr {
 public:
  explicit Bstr(std::string_view utf8) : b_(toBstr(utf8)) {}
  ~Bstr() { SysFreeString(b_); }
  Bstr(const Bstr&) = delete;
  Bstr& operator=(const Bstr&) = delete;
  BSTR get() const { return b_; }

 private:
  BSTR b_;
};

}  // namespace brelvane::com
