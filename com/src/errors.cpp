#include "errors.h"

#include "text.h"

namespace brelvane::com {

HRESULT hresultOf(const AutomationError& error) {
  if (error.number < 0) return static_cast<HRESULT>(error.number);
  return MAKE_HRESULT(SEVERITY_ERROR, FACILITY_CONTROL, error.number & 0xFFFF);
}

HRESULT raiseToCaller(const AutomationError& error, EXCEPINFO* info, const GUID& iid) {
  // The thread's error object first, for clients that ask ISupportErrorInfo.
  ICreateErrorInfo* create = nullptr;
  if (SUCCEEDED(CreateErrorInfo(&create))) {
    std::wstring source = widen(error.source), description = widen(error.description);
    create->SetGUID(iid);
    create->SetSource(source.data());
    create->SetDescription(description.data());
    IErrorInfo* errorInfo = nullptr;
    if (SUCCEEDED(create->QueryInterface(IID_IErrorInfo, reinterpret_cast<void**>(&errorInfo)))) {
      SetErrorInfo(0, errorInfo);
      errorInfo->Release();
    }
    create->Release();
  }
  if (!info) return hresultOf(error);
  *info = EXCEPINFO{};
  // scode, not wCode: script engines read the number from scode.
  info->scode = hresultOf(error);
  info->bstrSource = SysAllocString(widen(error.source).c_str());
  info->bstrDescription = SysAllocString(widen(error.description).c_str());
  return DISP_E_EXCEPTION;
}

AutomationError errorFromCall(HRESULT hr, EXCEPINFO& info) {
  if (hr != DISP_E_EXCEPTION) return AutomationError(static_cast<int32_t>(hr), "", "");
  if (info.pfnDeferredFillIn) info.pfnDeferredFillIn(&info);
  HRESULT code = info.scode   ? info.scode
                 : info.wCode ? MAKE_HRESULT(SEVERITY_ERROR, FACILITY_CONTROL, info.wCode)
                              : E_FAIL;
  int32_t number =
      HRESULT_FACILITY(code) == FACILITY_CONTROL ? HRESULT_CODE(code) : static_cast<int32_t>(code);
  AutomationError error(number, fromBstr(info.bstrSource), fromBstr(info.bstrDescription));
  SysFreeString(info.bstrSource);
  SysFreeString(info.bstrDescription);
  SysFreeString(info.bstrHelpFile);
  info = EXCEPINFO{};
  return error;
}

}  // namespace brelvane::com
