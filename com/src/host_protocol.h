#pragma once
// What a host object handed in through COM must expose, by name. The core's
// host interfaces (brelvane/host/host.h) are reached through these members,
// late-bound, so no type library of the host's is needed:
//
//   ActiveInterface   Context (get)            -> the context object
//                     InstallationSetting (get) -> the module's installation setting
//   context           Messages (get)           -> the message service
//                     Company (get)            -> the current company
//   message service   GetMessageText(id, args, text)   text is an out-parameter
//                     PrepareSqlText(text, result)     result is an out-parameter
//   company           Code, LanguageCode (get), Settings (get) -> the settings
//   settings          CompanyMode (get)
//
// Out-parameters are passed as VT_BYREF|VT_VARIANT; every declared argument
// is passed, which script hosts require. The return values of the two
// message methods are not used.

#include <string_view>

namespace brelvane::com::host {

inline constexpr std::string_view kContext = "Context";
inline constexpr std::string_view kInstallationSetting = "InstallationSetting";
inline constexpr std::string_view kMessages = "Messages";
inline constexpr std::string_view kCompany = "Company";
inline constexpr std::string_view kGetMessageText = "GetMessageText";
inline constexpr std::string_view kPrepareSqlText = "PrepareSqlText";
inline constexpr std::string_view kCode = "Code";
inline constexpr std::string_view kLanguageCode = "LanguageCode";
inline constexpr std::string_view kSettings = "Settings";
inline constexpr std::string_view kCompanyMode = "CompanyMode";

}  // namespace brelvane::com::host
