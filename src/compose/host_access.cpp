#include "compose/host_access.h"

#include <algorithm>

#include "compose/guard.h"
#include "compose/sql_values.h"

namespace brelvane {

std::shared_ptr<UtilityObject> createUtility(ObjectFactory& factory) noexcept {
  std::shared_ptr<UtilityObject> utility;
  ignoringErrors([&] {
    utility = factory.createAs<UtilityObject>(kUtilityProgId);
    required(utility).Initialise();
  });
  return utility;
}

void releaseUtility(std::shared_ptr<UtilityObject>& utility) noexcept {
  if (utility) ignoringErrors([&] { utility->Release(); });
  utility.reset();
}

UtilityObject& HostAccess::utility() const {
  if (!utility_) raiseObjectNotSet();
  return *utility_;
}

void raiseObjectNotSet() {
  throw AutomationError::of(err::kObjectNotSet);
}

namespace {
/// Captions and labels take no arguments: one empty array serves them all.
const SafeArray kNoArguments;
}  // namespace

std::string HostAccess::message(int32_t id) const {
  auto context = contextPtr();
  auto messages = required(context).Messages();
  return required(messages).GetMessageText(id, kNoArguments);
}

std::string HostAccess::label(int32_t id) const {
  std::string text = message(id);
  auto context = contextPtr();
  auto messages = required(context).Messages();
  return required(messages).PrepareSqlText(text);
}

Variant HostAccess::companyCode() const {
  auto context = contextPtr();
  auto company = required(context).Company();
  Variant code = required(company).Code();
  return utility().ValueOrDefault(code, Variant(int32_t{0}));
}

std::string HostAccess::companyCodeText() const {
  return checkedNumber(concatText(companyCode()), hardened_);
}

bool HostAccess::companyModeIs2() const {
  auto context = contextPtr();
  auto company = required(context).Company();
  auto settings = required(company).Settings();
  Variant mode = required(settings).CompanyMode();
  return equals(utility().ValueOrDefault(mode, Variant("")), 2);
}

Variant HostAccess::languageCode() const {
  auto context = contextPtr();
  auto company = required(context).Company();
  return required(company).LanguageCode();
}

Variant HostAccess::installationSetting() const {
  return host().InstallationSetting();
}

SafeArray& reusedArray(Variant& target, std::initializer_list<Bound> bounds) {
  if (!target.isArray()) target = Variant(SafeArray());
  SafeArray& array = target.array();
  array.reshape(bounds);
  return array;
}

namespace {
/// Writes an Arr_Fields array of `n` captions, `captionAt(i)` the i-th.
template <class CaptionAt>
void writeFields(Variant& target, size_t n, CaptionAt&& captionAt) {
  SafeArray& array = reusedArray(target, {Bound{0, 1}, Bound{0, static_cast<int32_t>(n) - 1}});
  const std::span<Variant> elements = array.elements();
  for (size_t i = 0; i < n; ++i) {
    elements[i].setText(captionAt(i));
    elements[n + i].setText({});
  }
}
}  // namespace

void setFields(Variant& target, std::span<const std::string_view> captions) {
  writeFields(target, captions.size(), [&](size_t i) { return captions[i]; });
}

void setFieldsSplit(Variant& target, std::string_view captions, char separator) {
  const auto n = static_cast<size_t>(std::count(captions.begin(), captions.end(), separator)) + 1;
  writeFields(target, n, [&](size_t) {
    const std::string_view caption = captions.substr(0, captions.find(separator));
    captions.remove_prefix(std::min(caption.size() + 1, captions.size()));
    return caption;
  });
}

}  // namespace brelvane
