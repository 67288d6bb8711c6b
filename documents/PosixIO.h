#pragma once
// Small POSIX helpers for the archive files. Internal to documents/.

#include "platform/Bytes.h"

#include <cstdint>
#include <filesystem>
#include <string>

namespace corvale::posix {

class Descriptor {
public:
    explicit Descriptor(int fd = -1) : m_fd(fd) {}
    ~Descriptor() { reset(); }
    Descriptor(Descriptor&& other) noexcept : m_fd(other.release()) {}
    Descriptor& operator=(Descriptor&& other) noexcept;

    int get() const { return m_fd; }
    int release();
    void reset();
    // Closes now so the caller sees the error (NFS reports write errors here).
    bool close();

private:
    int m_fd;
};

// Each returns false with errno set.
bool writeAll(int fd, ByteView bytes);
bool writeAllAt(int fd, ByteView bytes, std::uint64_t offset);
// Reads exactly `out.size()` bytes; a short file is an error (errno EIO).
bool readAllAt(int fd, std::span<std::uint8_t> out, std::uint64_t offset);
bool syncFile(int fd);
// Flushes a folder so a rename in it survives a crash; best effort.
void syncFolder(const std::filesystem::path& folder);

std::filesystem::path folderOf(const std::filesystem::path& path);

// A new owner-only temporary file beside `target`; fills `temporary`.
Descriptor createTemporaryBeside(const std::filesystem::path& target, std::string& temporary);

}  // namespace corvale::posix
