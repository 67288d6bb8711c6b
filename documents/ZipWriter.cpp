#include "documents/ZipWriter.h"

#include "documents/CRC32.h"
#include "documents/PosixIO.h"
#include "documents/ZipLayout.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <stdexcept>
#include <string>
#include <utility>

namespace corvale {

namespace {

constexpr std::size_t kChunk = 1 << 20;
constexpr std::size_t kBuffer = 64 << 10;  // batches the small headers of many small entries

using Code = ArchiveError::Code;

}  // namespace

ZipWriter::ZipWriter(ZipLimits limits) : m_layout(std::make_unique<zip::Layout>(limits)) {}
ZipWriter::~ZipWriter() = default;
ZipWriter::ZipWriter(ZipWriter&&) noexcept = default;
ZipWriter& ZipWriter::operator=(ZipWriter&&) noexcept = default;

void ZipWriter::add(std::string_view name, ByteView data) {
    if (name.size() > zip::kMaxName) {
        throw std::length_error("ZIP entry name over 65,535 bytes");
    }
    const Bytes header = m_layout->localHeader(name, data.size(), CRC32::checksum(data), m_bytes.size());
    m_bytes.insert(m_bytes.end(), header.begin(), header.end());
    m_bytes.insert(m_bytes.end(), data.begin(), data.end());
}

Bytes ZipWriter::finish() {
    const Bytes tail = m_layout->finish(m_bytes.size());
    m_bytes.insert(m_bytes.end(), tail.begin(), tail.end());
    return std::move(m_bytes);
}

// --------------------------------------------------------------- file writer

struct ZipFileWriter::State {
    std::filesystem::path target;
    std::string temporary;
    posix::Descriptor fd;
    zip::Layout layout;
    Bytes buffer;               // written bytes not yet handed to the file
    Bytes chunk;                // what addFile reads into, kept from one file to the next
    std::uint64_t flushed = 0;  // file offset where `buffer` starts
    bool open = true;

    State(std::filesystem::path path, std::string temp, posix::Descriptor descriptor, ZipLimits limits)
        : target(std::move(path)), temporary(std::move(temp)), fd(std::move(descriptor)), layout(limits) {
        buffer.reserve(kBuffer);
    }

    ~State() { abandon(); }

    std::uint64_t offset() const { return flushed + buffer.size(); }

    void abandon() {
        if (open) {
            open = false;
            fd.reset();
            ::unlink(temporary.c_str());
        }
    }

    Failure<ArchiveError> failWith(Code code, int error, std::filesystem::path path = {}) {
        abandon();
        return fail(ArchiveError::make(code, error, std::move(path)));
    }

    bool flush() {
        if (!posix::writeAll(fd.get(), buffer)) {
            return false;
        }
        flushed += buffer.size();
        buffer.clear();
        return true;
    }

    bool write(ByteView bytes) {
        if (buffer.size() + bytes.size() <= kBuffer) {
            buffer.insert(buffer.end(), bytes.begin(), bytes.end());
            return true;
        }
        if (!flush()) {
            return false;
        }
        if (bytes.size() < kBuffer) {
            buffer.insert(buffer.end(), bytes.begin(), bytes.end());
            return true;
        }
        if (!posix::writeAll(fd.get(), bytes)) {
            return false;
        }
        flushed += bytes.size();
        return true;
    }

    // Overwrites bytes already written, wherever they are by now.
    bool patch(std::uint64_t at, ByteView bytes) {
        if (at >= flushed) {
            std::copy(bytes.begin(), bytes.end(), buffer.begin() + static_cast<std::ptrdiff_t>(at - flushed));
            return true;
        }
        return flush() && posix::writeAllAt(fd.get(), bytes, at);
    }

