#include "documents/CRC32.h"

#include <libdeflate.h>

namespace corvale {

const std::array<std::uint32_t, 256>& CRC32::table() {
    static const auto instance = [] {
        std::array<std::uint32_t, 256> t{};
        for (std::uint32_t i = 0; i < 256; ++i) {
            std::uint32_t c = i;
            for (int bit = 0; bit < 8; ++bit) {
                c = (c & 1) ? (c >> 1) ^ 0xEDB88320u : c >> 1;
            }
            t[i] = c;
        }
        return t;
    }();
    return instance;
}

// Backups checksum every byte they move: libdeflate's carry-less-multiply
// CRC keeps that well ahead of the disk, where a table walk does not.
std::uint32_t CRC32::update(std::uint32_t crc, ByteView data) {
    return libdeflate_crc32(crc, data.data(), data.size());
}

}  // namespace corvale
