// The DLL's entry points for the platform: the class objects and the unload
// check. Registration lives in registration.cpp.
#include "module.h"

#include <atomic>

#include "brelvane/brelvane.h"
#include "class_factory.h"

namespace brelvane::com {

namespace {
HINSTANCE instance = nullptr;
std::atomic<long> objects{0}, locks{0};
}  // namespace

HINSTANCE moduleInstance() { return instance; }
void setModuleInstance(HINSTANCE module) { instance = module; }

void objectCreated() { ++objects; }
void objectDestroyed() { --objects; }
void lockServer(bool lock) { lock ? ++locks : --locks; }
long liveObjects() { return objects; }
long serverLocks() { return locks; }

}  // namespace brelvane::com

extern "C" BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, LPVOID) {
  if (reason == DLL_PROCESS_ATTACH) {
    brelvane::com::setModuleInstance(module);
    DisableThreadLibraryCalls(module);
  }
  return TRUE;
}

extern "C" HRESULT WINAPI DllGetClassObject(REFCLSID clsid, REFIID iid, void** out) {
  return brelvane::com::getClassObject(clsid, iid, out);
}

extern "C" HRESULT WINAPI DllCanUnloadNow() {
  using namespace brelvane::com;
  return liveObjects() == 0 && serverLocks() == 0 ? S_OK : S_FALSE;
}
