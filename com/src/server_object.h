#pragma once
// Core objects as COM objects: one IDispatch implementation for every class
// and for any other core object that crosses to the platform. A class's
// members take their dispatch identifiers from the checked-in table; an
// object without a class description gets identifiers for its names as
// they are asked for, and is called by name.

#include <windows.h>

#include <oaidl.h>

#include <memory>

#include "brelvane/automation/dispatch.h"
#include "identity.h"

namespace brelvane::com {

/// A new COM object over `object`, with one reference for the caller.
/// `identity` is given for the creatable classes (type information, error
/// interface); null for any other object.
IDispatch* exposeObject(std::shared_ptr<Dispatch> object, const ClassIdentity* identity = nullptr);

/// The core object behind one of our COM objects, or null for any other.
std::shared_ptr<Dispatch> unwrapServerObject(IUnknown* unknown);

/// The platform's view of a core object, with one reference for the caller:
/// the original object for an adapter of a platform object, a new COM
/// object otherwise; null for Nothing.
IDispatch* dispatchOf(const std::shared_ptr<Dispatch>& object);

}  // namespace brelvane::com
