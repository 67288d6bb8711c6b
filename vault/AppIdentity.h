#pragma once

#include <string_view>

namespace corvale {

// The app's reverse-DNS identifier. Keychain services extend it with a suffix
// (".vault", ".chatgpt"), so it lives in one place.
inline constexpr std::string_view kAppIdentifier = "com.corvale.Corvale";

}  // namespace corvale
