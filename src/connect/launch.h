#pragma once
// The launch table of CLSCI_CONNECT and what it shares with the closing
// calls: each launch method is one row, registered from the row.

#include <functional>
#include <initializer_list>
#include <memory>
#include <span>
#include <string_view>

#include "automation/class_builder.h"
#include "brelvane/connect/clsci_connect.h"
#include "compose/host_access.h"

namespace brelvane::connect {

using Builder = ClassBuilder<CLSCI_CONNECT>;

/// The sibling component that runs a program.
enum class Component {
  BySetting,  ///< Tormesk when the installation setting is 2, else Quillane
  Tormesk,    ///< the PS programs
  Quillane,   ///< all the others
};

/// What becomes of the launcher once its method has returned.
enum class After {
  Keep,            ///< stays linked, so that later events arrive
  Detach,          ///< unlinked, terminated and let go
  EndCorrelation,  ///< its Correlazione and ConnectField cleared, terminated
};

/// The arguments a launch method takes and hands on to the launcher.
enum class Arguments {
  None,
  Modale,         ///< Optional Modale As Boolean = False, by reference both ways
  CodiceCausale,  ///< Optional fvarCodiceCausale As Variant = ""
};

struct Launch {
  std::string_view name;                            ///< the public method
  Component component;                              ///< where a new launcher comes from
  std::initializer_list<std::string_view> context;  ///< properties handed on, in order
  After after = After::Keep;
  std::string_view call = {};  ///< the launcher's method; "" for the same name
  bool handsConnectField = true;
  bool createsLauncher = true;  ///< false: works on the launcher already made
  Arguments arguments = Arguments::None;
  std::string_view doc = {};
};

/// Registers one method per row. Every context property a row names must
/// already be registered: a row naming another one is a programming error
/// and raises std::logic_error here, not a silent False at call time.
void registerLaunches(Builder& b, std::span<const Launch> rows);
/// The rows of the component's programs.
std::span<const Launch> launchTable();

/// The four statements that end a launcher's link to the object, each
/// handed to `run` (which runs it trapped, or ignoring its errors).
template <class Run>
void unlinkSteps(const std::shared_ptr<Dispatch>& launcher, Run&& run) {
  run([&] { required(launcher).putRef("ConnectField", Variant::nothing()); });
  run([&] { required(launcher).putRef("ActiveInterface", Variant::nothing()); });
  run([&] { required(launcher).putRef("Plookup", Variant::nothing()); });
  run([&] { required(launcher).invoke("Terminate", {}); });
}

}  // namespace brelvane::connect
