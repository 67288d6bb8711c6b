#include "cli/DesktopApp.h"

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

int openDesktopApp() {
    std::error_code error;
    const auto self = std::filesystem::read_symlink("/proc/self/exe", error);
    const auto app = error ? std::nullopt : findDesktopApp(self);
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

}  // namespace corvale
