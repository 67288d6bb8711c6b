// Both archive readers on arbitrary bytes: they must answer, never crash or
// read out of bounds. Whatever stored entries come out, writing them again and
// reading that back gives the same entries, and the file reader agrees with
// the in-memory one.

#include "documents/ZipReader.h"
#include "documents/ZipWriter.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <optional>
#include <string>

namespace {

// The file reader needs a path; an in-memory file keeps the disk out of it.
int archiveFile() {
    static const int fd = memfd_create("zip_reader_fuzz", MFD_CLOEXEC);
    if (fd < 0) std::abort();
    return fd;
}

void checkFileReader(corvale::ByteView input, const std::map<std::string, corvale::Bytes>& expected) {
    const int fd = archiveFile();
    if (::ftruncate(fd, 0) != 0 || ::pwrite(fd, input.data(), input.size(), 0) != static_cast<ssize_t>(input.size())) {
        std::abort();
    }
    auto reader = corvale::ZipFileReader::open("/proc/self/fd/" + std::to_string(fd));
    if (!reader) std::abort();

    // The last of a repeated name wins, as in memory; nullopt where its checksum fails.
    std::map<std::string, std::optional<corvale::Bytes>> read;
    for (const auto& entry : reader->entries()) {
        auto bytes = reader->read(entry);
        if (entry.method != 0) {
            if (bytes) std::abort();
            continue;
        }
        if (!bytes && bytes.error().code != corvale::ArchiveError::Code::damaged) std::abort();
        read[entry.name] = bytes ? std::optional(std::move(bytes).value()) : std::nullopt;
    }
    // The file reader looks for the end record only within the last 64 KiB.
    if (input.size() > 22 + 0xFFFF) return;
    if (read.size() != expected.size()) std::abort();
    for (const auto& [name, bytes] : read) {
        const auto it = expected.find(name);
        if (it == expected.end() || (bytes && *bytes != it->second)) std::abort();
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const corvale::ByteView input(data, size);
    const auto entries = corvale::ZipReader::entries(input);

    corvale::ZipWriter writer;
    for (const auto& [name, bytes] : entries) writer.add(name, bytes);
    if (corvale::ZipReader::entries(writer.finish()) != entries) std::abort();

    checkFileReader(input, entries);
    return 0;
}
