#include "records/VaultRecord.h"

#include "platform/Crypto.h"

#include <array>

namespace corvale {

std::string newUUID() {
    std::array<std::uint8_t, 16> bytes{};
    crypto::fillRandom(bytes);
    bytes[6] = static_cast<std::uint8_t>((bytes[6] & 0x0F) | 0x40);  // version 4
    bytes[8] = static_cast<std::uint8_t>((bytes[8] & 0x3F) | 0x80);  // RFC 4122 variant
    const std::string hex = crypto::hexLower(bytes);
    return hex.substr(0, 8) + '-' + hex.substr(8, 4) + '-' + hex.substr(12, 4) + '-' + hex.substr(16, 4) + '-' +
           hex.substr(20);
}

}  // namespace corvale
