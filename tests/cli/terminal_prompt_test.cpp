// The no-echo prompt on a real pseudo-terminal: echo is off while it waits and
// back on afterwards, even when the user gives up with Ctrl-C.

#include <gtest/gtest.h>

#include <poll.h>
#include <pty.h>
#include <signal.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <chrono>
#include <string>

namespace {

struct Child {
    pid_t pid = -1;
    int terminal = -1;
};

Child startOnTerminal() {
    Child child;
    child.pid = ::forkpty(&child.terminal, nullptr, nullptr, nullptr);
    if (child.pid == 0) {
        ::execl(CORVALE_PROMPT_CHILD, CORVALE_PROMPT_CHILD, static_cast<char*>(nullptr));
        ::_exit(127);
    }
    return child;
}

// Reads what the child writes until `wanted` shows up or five seconds pass.
std::string readUntil(int fd, const std::string& wanted) {
    std::string seen;
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    while (seen.find(wanted) == std::string::npos && std::chrono::steady_clock::now() < deadline) {
        pollfd ready{fd, POLLIN, 0};
        if (::poll(&ready, 1, 100) <= 0) continue;
        char buffer[256];
        const ssize_t got = ::read(fd, buffer, sizeof buffer);
        if (got <= 0) break;
        seen.append(buffer, static_cast<std::size_t>(got));
    }
    return seen;
}

bool echoOn(int fd) {
    termios now{};
    EXPECT_EQ(::tcgetattr(fd, &now), 0);
    return (now.c_lflag & ECHO) != 0;
}

// Echo goes off only after the prompt is written, so wait for both.
void waitForQuietPrompt(int fd) {
    ASSERT_NE(readUntil(fd, "Passphrase: ").find("Passphrase: "), std::string::npos);
    for (int i = 0; i < 50 && echoOn(fd); ++i) ::usleep(20'000);
    ASSERT_FALSE(echoOn(fd));
}

TEST(TerminalPrompt, EchoIsOffWhileAskingAndBackAfterAnAnswerOrAnInterrupt) {
    {
        Child child = startOnTerminal();
        ASSERT_GT(child.pid, 0);
        waitForQuietPrompt(child.terminal);
        ASSERT_EQ(::write(child.terminal, "s3cret words\n", 13), 13);
        const std::string printed = readUntil(child.terminal, "]");
        EXPECT_NE(printed.find("[s3cret words]"), std::string::npos) << printed;
        EXPECT_EQ(printed.find("s3cret words\r\n"), std::string::npos) << "the answer was echoed: " << printed;
        int status = 0;
        ASSERT_EQ(::waitpid(child.pid, &status, 0), child.pid);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
        EXPECT_TRUE(echoOn(child.terminal));
        ::close(child.terminal);
    }
    {
        Child child = startOnTerminal();
        ASSERT_GT(child.pid, 0);
        waitForQuietPrompt(child.terminal);
        termios settings{};
        ASSERT_EQ(::tcgetattr(child.terminal, &settings), 0);
        const char interrupt = static_cast<char>(settings.c_cc[VINTR]);  // Ctrl-C
        ASSERT_EQ(::write(child.terminal, &interrupt, 1), 1);
        int status = 0;
        ASSERT_EQ(::waitpid(child.pid, &status, 0), child.pid);
        // The interrupt still ends the program the way it always does.
        EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGINT) << status;
        EXPECT_TRUE(echoOn(child.terminal));
        ::close(child.terminal);
    }
}

}  // namespace
