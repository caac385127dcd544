#pragma once
// The fixed identities of the server: its type library, and for each class
// the ProgID, the class and interface identifiers. Chosen once; a published
// identifier never changes, so nothing here is derived from anything else.

#include <windows.h>

#include <span>
#include <string_view>

namespace brelvane::com {

inline constexpr GUID kLibId = {
    0x77F5CCFA, 0xBC01, 0x44EA, {0xAF, 0xD7, 0x56, 0x6D, 0x24, 0xE9, 0x04, 0xA3}};
inline constexpr unsigned short kLibMajor = 1, kLibMinor = 0;
inline constexpr std::wstring_view kLibName = L"Brelvane";

/// Our own objects answer QueryInterface for this private interface with a
/// pointer to their ServerObject, so that a core object coming back to us
/// through the platform is unwrapped instead of being called through it.
inline constexpr GUID kIidServerObject = {
    0x923F3E3E, 0x420C, 0x4027, {0x9B, 0x82, 0xD0, 0x1B, 0x24, 0x9C, 0x61, 0xE6}};

/// The outgoing event interface of CLSCI_CONNECT.
inline constexpr GUID kDiidConnectEvents = {
    0xF8D60F26, 0xFE57, 0x45AF, {0x94, 0x8A, 0x80, 0x83, 0x77, 0x88, 0x79, 0x4A}};
inline constexpr std::wstring_view kEventInterfaceName = L"__CLSCI_CONNECT";

struct ClassIdentity {
  std::string_view progId;  ///< as the core registers it ("Brelvane.CLSCI_LOOKUP")
  std::wstring_view name;   ///< the coclass name ("CLSCI_LOOKUP")
  GUID clsid;
  GUID iid;  ///< its dispatch interface ("_CLSCI_LOOKUP")
  bool hasEvents;
};

inline constexpr ClassIdentity kClasses[] = {
    {"Brelvane.CLSCI_LOOKUP",
     L"CLSCI_LOOKUP",
     {0xD42F9672, 0xDE7B, 0x4F70, {0xBB, 0x0F, 0x7B, 0x69, 0x61, 0xC8, 0xD4, 0x49}},
     {0x1F0303A3, 0xDB4D, 0x44F9, {0x9A, 0x06, 0x59, 0xA3, 0x09, 0x5A, 0xD7, 0xCE}},
     false},
    {"Brelvane.CLSCI_DECODE",
     L"CLSCI_DECODE",
     {0x4D50457F, 0x1F5F, 0x4522, {0xAE, 0x41, 0x64, 0x00, 0xDE, 0xCB, 0x3E, 0x42}},
     {0x99F1D6E1, 0x78E5, 0x4230, {0x9B, 0xDE, 0xF4, 0xF3, 0x86, 0x5C, 0x7B, 0xBE}},
     false},
    {"Brelvane.CLSCI_CONNECT",
     L"CLSCI_CONNECT",
     {0x0B8ABCBC, 0xF77E, 0x4545, {0x8A, 0x23, 0x66, 0x61, 0xB9, 0xF7, 0xDD, 0x57}},
     {0xA9D6C30F, 0xAE34, 0x406F, {0x9E, 0x33, 0x24, 0x76, 0x38, 0xF6, 0x09, 0x0A}},
     true},
};

/// The identity of a ProgID of ours (case-insensitive), or null.
const ClassIdentity* classByProgId(std::string_view progId);
/// The identity of a class identifier of ours, or null.
const ClassIdentity* classByClsid(REFCLSID clsid);

}  // namespace brelvane::com
