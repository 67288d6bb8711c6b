#pragma once
// Finding and walking the central directory, for both readers. Internal to
// documents/.

#include "documents/ZipReader.h"

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace corvale::zip {

class ByteSource {
public:
    virtual ~ByteSource() = default;
    virtual std::uint64_t size() const = 0;
    // Bytes past the end (or that fail to read) come back as zero.
    virtual void readAt(std::uint64_t offset, std::span<std::uint8_t> out) const = 0;
};

// The end record, scanning back one byte at a time from 22 bytes before the
// end of `tail`, which is the last part of the archive and starts at `tailStart`.
std::optional<std::uint64_t> findEndRecord(ByteView tail, std::uint64_t tailStart);

// Every entry of the central directory up to the first fault.
std::vector<ZipEntry> listEntries(const ByteSource& source, std::uint64_t endRecord);

// Whether the stored entries listed each own their bytes (header, name and
// data apart from every other entry's and before the directory) and their
// local headers carry the directory's names.
bool consistent(const ByteSource& source, const std::vector<ZipEntry>& entries, std::uint64_t endRecord);

}  // namespace corvale::zip
