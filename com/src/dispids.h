#pragma once
// The checked-in table of dispatch identifiers (dispids.cpp). Portable: the
// native generator of the vtable slots reads it too.

#include <cstdint>
#include <span>
#include <string_view>

namespace brelvane::com {

struct DispIdRow {
  std::string_view owner;   ///< the class ("CLSCI_LOOKUP") or event interface ("__CLSCI_CONNECT")
  std::string_view member;  ///< as the registry spells it
  std::int32_t id;
};

std::span<const DispIdRow> dispIdRows();

}  // namespace brelvane::com
