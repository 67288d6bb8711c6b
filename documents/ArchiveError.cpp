#include "documents/ArchiveError.h"

#include <cerrno>
#include <system_error>
#include <utility>

namespace corvale {

ArchiveError ArchiveError::make(Code code, int systemError, std::filesystem::path path) {
    // A full disk has one remedy whichever write hit it.
    if ((code == Code::writeFailed || code == Code::extractFailed || code == Code::cannotCreate) &&
        (systemError == ENOSPC || systemError == EDQUOT)) {
        code = Code::noSpace;
    }
    return ArchiveError{code, systemError, std::move(path)};
}

std::string ArchiveError::message() const {
    const std::string reason = systemError != 0 ? " (" + std::generic_category().message(systemError) + ")" : "";
    const std::string name = path.empty() ? std::string("A file") : path.string();
    switch (code) {
    case Code::cannotCreate:
        return "The backup couldn't be started in " + (path.empty() ? std::string("that folder") : path.string()) +
               reason + ", so check the folder exists and that Corvale may write there.";
    case Code::noSpace:
        return "The disk is full, so free some space and try again.";
    case Code::writeFailed:
        return "The backup couldn't be written" + reason + ", so check the disk has space and try again.";
    case Code::sourceUnreadable:
        return name + " couldn't be read for the backup" + reason + ", so check it is still there and try again.";
    case Code::sourceChanged:
        return name + " changed while it was being backed up, so try the backup again.";
    case Code::nameTooLong:
        return "A file name is too long to go in a backup, so shorten it and try again.";
    case Code::writerClosed:
        return "This backup was already finished or abandoned, so start a new one.";
    case Code::unreadable:
        return "The backup " + (path.empty() ? std::string("file") : path.string()) + " couldn't be read" + reason +
               ", so check the file is still there and try again.";
    case Code::damaged:
        return "This backup is damaged, so restore from another copy of it.";
    case Code::unsupported:
        return "This backup holds compressed files that Corvale can't read, so make the backup again from Corvale.";
    case Code::extractFailed:
        return name + " couldn't be restored" + reason + ", so check the disk has space and try again.";
    case Code::inconsistent:
        return "This backup's files overlap or disagree about their names, so restore from another copy of it.";
    }
    return "This backup is damaged, so restore from another copy of it.";
}

}  // namespace corvale
