// Saves a vault over and over until killed: the other half of the crash test.
// Usage: vault_crash_saver <vault folder> <key as 64 hex digits>
#include "platform/linux/PosixFileSystem.h"
#include "vault/VaultFiles.h"

#include <cstdio>
#include <string>

int main(int argc, char** argv) {
    using namespace corvale;
    if (argc != 3 || std::string(argv[2]).size() != 64) return 2;
    SecureBytes key(32);
    for (std::size_t i = 0; i < 32; ++i) key.data()[i] = static_cast<std::uint8_t>(std::stoi(std::string(argv[2] + 2 * i, 2), nullptr, 16));
    PosixFileSystem disk;
    VaultFiles files(disk, std::move(key), argv[1], argv[1]);
    auto loaded = files.loadDocument();
    if (!loaded) return 3;
    VaultDocument document = std::move(loaded).value();
    double counter = document.extra.at("counter").asNumber();
    for (;;) {
        document.extra["counter"] = ++counter;
        if (!files.saveDocument(document)) return 4;
    }
}
