#pragma once
// What every COM object of the module shares: a reference count that
// deletes the object at its last Release, and a place among the module's
// live objects from construction to destruction (DllCanUnloadNow).

#include <windows.h>

#include <unknwn.h>

#include <atomic>

#include "module.h"

namespace brelvane::com {

template <class... Interfaces>
class ComObject : public Interfaces... {
 public:
  ComObject() { objectCreated(); }
  ComObject(const ComObject&) = delete;
  ComObject& operator=(const ComObject&) = delete;
  virtual ~ComObject() { objectDestroyed(); }

  ULONG STDMETHODCALLTYPE AddRef() override { return ++refs_; }
  ULONG STDMETHODCALLTYPE Release() override {
    const ULONG left = --refs_;
    if (left == 0) delete this;
    return left;
  }

 protected:
  /// QueryInterface's answer: `object` with a reference added, or
  /// E_NOINTERFACE when it is null.
  HRESULT answer(void* object, void** out) {
    if (!out) return E_POINTER;
    *out = object;
    if (!object) return E_NOINTERFACE;
    AddRef();
    return S_OK;
  }

 private:
  std::atomic<ULONG> refs_{1};
};

}  // namespace brelvane::com
