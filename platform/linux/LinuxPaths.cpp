#include "platform/Paths.h"

#include <pwd.h>
#include <unistd.h>

#include <cstdlib>
#include <string>
#include <vector>

namespace corvale::paths {

namespace {

// Relative values are ignored, as the XDG rules require.
std::filesystem::path absoluteFromEnvironment(const char* name) {
    const char* value = std::getenv(name);
    if (value == nullptr || value[0] != '/') {
        return {};
    }
    return value;
}

std::filesystem::path homeDirectory() {
    if (auto home = absoluteFromEnvironment("HOME"); !home.empty()) {
        return home;
    }
    const long suggested = ::sysconf(_SC_GETPW_R_SIZE_MAX);
    std::vector<char> buffer(suggested > 0 ? static_cast<std::size_t>(suggested) : 16384);
    passwd entry{};
    passwd* found = nullptr;
    if (::getpwuid_r(::getuid(), &entry, buffer.data(), buffer.size(), &found) == 0 && found != nullptr &&
        found->pw_dir != nullptr && found->pw_dir[0] == '/') {
        return found->pw_dir;
    }
    return "/";
}

}  // namespace

std::filesystem::path applicationSupportDirectory() {
    if (auto data = absoluteFromEnvironment("XDG_DATA_HOME"); !data.empty()) {
        return data;
    }
    return homeDirectory() / ".local" / "share";
}

std::filesystem::path configurationDirectory() {
    if (auto config = absoluteFromEnvironment("XDG_CONFIG_HOME"); !config.empty()) {
        return config;
    }
    return homeDirectory() / ".config";
}

std::filesystem::path temporaryDirectory() {
    if (auto runtime = absoluteFromEnvironment("XDG_RUNTIME_DIR"); !runtime.empty()) {
        return runtime;
    }
    if (auto temporary = absoluteFromEnvironment("TMPDIR"); !temporary.empty()) {
        return temporary;
    }
    return "/tmp";
}

}  // namespace corvale::paths

namespace corvale::paths {

std::vector<std::filesystem::path> resourceDirectories() {
    std::error_code error;
    const auto executable = std::filesystem::read_symlink("/proc/self/exe", error);
    if (error) return {};
    const auto folder = executable.parent_path();
    return {folder / "resources", folder.parent_path() / "resources", folder.parent_path() / "share" / "corvale"};
}

}  // namespace corvale::paths
