#pragma once
// The bytes of the archive around the entries' data, shared by the writers.
// Internal to documents/.

#include "documents/ZipWriter.h"

#include <cstdint>
#include <string_view>

namespace corvale::zip {

inline constexpr std::uint32_t kLocalSignature = 0x04034b50;
inline constexpr std::uint32_t kCentralSignature = 0x02014b50;
inline constexpr std::uint32_t kEndSignature = 0x06054b50;
inline constexpr std::uint32_t kEnd64Signature = 0x06064b50;
inline constexpr std::uint32_t kLocator64Signature = 0x07064b50;
inline constexpr std::uint16_t kZip64Extra = 0x0001;
inline constexpr std::size_t kLocalSize = 30;
inline constexpr std::size_t kCentralSize = 46;
inline constexpr std::size_t kEndSize = 22;
inline constexpr std::size_t kLocatorSize = 20;
inline constexpr std::size_t kEnd64Size = 56;
inline constexpr std::size_t kCrcField = 14;  // within the local header
inline constexpr std::size_t kMaxName = 0xFFFF;

void put16(Bytes& out, std::uint64_t value);
void put32(Bytes& out, std::uint64_t value);
void put64(Bytes& out, std::uint64_t value);

class Layout {
public:
    explicit Layout(ZipLimits limits) : m_limits(limits) {}

    // The local header of an entry of `size` bytes starting at `offset`; its
    // central record is kept for finish(). The name must fit (kMaxName).
    Bytes localHeader(std::string_view name, std::uint64_t size, std::uint32_t crc, std::uint64_t offset);
    // For a streamed entry whose checksum is known only after its data.
    void setLastCrc(std::uint32_t crc);
    // The central directory and end records, starting at `offset`.
    Bytes finish(std::uint64_t offset) const;

private:
    ZipLimits m_limits;
    Bytes m_central;
    std::size_t m_lastCrcAt = 0;
    std::uint64_t m_count = 0;
};

}  // namespace corvale::zip
