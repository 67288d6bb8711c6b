#pragma once
// The real file system, through POSIX calls so every step of an atomic save
// (temporary file, fsync, rename, folder fsync) is under our control.

#include "platform/FileSystem.h"

namespace corvale {

class PosixFileSystem final : public FileSystem {
public:
    Result<Bytes, FileError> readFile(const std::filesystem::path& path) override;
    Result<void, FileError> replaceFileAtomically(const std::filesystem::path& path, ByteView contents) override;
    bool exists(const std::filesystem::path& path) override;
    Result<void, FileError> createDirectories(const std::filesystem::path& path) override;
    Result<void, FileError> removeFile(const std::filesystem::path& path) override;
    Result<void, FileError> removeAll(const std::filesystem::path& path) override;
    // Sorted by name.
    std::vector<std::string> list(const std::filesystem::path& directory) override;
    bool isNative() const override { return true; }
    Result<void, FileError> rename(const std::filesystem::path& from, const std::filesystem::path& to) override;
    Result<std::optional<std::unique_ptr<FileLock>>, FileError> lockExclusively(
        const std::filesystem::path& path) override;
};

}  // namespace corvale
