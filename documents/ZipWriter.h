#pragma once
// Writes our backup archives: ZIP with stored (uncompressed) entries, UTF-8
// names and a fixed timestamp, so the same entries always give the same bytes.
// Entries or archives too big for the classic fields get ZIP64 records.

#include "documents/ArchiveError.h"
#include "platform/Bytes.h"
#include "platform/Result.h"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string_view>

namespace corvale {

namespace zip {
class Layout;
}

// Where ZIP64 starts; tests lower them to check that form without gigabytes.
struct ZipLimits {
    std::uint64_t zip64Size = 0xFFFFFFFF;  // any size or offset at or above this
    std::uint64_t zip64Entries = 0xFFFF;   // this many entries or more
};

// The whole archive in memory, for small archives.
class ZipWriter {
public:
    explicit ZipWriter(ZipLimits limits = {});
    ~ZipWriter();
    ZipWriter(ZipWriter&&) noexcept;
    ZipWriter& operator=(ZipWriter&&) noexcept;

    // Names use "/" between folders. A name over 65,535 bytes is a caller's
    // bug and throws std::length_error.
    void add(std::string_view name, ByteView data);
    // Appends the central directory and end record; the writer is spent after.
    Bytes finish();

private:
    std::unique_ptr<zip::Layout> m_layout;
    Bytes m_bytes;
};

// Streams an archive to a file with bounded memory. Nothing appears at the
// target path until finish() succeeds; then it appears whole, replacing what
// was there. A writer dropped without finishing, or one that failed, leaves
// the target untouched and no temporary file behind.
class ZipFileWriter {
public:
    static Result<ZipFileWriter, ArchiveError> create(const std::filesystem::path& path, ZipLimits limits = {});
    ~ZipFileWriter();
    ZipFileWriter(ZipFileWriter&&) noexcept;
    ZipFileWriter& operator=(ZipFileWriter&&) noexcept;

    Result<void, ArchiveError> add(std::string_view name, ByteView data);
    // Copies `source` in chunks, so its size doesn't matter.
    Result<void, ArchiveError> addFile(std::string_view name, const std::filesystem::path& source);
    Result<void, ArchiveError> finish();

private:
    struct State;
    explicit ZipFileWriter(std::unique_ptr<State> state);
    std::unique_ptr<State> m_state;
};

}  // namespace corvale
