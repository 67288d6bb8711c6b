#pragma once
// Real files for tests that need the real disk: a private folder that goes
// away with the test, and whole-file reads and writes.

#include "platform/Bytes.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace corvale::test_support {

struct TemporaryFolder {
    std::filesystem::path path = [] {
        std::string pattern = (std::filesystem::temp_directory_path() / "corvale-test-XXXXXX").string();
        EXPECT_NE(::mkdtemp(pattern.data()), nullptr);
        return std::filesystem::path(pattern);
    }();
    ~TemporaryFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path, ignored);
    }
};

inline Bytes readAll(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(in), {});
}

inline void writeAll(const std::filesystem::path& path, ByteView bytes) {
    std::ofstream(path, std::ios::binary | std::ios::trunc)
        .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

}  // namespace corvale::test_support
