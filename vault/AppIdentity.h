#pragma once

#include <string_view>

namespace corvale {

// The app's reverse-DNS identifier. Keychain services extend it with a suffix
// (".vault", ".chatgpt"), so it lives in one place.
inline constexpr std::string_view kAppIdentifier = "com.corvale.Corvale";

}  // namespace corvale

namespace corvale {

// What an older installation of the app was called: its identifier, its
// application-support folder and its preferences folder.
inline constexpr std::string_view kOlderAppIdentifier = "com.pembrose.Pembrose";
inline constexpr std::string_view kOlderFolderName = "Pembrose";
inline constexpr std::string_view kFolderName = "Corvale";

}  // namespace corvale
