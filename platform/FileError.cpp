#include "platform/FileSystem.h"

#include <cerrno>
#include <system_error>

namespace corvale {

FileError FileError::fromSystemError(int error, std::filesystem::path path) {
    FileError result;
    result.systemError = error;
    result.path = std::move(path);
    switch (error) {
    case ENOENT:
        result.code = Code::notFound;
        break;
    case EACCES:
    case EPERM:
    case EROFS:
        result.code = Code::permissionDenied;
        break;
    case ENOSPC:
    case EDQUOT:
        result.code = Code::noSpace;
        break;
    default:
        result.code = Code::other;
        break;
    }
    return result;
}

std::string FileError::message() const {
    const std::string name = path.empty() ? std::string("The file") : path.string();
    switch (code) {
    case Code::noSpace:
        return "The disk is full, so free some space and try again.";
    case Code::permissionDenied:
        return "Corvale isn't allowed to use " + (path.empty() ? std::string("this file") : name) +
               ", so check the folder's permissions.";
    case Code::notFound:
        return name + " couldn't be found.";
    case Code::notAFile:
        return name + " is a link, folder or device rather than a plain file, so choose the file itself.";
    case Code::tooLarge:
        return name + " is larger than Corvale reads, so check it is the right file.";
    case Code::other:
        break;
    }
    std::string reason;
    if (systemError != 0) {
        reason = " (" + std::generic_category().message(systemError) + ")";
    }
    return name + " couldn't be read or written" + reason + ", so please try again.";
}

}  // namespace corvale
