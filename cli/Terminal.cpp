#include "cli/Commands.h"

#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <iterator>

namespace corvale {
namespace {

void writeAll(int fd, std::string_view text) {
    while (!text.empty()) {
        const ssize_t written = ::write(fd, text.data(), text.size());
        if (written <= 0) {
            return;
        }
        text.remove_prefix(static_cast<std::size_t>(written));
    }
}

// What a signal handler needs to put the terminal back while echo is off.
// Only one prompt is open at a time, and it is on the main thread.
int g_quietTerminal = -1;
termios g_savedTerminal{};
constexpr int kRestoringSignals[] = {SIGINT, SIGQUIT, SIGTERM, SIGHUP};
struct sigaction g_previous[std::size(kRestoringSignals)]{};

extern "C" void restoreTerminalAndRedeliver(int signal) {
    // Only async-signal-safe calls: put echo back, end the prompt's line, then
    // let the signal do what it did before (usually end the program).
    if (g_quietTerminal >= 0) {
        ::tcsetattr(g_quietTerminal, TCSAFLUSH, &g_savedTerminal);
        (void)!::write(g_quietTerminal, "\n", 1);
    }
    for (std::size_t i = 0; i < std::size(kRestoringSignals); ++i) {
        if (kRestoringSignals[i] == signal) {
            ::sigaction(signal, &g_previous[i], nullptr);
        }
    }
    ::raise(signal);
}

class EchoOff {
public:
    EchoOff(int fd, const termios& saved) {
        g_savedTerminal = saved;
        g_quietTerminal = fd;
        struct sigaction action {};
        action.sa_handler = restoreTerminalAndRedeliver;
        sigemptyset(&action.sa_mask);
        for (std::size_t i = 0; i < std::size(kRestoringSignals); ++i) {
            ::sigaction(kRestoringSignals[i], &action, &g_previous[i]);
        }
        termios quiet = saved;
        quiet.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        ::tcsetattr(fd, TCSAFLUSH, &quiet);
    }
    ~EchoOff() {
        ::tcsetattr(g_quietTerminal, TCSAFLUSH, &g_savedTerminal);
        for (std::size_t i = 0; i < std::size(kRestoringSignals); ++i) {
            ::sigaction(kRestoringSignals[i], &g_previous[i], nullptr);
        }
        g_quietTerminal = -1;
    }
    EchoOff(const EchoOff&) = delete;
    EchoOff& operator=(const EchoOff&) = delete;
};

}  // namespace

std::optional<SecureBytes> readSecretLine(const std::function<bool(char&)>& next) {
    // Grown by copying into a larger wiping buffer, so no byte is left behind in a freed one.
    SecureBytes line(64);
    std::size_t length = 0;
    bool gotAny = false;
    char c = 0;
    while (next(c)) {
        gotAny = true;
        if (c == '\n') {
            break;
        }
        if (length == line.size()) {
            SecureBytes larger(line.size() * 2);
            std::copy(line.data(), line.data() + length, larger.data());
            line = std::move(larger);
        }
        line.data()[length++] = static_cast<std::uint8_t>(c);
    }
    if (!gotAny) {
        return std::nullopt;
    }
    if (length > 0 && line.data()[length - 1] == '\r') {
        --length;
    }
    return SecureBytes(ByteView(line.data(), length));
}

std::optional<SecureBytes> promptOnTerminal(std::string_view prompt) {
    // /dev/tty rather than stdin, so a passphrase is never read from a pipe by accident.
    const int fd = ::open("/dev/tty", O_RDWR | O_NOCTTY | O_CLOEXEC);
    if (fd < 0) {
        return std::nullopt;
    }
    termios saved{};
    if (::tcgetattr(fd, &saved) != 0) {
        ::close(fd);
        return std::nullopt;
    }
    writeAll(fd, prompt);
    std::optional<SecureBytes> line;
    {
        EchoOff quiet(fd, saved);
        line = readSecretLine([fd](char& c) { return ::read(fd, &c, 1) == 1; });
    }
    // Echo was off, so the user's Enter left the cursor on the prompt line.
    writeAll(fd, "\n");
    ::close(fd);
    return line;
}

}  // namespace corvale
