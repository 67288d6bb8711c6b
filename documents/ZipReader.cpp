#include "documents/ZipReader.h"

#include "documents/CRC32.h"
#include "documents/PosixIO.h"
#include "documents/ZipLayout.h"
#include "documents/ZipParse.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

namespace corvale {

namespace {

using Code = ArchiveError::Code;

constexpr std::size_t kChunk = 1 << 20;
constexpr std::size_t kWindow = 64 << 10;
// The end record sits within its own size plus the longest comment of the end.
constexpr std::size_t kTailScan = zip::kEndSize + 0xFFFF;

class MemorySource final : public zip::ByteSource {
public:
    explicit MemorySource(ByteView data) : m_data(data) {}
    std::uint64_t size() const override { return m_data.size(); }
    void readAt(std::uint64_t offset, std::span<std::uint8_t> out) const override {
        std::fill(out.begin(), out.end(), 0);
        if (!out.empty() && offset < m_data.size()) {
            const auto n = std::min<std::uint64_t>(out.size(), m_data.size() - offset);
            std::memcpy(out.data(), m_data.data() + offset, static_cast<std::size_t>(n));
        }
    }

private:
    ByteView m_data;
};

// Caches one window, since the directory is read record by record.
class FileSource final : public zip::ByteSource {
public:
    FileSource(int fd, std::uint64_t size) : m_fd(fd), m_size(size) {}
    std::uint64_t size() const override { return m_size; }
    void readAt(std::uint64_t offset, std::span<std::uint8_t> out) const override {
        std::fill(out.begin(), out.end(), 0);
        if (out.empty() || offset >= m_size) {
            return;
        }
        const auto n = static_cast<std::size_t>(std::min<std::uint64_t>(out.size(), m_size - offset));
        if (n > kWindow) {
            posix::readAllAt(m_fd, out.first(n), offset);
            return;
        }
        if (offset < m_windowStart || offset + n > m_windowStart + m_window.size()) {
            m_window.resize(static_cast<std::size_t>(std::min<std::uint64_t>(kWindow, m_size - offset)));
            m_windowStart = offset;
            if (!posix::readAllAt(m_fd, m_window, offset)) {
                m_window.clear();
                return;
            }
        }
        std::memcpy(out.data(), m_window.data() + (offset - m_windowStart), n);
    }

private:
    int m_fd;
    std::uint64_t m_size;
    mutable Bytes m_window;
    mutable std::uint64_t m_windowStart = 0;
};

}  // namespace

std::map<std::string, Bytes> ZipReader::entries(ByteView data) {
    std::map<std::string, Bytes> result;
    const auto end = zip::findEndRecord(data, 0);
    if (!end) {
        return result;
    }
    for (auto& entry : zip::listEntries(MemorySource(data), *end)) {
        if (entry.method == 0) {
            const auto bytes =
                data.subspan(static_cast<std::size_t>(entry.dataOffset), static_cast<std::size_t>(entry.size));
            result.insert_or_assign(std::move(entry.name), Bytes(bytes.begin(), bytes.end()));
        }
    }
    return result;
}

// ------------------------------------------------------------------- on disk

ZipFileReader::ZipFileReader(int fd, std::filesystem::path path, std::uint64_t size)
    : m_fd(fd), m_path(std::move(path)), m_size(size) {}

ZipFileReader::~ZipFileReader() { posix::Descriptor closing(m_fd); }

ZipFileReader::ZipFileReader(ZipFileReader&& other) noexcept
    : m_fd(std::exchange(other.m_fd, -1)),
      m_path(std::move(other.m_path)),
      m_size(other.m_size),
      m_entries(std::move(other.m_entries)) {}

ZipFileReader& ZipFileReader::operator=(ZipFileReader&& other) noexcept {
    if (this != &other) {
        posix::Descriptor closing(std::exchange(m_fd, std::exchange(other.m_fd, -1)));
        m_path = std::move(other.m_path);
        m_size = other.m_size;
        m_entries = std::move(other.m_entries);
    }
    return *this;
}

Result<ZipFileReader, ArchiveError> ZipFileReader::open(const std::filesystem::path& path) { return open(path, false); }

Result<ZipFileReader, ArchiveError> ZipFileReader::openChecked(const std::filesystem::path& path) {
    return open(path, true);
}

Result<ZipFileReader, ArchiveError> ZipFileReader::open(const std::filesystem::path& path, bool checked) {
    posix::Descriptor fd(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    struct stat info {};
    if (fd.get() < 0 || ::fstat(fd.get(), &info) != 0) {
        return fail(ArchiveError::make(Code::unreadable, errno, path));
    }
    if (!S_ISREG(info.st_mode)) {
        return fail(ArchiveError::make(Code::unreadable, EISDIR, path));
    }
    const auto size = static_cast<std::uint64_t>(info.st_size);
    Bytes tail(static_cast<std::size_t>(std::min<std::uint64_t>(size, kTailScan)));
    if (!posix::readAllAt(fd.get(), tail, size - tail.size())) {
        return fail(ArchiveError::make(Code::unreadable, errno, path));
    }
    ZipFileReader reader(fd.release(), path, size);
    if (const auto end = zip::findEndRecord(tail, size - tail.size())) {
        const FileSource source(reader.m_fd, size);
        reader.m_entries = zip::listEntries(source, *end);
        if (checked && !zip::consistent(source, reader.m_entries, *end)) {
            return fail(ArchiveError::make(Code::inconsistent, 0, path));
        }
    }
    return reader;
}

Result<void, ArchiveError> ZipFileReader::checkReadable(const ZipEntry& entry) const {
    if (entry.method != 0) {
        return fail(ArchiveError::make(Code::unsupported, 0, m_path));
    }
    if (entry.dataOffset > m_size || entry.size > m_size - entry.dataOffset) {
        return fail(ArchiveError::make(Code::damaged, 0, m_path));
    }
    return {};
}

Result<Bytes, ArchiveError> ZipFileReader::read(const ZipEntry& entry) const {
    if (auto readable = checkReadable(entry); !readable) {
        return fail(readable.error());
    }
    Bytes data(static_cast<std::size_t>(entry.size));
    if (!posix::readAllAt(m_fd, data, entry.dataOffset)) {
        return fail(ArchiveError::make(Code::unreadable, errno, m_path));
    }
    if (CRC32::checksum(data) != entry.crc) {
        return fail(ArchiveError::make(Code::damaged, 0, m_path));
    }
    return data;
}

void ZipFileReader::flushFolder(const std::filesystem::path& folder) { posix::syncFolder(folder); }

Result<void, ArchiveError> ZipFileReader::copyTo(const ZipEntry& entry, const std::filesystem::path& destination,
                                                 FolderFlush flush) const {
    if (auto readable = checkReadable(entry); !readable) {
        return readable;
    }
    std::string temporary;
    posix::Descriptor out = posix::createTemporaryBeside(destination, temporary);
    if (out.get() < 0) {
        return fail(ArchiveError::make(Code::extractFailed, errno, destination));
    }
    const auto abandon = [&](Code code, int error, const std::filesystem::path& path) {
        out.reset();
        ::unlink(temporary.c_str());
        return fail(ArchiveError::make(code, error, path));
    };

    Bytes& chunk = m_chunk;
    if (chunk.size() < kChunk) {
        chunk.resize(kChunk);
    }
    std::uint32_t crc = 0;
    for (std::uint64_t done = 0; done < entry.size;) {
        const auto n = static_cast<std::size_t>(std::min<std::uint64_t>(entry.size - done, chunk.size()));
        const std::span<std::uint8_t> piece(chunk.data(), n);
        if (!posix::readAllAt(m_fd, piece, entry.dataOffset + done)) {
            return abandon(Code::unreadable, errno, m_path);
        }
        crc = CRC32::update(crc, piece);
        if (!posix::writeAll(out.get(), piece)) {
            return abandon(Code::extractFailed, errno, destination);
        }
        done += n;
    }
    if (crc != entry.crc) {
        return abandon(Code::damaged, 0, m_path);
    }
    if (!posix::syncFile(out.get()) || !out.close()) {
        return abandon(Code::extractFailed, errno, destination);
    }
    if (::rename(temporary.c_str(), destination.c_str()) != 0) {
        return abandon(Code::extractFailed, errno, destination);
    }
    if (flush == FolderFlush::each) {
        posix::syncFolder(posix::folderOf(destination));
    }
    return {};
}

}  // namespace corvale
