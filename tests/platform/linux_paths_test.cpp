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
        for (const auto& [name, value] : m_saved) {
            if (value) {
                ::setenv(name.c_str(), value->c_str(), 1);
            } else {
                ::unsetenv(name.c_str());
            }
        }
    }
    void set(const std::string& name, const char* value) {
        if (!m_saved.contains(name)) {
            const char* old = std::getenv(name.c_str());
            m_saved[name] = old ? std::optional<std::string>(old) : std::nullopt;
        }
        if (value) {
            ::setenv(name.c_str(), value, 1);
        } else {
            ::unsetenv(name.c_str());
        }
    }

private:
    std::map<std::string, std::optional<std::string>> m_saved;
};

TEST(LinuxPaths, ApplicationSupportFollowsXdgThenHome) {
    Environment env;
    env.set("HOME", "/home/clinician");
    env.set("XDG_DATA_HOME", "/srv/data");
    EXPECT_EQ(paths::applicationSupportDirectory(), "/srv/data");

    env.set("XDG_DATA_HOME", "relative/data");
    EXPECT_EQ(paths::applicationSupportDirectory(), "/home/clinician/.local/share");
    env.set("XDG_DATA_HOME", "");
    EXPECT_EQ(paths::applicationSupportDirectory(), "/home/clinician/.local/share");
    env.set("XDG_DATA_HOME", nullptr);
    EXPECT_EQ(paths::applicationSupportDirectory(), "/home/clinician/.local/share");

    const passwd* user = ::getpwuid(::getuid());
    ASSERT_NE(user, nullptr);
    env.set("HOME", nullptr);
    EXPECT_EQ(paths::applicationSupportDirectory(), std::filesystem::path(user->pw_dir) / ".local" / "share");
}

TEST(LinuxPaths, TemporaryPrefersRuntimeThenTmpdirThenTmp) {
    Environment env;
    env.set("XDG_RUNTIME_DIR", "/run/user/1000");
    env.set("TMPDIR", "/var/tmp");
    EXPECT_EQ(paths::temporaryDirectory(), "/run/user/1000");
    env.set("XDG_RUNTIME_DIR", "run/relative");
    EXPECT_EQ(paths::temporaryDirectory(), "/var/tmp");
    env.set("XDG_RUNTIME_DIR", nullptr);
    EXPECT_EQ(paths::temporaryDirectory(), "/var/tmp");
    env.set("TMPDIR", nullptr);
    EXPECT_EQ(paths::temporaryDirectory(), "/tmp");
}

}  // namespace
}  // namespace corvale
