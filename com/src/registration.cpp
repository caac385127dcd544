// Registration of the server (placeholder until the registry writer lands).
#include <windows.h>

extern "C" HRESULT WINAPI DllRegisterServer() {
  return E_NOTIMPL;
}
extern "C" HRESULT WINAPI DllUnregisterServer() {
  return E_NOTIMPL;
}
extern "C" HRESULT WINAPI DllInstall(BOOL, LPCWSTR) {
  return E_NOTIMPL;
}
