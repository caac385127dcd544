#include "class_factory.h"

#include "com_object.h"
#include "errors.h"
#include "module.h"
#include "server_object.h"

namespace brelvane::com {

namespace {

/// The class object of one creatable class. It counts as a live object of
/// the module while a client holds it.
class ClassObject final : public ComObject<IClassFactory> {
 public:
  explicit ClassObject(const ClassIdentity& identity) : identity_(identity) {}

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** out) override {
    const bool known = IsEqualGUID(iid, IID_IUnknown) || IsEqualGUID(iid, IID_IClassFactory);
    return answer(known ? static_cast<IClassFactory*>(this) : nullptr, out);
  }

  HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID iid, void** out) override {
    if (!out) return E_POINTER;
    *out = nullptr;
    if (outer) return CLASS_E_NOAGGREGATION;
    return guarded(
        [&]() -> HRESULT {
          IDispatch* object = exposeObject(factory().create(identity_.progId), &identity_);
          HRESULT hr = object->QueryInterface(iid, out);
          object->Release();
          return hr;
        },
        nullptr, identity_.iid);
  }
  HRESULT STDMETHODCALLTYPE LockServer(BOOL lock) override {
    lockServer(lock != FALSE);
    return S_OK;
  }

 private:
  const ClassIdentity& identity_;
};

}  // namespace

HRESULT getClassObject(REFCLSID clsid, REFIID iid, void** out) {
  if (!out) return E_POINTER;
  *out = nullptr;
  const ClassIdentity* identity = classByClsid(clsid);
  if (!identity) return CLASS_E_CLASSNOTAVAILABLE;
  auto* object = new (std::nothrow) ClassObject(*identity);
  if (!object) return E_OUTOFMEMORY;
  HRESULT hr = object->QueryInterface(iid, out);
  object->Release();
  return hr;
}

}  // namespace brelvane::com
