#pragma once
// `corvale` with no command opens the desktop app, which is a program of its
// own beside this one, so the command line never links the window toolkit.

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace corvale {

inline constexpr std::string_view kDesktopAppName = "corvale-app";

// Where the app lies relative to this program: beside it once installed, or
// in the build tree's app folder.
std::optional<std::filesystem::path> findDesktopApp(const std::filesystem::path& self);

// Replaces this process with the app. Returns only when it cannot, having said why on standard error.
int openDesktopApp();

// Starts the app on its own, opened on `link`, and returns at once; the app
// outlives this program. Says on standard error when it cannot.
void startDesktopApp(const std::string& link);

}  // namespace corvale
