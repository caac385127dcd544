// The DLL's entry points for the platform: the class objects and the unload
// check. Registration lives in registration.cpp.
#include "class_factory.h"
#include "module.h"

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
