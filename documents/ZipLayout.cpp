#include "documents/ZipLayout.h"

namespace corvale::zip {

namespace {

constexpr std::uint16_t kVersion = 20;
constexpr std::uint16_t kVersion64 = 45;
constexpr std::uint16_t kUtf8Name = 0x0800;
constexpr std::uint16_t kDate1980 = 0x0021;
constexpr std::uint32_t kMarker32 = 0xFFFFFFFF;

void putBytes(Bytes& out, std::string_view text) {
    const ByteView bytes = asBytes(text);
    out.insert(out.end(), bytes.begin(), bytes.end());
}

}  // namespace

void put16(Bytes& out, std::uint64_t value) {
    out.push_back(static_cast<std::uint8_t>(value));
    out.push_back(static_cast<std::uint8_t>(value >> 8));
}

void put32(Bytes& out, std::uint64_t value) {
    put16(out, value & 0xFFFF);
    put16(out, (value >> 16) & 0xFFFF);
}

void put64(Bytes& out, std::uint64_t value) {
    put32(out, value & 0xFFFFFFFF);
    put32(out, value >> 32);
}

Bytes Layout::localHeader(std::string_view name, std::uint64_t size, std::uint32_t crc, std::uint64_t offset) {
    // Decided before the data is written, so a streamed entry never has to
    // grow its header afterwards.
    const bool wide = size >= m_limits.zip64Size || offset >= m_limits.zip64Size;
    const std::uint16_t version = wide ? kVersion64 : kVersion;
    const std::uint64_t size32 = wide ? kMarker32 : size;

    Bytes local;
    local.reserve(kLocalSize + name.size() + 20);
    put32(local, kLocalSignature);
    put16(local, version);
    put16(local, kUtf8Name);
    put16(local, 0);
    put16(local, 0);
    put16(local, kDate1980);
    put32(local, crc);
    put32(local, size32);
    put32(local, size32);
    put16(local, name.size());
    put16(local, wide ? 20 : 0);
    putBytes(local, name);
    if (wide) {
        put16(local, kZip64Extra);
        put16(local, 16);
        put64(local, size);
        put64(local, size);
    }

    put32(m_central, kCentralSignature);
    put16(m_central, version);
    put16(m_central, version);
    put16(m_central, kUtf8Name);
    put16(m_central, 0);
    put16(m_central, 0);
    put16(m_central, kDate1980);
    m_lastCrcAt = m_central.size();
    put32(m_central, crc);
    put32(m_central, size32);
    put32(m_central, size32);
    put16(m_central, name.size());
    put16(m_central, wide ? 28 : 0);
    put16(m_central, 0);
    put16(m_central, 0);
    put16(m_central, 0);
    put32(m_central, 0);
    put32(m_central, wide ? kMarker32 : offset);
    putBytes(m_central, name);
    if (wide) {
        put16(m_central, kZip64Extra);
        put16(m_central, 24);
        put64(m_central, size);
        put64(m_central, size);
        put64(m_central, offset);
    }
    ++m_count;
    return local;
}

void Layout::setLastCrc(std::uint32_t crc) {
    for (int i = 0; i < 4; ++i) {
        m_central[m_lastCrcAt + static_cast<std::size_t>(i)] = static_cast<std::uint8_t>(crc >> (8 * i));
    }
}

Bytes Layout::finish(std::uint64_t offset) const {
    const std::uint64_t size = m_central.size();
    const bool wide = m_count >= m_limits.zip64Entries || offset >= m_limits.zip64Size || size >= m_limits.zip64Size;

    Bytes out;
    out.reserve(size + kEnd64Size + kLocatorSize + kEndSize);
    out.insert(out.end(), m_central.begin(), m_central.end());
    if (wide) {
        const std::uint64_t end64 = offset + size;
        put32(out, kEnd64Signature);
        put64(out, kEnd64Size - 12);  // the record's size counts neither itself nor the signature
        put16(out, kVersion64);
        put16(out, kVersion64);
        put32(out, 0);
        put32(out, 0);
        put64(out, m_count);
        put64(out, m_count);
        put64(out, size);
        put64(out, offset);
        put32(out, kLocator64Signature);
        put32(out, 0);
        put64(out, end64);
        put32(out, 1);
    }
    put32(out, kEndSignature);
    put16(out, 0);
    put16(out, 0);
    put16(out, wide ? 0xFFFF : m_count);
    put16(out, wide ? 0xFFFF : m_count);
    put32(out, wide ? kMarker32 : size);
    put32(out, wide ? kMarker32 : offset);
    put16(out, 0);
    return out;
}

}  // namespace corvale::zip
