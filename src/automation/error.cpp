#include "brelvane/automation/error.h"

namespace brelvane {

AutomationError AutomationError::of(int32_t number, std::string detail) {
  std::string text;
  switch (number) {
    case err::kInvalidCall:
      text = "Invalid procedure call or argument";
      break;
    case err::kOverflow:
      text = "Overflow";
      break;
    case err::kOutOfMemory:
      text = "Out of memory";
      break;
    case err::kSubscript:
      text = "Subscript out of range";
      break;
    case err::kTypeMismatch:
      text = "Type mismatch";
      break;
    case err::kObjectNotSet:
      text = "Object variable or With block variable not set";
      break;
    case err::kInvalidNull:
      text = "Invalid use of Null";
      break;
    case err::kCannotCreate:
      text = "Cannot create an object of that class";
      break;
    case err::kUnknownMember:
      text = "Object doesn't support this property or method";
      break;
    case err::kArgumentNotOptional:
      text = "Argument not optional";
      break;
    case err::kWrongArgumentCount:
      text = "Wrong number of arguments or invalid property assignment";
      break;
    default:
      text = "Automation error " + std::to_string(number);
      break;
  }
  if (!detail.empty()) text += ": " + detail;
  return AutomationError(number, "Brelvane", std::move(text));
}

}  // namespace brelvane
