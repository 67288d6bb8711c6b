#include "platform/linux/PosixFileSystem.h"

#include <dirent.h>
#include <fcntl.h>
#include <stdio.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <limits>
#include <system_error>

namespace corvale {

namespace {

FileError errorFor(int error, const std::filesystem::path& path) { return FileError::fromSystemError(error, path); }

class Descriptor {
public:
    explicit Descriptor(int fd) : m_fd(fd) {}
    ~Descriptor() {
        if (m_fd >= 0) {
            ::close(m_fd);
        }
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    int get() const { return m_fd; }
    // Closes now so the caller sees the error (NFS reports write errors here).
    bool close() {
        const int fd = m_fd;
        m_fd = -1;
        return ::close(fd) == 0;
    }

private:
    int m_fd;
};

bool writeAll(int fd, ByteView contents) {
    std::size_t written = 0;
    while (written < contents.size()) {
        const ssize_t n = ::write(fd, contents.data() + written, contents.size() - written);
        if (n < 0) {
            if (errno == EINTR) {
                continue;
            }
            return false;
        }
        if (n == 0) {
            errno = EIO;  // no progress and no reason given; don't spin
            return false;
        }
        written += static_cast<std::size_t>(n);
    }
    return true;
}

int fsyncRetrying(int fd) {
    int result = 0;
    do {
        result = ::fsync(fd);
    } while (result != 0 && errno == EINTR);
    return result;
}

std::filesystem::path folderOf(const std::filesystem::path& path) {
    const std::filesystem::path parent = path.parent_path();
    return parent.empty() ? std::filesystem::path(".") : parent;
}

// Reads what is left of an open file. One spare byte lets the read that sees
// end-of-file land without a resize; a file that grows while it is read is
// still held to `maxBytes`.
Result<Bytes, FileError> readToEnd(int fd, const std::filesystem::path& path, std::uint64_t expected,
                                   std::uint64_t maxBytes) {
    const std::uint64_t cap = maxBytes == std::numeric_limits<std::uint64_t>::max() ? maxBytes : maxBytes + 1;
    Bytes data(static_cast<std::size_t>(std::min(expected + 1, cap)));
    std::size_t used = 0;
    for (;;) {
        if (used == data.size()) {
            if (used > maxBytes) {
                return fail(FileError{FileError::Code::tooLarge, 0, path});
            }
            data.resize(static_cast<std::size_t>(std::min<std::uint64_t>(cap, data.size() * 2)));
        }
        const ssize_t n = ::read(fd, data.data() + used, data.size() - used);
        if (n < 0) {
            if (errno == EINTR) {
                continue;
            }
            return fail(errorFor(errno, path));
        }
        if (n == 0) {
            break;
        }
        used += static_cast<std::size_t>(n);
    }
    if (used > maxBytes) {
        return fail(FileError{FileError::Code::tooLarge, 0, path});
    }
    data.resize(used);
    return data;
}

}  // namespace

Result<Bytes, FileError> PosixFileSystem::readFile(const std::filesystem::path& path) {
    const Descriptor fd(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (fd.get() < 0) {
        return fail(errorFor(errno, path));
    }
    struct stat info {};
    if (::fstat(fd.get(), &info) != 0) {
        return fail(errorFor(errno, path));
    }
    if (S_ISDIR(info.st_mode)) {
        return fail(errorFor(EISDIR, path));
    }
    return readToEnd(fd.get(), path, info.st_size > 0 ? static_cast<std::uint64_t>(info.st_size) : 0,
                     std::numeric_limits<std::uint64_t>::max());
}

Result<Bytes, FileError> PosixFileSystem::readRegularFile(const std::filesystem::path& path, std::uint64_t maxBytes) {
    // O_NONBLOCK so a pipe planted in place of the file cannot hang the open.
    const Descriptor fd(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY));
    if (fd.get() < 0) {
        const int error = errno;
        if (error == ELOOP) {
            return fail(FileError{FileError::Code::notAFile, error, path});
        }
        return fail(errorFor(error, path));
    }
    struct stat info {};
    if (::fstat(fd.get(), &info) != 0) {
        return fail(errorFor(errno, path));
    }
    if (!S_ISREG(info.st_mode)) {
        return fail(FileError{FileError::Code::notAFile, 0, path});
    }
    if (info.st_size < 0 || static_cast<std::uint64_t>(info.st_size) > maxBytes) {
        return fail(FileError{FileError::Code::tooLarge, 0, path});
    }
    return readToEnd(fd.get(), path, static_cast<std::uint64_t>(info.st_size), maxBytes);
}

std::optional<FileStamp> PosixFileSystem::stamp(const std::filesystem::path& path) {
    struct stat info {};
    if (::lstat(path.c_str(), &info) != 0 || !S_ISREG(info.st_mode) || info.st_size < 0) return std::nullopt;
    return FileStamp{static_cast<std::uint64_t>(info.st_size),
                     static_cast<std::int64_t>(info.st_mtim.tv_sec) * 1'000'000'000 + info.st_mtim.tv_nsec};
}

Result<void, FileError> PosixFileSystem::replaceFileAtomically(const std::filesystem::path& path, ByteView contents) {
    const std::filesystem::path folder = folderOf(path);
    std::string temporaryName = ".";  // built step by step: gcc 12 misreports `"." + string` under -O2
    temporaryName += path.filename().string();
    temporaryName += ".XXXXXX";
    std::string pattern = (folder / temporaryName).string();
    // mkostemp creates the file 0600, so it is owner-only from its first byte.
    Descriptor fd(::mkostemp(pattern.data(), O_CLOEXEC));
    if (fd.get() < 0) {
        return fail(errorFor(errno, folder));
    }
    const std::string temporary = pattern;

    auto abandon = [&](int error) {
        ::unlink(temporary.c_str());
        return fail(errorFor(error, path));
    };
    if (!writeAll(fd.get(), contents) || fsyncRetrying(fd.get()) != 0) {
        return abandon(errno);
    }
    if (!fd.close()) {
        return abandon(errno);
    }
    if (::rename(temporary.c_str(), path.c_str()) != 0) {
        return abandon(errno);
    }

    // The rename is the commit point: the new file is what everyone now sees,
    // so reporting failure here would make callers believe the old one is still
    // in place. Flushing the folder only makes the rename survive a crash.
    const Descriptor directory(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (directory.get() >= 0) {
        fsyncRetrying(directory.get());
    }
    return {};
}

Result<void, FileError> PosixFileSystem::createFile(const std::filesystem::path& path, ByteView contents) {
    Descriptor fd(::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
    if (fd.get() < 0) {
        return fail(errorFor(errno, path));
    }
    if (!writeAll(fd.get(), contents) || fsyncRetrying(fd.get()) != 0 || !fd.close()) {
        const int error = errno;
        ::unlink(path.c_str());
        return fail(errorFor(error, path));
    }
    return {};
}

void PosixFileSystem::flushFolder(const std::filesystem::path& folder) {
    const Descriptor directory(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (directory.get() >= 0) {
        fsyncRetrying(directory.get());
    }
}

bool PosixFileSystem::exists(const std::filesystem::path& path) {
    struct stat info {};
    return ::stat(path.c_str(), &info) == 0;
}

Result<void, FileError> PosixFileSystem::createDirectories(const std::filesystem::path& path) {
    std::filesystem::path current;
    for (const std::filesystem::path& part : path) {
        current /= part;
        if (part.empty() || part == "." || part == "/") {
            continue;
        }
        if (::mkdir(current.c_str(), 0700) == 0) {
            continue;
        }
        const int error = errno;
        struct stat info {};
        if (error == EEXIST && ::stat(current.c_str(), &info) == 0) {
            if (S_ISDIR(info.st_mode)) {
                continue;
            }
            return fail(errorFor(ENOTDIR, current));
        }
        return fail(errorFor(error, current));
    }
    return {};
}

Result<void, FileError> PosixFileSystem::removeFile(const std::filesystem::path& path) {
    if (::unlink(path.c_str()) != 0 && errno != ENOENT) {
        return fail(errorFor(errno, path));
    }
    return {};
}

Result<void, FileError> PosixFileSystem::removeAll(const std::filesystem::path& path) {
    std::error_code error;
    std::filesystem::remove_all(path, error);
    if (error && error.value() != ENOENT) {
        return fail(errorFor(error.value(), path));
    }
    return {};
}

std::vector<std::string> PosixFileSystem::list(const std::filesystem::path& directory) {
    std::vector<std::string> names;
    DIR* stream = ::opendir(directory.c_str());
    if (stream == nullptr) {
        return names;
    }
    while (const dirent* entry = ::readdir(stream)) {
        const std::string_view name = entry->d_name;
        if (name != "." && name != "..") {
            names.emplace_back(name);
        }
    }
    ::closedir(stream);
    std::sort(names.begin(), names.end());
    return names;
}

namespace {

// flock belongs to the open file description, so closing the descriptor
// (or the process dying) releases it: a crash never leaves a vault locked.
class PosixLock final : public FileLock {
public:
    explicit PosixLock(int fd) : m_fd(fd) {}
    ~PosixLock() override { ::close(m_fd); }

private:
    int m_fd;
};

}  // namespace

Result<std::optional<std::unique_ptr<FileLock>>, FileError> PosixFileSystem::lockExclusively(
    const std::filesystem::path& path) {
    const int fd = ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
    if (fd < 0) return fail(errorFor(errno, path));
    if (::flock(fd, LOCK_EX | LOCK_NB) != 0) {
        const int error = errno;
        ::close(fd);
        if (error == EWOULDBLOCK) return std::optional<std::unique_ptr<FileLock>>();
        return fail(errorFor(error, path));
    }
    return std::optional<std::unique_ptr<FileLock>>(std::make_unique<PosixLock>(fd));
}

Result<void, FileError> PosixFileSystem::exchange(const std::filesystem::path& first,
                                                  const std::filesystem::path& second) {
    const auto flushFolders = [&] {
        for (const auto& folder : {folderOf(first), folderOf(second)}) {
            const Descriptor directory(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
            if (directory.get() >= 0) {
                fsyncRetrying(directory.get());
            }
        }
    };
    if (::renameat2(AT_FDCWD, first.c_str(), AT_FDCWD, second.c_str(), RENAME_EXCHANGE) == 0) {
        flushFolders();
        return {};
    }
    if (errno != EINVAL && errno != ENOSYS && errno != ENOTSUP) {
        return fail(errorFor(errno, first));
    }
    // No exchange on this file system: one folder steps aside under a name of its own.
    std::string aside = first.string();
    aside += ".exchange";
    if (::rename(first.c_str(), aside.c_str()) != 0) {
        return fail(errorFor(errno, first));
    }
    if (::rename(second.c_str(), first.c_str()) != 0) {
        const int error = errno;
        ::rename(aside.c_str(), first.c_str());
        return fail(errorFor(error, second));
    }
    if (::rename(aside.c_str(), second.c_str()) != 0) {
        const int error = errno;
        ::rename(first.c_str(), second.c_str());
        ::rename(aside.c_str(), first.c_str());
        return fail(errorFor(error, second));
    }
    flushFolders();
    return {};
}

Result<void, FileError> PosixFileSystem::rename(const std::filesystem::path& from, const std::filesystem::path& to) {
    // renameat2 with RENAME_NOREPLACE would be atomic; a lone desktop user racing
    // themselves here is not worth losing portability for.
    struct stat existing {};
    if (::lstat(to.c_str(), &existing) == 0) return fail(errorFor(EEXIST, to));
    if (::rename(from.c_str(), to.c_str()) != 0) return fail(errorFor(errno, from));
    return {};
}

}  // namespace corvale
