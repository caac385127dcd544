#pragma once
// Outgoing events through connection points: the one connection point of an
// object whose core raises events (CLSCI_CONNECT's __CLSCI_CONNECT). A sink
// advised there becomes a core event sink, so the core raises each event to
// every sink synchronously, exactly as it does natively, and a failing sink
// is handled as the core handles a failing handler.

#include <windows.h>

#include <ocidl.h>
#include <olectl.h>

#include <memory>

#include "brelvane/automation/dispatch.h"

namespace brelvane::com {

/// A new connection point of `owner` (one reference for the caller) over
/// the core object's events.
IConnectionPoint* newConnectionPoint(IConnectionPointContainer* owner,
                                     std::shared_ptr<ConnectionPointContainer> events,
                                     const ClassInfo& info);

}  // namespace brelvane::com
