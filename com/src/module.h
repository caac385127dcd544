#pragma once
// The server module: its instance handle, the process-wide object factory
// through which the core creates objects, and the counts of live objects and
// server locks that decide when the DLL may be unloaded.

#include <windows.h>

#include "brelvane/automation/factory.h"

namespace brelvane::com {

/// The DLL's own instance handle (for its path).
HINSTANCE moduleInstance();
void setModuleInstance(HINSTANCE module);

/// The factory of the core classes, with the utility object created through
/// the platform when its ProgID is registered there.
ObjectFactory& factory();

/// Every COM object of the module counts itself alive from construction to
/// destruction; LockServer adds locks. DllCanUnloadNow answers S_OK only
/// when both are 0.
void objectCreated();
void objectDestroyed();
void lockServer(bool lock);
long liveObjects();
long serverLocks();

}  // namespace brelvane::com
