#pragma once
// Platform objects as core objects. An object handed in through COM is
// wrapped in the adapter of the declared type that receives it: the host
// framework (and, through it, its context, messages, company and settings),
// a database connection (and its commands and result sets), or any other
// object, which the core then calls by name. Every adapter calls its object
// late-bound, by the names in host_protocol.h, so no type library of the
// host's is needed.

#include <windows.h>

#include <oaidl.h>

#include <memory>
#include <string_view>

#include "brelvane/automation/dispatch.h"
#include "brelvane/host/utility.h"

namespace brelvane::com {

std::shared_ptr<Dispatch> adaptObject(IDispatch* object, std::string_view declaredType);

/// The platform object behind an adapter (no reference added), or null
/// when `object` is a core object of our own.
IDispatch* peerOf(const Dispatch& object);

/// An object of another component, created through the platform and called
/// by name; null when its ProgID is not registered there.
std::shared_ptr<Dispatch> createPlatformObject(std::string_view progId);

/// The utility object of the host library, created through the platform;
/// null when its ProgID is not registered there.
std::shared_ptr<UtilityObject> createPlatformUtility();

}  // namespace brelvane::com
