// Hostile vault JSON must never crash the decoder, and whatever it accepts
// must write out and read back to the very same bytes.
#include "records/VaultDocument.h"

#include <cstdint>
#include <cstdlib>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const auto decoded = corvale::decodeVaultDocument(text);
    if (!decoded) return 0;
    const std::string once = corvale::encodeVaultDocument(*decoded);
    const auto again = corvale::decodeVaultDocument(once);
    if (!again) std::abort();
    if (corvale::encodeVaultDocument(*again) != once) std::abort();
    return 0;
}
