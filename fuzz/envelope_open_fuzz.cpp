// Sealer::open on arbitrary bytes: it must answer, never crash or read out of
// bounds. Whatever the input, sealing it and opening again gives it back.

#include "vault/Sealer.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>

namespace {

constexpr std::array<std::uint8_t, 32> kKey = {0x00, 0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07, 0x08, 0x09, 0x0a,
                                               0x0b, 0x0c, 0x0d, 0x0e, 0x0f, 0x10, 0x11, 0x12, 0x13, 0x14, 0x15,
                                               0x16, 0x17, 0x18, 0x19, 0x1a, 0x1b, 0x1c, 0x1d, 0x1e, 0x1f};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const corvale::ByteView input(data, size);

    auto opened = corvale::Sealer::open(input, kKey);
    if (!opened && opened.error().code != corvale::VaultError::Code::badFormat &&
        opened.error().code != corvale::VaultError::Code::damaged) {
        std::abort();
    }

    auto sealed = corvale::Sealer::seal(input, kKey);
    if (!sealed || sealed->size() != size + corvale::Sealer::kMinimumSize) {
        std::abort();
    }
    auto reopened = corvale::Sealer::open(*sealed, kKey);
    if (!reopened || *reopened != corvale::Bytes(input.begin(), input.end())) {
        std::abort();
    }
    return 0;
}
