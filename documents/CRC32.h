#pragma once
// The ZIP CRC-32 (reflected polynomial 0xEDB88320).

#include "platform/Bytes.h"

#include <array>
#include <cstdint>

namespace corvale {

class CRC32 {
public:
    // The classic byte-at-a-time table, built once; `update` gives the same
    // checksum as walking it, only faster.
    static const std::array<std::uint32_t, 256>& table();
    static std::uint32_t checksum(ByteView data) { return update(0, data); }
    // Continues a checksum: update(checksum(a), b) == checksum(a + b).
    static std::uint32_t update(std::uint32_t crc, ByteView data);
};

}  // namespace corvale
