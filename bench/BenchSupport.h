#pragma once
// What every benchmark here shares: a reporter that remembers each result so
// it can be set beside its floor, the peak resident memory of one piece of
// work, and the plain file copies that archive work is measured against.

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <malloc.h>
#include <unistd.h>

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace corvale::bench {

class RatioReporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const auto& run : runs) {
            if (run.run_type == Run::RT_Iteration && run.iterations > 0)
                m_seconds[run.run_name.function_name] = run.GetAdjustedRealTime();
        }
        ConsoleReporter::ReportRuns(runs);
    }
    double time(const std::string& name) const {
        const auto it = m_seconds.find(name);
        return it == m_seconds.end() ? 0 : it->second;
    }
    double ratio(const std::string& name, const std::string& floor) const { return time(name) / time(floor); }

private:
    std::map<std::string, double> m_seconds;
};

inline std::size_t statusBytes(const char* field) {
    std::FILE* status = std::fopen("/proc/self/status", "r");
    if (!status) return 0;
    char line[256];
    std::size_t kilobytes = 0;
    const std::size_t length = std::strlen(field);
    while (std::fgets(line, sizeof line, status)) {
        if (std::strncmp(line, field, length) == 0) kilobytes = std::strtoull(line + length, nullptr, 10);
    }
    std::fclose(status);
    return kilobytes * 1024;
}

// Hands freed pages back to the kernel, so memory the work reuses counts as
// touched again, then resets the high-water mark so it covers only `work`.
template <class Work>
std::size_t peakResidentAbove(Work&& work) {
    malloc_trim(0);
    if (std::FILE* refs = std::fopen("/proc/self/clear_refs", "w")) {
        std::fputs("5", refs);
        std::fclose(refs);
    }
    const std::size_t before = statusBytes("VmRSS:");
    work();
    return statusBytes("VmHWM:") - before;
}

inline const char* verdict(bool met) { return met ? "met" : "MISSED"; }

// Appends `from` to `out` through `buffer`, as plainly as a copy can be.
inline void appendFile(int out, const std::filesystem::path& from, std::vector<char>& buffer) {
    const int in = ::open(from.c_str(), O_RDONLY | O_CLOEXEC);
    for (ssize_t n; (n = ::read(in, buffer.data(), buffer.size())) > 0;) {
        if (::write(out, buffer.data(), static_cast<std::size_t>(n)) != n) std::abort();
    }
    ::close(in);
}

// The floor of writing an archive: the same files concatenated into one, flushed once.
inline void concatenate(const std::vector<std::filesystem::path>& sources, const std::filesystem::path& target,
                        std::vector<char>& buffer) {
    const int out = ::open(target.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    for (const auto& source : sources) appendFile(out, source, buffer);
    ::fsync(out);
    ::close(out);
}

// The floor of unpacking one: each file copied under its own name into `folder`, each flushed.
inline void copyEach(const std::vector<std::filesystem::path>& sources, const std::filesystem::path& folder,
                     std::vector<char>& buffer) {
    for (const auto& source : sources) {
        const auto path = folder / source.filename();
        const int out = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
        appendFile(out, source, buffer);
        ::fsync(out);
        ::close(out);
    }
}

}  // namespace corvale::bench
