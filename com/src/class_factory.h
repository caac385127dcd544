#pragma once
// The class objects of the three creatable classes.

#include <windows.h>

namespace brelvane::com {

/// DllGetClassObject: the class object of one of our class identifiers.
HRESULT getClassObject(REFCLSID clsid, REFIID iid, void** out);

}  // namespace brelvane::com
