#include "platform/memory/InMemoryFileSystem.h"

#include <algorithm>
#include <cerrno>

namespace corvale {

namespace {

// One spelling per place, so "a/./b/" and "a/b" name the same file.
std::filesystem::path normalized(const std::filesystem::path& path) {
    std::filesystem::path result = path.lexically_normal();
    if (!result.empty() && !result.has_filename() && result != result.root_path()) {
        result = result.parent_path();
    }
    return result;
}

bool isWithin(const std::filesystem::path& candidate, const std::filesystem::path& folder) {
    return std::mismatch(folder.begin(), folder.end(), candidate.begin(), candidate.end()).first == folder.end();
}

FileError errorFor(FileError::Code code, int error, const std::filesystem::path& path) {
    FileError result;
    result.code = code;
    result.systemError = error;
    result.path = path;
    return result;
}

}  // namespace

InMemoryFileSystem::InMemoryFileSystem() {
    // Folders above everything else, as on a real disk.
    m_directories.insert("/");
    m_directories.insert(".");
}

Result<Bytes, FileError> InMemoryFileSystem::readFile(const std::filesystem::path& path) {
    const std::filesystem::path key = normalized(path);
    if (const auto found = m_files.find(key); found != m_files.end()) {
        return found->second;
    }
    if (m_directories.contains(key)) {
        return fail(errorFor(FileError::Code::other, EISDIR, path));
    }
    return fail(errorFor(FileError::Code::notFound, ENOENT, path));
}

Result<Bytes, FileError> InMemoryFileSystem::readRegularFile(const std::filesystem::path& path,
                                                             std::uint64_t maxBytes) {
    const std::filesystem::path key = normalized(path);
    if (m_directories.contains(key)) {
        return fail(errorFor(FileError::Code::notAFile, 0, path));
    }
    if (const auto found = m_files.find(key); found != m_files.end() && found->second.size() > maxBytes) {
        return fail(errorFor(FileError::Code::tooLarge, 0, path));
    }
    return readFile(path);
}

Result<void, FileError> InMemoryFileSystem::replaceFileAtomically(const std::filesystem::path& path,
                                                                  ByteView contents) {
    const std::filesystem::path key = normalized(path);
    std::filesystem::path folder = key.parent_path();
    if (folder.empty()) {
        folder = ".";
    }
    if (!m_directories.contains(folder)) {
        return fail(errorFor(FileError::Code::notFound, ENOENT, folder));
    }
    if (m_directories.contains(key)) {
        return fail(errorFor(FileError::Code::other, EISDIR, path));
    }
    if (m_writeBudget && contents.size() > *m_writeBudget - std::min(*m_writeBudget, m_bytesSinceBudget)) {
        return fail(errorFor(FileError::Code::noSpace, ENOSPC, path));
    }
    m_bytesSinceBudget += contents.size();
    m_files.insert_or_assign(key, Bytes(contents.begin(), contents.end()));
    ++m_writes[key];
    ++m_totalWrites;
    return {};
}

Result<void, FileError> InMemoryFileSystem::createFile(const std::filesystem::path& path, ByteView contents) {
    if (exists(path)) {
        return fail(errorFor(FileError::Code::other, EEXIST, path));
    }
    return replaceFileAtomically(path, contents);
}

void InMemoryFileSystem::flushFolder(const std::filesystem::path&) {}

bool InMemoryFileSystem::exists(const std::filesystem::path& path) {
    const std::filesystem::path key = normalized(path);
    return m_files.contains(key) || m_directories.contains(key);
}

Result<void, FileError> InMemoryFileSystem::createDirectories(const std::filesystem::path& path) {
    std::filesystem::path current;
    std::vector<std::filesystem::path> missing;
    for (const std::filesystem::path& part : normalized(path)) {
        current /= part;
        if (m_files.contains(current)) {
            return fail(errorFor(FileError::Code::other, ENOTDIR, current));
        }
        if (!m_directories.contains(current)) {
            missing.push_back(current);
        }
    }
    m_directories.insert(missing.begin(), missing.end());
    return {};
}

Result<void, FileError> InMemoryFileSystem::removeFile(const std::filesystem::path& path) {
    const std::filesystem::path key = normalized(path);
    if (m_directories.contains(key)) {
        return fail(errorFor(FileError::Code::other, EISDIR, path));
    }
    m_files.erase(key);
    return {};
}

Result<void, FileError> InMemoryFileSystem::removeAll(const std::filesystem::path& path) {
    const std::filesystem::path key = normalized(path);
    if (key.empty()) {
        return {};  // an empty path would otherwise match everything
    }
    std::erase_if(m_files, [&](const auto& entry) { return isWithin(entry.first, key); });
    std::erase_if(m_directories, [&](const auto& entry) { return isWithin(entry, key); });
    // The roots stay; removing everything under them still works above.
    m_directories.insert("/");
    m_directories.insert(".");
    return {};
}

std::vector<std::string> InMemoryFileSystem::list(const std::filesystem::path& directory) {
    const std::filesystem::path key = normalized(directory);
    std::vector<std::string> names;
    if (!m_directories.contains(key)) {
        return names;
    }
    const auto addIfChild = [&](const std::filesystem::path& entry) {
        if (entry != key && entry.has_filename() && (entry.has_parent_path() ? entry.parent_path() : ".") == key) {
            names.push_back(entry.filename().string());
        }
    };
    for (const auto& [file, bytes] : m_files) {
        addIfChild(file);
    }
    for (const auto& folder : m_directories) {
        addIfChild(folder);
    }
    std::sort(names.begin(), names.end());
    return names;
}

void InMemoryFileSystem::failWritesAfter(std::size_t bytes) {
    m_writeBudget = bytes;
    m_bytesSinceBudget = 0;
}

void InMemoryFileSystem::clearWriteFailures() { m_writeBudget.reset(); }

std::size_t InMemoryFileSystem::writeCount(const std::filesystem::path& path) const {
    const auto found = m_writes.find(normalized(path));
    return found == m_writes.end() ? 0 : found->second;
}

namespace {

class InMemoryLock final : public FileLock {
public:
    InMemoryLock(std::shared_ptr<std::map<std::uint64_t, std::filesystem::path>> held, std::uint64_t id)
        : m_held(std::move(held)), m_id(id) {}
    ~InMemoryLock() override { m_held->erase(m_id); }

private:
    std::shared_ptr<std::map<std::uint64_t, std::filesystem::path>> m_held;
    std::uint64_t m_id;
};

}  // namespace

Result<std::optional<std::unique_ptr<FileLock>>, FileError> InMemoryFileSystem::lockExclusively(
    const std::filesystem::path& path) {
    const auto key = normalized(path);
    if (!m_directories.contains(key.parent_path().empty() ? "." : key.parent_path()))
        return fail(FileError::fromSystemError(ENOENT, path));
    if (std::any_of(m_heldLocks->begin(), m_heldLocks->end(), [&](const auto& held) { return held.second == key; }))
        return std::optional<std::unique_ptr<FileLock>>();
    const std::uint64_t id = m_nextLock++;
    m_heldLocks->emplace(id, key);
    return std::optional<std::unique_ptr<FileLock>>(std::make_unique<InMemoryLock>(m_heldLocks, id));
}

Result<void, FileError> InMemoryFileSystem::rename(const std::filesystem::path& from, const std::filesystem::path& to) {
    const auto target = normalized(to);
    if (m_files.contains(target) || m_directories.contains(target)) return fail(FileError::fromSystemError(EEXIST, to));
    const auto parent = target.parent_path().empty() ? std::filesystem::path(".") : target.parent_path();
    if (!m_directories.contains(parent)) return fail(FileError::fromSystemError(ENOENT, to));
    return move(normalized(from), target);
}

Result<void, FileError> InMemoryFileSystem::exchange(const std::filesystem::path& first,
                                                     const std::filesystem::path& second) {
    const auto one = normalized(first);
    const auto other = normalized(second);
    if (!m_directories.contains(one)) return fail(FileError::fromSystemError(ENOENT, first));
    if (!m_directories.contains(other)) return fail(FileError::fromSystemError(ENOENT, second));
    if (m_exchangeFails) return fail(FileError::fromSystemError(EIO, first));
    // Nothing can fail between the three moves, so this is as much one step as the real one.
    const std::filesystem::path aside = one.string() + ".exchange";
    (void)move(one, aside);
    (void)move(other, one);
    (void)move(aside, other);
    return {};
}

Result<void, FileError> InMemoryFileSystem::move(const std::filesystem::path& source,
                                                 const std::filesystem::path& target) {
    if (!m_files.contains(source) && !m_directories.contains(source))
        return fail(FileError::fromSystemError(ENOENT, source));
    for (auto& [id, held] : *m_heldLocks) {
        if (isWithin(held, source)) held = normalized(target / held.lexically_relative(source));
    }
    if (auto file = m_files.find(source); file != m_files.end()) {
        m_files.emplace(target, std::move(file->second));
        m_files.erase(file);
        return {};
    }
    const auto moved = [&](const std::filesystem::path& path) { return target / path.lexically_relative(source); };
    std::map<std::filesystem::path, Bytes> files;
    for (auto it = m_files.begin(); it != m_files.end();) {
        if (isWithin(it->first, source)) {
            files.emplace(moved(it->first), std::move(it->second));
            it = m_files.erase(it);
        } else {
            ++it;
        }
    }
    m_files.merge(files);
    std::set<std::filesystem::path> folders;
    for (auto it = m_directories.begin(); it != m_directories.end();) {
        if (isWithin(*it, source)) {
            folders.insert(normalized(moved(*it)));
            it = m_directories.erase(it);
        } else {
            ++it;
        }
    }
    m_directories.merge(folders);
    return {};
}

std::optional<FileStamp> InMemoryFileSystem::stamp(const std::filesystem::path& path) {
    const auto found = m_files.find(normalized(path));
    if (found == m_files.end()) return std::nullopt;
    const auto writes = m_writes.find(found->first);
    return FileStamp{found->second.size(), static_cast<std::int64_t>(writes == m_writes.end() ? 0 : writes->second)};
}

}  // namespace corvale
