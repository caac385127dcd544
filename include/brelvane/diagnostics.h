#pragma once
// An optional window on the errors that the classes swallow.
//
// A lookup or decode method never raises: on any error it leaves Str_Sql
// empty and returns normally, as hosts expect. An embedder (or a tool) that
// wants to know *why* may install a hook; it is called with the error each
// time a method swallows one. No hook is installed by default, and the hook
// changes nothing of what the classes compute, return or raise.

#include <cstdint>
#include <functional>
#include <string>

#include "brelvane/export.h"

namespace brelvane {

/// An error that a method caught and did not pass on.
struct BRELVANE_API SwallowedError {
  int32_t number = 0;       ///< automation error number; 0 for any other failure
  std::string source;       ///< the error's source ("" for any other failure)
  std::string description;  ///< the error's description, or what the failure said
};

/// Called on the thread that ran the method, after the outputs were left as
/// the error convention wants them. It must not raise.
using DiagnosticsHook = std::function<void(const SwallowedError&)>;

/// Installs `hook` for the whole process (an empty function removes it) and
/// returns the hook it replaces.
BRELVANE_API DiagnosticsHook setDiagnosticsHook(DiagnosticsHook hook);

}  // namespace brelvane
