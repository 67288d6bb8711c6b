#include "platform/FileSystem.h"

#include <gtest/gtest.h>

#include <cerrno>

namespace corvale {
namespace {

FileError error(FileError::Code code, int systemError, const char* path) {
    FileError e;
    e.code = code;
    e.systemError = systemError;
    e.path = path;
    return e;
}

TEST(FileError, MessageNamesTheCauseThenTheWayOut) {
    EXPECT_EQ(error(FileError::Code::noSpace, ENOSPC, "/data/v").message(),
              "The disk is full, so free some space and try again.");
    EXPECT_EQ(error(FileError::Code::permissionDenied, EACCES, "/data/v").message(),
              "Corvale isn't allowed to use /data/v, so check the folder's permissions.");
    EXPECT_EQ(error(FileError::Code::notFound, ENOENT, "/data/v").message(), "/data/v couldn't be found.");
    EXPECT_EQ(error(FileError::Code::other, EIO, "/data/v").message(),
              "/data/v couldn't be read or written (Input/output error), so please try again.");
    EXPECT_EQ(error(FileError::Code::other, 0, "/data/v").message(),
              "/data/v couldn't be read or written, so please try again.");
    EXPECT_EQ(error(FileError::Code::notFound, ENOENT, "").message(), "The file couldn't be found.");
}

}  // namespace
}  // namespace corvale
