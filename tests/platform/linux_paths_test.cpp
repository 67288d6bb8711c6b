#include "platform/Paths.h"

#include <gtest/gtest.h>

#include <pwd.h>
#include <unistd.h>

#include <cstdlib>
#include <map>
#include <optional>
#include <string>

namespace corvale {
namespace {

// Sets or clears variables for one test and restores them afterwards.
class Environment {
public:
    ~Environment() {
        for (const auto& [name, value] : m_saved) assign(name.c_str(), value ? value->c_str() : nullptr);
    }
    void set(const char* name, const char* value) {
        const char* old = std::getenv(name);
        m_saved.try_emplace(name, old ? std::optional<std::string>(old) : std::nullopt);
        assign(name, value);
    }

private:
    static void assign(const char* name, const char* value) { value ? ::setenv(name, value, 1) : ::unsetenv(name); }
    std::map<std::string, std::optional<std::string>> m_saved;
};

TEST(LinuxPaths, AbsoluteXdgFoldersWinOtherwiseFallBack) {
    Environment env;
    env.set("HOME", "/home/clinician");
    const char* const share = "/home/clinician/.local/share";
    const std::pair<const char*, const char*> data[] = {
        {"/srv/data", "/srv/data"}, {"relative/data", share}, {"", share}, {nullptr, share}};
    for (const auto& [value, expected] : data) {
        env.set("XDG_DATA_HOME", value);
        EXPECT_EQ(paths::applicationSupportDirectory(), expected) << (value ? value : "unset");
    }
    const passwd* user = ::getpwuid(::getuid());
    ASSERT_NE(user, nullptr);
    env.set("HOME", nullptr);
    EXPECT_EQ(paths::applicationSupportDirectory(), std::filesystem::path(user->pw_dir) / ".local" / "share");

    const std::tuple<const char*, const char*, const char*> temporary[] = {
        {"/run/user/1000", "/var/tmp", "/run/user/1000"},
        {"run/relative", "/var/tmp", "/var/tmp"},
        {nullptr, "/var/tmp", "/var/tmp"},
        {nullptr, nullptr, "/tmp"}};
    for (const auto& [runtime, tmpdir, expected] : temporary) {
        env.set("XDG_RUNTIME_DIR", runtime);
        env.set("TMPDIR", tmpdir);
        EXPECT_EQ(paths::temporaryDirectory(), expected) << (runtime ? runtime : "unset");
    }
}

}  // namespace
}  // namespace corvale
