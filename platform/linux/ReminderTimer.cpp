#include "platform/ReminderTimer.h"

#include <spawn.h>
#include <sys/wait.h>

#include <cerrno>

extern char** environ;

namespace corvale {
namespace {

// Quoted for both a systemd Exec line and a desktop entry's Exec key.
std::string quoted(const std::filesystem::path& program) {
    std::string text = "\"";
    for (const char c : program.string()) {
        if (c == '"' || c == '\\' || c == '`' || c == '$') text += '\\';
        text += c;
    }
    return text + "\"";
}

}  // namespace

ReminderTimer::ReminderTimer(FileSystem& files, std::filesystem::path configDirectory, CommandRunner run)
    : m_files(files), m_config(std::move(configDirectory)), m_run(std::move(run)) {}

std::filesystem::path ReminderTimer::unitFolder() const { return m_config / "systemd" / "user"; }

std::filesystem::path ReminderTimer::autostartFile() const {
    return m_config / "autostart" / (std::string(kUnitName) + ".desktop");
}

ReminderTimer::Kind ReminderTimer::installed() {
    if (m_files.exists(unitFolder() / (std::string(kUnitName) + ".timer"))) return Kind::systemd;
    if (m_files.exists(autostartFile())) return Kind::autostart;
    return Kind::none;
}

Result<ReminderTimer::Kind, FileError> ReminderTimer::install(const std::filesystem::path& program) {
    if (auto cleared = remove(); !cleared) return fail(cleared.error());
    const std::string unit(kUnitName);
    // It stays a while after sending, so a click on a reminder can open the app on it.
    const std::string service = "[Unit]\nDescription=Corvale reminders\n\n[Service]\nType=oneshot\nExecStart=" +
                                quoted(program) + " remind --stay 50\n";
    // Each hour of the day, so the weekly review keeps its hour, and soon after login;
    // Persistent catches up on a run the computer was off for. Each reminder still goes out once.
    const std::string timer =
        "[Unit]\nDescription=Corvale reminders\n\n[Timer]\nOnCalendar=*-*-* 08..22:00:00\n"
        "OnStartupSec=2min\nPersistent=true\n\n[Install]\nWantedBy=timers.target\n";
    if (auto made = m_files.createDirectories(unitFolder()); !made) return fail(made.error());
    if (auto written = m_files.replaceFileAtomically(unitFolder() / (unit + ".service"), asBytes(service)); !written)
        return fail(written.error());
    if (auto written = m_files.replaceFileAtomically(unitFolder() / (unit + ".timer"), asBytes(timer)); !written)
        return fail(written.error());
    if (m_run({"systemctl", "--user", "daemon-reload"}) &&
        m_run({"systemctl", "--user", "enable", "--now", unit + ".timer"}))
        return Kind::systemd;

    // No systemd user session: remind at each login instead.
    (void)m_files.removeFile(unitFolder() / (unit + ".service"));
    (void)m_files.removeFile(unitFolder() / (unit + ".timer"));
    const std::string entry = "[Desktop Entry]\nType=Application\nName=Corvale reminders\nExec=" + quoted(program) +
                              " remind --stay 50\nNoDisplay=true\nX-GNOME-Autostart-enabled=true\n";
    if (auto made = m_files.createDirectories(autostartFile().parent_path()); !made) return fail(made.error());
    if (auto written = m_files.replaceFileAtomically(autostartFile(), asBytes(entry)); !written)
        return fail(written.error());
    return Kind::autostart;
}

Result<void, FileError> ReminderTimer::remove() {
    const std::string unit(kUnitName);
    const auto timer = unitFolder() / (unit + ".timer");
    if (m_files.exists(timer)) {
        (void)m_run({"systemctl", "--user", "disable", "--now", unit + ".timer"});
        for (const auto& file : {timer, unitFolder() / (unit + ".service")})
            if (m_files.exists(file))
                if (auto removed = m_files.removeFile(file); !removed) return fail(removed.error());
        (void)m_run({"systemctl", "--user", "daemon-reload"});
    }
    if (m_files.exists(autostartFile()))
        if (auto removed = m_files.removeFile(autostartFile()); !removed) return fail(removed.error());
    return {};
}

ReminderTimer::CommandRunner ReminderTimer::systemRunner() {
    return [](const std::vector<std::string>& command) {
        std::vector<char*> argv;
        for (const auto& part : command) argv.push_back(const_cast<char*>(part.c_str()));
        argv.push_back(nullptr);
        pid_t child = 0;
        if (::posix_spawnp(&child, argv[0], nullptr, nullptr, argv.data(), environ) != 0) return false;
        int status = 0;
        while (::waitpid(child, &status, 0) < 0)
            if (errno != EINTR) return false;
        return WIFEXITED(status) && WEXITSTATUS(status) == 0;
    };
}

}  // namespace corvale
