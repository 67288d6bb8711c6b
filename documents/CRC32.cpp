#include "documents/CRC32.h"

namespace corvale {

namespace {

// Slicing-by-8: eight bytes per step keeps the checksum well ahead of the disk.
struct Tables {
    std::array<std::array<std::uint32_t, 256>, 8> slice{};

    Tables() {
        for (std::uint32_t i = 0; i < 256; ++i) {
            std::uint32_t c = i;
            for (int bit = 0; bit < 8; ++bit) {
                c = (c & 1) ? (c >> 1) ^ 0xEDB88320u : c >> 1;
            }
            slice[0][i] = c;
        }
        for (std::size_t k = 1; k < slice.size(); ++k) {
            for (std::size_t i = 0; i < 256; ++i) {
                const std::uint32_t previous = slice[k - 1][i];
                slice[k][i] = (previous >> 8) ^ slice[0][previous & 0xFF];
            }
        }
    }
};

const Tables& tables() {
    static const Tables instance;
    return instance;
}

}  // namespace

const std::array<std::uint32_t, 256>& CRC32::table() { return tables().slice[0]; }

std::uint32_t CRC32::update(std::uint32_t crc, ByteView data) {
    const auto& t = tables().slice;
    std::uint32_t c = ~crc;
    const std::uint8_t* p = data.data();
    std::size_t n = data.size();
    const auto word = [](const std::uint8_t* b) {
        return std::uint32_t(b[0]) | std::uint32_t(b[1]) << 8 | std::uint32_t(b[2]) << 16 | std::uint32_t(b[3]) << 24;
    };
    while (n >= 8) {
        const std::uint32_t low = c ^ word(p);
        c = t[7][low & 0xFF] ^ t[6][(low >> 8) & 0xFF] ^ t[5][(low >> 16) & 0xFF] ^ t[4][low >> 24] ^ t[3][p[4]] ^
            t[2][p[5]] ^ t[1][p[6]] ^ t[0][p[7]];
        p += 8;
        n -= 8;
    }
    while (n-- > 0) {
        c = (c >> 8) ^ t[0][(c ^ *p++) & 0xFF];
    }
    return ~c;
}

}  // namespace corvale
