#pragma once
// Reads archives leniently: a truncated or inconsistent archive gives the
// entries read before the fault, never an error. Only stored entries have
// readable data; entries another tool compressed are listed but not read.

#include "documents/ArchiveError.h"
#include "platform/Bytes.h"
#include "platform/Result.h"

#include <cstdint>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace corvale {

struct ZipEntry {
    std::string name;
    std::uint64_t size = 0;  // of the data as stored
    std::uint32_t crc = 0;
    std::uint64_t dataOffset = 0;    // stored entries only
    std::uint64_t headerOffset = 0;  // of the local header, stored entries only
    std::uint16_t method = 0;        // 0 = stored
};

class ZipReader {
public:
    // Each stored entry's bytes by name (the last wins if a name repeats).
    // Checksums aren't checked here.
    static std::map<std::string, Bytes> entries(ByteView data);
};

// Reads the directory of an archive on disk without loading the rest, then
// one entry at a time, from one thread at a time.
class ZipFileReader {
public:
    // Fails only if the file can't be opened; a file that isn't an archive
    // lists no entries.
    static Result<ZipFileReader, ArchiveError> open(const std::filesystem::path& path);
    // For archives whose parts are trusted only once proven: also refuses
    // (inconsistent) stored entries that share bytes with each other or with
    // the directory, and local names that differ from the directory's, since
    // either lets one archive read differently to different readers.
    static Result<ZipFileReader, ArchiveError> openChecked(const std::filesystem::path& path);
    ~ZipFileReader();
    ZipFileReader(ZipFileReader&&) noexcept;
    ZipFileReader& operator=(ZipFileReader&&) noexcept;

    const std::vector<ZipEntry>& entries() const { return m_entries; }
    // Of the whole archive file.
    std::uint64_t size() const { return m_size; }

    // The entry's bytes, after checking them against its checksum.
    Result<Bytes, ArchiveError> read(const ZipEntry& entry) const;
    enum class FolderFlush { each, deferred };

    // Streams the entry into `destination`, which appears only once the whole
    // entry has been written and checked, replacing what was there. Restoring
    // many entries into one folder, `deferred` leaves the folder's flush (which
    // makes the renames survive a crash) to one flushFolder() after them all.
    Result<void, ArchiveError> copyTo(const ZipEntry& entry, const std::filesystem::path& destination,
                                      FolderFlush flush = FolderFlush::each) const;
    static void flushFolder(const std::filesystem::path& folder);

private:
    ZipFileReader(int fd, std::filesystem::path path, std::uint64_t size);
    static Result<ZipFileReader, ArchiveError> open(const std::filesystem::path& path, bool checked);
    Result<void, ArchiveError> checkReadable(const ZipEntry& entry) const;

    int m_fd = -1;
    std::filesystem::path m_path;
    std::uint64_t m_size = 0;
    std::vector<ZipEntry> m_entries;
    mutable Bytes m_chunk;  // reused by copyTo, so a reader serves one thread at a time
};

}  // namespace corvale
