#include "compose/guard.h"

#include <exception>
#include <mutex>

#include "brelvane/automation/error.h"
#include "brelvane/diagnostics.h"

namespace brelvane {

namespace {

std::mutex hookMutex;
DiagnosticsHook& installedHook() {
  static DiagnosticsHook hook;
  return hook;
}

}  // namespace

DiagnosticsHook setDiagnosticsHook(DiagnosticsHook hook) {
  std::lock_guard lock(hookMutex);
  std::swap(installedHook(), hook);
  return hook;
}

void reportSwallowedError() noexcept {
  DiagnosticsHook hook;
  {
    std::lock_guard lock(hookMutex);
    if (!installedHook()) return;
    hook = installedHook();
  }
  try {
    SwallowedError error;
    try {
      throw;
    } catch (const AutomationError& e) {
      error = {e.number, e.source, e.description};
    } catch (const std::exception& e) {
      error.description = e.what();
    } catch (...) {
      error.description = "unknown failure";
    }
    hook(error);
  } catch (...) {  // a hook that raises, or no memory left: the method still returns
  }
}

}  // namespace brelvane
