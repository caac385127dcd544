#include "variant_conv.h"

#include <limits>
#include <vector>
#include <wrl/client.h>

#include "adapters.h"
#include "server_object.h"
#include "text.h"
#include "vtable_layout.h"

namespace brelvane::com {

namespace {

Date dateOf(DATE value) {
  SYSTEMTIME t{};
  if (!VariantTimeToSystemTime(value, &t)) throw AutomationError::of(err::kOverflow);
  return Date{t.wYear, t.wMonth, t.wDay, t.wHour, t.wMinute, t.wSecond};
}

DATE oleDate(const Date& d) {
  SYSTEMTIME t{};
  t.wYear = static_cast<WORD>(d.year);
  t.wMonth = static_cast<WORD>(d.month);
  t.wDay = static_cast<WORD>(d.day);
  t.wHour = static_cast<WORD>(d.hour);
  t.wMinute = static_cast<WORD>(d.minute);
  t.wSecond = static_cast<WORD>(d.second);
  DATE out = 0;
  if (!SystemTimeToVariantTime(&t, &out)) throw AutomationError::of(err::kOverflow);
  return out;
}

Variant wide(LONGLONG n) {
  if (n >= std::numeric_limits<int32_t>::min() && n <= std::numeric_limits<int32_t>::max())
    return Variant(static_cast<int32_t>(n));
  return Variant(static_cast<double>(n));
}

Variant objectFrom(IUnknown* unknown, std::string_view declaredType) {
  if (!unknown) return Variant::nothing();
  if (auto core = unwrapServerObject(unknown)) return Variant(std::move(core));
  Microsoft::WRL::ComPtr<IDispatch> dispatch;
  if (FAILED(unknown->QueryInterface(IID_IDispatch, &dispatch)))
    throw AutomationError::of(err::kTypeMismatch);
  return Variant(adaptObject(dispatch.Get(), declaredType));
}

/// The position of a flat element (last index fastest) as the platform's
/// index vector, whose first entry is the first dimension.
void indexOf(size_t flat, std::span<const Bound> bounds, std::vector<LONG>& index) {
  for (size_t d = bounds.size(); d-- > 0;) {
    const auto count = bounds[d].count();
    index[d] = static_cast<LONG>(bounds[d].lower + static_cast<int64_t>(flat % count));
    flat /= count;
  }
}

Variant arrayFrom(SAFEARRAY* array, VARTYPE elementType) {
  if (!array) return Variant(SafeArray());
  const UINT dims = SafeArrayGetDim(array);
  std::vector<Bound> bounds(dims);
  for (UINT d = 0; d < dims; ++d) {
    LONG lower = 0, upper = -1;
    SafeArrayGetLBound(array, d + 1, &lower);
    SafeArrayGetUBound(array, d + 1, &upper);
    bounds[d] = Bound{lower, upper};
  }
  SafeArray out(bounds);
  std::vector<LONG> index(dims);
  auto elements = out.elements();
  for (size_t i = 0; i < elements.size(); ++i) {
    indexOf(i, bounds, index);
    void* cell = nullptr;
    if (FAILED(SafeArrayPtrOfIndex(array, index.data(), &cell)))
      throw AutomationError::of(err::kSubscript);
    if (elementType == VT_VARIANT) {
      elements[i] = fromVariant(*static_cast<VARIANT*>(cell));
    } else {
      VARIANT ref{};
      ref.vt = static_cast<VARTYPE>(VT_BYREF | elementType);
      ref.byref = cell;
      elements[i] = fromVariant(ref);
    }
  }
  return Variant(std::move(out));
}

SAFEARRAY* arrayTo(const SafeArray& array) {
  // An array without dimensions (the empty argument list of a message, say)
  // is the platform's empty array, one dimension of no element.
  static constexpr Bound kEmpty[] = {Bound{0, -1}};
  const auto bounds = array.dimensions() ? array.bounds() : std::span<const Bound>(kEmpty);
  std::vector<SAFEARRAYBOUND> platform(bounds.size());
  for (size_t d = 0; d < bounds.size(); ++d)
    platform[d] = SAFEARRAYBOUND{static_cast<ULONG>(bounds[d].count()), bounds[d].lower};
  SAFEARRAY* out = SafeArrayCreate(VT_VARIANT, static_cast<UINT>(platform.size()), platform.data());
  if (!out) throw std::bad_alloc();
  std::vector<LONG> index(bounds.size());
  const auto elements = array.elements();
  for (size_t i = 0; i < elements.size(); ++i) {
    indexOf(i, bounds, index);
    void* cell = nullptr;
    SafeArrayPtrOfIndex(out, index.data(), &cell);
    toVariant(elements[i], *static_cast<VARIANT*>(cell));
  }
  return out;
}

}  // namespace

Variant fromVariant(const VARIANT& value, std::string_view declaredType) {
  const bool byRef = value.vt & VT_BYREF;
  const VARTYPE type = value.vt & ~VT_BYREF;
  auto at = [&](auto byValue, auto byReference) { return byRef ? *byReference : byValue; };
  if (type & VT_ARRAY)
    return arrayFrom(at(value.parray, value.pparray), static_cast<VARTYPE>(type & ~VT_ARRAY));
  switch (type) {
    case VT_EMPTY:
      return Variant();
    case VT_NULL:
      return Variant::null();
    case VT_VARIANT:  // only by reference
      return fromVariant(*value.pvarVal, declaredType);
    case VT_I2:
      return Variant(static_cast<int16_t>(at(value.iVal, value.piVal)));
    case VT_I4:
      return Variant(static_cast<int32_t>(at(value.lVal, value.plVal)));
    case VT_INT:
      return Variant(static_cast<int32_t>(at(value.intVal, value.pintVal)));
    case VT_UI1:
      return Variant(static_cast<int16_t>(at(value.bVal, value.pbVal)));
    case VT_I1:
      return Variant(static_cast<int16_t>(at(value.cVal, value.pcVal)));
    case VT_UI2:
      return Variant(static_cast<int32_t>(at(value.uiVal, value.puiVal)));
    case VT_UI4:
      return wide(at(value.ulVal, value.pulVal));
    case VT_UINT:
      return wide(at(value.uintVal, value.puintVal));
    case VT_I8:
      return wide(at(value.llVal, value.pllVal));
    case VT_UI8: {
      ULONGLONG n = at(value.ullVal, value.pullVal);
      return n <= static_cast<ULONGLONG>(std::numeric_limits<int32_t>::max())
                 ? Variant(static_cast<int32_t>(n))
                 : Variant(static_cast<double>(n));
    }
    case VT_R4:
      return Variant(static_cast<double>(at(value.fltVal, value.pfltVal)));
    case VT_R8:
      return Variant(at(value.dblVal, value.pdblVal));
    case VT_CY: {
      double d = 0;
      VarR8FromCy(at(value.cyVal, value.pcyVal), &d);
      return Variant(d);
    }
    case VT_DECIMAL: {
      double d = 0;
      DECIMAL copy = byRef ? *value.pdecVal : value.decVal;
      VarR8FromDec(&copy, &d);
      return Variant(d);
    }
    case VT_BOOL:
      return Variant(at(value.boolVal, value.pboolVal) != VARIANT_FALSE);
    case VT_DATE:
      return Variant(dateOf(at(value.date, value.pdate)));
    case VT_BSTR:
      return Variant(fromBstr(at(value.bstrVal, value.pbstrVal)));
    case VT_DISPATCH:
      return objectFrom(at(value.pdispVal, value.ppdispVal), declaredType);
    case VT_UNKNOWN:
      return objectFrom(at(value.punkVal, value.ppunkVal), declaredType);
    case VT_ERROR:
      if (at(value.scode, value.pscode) == DISP_E_PARAMNOTFOUND) return Variant::missing();
      break;
    default:
      break;
  }
  throw AutomationError::of(err::kTypeMismatch);
}

void toVariant(const Variant& value, VARIANT& out) {
  VariantInit(&out);
  switch (value.type()) {
    case VarType::Empty:
      return;
    case VarType::Null:
      out.vt = VT_NULL;
      return;
    case VarType::Boolean:
      out.vt = VT_BOOL;
      out.boolVal = value.boolean() ? VARIANT_TRUE : VARIANT_FALSE;
      return;
    case VarType::Integer:
      out.vt = VT_I2;
      out.iVal = toInteger(value);
      return;
    case VarType::Long:
      out.vt = VT_I4;
      out.lVal = toLong(value);
      return;
    case VarType::Double:
      out.vt = VT_R8;
      out.dblVal = value.number();
      return;
    case VarType::Date:
      out.date = oleDate(value.date());
      out.vt = VT_DATE;
      return;
    case VarType::String:
      out.bstrVal = toBstr(value.string());
      out.vt = VT_BSTR;
      return;
    case VarType::Object:
      out.pdispVal = dispatchOf(value.object());
      out.vt = VT_DISPATCH;
      return;
    case VarType::Array:
      out.parray = arrayTo(value.array());
      out.vt = VT_ARRAY | VT_VARIANT;
      return;
    case VarType::Missing:
      out.vt = VT_ERROR;
      out.scode = DISP_E_PARAMNOTFOUND;
      return;
  }
}

bool writeBack(const Variant& value, VARIANT& slot) {
  if (!(slot.vt & VT_BYREF)) return false;
  const VARTYPE type = slot.vt & ~VT_BYREF;
  if (type == VT_VARIANT) {
    VARIANT fresh;
    toVariant(value, fresh);
    VariantClear(slot.pvarVal);
    *slot.pvarVal = fresh;
    return true;
  }
  VARIANT converted;
  toVariant(value, converted);
  if (FAILED(
          VariantChangeTypeEx(&converted, &converted, LOCALE_INVARIANT, VARIANT_ALPHABOOL, type))) {
    VariantClear(&converted);
    return false;
  }
  switch (type) {
    case VT_I2:
      *slot.piVal = converted.iVal;
      return true;
    case VT_I4:
      *slot.plVal = converted.lVal;
      return true;
    case VT_R8:
      *slot.pdblVal = converted.dblVal;
      return true;
    case VT_BOOL:
      *slot.pboolVal = converted.boolVal;
      return true;
    case VT_DATE:
      *slot.pdate = converted.date;
      return true;
    case VT_BSTR:
      SysFreeString(*slot.pbstrVal);
      *slot.pbstrVal = converted.bstrVal;  // the slot takes it over
      return true;
    case VT_DISPATCH:
      if (*slot.ppdispVal) (*slot.ppdispVal)->Release();
      *slot.ppdispVal = converted.pdispVal;
      return true;
    default:
      VariantClear(&converted);
      return false;
  }
}

VARTYPE vartypeOf(ParamType type) {
  return abiTypeOf(type).code;
}
static_assert(VT_BOOL == 11 && VT_I2 == 2 && VT_I4 == 3 && VT_R8 == 5 && VT_BSTR == 8 &&
                  VT_DATE == 7 && VT_DISPATCH == 9 && VT_VARIANT == 12,
              "abiTypeOf's codes are the platform's VARTYPE values");

bool coerceArgument(VARIANT& value, ParamType type) {
  const VARTYPE current = value.vt & ~VT_BYREF;
  if (type == ParamType::Variant) return true;
  if (type == ParamType::Object)
    return current == VT_DISPATCH || current == VT_UNKNOWN || current == VT_EMPTY ||
           (current == VT_ERROR && value.scode == DISP_E_PARAMNOTFOUND);
  const VARTYPE target = vartypeOf(type);
  if (current == target || current == VT_EMPTY || current == VT_NULL || current == VT_ERROR)
    return true;
  return SUCCEEDED(
      VariantChangeTypeEx(&value, &value, LOCALE_INVARIANT, VARIANT_ALPHABOOL, target));
}

}  // namespace brelvane::com
