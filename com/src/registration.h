#pragma once
// Registration of the server's classes and type library, per machine
// (HKLM\Software\Classes: regsvr32) or per user (HKCU\Software\Classes:
// regsvr32 /n /i:user).

#include <windows.h>

namespace brelvane::com {

enum class Scope { Machine, User };

/// Writes brelvane.tlb beside the DLL, registers it, then writes each
/// class's ProgIDs and CLSID keys. On a failure whatever was registered
/// is removed again. No exception leaves either function.
HRESULT registerServer(Scope scope) noexcept;
/// Writes what a host needs to use the DLL from its own folder without
/// registering it: brelvane.tlb and the side-by-side assembly manifest
/// brelvane.sxs.manifest beside the DLL (regsvr32 /n /i:manifest). Nothing
/// goes into the registry.
HRESULT writeAssemblyManifest() noexcept;
/// Removes exactly the keys registerServer writes, and the type library's
/// registration; the .tlb file stays, another scope may be using it.
HRESULT unregisterServer(Scope scope) noexcept;

}  // namespace brelvane::com
