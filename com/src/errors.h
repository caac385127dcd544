#pragma once
// Errors across the boundary. An automation error number n leaves as the
// HRESULT 0x800A0000 + n, which scripts show as Err.Number n; an error that
// came into the core as an HRESULT (a host object failing with a bare
// HRESULT, say) is carried as that negative number and leaves unchanged.

#include <windows.h>

#include <oaidl.h>

#include <string_view>

#include "brelvane/automation/error.h"

namespace brelvane::com {

HRESULT hresultOf(const AutomationError& error);

/// Fills `info` (when given) and the thread's error object for a failing
/// call of ours; returns DISP_E_EXCEPTION.
HRESULT raiseToCaller(const AutomationError& error, EXCEPINFO* info, const GUID& iid);

/// The core error for a platform call that failed with `hr`; `info` is read
/// (and its texts freed) when the call raised an exception.
AutomationError errorFromCall(HRESULT hr, EXCEPINFO& info);

/// Runs `body`, turning every C++ exception into an HRESULT: none may
/// leave the DLL.
template <class Body>
HRESULT guarded(Body&& body, EXCEPINFO* info, const GUID& iid) noexcept {
  try {
    return body();
  } catch (const AutomationError& e) {
    return raiseToCaller(e, info, iid);
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  } catch (...) {
    return E_UNEXPECTED;
  }
}

}  // namespace brelvane::com
