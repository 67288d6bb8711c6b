#pragma once
// The state data files, loaded once per process on first use from the
// resources delivered with the program. A missing or broken file is a stable
// state, not an error: every lookup then finds nothing.

#include "platform/FileSystem.h"
#include "requirements/RuleData.h"

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace corvale {

inline constexpr std::string_view kRequirementsResource = "state-requirements.json";
inline constexpr std::string_view kStateFeesResource = "state-fees.json";

class Requirements {
public:
    static const Requirements& shared();
    // The first of `folders` holding the file wins; the others are not tried once one is found.
    static Requirements load(FileSystem& files, const std::vector<std::filesystem::path>& folders);

    explicit Requirements(std::optional<RequirementsFile> file) : m_file(std::move(file)) {}

    const std::optional<RequirementsFile>& file() const { return m_file; }
    const StateRule* state(std::string_view code) const { return m_file ? m_file->state(code) : nullptr; }
    std::string topicName(std::string_view key) const { return m_file ? m_file->topicName(key) : humanise(key); }

private:
    std::optional<RequirementsFile> m_file;
};

class StateFees {
public:
    static const StateFees& shared();
    static StateFees load(FileSystem& files, const std::vector<std::filesystem::path>& folders);

    explicit StateFees(std::optional<StateFeesFile> file) : m_file(std::move(file)) {}

    const std::optional<StateFeesFile>& file() const { return m_file; }
    const StateFee* state(std::string_view code) const { return m_file ? m_file->state(code) : nullptr; }

private:
    std::optional<StateFeesFile> m_file;
};

}  // namespace corvale
