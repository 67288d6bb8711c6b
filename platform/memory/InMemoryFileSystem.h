#pragma once
// A file system in memory for tests, with the same promises as the real one
// (a file needs its folder, an atomic replace changes all or nothing) and
// hooks to make writes fail and to count them.

#include "platform/FileSystem.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <set>

namespace corvale {

class InMemoryFileSystem final : public FileSystem {
public:
    InMemoryFileSystem();

    Result<Bytes, FileError> readFile(const std::filesystem::path& path) override;
    // Holds no links, pipes or devices, so only folders are refused as not a file.
    Result<Bytes, FileError> readRegularFile(const std::filesystem::path& path, std::uint64_t maxBytes) override;
    Result<void, FileError> replaceFileAtomically(const std::filesystem::path& path, ByteView contents) override;
    Result<void, FileError> createFile(const std::filesystem::path& path, ByteView contents) override;
    void flushFolder(const std::filesystem::path& folder) override;
    bool exists(const std::filesystem::path& path) override;
    Result<void, FileError> createDirectories(const std::filesystem::path& path) override;
    Result<void, FileError> removeFile(const std::filesystem::path& path) override;
    Result<void, FileError> removeAll(const std::filesystem::path& path) override;
    // The size, and the number of times the file was written as its change.
    std::optional<FileStamp> stamp(const std::filesystem::path& path) override;
    // Sorted by name.
    std::vector<std::string> list(const std::filesystem::path& directory) override;
    // Held locks move with their files, as a lock on an open file does on a real disk.
    Result<void, FileError> rename(const std::filesystem::path& from, const std::filesystem::path& to) override;
    Result<void, FileError> exchange(const std::filesystem::path& first, const std::filesystem::path& second) override;
    Result<std::optional<std::unique_ptr<FileLock>>, FileError> lockExclusively(
        const std::filesystem::path& path) override;
    // How many locks are held now, across every path.
    std::size_t heldLocks() const { return m_heldLocks->size(); }

    // Simulates a disk that fills up: from now on, a replace that would bring
    // the bytes written since this call above `bytes` fails with noSpace and
    // leaves the old file as it was. Lasts until clearWriteFailures().
    void failWritesAfter(std::size_t bytes);
    void clearWriteFailures();
    // Simulates a file system that refuses to swap folders.
    void setExchangeFails(bool fails) { m_exchangeFails = fails; }

    // Successful atomic replaces, in total or of one file.
    std::size_t writeCount() const { return m_totalWrites; }
    std::size_t writeCount(const std::filesystem::path& path) const;

private:
    std::map<std::filesystem::path, Bytes> m_files;
    std::set<std::filesystem::path> m_directories;
    std::map<std::filesystem::path, std::size_t> m_writes;
    std::size_t m_totalWrites = 0;
    std::optional<std::size_t> m_writeBudget;
    std::size_t m_bytesSinceBudget = 0;
    bool m_exchangeFails = false;
    // Each held lock's file by handle, shared with the handles so a handle may
    // outlive nothing it points at.
    using HeldLocks = std::map<std::uint64_t, std::filesystem::path>;
    std::shared_ptr<HeldLocks> m_heldLocks = std::make_shared<HeldLocks>();
    std::uint64_t m_nextLock = 0;
    Result<void, FileError> move(const std::filesystem::path& source, const std::filesystem::path& target);
};

}  // namespace corvale
