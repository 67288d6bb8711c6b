#pragma once
// What every benchmark here shares: a reporter that remembers each result so
// it can be set beside its floor, and the peak resident memory of one piece of work.

#include <benchmark/benchmark.h>
#include <malloc.h>

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
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

}  // namespace corvale::bench
