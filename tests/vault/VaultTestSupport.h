#pragma once

#include "platform/Bytes.h"
#include "platform/SecureBytes.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <system_error>

namespace corvale::test {

// Files written by data/make_golden.py with an independent AES-GCM/PBKDF2.
inline Bytes readGolden(const std::string& name) {
    std::ifstream in(std::filesystem::path(CORVALE_TEST_DATA_DIR) / name, std::ios::binary);
    EXPECT_TRUE(in.good()) << "missing golden file " << name;
    return Bytes(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// The fixed bytes first, first+1, … that the golden files use.
inline Bytes countingBytes(std::uint8_t first, std::size_t count) {
    Bytes bytes(count);
    for (std::size_t i = 0; i < count; ++i) {
        bytes[i] = static_cast<std::uint8_t>(first + i);
    }
    return bytes;
}

inline SecureBytes countingKey(std::uint8_t first) { return SecureBytes(countingBytes(first, 32)); }

class TemporaryFolder {
public:
    TemporaryFolder() {
        std::string pattern = (std::filesystem::temp_directory_path() / "corvale-vault-test-XXXXXX").string();
        if (::mkdtemp(pattern.data()) == nullptr) {
            ADD_FAILURE() << "mkdtemp failed";
        }
        m_path = pattern;
    }
    ~TemporaryFolder() {
        std::error_code ignored;
        std::filesystem::permissions(m_path, std::filesystem::perms::owner_all, ignored);
        std::filesystem::remove_all(m_path, ignored);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::filesystem::path& path() const { return m_path; }

private:
    std::filesystem::path m_path;
};

}  // namespace corvale::test
