#include "vault/PlainCopies.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>
#include <utility>

namespace corvale {

namespace {

constexpr std::size_t kMaxNameBytes = 200;
constexpr std::size_t kMaxKeptExtension = 16;

FileError fileError(int error, const std::filesystem::path& path) { return FileError::fromSystemError(error, path); }

Failure<VaultError> storageFailure(int error, const std::filesystem::path& path) {
    return fail(VaultError::storage(fileError(error, path)));
}

Result<void, VaultError> writePrivateFile(const std::filesystem::path& path, ByteView contents) {
    // A copy left from an earlier viewing is replaced; a viewer still holding
    // it keeps reading the old inode.
    if (::unlink(path.c_str()) != 0 && errno != ENOENT) {
        return storageFailure(errno, path);
    }
    const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
    if (fd < 0) {
        return storageFailure(errno, path);
    }
    int error = 0;
    if (::fchmod(fd, 0600) != 0) {
        error = errno;
    }
    std::size_t written = 0;
    while (error == 0 && written < contents.size()) {
        const ssize_t count = ::write(fd, contents.data() + written, contents.size() - written);
        if (count < 0) {
            if (errno != EINTR) {
                error = errno;
            }
            continue;
        }
        written += static_cast<std::size_t>(count);
    }
    if (::close(fd) != 0 && error == 0) {
        error = errno;
    }
    if (error != 0) {
        ::unlink(path.c_str());
        return storageFailure(error, path);
    }
    return {};
}

bool isContinuationByte(char c) { return (static_cast<unsigned char>(c) & 0xC0) == 0x80; }

}  // namespace

std::string sanitisedFileName(std::string_view name, std::string_view fallback) {
    std::string out;
    out.reserve(name.size());
    for (std::size_t i = 0; i < name.size(); ++i) {
        const auto byte = static_cast<unsigned char>(name[i]);
        char c = name[i];
        // C1 controls arrive in UTF-8 as 0xC2 0x80..0x9F.
        if (byte == 0xC2 && i + 1 < name.size() && static_cast<unsigned char>(name[i + 1]) >= 0x80 &&
            static_cast<unsigned char>(name[i + 1]) <= 0x9F) {
            ++i;
            c = '_';
        } else if (byte < 0x20 || byte == 0x7F || c == '/' || c == '\\') {
            c = '_';
        }
        if (c == '.' && (out.empty() || out.back() == '.')) {
            continue;  // no leading dot, no ".."
        }
        out.push_back(c);
    }

    if (out.size() > kMaxNameBytes) {
        const std::size_t dot = out.rfind('.');
        std::string extension;
        if (dot != std::string::npos && out.size() - dot <= kMaxKeptExtension) {
            extension = out.substr(dot);
        }
        std::size_t cut = kMaxNameBytes - extension.size();
        while (cut > 0 && isContinuationByte(out[cut])) {
            --cut;
        }
        out.resize(cut);
        while (!out.empty() && out.back() == '.') {
            out.pop_back();
        }
        out += extension;
    }
    if (out.empty()) {
        return std::string(fallback);
    }
    return out;
}

Result<void, VaultError> ensurePrivateFolder(const std::filesystem::path& path) {
    if (::mkdir(path.c_str(), 0700) != 0 && errno != EEXIST) {
        return storageFailure(errno, path);
    }
    struct stat info {};
    if (::lstat(path.c_str(), &info) != 0) {
        return storageFailure(errno, path);
    }
    if (!S_ISDIR(info.st_mode) || info.st_uid != ::geteuid()) {
        return storageFailure(EACCES, path);
    }
    if ((info.st_mode & 07777) != 0700 && ::chmod(path.c_str(), 0700) != 0) {
        return storageFailure(errno, path);
    }
    return {};
}

std::string perUserName(std::string_view prefix, std::string_view suffix) {
    return std::string(prefix) + "-" + std::to_string(::geteuid()) + "-" + std::string(suffix);
}

PlainCopies::PlainCopies(std::filesystem::path temporaryBase)
    : m_temporaryBase(std::move(temporaryBase)), m_root(m_temporaryBase / perUserName("corvale", "plain")) {}

Result<std::filesystem::path, VaultError> PlainCopies::write(std::string_view documentId, std::string_view filename,
                                                             ByteView plain) const {
    std::error_code ignored;
    std::filesystem::create_directories(m_temporaryBase, ignored);  // a failure shows up just below

    const std::filesystem::path folder = m_root / sanitisedFileName(documentId, "document");
    for (const auto& path : {m_root, folder}) {
        auto made = ensurePrivateFolder(path);
        if (!made) {
            return fail(made.error());
        }
    }
    std::filesystem::path file = folder / sanitisedFileName(filename, "document");
    auto written = writePrivateFile(file, plain);
    if (!written) {
        return fail(written.error());
    }
    return file;
}

Result<void, VaultError> PlainCopies::clear() const {
    std::error_code error;
    std::filesystem::remove_all(m_root, error);
    if (error && error != std::errc::no_such_file_or_directory) {
        return storageFailure(error.value(), m_root);
    }
    return {};
}

}  // namespace corvale
