#include "documents/ZipParse.h"

#include "documents/ZipLayout.h"

#include <algorithm>
#include <array>
#include <string>
#include <utility>

namespace corvale::zip {

namespace {

constexpr std::uint32_t kMarker32 = 0xFFFFFFFF;

// Reads past the end give zero, like the source's.
std::uint64_t le(ByteView bytes, std::size_t at, std::size_t width) {
    std::uint64_t value = 0;
    for (std::size_t i = width; i-- > 0;) {
        value = (value << 8) | (at + i < bytes.size() ? bytes[at + i] : 0);
    }
    return value;
}

// `length` bytes at `offset` lie wholly inside the source.
bool inside(const ByteSource& source, std::uint64_t offset, std::uint64_t length) {
    return offset <= source.size() && length <= source.size() - offset;
}

std::uint64_t centralDirectoryOffset(const ByteSource& source, std::uint64_t endRecord) {
    std::array<std::uint8_t, kEndSize> end{};
    source.readAt(endRecord, end);
    const std::uint64_t classic = le(end, 16, 4);
    if (endRecord < kLocatorSize) {
        return classic;
    }
    std::array<std::uint8_t, kLocatorSize> locator{};
    source.readAt(endRecord - kLocatorSize, locator);
    if (le(locator, 0, 4) != kLocator64Signature) {
        return classic;
    }
    std::array<std::uint8_t, kEnd64Size> end64{};
    source.readAt(le(locator, 8, 8), end64);
    return le(end64, 0, 4) == kEnd64Signature ? le(end64, 48, 8) : classic;
}

// Replaces the marked 32-bit fields from the ZIP64 extra field, in its order.
bool widen(ByteView extra, std::uint64_t& size, std::uint64_t& compressed, std::uint64_t& offset) {
    const bool needed = size == kMarker32 || compressed == kMarker32 || offset == kMarker32;
    for (std::size_t at = 0; needed && at + 4 <= extra.size();) {
        const auto id = le(extra, at, 2);
        const auto length = static_cast<std::size_t>(le(extra, at + 2, 2));
        const ByteView field = extra.subspan(at + 4, std::min(length, extra.size() - at - 4));
        if (id == kZip64Extra) {
            std::size_t used = 0;
            for (std::uint64_t* value : {&size, &compressed, &offset}) {
                if (*value == kMarker32) {
                    if (used + 8 > field.size()) {
                        return false;
                    }
                    *value = le(field, used, 8);
                    used += 8;
                }
            }
            return true;
        }
        at += 4 + field.size();
    }
    return !needed;
}

}  // namespace

std::optional<std::uint64_t> findEndRecord(ByteView tail, std::uint64_t tailStart) {
    if (tail.size() < kEndSize) {
        return std::nullopt;
    }
    for (std::size_t at = tail.size() - kEndSize + 1; at-- > 0;) {
        if (le(tail, at, 4) == kEndSignature) {
            return tailStart + at;
        }
    }
    return std::nullopt;
}

std::vector<ZipEntry> listEntries(const ByteSource& source, std::uint64_t endRecord) {
    std::vector<ZipEntry> entries;
    std::uint64_t at = centralDirectoryOffset(source, endRecord);
    std::array<std::uint8_t, kCentralSize> record{};
    std::array<std::uint8_t, kLocalSize> local{};
    Bytes extra;
    while (inside(source, at, kCentralSize)) {
        source.readAt(at, record);
        if (le(record, 0, 4) != kCentralSignature) {
            break;
        }
        const auto nameLength = static_cast<std::size_t>(le(record, 28, 2));
        const auto extraLength = static_cast<std::size_t>(le(record, 30, 2));
        const auto commentLength = le(record, 32, 2);
        if (!inside(source, at + kCentralSize, nameLength + extraLength + commentLength)) {
            break;
        }
        ZipEntry entry;
        entry.method = static_cast<std::uint16_t>(le(record, 10, 2));
        entry.crc = static_cast<std::uint32_t>(le(record, 16, 4));
        std::uint64_t compressed = le(record, 20, 4);
        entry.size = le(record, 24, 4);
        std::uint64_t localAt = le(record, 42, 4);
        entry.name.resize(nameLength);
        source.readAt(at + kCentralSize, {reinterpret_cast<std::uint8_t*>(entry.name.data()), entry.name.size()});
        extra.resize(extraLength);
        source.readAt(at + kCentralSize + nameLength, extra);
        if (!widen(extra, entry.size, compressed, localAt)) {
            break;
        }
        at += kCentralSize + nameLength + extraLength + commentLength;

        if (entry.method != 0) {
            entry.size = compressed;
            entries.push_back(std::move(entry));
            continue;
        }
        if (compressed != entry.size || !inside(source, localAt, kLocalSize)) {
            break;
        }
        source.readAt(localAt, local);
        if (le(local, 0, 4) != kLocalSignature) {
            break;
        }
        entry.headerOffset = localAt;
        entry.dataOffset = localAt + kLocalSize + le(local, 26, 2) + le(local, 28, 2);
        if (!inside(source, entry.dataOffset, entry.size)) {
            break;
        }
        entries.push_back(std::move(entry));
    }
    return entries;
}

bool consistent(const ByteSource& source, const std::vector<ZipEntry>& entries, std::uint64_t endRecord) {
    const std::uint64_t directory = centralDirectoryOffset(source, endRecord);
    std::vector<std::pair<std::uint64_t, std::uint64_t>> spans;
    std::array<std::uint8_t, kLocalSize> local{};
    std::string name;
    for (const ZipEntry& entry : entries) {
        if (entry.method != 0) continue;  // never read, so never trusted
        source.readAt(entry.headerOffset, local);
        name.resize(static_cast<std::size_t>(le(local, 26, 2)));
        source.readAt(entry.headerOffset + kLocalSize, {reinterpret_cast<std::uint8_t*>(name.data()), name.size()});
        if (name != entry.name) return false;
        // listEntries proved the data lies inside the source, so this cannot wrap.
        const std::uint64_t end = entry.dataOffset + entry.size;
        if (end > directory) return false;
        spans.emplace_back(entry.headerOffset, end);
    }
    std::sort(spans.begin(), spans.end());
    for (std::size_t i = 1; i < spans.size(); ++i) {
        if (spans[i].first < spans[i - 1].second) return false;
    }
    return true;
}

}  // namespace corvale::zip
