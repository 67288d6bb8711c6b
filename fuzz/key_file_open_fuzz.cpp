// KeyFile::parse on arbitrary text, and opening whatever parses. Opening runs
// only for cheap iteration counts so the fuzzer keeps its pace; the parser's
// own limit is what protects the app.

#include "vault/KeyFile.h"

#include "platform/Bytes.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    auto file = corvale::KeyFile::parse(corvale::asText({data, size}));
    if (!file) {
        if (file.error().code != corvale::VaultError::Code::badFormat) {
            std::abort();
        }
        return 0;
    }
    if (file->iterations < 1 || file->iterations > corvale::kKeyFileMaxIterations) {
        std::abort();
    }

    // What parses writes back to a file that parses to the same values.
    auto again = corvale::KeyFile::parse(file->toJSON());
    if (!again || again->iterations != file->iterations || again->salt != file->salt ||
        again->wrappedKey != file->wrappedKey || again->vaultId != file->vaultId ||
        again->createdAt != file->createdAt) {
        std::abort();
    }

    if (file->iterations <= 1000) {
        auto key = file->open("fuzz passphrase");
        if (key ? key->size() != corvale::kVaultKeySize
                : key.error().code != corvale::VaultError::Code::wrongPassphrase) {
            std::abort();
        }
    }
    return 0;
}
