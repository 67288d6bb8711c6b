#include "platform/Crypto.h"
#include "platform/ProcessHardening.h"
#include "support/DiskFiles.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

namespace corvale {
namespace {

namespace fs = std::filesystem;

// The first line the child prints, or empty after thirty seconds.
std::string firstLine(int fd) {
    std::string line;
    char c = 0;
    while (line.find('\n') == std::string::npos) {
        pollfd ready{fd, POLLIN, 0};
        if (::poll(&ready, 1, 30'000) <= 0 || ::read(fd, &c, 1) != 1) return {};
        line.push_back(c);
    }
    return line;
}

// The soft and hard core-size limits of a running process, as its /proc entry shows them.
std::string coreLimits(pid_t pid) {
    std::ifstream limits("/proc/" + std::to_string(pid) + "/limits");
    std::string line;
    while (std::getline(limits, line)) {
        if (line.rfind("Max core file size", 0) == 0) {
            std::istringstream words(line.substr(18));
            std::string soft, hard;
            words >> soft >> hard;
            return soft + " " + hard;
        }
    }
    return {};
}

// A program holding an open vault is killed as a crash would kill it: no file
// it could reach, and no core file, holds the key or a record's text.
TEST(SecretsAfterACrash, NoFileHoldsTheKeyOrRecordText) {
    const std::string name = "Zephyrine Quillfeather-7731";
    // AddressSanitizer turns SIGSEGV into a report and an exit of its own; SIGABRT still kills outright.
    std::vector<int> signals = {SIGABRT};
    if (!kStaysDumpable) signals.push_back(SIGSEGV);
    for (const int signal : signals) {
        const test_support::TemporaryFolder folder;
        const fs::path& root = folder.path;
        int output[2];
        ASSERT_EQ(::pipe(output), 0);
        const pid_t child = ::fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            ::dup2(output[1], STDOUT_FILENO);
            ::execl(CORVALE_SECRET_CRASH_CHILD, CORVALE_SECRET_CRASH_CHILD, root.c_str(), name.c_str(), nullptr);
            ::_exit(127);
        }
        ::close(output[1]);
        std::istringstream report(firstLine(output[0]));
        int dumpable = -1;
        std::string keyHex;
        report >> dumpable >> keyHex;
        ASSERT_EQ(keyHex.size(), 64u) << "the child never opened its vault";

        EXPECT_EQ(coreLimits(child), "0 0");
        EXPECT_EQ(dumpable, kStaysDumpable ? 1 : 0);

        ::kill(child, signal);
        int status = 0;
        ASSERT_EQ(::waitpid(child, &status, 0), child);
        ::close(output[0]);
        ASSERT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == signal) << status;
        EXPECT_FALSE(WCOREDUMP(status)) << "signal " << signal << " left a core dump";

        std::string key;
        for (std::size_t i = 0; i < keyHex.size(); i += 2)
            key.push_back(static_cast<char>(std::stoi(keyHex.substr(i, 2), nullptr, 16)));
        int scanned = 0;
        bool vaultWritten = false;
        for (const auto& entry : fs::recursive_directory_iterator(root)) {
            if (!entry.is_regular_file()) continue;
            ++scanned;
            vaultWritten |= entry.path().extension() == ".pbv";
            EXPECT_EQ(entry.path().filename().string().rfind("core", 0), std::string::npos) << entry.path();
            const std::string bytes(asText(test_support::readAll(entry.path())));
            EXPECT_EQ(bytes.find(key), std::string::npos) << entry.path() << " holds the key";
            EXPECT_EQ(bytes.find(keyHex), std::string::npos) << entry.path() << " holds the key";
            EXPECT_EQ(bytes.find(name), std::string::npos) << entry.path() << " holds record text";
        }
        EXPECT_TRUE(vaultWritten) << scanned << " files, none of them the vault";
    }
}

}  // namespace
}  // namespace corvale
