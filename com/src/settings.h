#pragma once
// Brelvane.Settings: the settings of the server for the whole process, a
// creatable class of its own so that the three classes keep their
// interfaces. Portable: the native generator of the vtable slots reads its
// description too.

#include "brelvane/automation/factory.h"

namespace brelvane::com {

inline constexpr const char* kSettingsProgId = "Brelvane.Settings";

/// Registers Brelvane.Settings in `factory`. Each instance reads and sets
/// the settings of the factory that created it, which in the server is the
/// one every object of the process comes from: Hardened is the factory's
/// hardened mode, taken by each lookup and decoder created after it is set.
void registerSettings(ObjectFactory& factory);

}  // namespace brelvane::com
