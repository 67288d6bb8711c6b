#pragma once
// What can go wrong writing or reading a backup archive, with a message fit to
// show the user as it is.

#include <filesystem>
#include <string>

namespace corvale {

struct ArchiveError {
    enum class Code {
        cannotCreate,      // the temporary archive couldn't be made beside the target
        noSpace,           // the disk filled while writing
        writeFailed,       // writing, flushing or renaming the archive failed
        sourceUnreadable,  // a file to add couldn't be opened or read
        sourceChanged,     // a file to add shrank while it was being added
        nameTooLong,       // an entry name over 65,535 UTF-8 bytes
        writerClosed,      // the writer was used after finish() or after a failure
        unreadable,        // the archive couldn't be opened or read
        damaged,           // an entry's bytes don't match its checksum or lie outside the file
        unsupported,       // an entry that isn't stored (compressed by another tool)
        extractFailed,     // an entry couldn't be written out to its destination
        inconsistent,      // entries share bytes or their two names differ
    };

    Code code = Code::damaged;
    int systemError = 0;  // errno where there is one
    std::filesystem::path path;

    static ArchiveError make(Code code, int systemError = 0, std::filesystem::path path = {});

    std::string message() const;
};

}  // namespace corvale
