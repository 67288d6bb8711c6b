#pragma once
// The real file system, through POSIX calls so every step of an atomic save
// (temporary file, fsync, rename, folder fsync) is under our control.

#include "platform/FileSystem.h"

namespace corvale {

class PosixFileSystem final : public FileSystem {
public:
    Result<Bytes, FileError> readFile(const std::filesystem::path& path) override;
    Result<Bytes, FileError> readRegularFile(const std::filesystem::path& path, std::uint64_t maxBytes) override;
    Result<void, FileError> replaceFileAtomically(const std::filesystem::path& path, ByteView contents) override;
    Result<void, FileError> createFile(const std::filesystem::path& path, ByteView contents) override;
    void flushFolder(const std::filesystem::path& folder) override;
    bool exists(const std::filesystem::path& path) override;
    Result<void, FileError> createDirectories(const std::filesystem::path& path) override;
    Result<void, FileError> removeFile(const std::filesystem::path& path) override;
    Result<void, FileError> removeAll(const std::filesystem::path& path) override;
    // Sorted by name.
    std::optional<FileStamp> stamp(const std::filesystem::path& path) override;
    std::vector<std::string> list(const std::filesystem::path& directory) override;
    bool isNative() const override { return true; }
    Result<void, FileError> rename(const std::filesystem::path& from, const std::filesystem::path& to) override;
    // renameat2's exchange where the file system has it; otherwise three renames, undone on failure.
    Result<void, FileError> exchange(const std::filesystem::path& first, const std::filesystem::path& second) override;
    Result<std::optional<std::unique_ptr<FileLock>>, FileError> lockExclusively(
        const std::filesystem::path& path) override;
};

}  // namespace corvale
