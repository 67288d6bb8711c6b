#include "cli/Commands.h"

#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

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

}  // namespace

std::optional<std::string> promptOnTerminal(std::string_view prompt) {
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
    termios quiet = saved;
    quiet.c_lflag &= ~static_cast<tcflag_t>(ECHO);
    writeAll(fd, prompt);
    ::tcsetattr(fd, TCSAFLUSH, &quiet);

    std::string line;
    char c = 0;
    bool gotAny = false;
    while (::read(fd, &c, 1) == 1) {
        gotAny = true;
        if (c == '\n') {
            break;
        }
        line.push_back(c);
    }
    ::tcsetattr(fd, TCSAFLUSH, &saved);
    // Echo was off, so the user's Enter left the cursor on the prompt line.
    writeAll(fd, "\n");
    ::close(fd);
    if (!gotAny) {
        return std::nullopt;
    }
    return line;
}

}  // namespace corvale
