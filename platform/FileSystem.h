#pragma once
// All file access of the core goes through this interface so tests can use an
// in-memory or failing one. Implementations are safe to call from one thread at a time.

#include "platform/Bytes.h"
#include "platform/Result.h"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace corvale {

struct FileError {
    enum class Code { notFound, permissionDenied, noSpace, notAFile, tooLarge, other };
    Code code = Code::other;
    int systemError = 0;  // errno where there is one
    std::filesystem::path path;

    // Classifies an errno value from a failed system call on `path`.
    static FileError fromSystemError(int error, std::filesystem::path path);

    std::string message() const;
};

struct FileStamp {
    std::uint64_t size = 0;
    std::int64_t changed = 0;  // nanoseconds of the last change, in the file system's own reckoning

    friend bool operator==(const FileStamp&, const FileStamp&) = default;
};

class FileLock {
public:
    virtual ~FileLock() = default;
};

class FileSystem {
public:
    virtual ~FileSystem() = default;

    virtual Result<Bytes, FileError> readFile(const std::filesystem::path& path) = 0;
    // For files brought from elsewhere: refuses (notAFile) a symbolic link at
    // `path` rather than following it, and anything but a plain file (a
    // folder, pipe or device); refuses (tooLarge) more than `maxBytes`.
    virtual Result<Bytes, FileError> readRegularFile(const std::filesystem::path& path, std::uint64_t maxBytes) = 0;

    // Writes a temporary file in the same folder, flushes it, renames it over
    // `path` and flushes the folder, so a crash leaves the old or the new file
    // whole. New files are readable by the owner only. On failure the
    // temporary file is removed and `path` is untouched.
    virtual Result<void, FileError> replaceFileAtomically(const std::filesystem::path& path, ByteView contents) = 0;

    // For filling a folder that nothing uses yet: writes a new file (failing
    // if `path` exists) and flushes it, but not its folder, which one
    // flushFolder() covers after many files. Owner-only, like every new file.
    virtual Result<void, FileError> createFile(const std::filesystem::path& path, ByteView contents) = 0;
    // Makes the names created or renamed in `folder` survive a crash; best effort.
    virtual void flushFolder(const std::filesystem::path& folder) = 0;

    virtual bool exists(const std::filesystem::path& path) = 0;
    // Creates missing folders (owner-only permissions); succeeds if they exist.
    virtual Result<void, FileError> createDirectories(const std::filesystem::path& path) = 0;
    // Removing what does not exist succeeds.
    virtual Result<void, FileError> removeFile(const std::filesystem::path& path) = 0;
    virtual Result<void, FileError> removeAll(const std::filesystem::path& path) = 0;
    // Moves a file or folder within one disk; fails if `to` exists.
    virtual Result<void, FileError> rename(const std::filesystem::path& from, const std::filesystem::path& to) = 0;
    // Swaps two existing folders on one disk, so each path names what the
    // other did; in one step where the file system allows. On failure both
    // are where they were.
    virtual Result<void, FileError> exchange(const std::filesystem::path& first,
                                             const std::filesystem::path& second) = 0;
    // Size and last change of a plain file, not following a symbolic link; absent for anything else. A file
    // whose stamp holds still between two looks is no longer being written.
    virtual std::optional<FileStamp> stamp(const std::filesystem::path& path) = 0;
    // Names (not paths) of the entries of a folder; empty when it does not exist.
    virtual std::vector<std::string> list(const std::filesystem::path& directory) = 0;

    // Whether paths name real files on this computer, which other code may
    // then stream directly instead of reading whole through this interface.
    virtual bool isNative() const { return false; }

    // Holds `path` (created when missing) locked for this process until the
    // returned handle is released; absent when another process holds it.
    virtual Result<std::optional<std::unique_ptr<FileLock>>, FileError> lockExclusively(
        const std::filesystem::path& path) = 0;
};

}  // namespace corvale
