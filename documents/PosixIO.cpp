#include "documents/PosixIO.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

namespace corvale::posix {

Descriptor& Descriptor::operator=(Descriptor&& other) noexcept {
    if (this != &other) {
        reset();
        m_fd = other.release();
    }
    return *this;
}

int Descriptor::release() {
    const int fd = m_fd;
    m_fd = -1;
    return fd;
}

void Descriptor::reset() {
    if (m_fd >= 0) {
        ::close(m_fd);
        m_fd = -1;
    }
}

bool Descriptor::close() { return ::close(release()) == 0; }

bool writeAll(int fd, ByteView bytes) {
    std::size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t n = ::write(fd, bytes.data() + done, bytes.size() - done);
        if (n < 0 && errno == EINTR) {
            continue;
        }
        if (n <= 0) {
            if (n == 0) {
                errno = EIO;  // no progress and no reason; don't spin
            }
            return false;
        }
        done += static_cast<std::size_t>(n);
    }
    return true;
}

namespace {

// pread and pwrite may move fewer bytes than asked, or be interrupted.
template <class Buffer, class Transfer>
bool transferAllAt(int fd, Buffer* data, std::size_t size, std::uint64_t offset, Transfer transfer) {
    std::size_t done = 0;
    while (done < size) {
        const ssize_t n = transfer(fd, data + done, size - done, static_cast<off_t>(offset + done));
        if (n < 0 && errno == EINTR) {
            continue;
        }
        if (n <= 0) {
            if (n == 0) {
                errno = EIO;
            }
            return false;
        }
        done += static_cast<std::size_t>(n);
    }
    return true;
}

}  // namespace

bool writeAllAt(int fd, ByteView bytes, std::uint64_t offset) {
    return transferAllAt(fd, bytes.data(), bytes.size(), offset, ::pwrite);
}

bool readAllAt(int fd, std::span<std::uint8_t> out, std::uint64_t offset) {
    return transferAllAt(fd, out.data(), out.size(), offset, ::pread);
}

bool syncFile(int fd) {
    int result = 0;
    do {
        result = ::fsync(fd);
    } while (result != 0 && errno == EINTR);
    return result == 0;
}

void syncFolder(const std::filesystem::path& folder) {
    const Descriptor fd(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (fd.get() >= 0) {
        syncFile(fd.get());
    }
}

std::filesystem::path folderOf(const std::filesystem::path& path) {
    const std::filesystem::path parent = path.parent_path();
    return parent.empty() ? std::filesystem::path(".") : parent;
}

Descriptor createTemporaryBeside(const std::filesystem::path& target, std::string& temporary) {
    std::string name = ".";
    name += target.filename().string();
    name += ".XXXXXX";
    temporary = (folderOf(target) / name).string();
    // mkostemp creates the file 0600, so it is owner-only from its first byte.
    return Descriptor(::mkostemp(temporary.data(), O_CLOEXEC));
}

}  // namespace corvale::posix
