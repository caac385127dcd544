#pragma once
// Entry point: registers the component's classes in an object factory.

#include "brelvane/automation/factory.h"
#include "brelvane/diagnostics.h"
#include "brelvane/export.h"
#include "brelvane/version.h"

namespace brelvane {

/// Registers Brelvane.CLSCI_LOOKUP and the other classes of the component,
/// and the reference utility object when no utility object is registered yet.
BRELVANE_API void registerBrelvane(ObjectFactory& factory);

}  // namespace brelvane
