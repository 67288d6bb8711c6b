#pragma once
// A fresh, private folder for one test, removed with everything in it.

#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>

namespace corvale::testing {

class TemporaryFolder {
public:
    TemporaryFolder() {
        std::string pattern = (std::filesystem::temp_directory_path() / "corvale-platform-XXXXXX").string();
        if (::mkdtemp(pattern.data()) == nullptr) {
            throw std::runtime_error("mkdtemp failed");
        }
        m_path = pattern;
    }
    ~TemporaryFolder() {
        // Tests may have taken write permission away; give it back so cleanup works.
        std::error_code ignored;
        for (auto it = std::filesystem::recursive_directory_iterator(m_path, ignored);
             it != std::filesystem::recursive_directory_iterator(); it.increment(ignored)) {
            if (it->is_directory(ignored)) {
                ::chmod(it->path().c_str(), 0700);
            }
        }
        ::chmod(m_path.c_str(), 0700);
        std::filesystem::remove_all(m_path, ignored);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::filesystem::path& path() const { return m_path; }

private:
    std::filesystem::path m_path;
};

}  // namespace corvale::testing
