#pragma once
// Runs `corvale remind` while the window is closed: a systemd user timer,
// hourly through the day and at login, catching up on a missed run; where no
// systemd user session answers, an XDG autostart entry that reminds at login.

#include "platform/FileSystem.h"
#include "platform/Result.h"

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace corvale {

class ReminderTimer {
public:
    // Runs a program found on PATH with its arguments; true when it exits 0.
    using CommandRunner = std::function<bool(const std::vector<std::string>& command)>;
    enum class Kind { none, systemd, autostart };

    static constexpr std::string_view kUnitName = "corvale-remind";

    // `configDirectory` is the user's ($XDG_CONFIG_HOME or ~/.config).
    ReminderTimer(FileSystem& files, std::filesystem::path configDirectory, CommandRunner run);

    Kind installed();
    // `program` is the corvale command to run. Replaces whatever was there.
    Result<Kind, FileError> install(const std::filesystem::path& program);
    // Removing what is not there succeeds.
    Result<void, FileError> remove();

    // Runs commands with posix_spawnp and waits for them.
    static CommandRunner systemRunner();

private:
    std::filesystem::path unitFolder() const;
    std::filesystem::path autostartFile() const;

    FileSystem& m_files;
    std::filesystem::path m_config;
    CommandRunner m_run;
};

}  // namespace corvale
