#include "platform/ReminderTimer.h"
#include "platform/memory/InMemoryFileSystem.h"

#include <gtest/gtest.h>


namespace corvale {
namespace {

struct Desktop {
    InMemoryFileSystem files;
    std::vector<std::vector<std::string>> ran;
    bool systemdAnswers = true;
    ReminderTimer timer{files, "/home/ana/.config", [this](const std::vector<std::string>& command) {
                            ran.push_back(command);
                            return systemdAnswers;
                        }};

    std::string read(const std::filesystem::path& path) {
        auto bytes = files.readFile(path);
        return bytes ? std::string(asText(*bytes)) : std::string();
    }
};

const std::filesystem::path kUnits = "/home/ana/.config/systemd/user";
const std::filesystem::path kAutostart = "/home/ana/.config/autostart/corvale-remind.desktop";

TEST(ReminderTimer, AUserTimerWhereSystemdAnswersAndALoginEntryWhereItDoesNot) {
    Desktop desktop;
    EXPECT_EQ(desktop.timer.installed(), ReminderTimer::Kind::none);
    auto kind = desktop.timer.install("/opt/My Apps/corvale");
    ASSERT_TRUE(kind);
    EXPECT_EQ(*kind, ReminderTimer::Kind::systemd);
    EXPECT_EQ(desktop.read(kUnits / "corvale-remind.service"),
              "[Unit]\nDescription=Corvale reminders\n\n[Service]\nType=oneshot\n"
              "ExecStart=\"/opt/My Apps/corvale\" remind --stay 50\n");
    const std::string timer = desktop.read(kUnits / "corvale-remind.timer");
    for (const char* line : {"OnCalendar=*-*-* 08..22:00:00\n", "Persistent=true\n", "WantedBy=timers.target\n"})
        EXPECT_NE(timer.find(line), std::string::npos) << line;
    EXPECT_EQ(desktop.ran, (std::vector<std::vector<std::string>>{
                               {"systemctl", "--user", "daemon-reload"},
                               {"systemctl", "--user", "enable", "--now", "corvale-remind.timer"}}));
    EXPECT_EQ(desktop.timer.installed(), ReminderTimer::Kind::systemd);

    // Off again: disabled, and nothing of ours left.
    desktop.ran.clear();
    ASSERT_TRUE(desktop.timer.remove());
    EXPECT_EQ(desktop.ran.front(),
              (std::vector<std::string>{"systemctl", "--user", "disable", "--now", "corvale-remind.timer"}));
    EXPECT_FALSE(desktop.files.exists(kUnits / "corvale-remind.timer"));
    EXPECT_FALSE(desktop.files.exists(kUnits / "corvale-remind.service"));
    EXPECT_EQ(desktop.timer.installed(), ReminderTimer::Kind::none);
    EXPECT_TRUE(desktop.timer.remove());  // nothing there is fine

    // No systemd user session: an autostart entry, and no unit files left behind.
    desktop.systemdAnswers = false;
    kind = desktop.timer.install("/usr/bin/corvale");
    ASSERT_TRUE(kind);
    EXPECT_EQ(*kind, ReminderTimer::Kind::autostart);
    EXPECT_FALSE(desktop.files.exists(kUnits / "corvale-remind.timer"));
    EXPECT_NE(desktop.read(kAutostart).find("Exec=\"/usr/bin/corvale\" remind --stay 50\n"), std::string::npos);
    EXPECT_EQ(desktop.timer.installed(), ReminderTimer::Kind::autostart);
    ASSERT_TRUE(desktop.timer.remove());
    EXPECT_FALSE(desktop.files.exists(kAutostart));
}

TEST(ReminderTimer, TheSystemRunnerReportsHowTheProgramEnded) {
    const auto run = ReminderTimer::systemRunner();
    EXPECT_TRUE(run({"true"}));
    EXPECT_FALSE(run({"false"}));
    EXPECT_FALSE(run({"sh", "-c", "exit 3"}));
    EXPECT_FALSE(run({"no-such-program-anywhere"}));
}

}  // namespace
}  // namespace corvale
