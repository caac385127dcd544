#pragma once
// The type library of the server, generated from the core's class
// descriptions (the registry registerBrelvane fills) and the fixed tables of
// identity.h and dispids.cpp; nothing in it is written by hand.
//
// It is written when the server is registered, as brelvane.tlb beside the
// DLL, then loaded and registered from there (registration.cpp). Generating
// it at registration needs nothing at build time but the cross compiler, and
// the library can never disagree with the DLL it describes: both come from
// the same registry in the same binary.

#include <windows.h>

#include <oaidl.h>

#include <string>

namespace brelvane::com {

/// The registry and the fixed tables disagree: a member without a row in
/// dispids.cpp, or a class of identity.h the registry does not have.
inline constexpr HRESULT kErrNoDispId = MAKE_HRESULT(SEVERITY_ERROR, FACILITY_ITF, 0x0201);
inline constexpr HRESULT kErrNoClass = MAKE_HRESULT(SEVERITY_ERROR, FACILITY_ITF, 0x0202);

/// The platform the type library describes: its pointers are the DLL's.
inline constexpr SYSKIND kSysKind = sizeof(void*) == 8 ? SYS_WIN64 : SYS_WIN32;
/// The locale of the library: neutral, its names are not translated.
inline constexpr LCID kLibLcid = LANG_NEUTRAL;

/// Writes the type library to `path` (replacing the file). No exception
/// leaves it; a failure is the HRESULT of the step that failed, or one of
/// the two above, and names what was missing through OutputDebugString.
HRESULT writeTypeLibrary(const std::wstring& path) noexcept;

}  // namespace brelvane::com
