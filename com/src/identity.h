#pragma once
// The identities of the server as the platform reads them: its type
// library, and for each class the ProgID, the class and interface
// identifiers, made from the fixed numbers of guids.h.

#include <windows.h>

#include <span>
#include <string_view>

#include "guids.h"

namespace brelvane::com {

constexpr GUID toGuid(const guids::Guid& g) {
  return {
      g.d1, g.d2, g.d3, {g.d4[0], g.d4[1], g.d4[2], g.d4[3], g.d4[4], g.d4[5], g.d4[6], g.d4[7]}};
}

inline constexpr GUID kLibId = toGuid(guids::kLibrary);
inline constexpr unsigned short kLibMajor = 1, kLibMinor = 0;
inline constexpr std::wstring_view kLibName = L"Brelvane";

/// Our own objects answer QueryInterface for this private interface with a
/// pointer to their ServerObject, so that a core object coming back to us
/// through the platform is unwrapped instead of being called through it.
inline constexpr GUID kIidServerObject = {
    0x923F3E3E, 0x420C, 0x4027, {0x9B, 0x82, 0xD0, 0x1B, 0x24, 0x9C, 0x61, 0xE6}};

/// The outgoing event interface of CLSCI_CONNECT.
inline constexpr GUID kDiidConnectEvents = toGuid(guids::kConnectEvents);
inline constexpr std::wstring_view kEventInterfaceName = L"__CLSCI_CONNECT";

struct ClassIdentity {
  std::string_view progId;  ///< as the core registers it ("Brelvane.CLSCI_LOOKUP")
  std::wstring_view name;   ///< the coclass name ("CLSCI_LOOKUP")
  GUID clsid;
  GUID iid;  ///< its dispatch interface ("_CLSCI_LOOKUP")
  bool hasEvents;
};

/// The classes in the order of guids::kClasses.
inline constexpr ClassIdentity kClasses[] = {
    {guids::kClasses[0].progId, L"CLSCI_LOOKUP", toGuid(guids::kClasses[0].clsid),
     toGuid(guids::kClasses[0].iid), guids::kClasses[0].hasEvents},
    {guids::kClasses[1].progId, L"CLSCI_DECODE", toGuid(guids::kClasses[1].clsid),
     toGuid(guids::kClasses[1].iid), guids::kClasses[1].hasEvents},
    {guids::kClasses[2].progId, L"CLSCI_CONNECT", toGuid(guids::kClasses[2].clsid),
     toGuid(guids::kClasses[2].iid), guids::kClasses[2].hasEvents},
    {guids::kClasses[3].progId, L"Settings", toGuid(guids::kClasses[3].clsid),
     toGuid(guids::kClasses[3].iid), guids::kClasses[3].hasEvents},
};
static_assert(std::size(kClasses) == std::size(guids::kClasses));

/// The identity of a ProgID of ours (case-insensitive), or null.
const ClassIdentity* classByProgId(std::string_view progId);
/// The identity of a class identifier of ours, or null.
const ClassIdentity* classByClsid(REFCLSID clsid);

}  // namespace brelvane::com
