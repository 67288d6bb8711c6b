#include "cli/DesktopApp.h"

#include <spawn.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <iostream>
#include <string>
#include <system_error>

namespace corvale {

std::optional<std::filesystem::path> findDesktopApp(const std::filesystem::path& self) {
    const auto folder = self.parent_path();
    for (const auto& candidate : {folder / kDesktopAppName, folder.parent_path() / "app" / kDesktopAppName}) {
        std::error_code error;
        if (std::filesystem::is_regular_file(candidate, error) && ::access(candidate.c_str(), X_OK) == 0)
            return candidate;
    }
    return std::nullopt;
}

namespace {

std::optional<std::filesystem::path> desktopAppBesideThisProgram() {
    std::error_code error;
    const auto self = std::filesystem::read_symlink("/proc/self/exe", error);
    return error ? std::nullopt : findDesktopApp(self);
}

}  // namespace

int openDesktopApp() {
    const auto app = desktopAppBesideThisProgram();
    if (!app) {
        std::cerr << "The desktop app isn't installed beside this program. Build it with scripts/run-app.sh, "
                     "or give a command: corvale --help\n";
        return 1;
    }
    const std::string path = app->string();
    char* const arguments[] = {const_cast<char*>(path.c_str()), nullptr};
    ::execv(path.c_str(), arguments);
    std::cerr << "Couldn't start " << path << ": " << std::strerror(errno) << "\n";
    return 1;
}

void startDesktopApp(const std::string& link) {
    const auto app = desktopAppBesideThisProgram();
    if (!app) {
        std::cerr << "The desktop app isn't installed beside this program, so " << link << " can't be opened.\n";
        return;
    }
    const std::string path = app->string();
    char* const arguments[] = {const_cast<char*>(path.c_str()), const_cast<char*>(link.c_str()), nullptr};
    // Its own session, so the app stays when this program or its service ends.
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSID);
    pid_t child = 0;
    const int failed = ::posix_spawn(&child, path.c_str(), nullptr, &attributes, arguments, environ);
    posix_spawnattr_destroy(&attributes);
    if (failed != 0) std::cerr << "Couldn't start " << path << ": " << std::strerror(failed) << "\n";
}

}  // namespace corvale
