// The state of the server module, shared by every object it creates.
#include "module.h"

#include <atomic>

#include "adapters.h"
#include "brelvane/brelvane.h"
#include "settings.h"
#include "text.h"

namespace brelvane::com {

namespace {
HINSTANCE instance = nullptr;
std::atomic<long> objects{0}, locks{0};
}  // namespace

HINSTANCE moduleInstance() {
  return instance;
}
void setModuleInstance(HINSTANCE module) {
  instance = module;
}

ObjectFactory& factory() {
  static ObjectFactory instance = [] {
    ObjectFactory f;
    // The host library's utility object where the platform knows it; the
    // built-in reference utility otherwise.
    f.add(std::string(kUtilityProgId), [](ObjectFactory&) -> std::shared_ptr<Dispatch> {
      if (auto utility = createPlatformUtility()) return utility;
      return std::make_shared<ReferenceUtility>();
    });
    registerBrelvane(f);
    registerSettings(f);
    // Everything else, the sibling launchers among them, the platform creates.
    f.setFallback(createPlatformObject);
    // The errors that lookups and decoders swallow go to the debugger's
    // output, the one place a host developer can see them without changing
    // what the classes return.
    setDiagnosticsHook([](const SwallowedError& e) {
      std::string line = "Brelvane: swallowed error " + std::to_string(e.number) + " (" + e.source +
                         "): " + e.description + "\n";
      OutputDebugStringW(widen(line).c_str());
    });
    return f;
  }();
  return instance;
}

void objectCreated() {
  ++objects;
}
void objectDestroyed() {
  --objects;
}
void lockServer(bool lock) {
  lock ? ++locks : --locks;
}
long liveObjects() {
  return objects;
}
long serverLocks() {
  return locks;
}

}  // namespace brelvane::com