    Result<void, ArchiveError> begin(std::string_view name, std::uint64_t size, std::uint32_t crc,
                                     std::uint64_t& headerAt) {
        if (!open) {
            return fail(ArchiveError::make(Code::writerClosed));
        }
        if (name.size() > zip::kMaxName) {
            return failWith(Code::nameTooLong, 0);
        }
        headerAt = offset();
        if (!write(layout.localHeader(name, size, crc, headerAt))) {
            return failWith(Code::writeFailed, errno);
        }
        return {};
    }
};

ZipFileWriter::ZipFileWriter(std::unique_ptr<State> state) : m_state(std::move(state)) {}
ZipFileWriter::~ZipFileWriter() = default;
ZipFileWriter::ZipFileWriter(ZipFileWriter&&) noexcept = default;
ZipFileWriter& ZipFileWriter::operator=(ZipFileWriter&&) noexcept = default;

Result<ZipFileWriter, ArchiveError> ZipFileWriter::create(const std::filesystem::path& path, ZipLimits limits) {
    std::string temporary;
    posix::Descriptor fd = posix::createTemporaryBeside(path, temporary);
    if (fd.get() < 0) {
        return fail(ArchiveError::make(Code::cannotCreate, errno, posix::folderOf(path)));
    }
    return ZipFileWriter(std::make_unique<State>(path, std::move(temporary), std::move(fd), limits));
}

Result<void, ArchiveError> ZipFileWriter::add(std::string_view name, ByteView data) {
    std::uint64_t headerAt = 0;
    if (auto started = m_state->begin(name, data.size(), CRC32::checksum(data), headerAt); !started) {
        return started;
    }
    if (!m_state->write(data)) {
        return m_state->failWith(Code::writeFailed, errno);
    }
    return {};
}

Result<void, ArchiveError> ZipFileWriter::addFile(std::string_view name, const std::filesystem::path& source) {
    State& s = *m_state;
    if (!s.open) {
        return fail(ArchiveError::make(Code::writerClosed));
    }
    const posix::Descriptor in(::open(source.c_str(), O_RDONLY | O_CLOEXEC));
    struct stat info {};
    if (in.get() < 0 || ::fstat(in.get(), &info) != 0) {
        return s.failWith(Code::sourceUnreadable, errno, source);
    }
    if (!S_ISREG(info.st_mode)) {
        return s.failWith(Code::sourceUnreadable, EISDIR, source);
    }
    // The size is fixed now, so the header (ZIP64 or not) is final; bytes the
    // file gains meanwhile are left out, and a file that shrinks fails.
    const auto size = static_cast<std::uint64_t>(info.st_size);
    ::posix_fadvise(in.get(), 0, 0, POSIX_FADV_SEQUENTIAL);

    if (s.chunk.size() < kChunk) {
        s.chunk.resize(kChunk);
    }
    const auto readInto = [&](std::span<std::uint8_t> piece) -> Result<void, ArchiveError> {
        for (std::size_t done = 0; done < piece.size();) {
            const ssize_t n = ::read(in.get(), piece.data() + done, piece.size() - done);
            if (n < 0 && errno == EINTR) {
                continue;
            }
            if (n < 0) {
                return s.failWith(Code::sourceUnreadable, errno, source);
            }
            if (n == 0) {
                return s.failWith(Code::sourceChanged, 0, source);
            }
            done += static_cast<std::size_t>(n);
        }
        return {};
    };

    // A file that fits in one chunk is checksummed before its header goes
    // out, so nothing has to be patched afterwards.
    std::uint64_t headerAt = 0;
    if (size <= s.chunk.size()) {
        const std::span<std::uint8_t> whole(s.chunk.data(), static_cast<std::size_t>(size));
        if (auto read = readInto(whole); !read) {
            return read;
        }
        const std::uint32_t crc = CRC32::checksum(whole);
        if (auto started = s.begin(name, size, crc, headerAt); !started) {
            return started;
        }
        if (!s.write(whole)) {
            return s.failWith(Code::writeFailed, errno);
        }
        s.layout.setLastCrc(crc);
        return {};
    }

    if (auto started = s.begin(name, size, 0, headerAt); !started) {
        return started;
    }
    std::uint32_t crc = 0;
    for (std::uint64_t done = 0; done < size;) {
        const std::span<std::uint8_t> piece(
            s.chunk.data(), static_cast<std::size_t>(std::min<std::uint64_t>(size - done, s.chunk.size())));
        if (auto read = readInto(piece); !read) {
            return read;
        }
        crc = CRC32::update(crc, piece);
        if (!s.write(piece)) {
            return s.failWith(Code::writeFailed, errno);
        }
        done += piece.size();
    }

    Bytes crcField;
    zip::put32(crcField, crc);
    if (!s.patch(headerAt + zip::kCrcField, crcField)) {
        return s.failWith(Code::writeFailed, errno);
    }
    s.layout.setLastCrc(crc);
    return {};
}

Result<void, ArchiveError> ZipFileWriter::finish() {
    State& s = *m_state;
    if (!s.open) {
        return fail(ArchiveError::make(Code::writerClosed));
    }
    if (!s.write(s.layout.finish(s.offset())) || !s.flush() || !posix::syncFile(s.fd.get()) || !s.fd.close()) {
        return s.failWith(Code::writeFailed, errno);
    }
    if (::rename(s.temporary.c_str(), s.target.c_str()) != 0) {
        return s.failWith(Code::writeFailed, errno, s.target);
    }
    // The rename is the commit point; flushing the folder only makes it
    // survive a crash, so its failure is not the caller's to handle.
    s.open = false;
    posix::syncFolder(posix::folderOf(s.target));
    return {};
}

}  // namespace corvale
