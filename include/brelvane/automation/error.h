#pragma once
// Automation errors: what a failing call raises to its late-bound caller.

#include <cstdint>
#include <exception>
#include <string>

#include "brelvane/export.h"

namespace brelvane {

/// Error numbers raised by the automation layer itself.
namespace err {
inline constexpr int32_t kInvalidCall = 5;      ///< invalid procedure call or argument
inline constexpr int32_t kOverflow = 6;         ///< number out of range of its target type
inline constexpr int32_t kOutOfMemory = 7;      ///< an allocation failed
inline constexpr int32_t kSubscript = 9;        ///< array index out of bounds
inline constexpr int32_t kTypeMismatch = 13;    ///< value cannot be converted
inline constexpr int32_t kObjectNotSet = 91;    ///< call through a null object reference
inline constexpr int32_t kInvalidNull = 94;     ///< Null where a value is needed
inline constexpr int32_t kCannotCreate = 429;   ///< unknown ProgID
inline constexpr int32_t kUnknownMember = 438;  ///< member not found by name
inline constexpr int32_t kArgumentNotOptional = 449;
inline constexpr int32_t kWrongArgumentCount = 450;
}  // namespace err

/// An error raised through an automation call: number, source and description.
class BRELVANE_API AutomationError : public std::exception {
 public:
  AutomationError(int32_t number, std::string source, std::string description)
      : number(number), source(std::move(source)), description(std::move(description)) {}

  /// The standard description of one of the numbers in `err`, with source "Brelvane".
  static AutomationError of(int32_t number, std::string detail = {});

  const char* what() const noexcept override { return description.c_str(); }

  int32_t number;
  std::string source;
  std::string description;
};

}  // namespace brelvane
