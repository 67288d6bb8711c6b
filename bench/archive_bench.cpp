// Backing up and restoring 2,000 documents of 256 KiB through our archives,
// each beside its floor: copying the same files with the same flushing (once
// at the end for the archive, each file for the restore). Prints the ratios
// and the peak resident memory of each.
//
//   cmake --preset release && cmake --build --preset release -j2 && build/release/bench/archive_bench

#include "documents/ZipReader.h"
#include "documents/ZipWriter.h"

#include "BenchSupport.h"

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <malloc.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace corvale {
namespace {

namespace fs = std::filesystem;

constexpr int kFiles = 2000;
constexpr std::size_t kFileSize = 256 << 10;
constexpr std::size_t kChunk = 1 << 20;

struct Fixture {
    fs::path directory;
    std::vector<fs::path> sources;

    Fixture() {
        char pattern[] = "/tmp/corvale-archive-bench-XXXXXX";
        directory = mkdtemp(pattern);
        fs::create_directories(directory / "docs");
        std::vector<char> data(kFileSize);
        unsigned state = 1;
        for (int i = 0; i < kFiles; ++i) {
            for (auto& byte : data) byte = static_cast<char>((state = state * 1103515245u + 12345u) >> 16);
            sources.push_back(directory / "docs" / (std::to_string(i) + ".pbb"));
            std::FILE* out = std::fopen(sources.back().c_str(), "wb");
            if (!out || std::fwrite(data.data(), 1, data.size(), out) != data.size() || std::fclose(out) != 0) {
                std::abort();
            }
        }
    }
    ~Fixture() { fs::remove_all(directory); }

    fs::path archive() const { return directory / "backup.zip"; }
    fs::path restored(int i) const { return directory / "out" / (std::to_string(i) + ".pbb"); }
};

Fixture& fixture() {
    static Fixture instance;
    return instance;
}

void writeArchive() {
    auto& f = fixture();
    auto writer = ZipFileWriter::create(f.archive());
    for (int i = 0; i < kFiles; ++i) {
        if (!writer || !writer->addFile("blobs/" + std::to_string(i) + ".pbb", f.sources[i])) std::abort();
    }
    if (!writer->finish()) std::abort();
}

void extractArchive(ZipFileReader::FolderFlush flush) {
    auto& f = fixture();
    auto reader = ZipFileReader::open(f.archive());
    if (!reader || reader->entries().size() != kFiles) std::abort();
    int i = 0;
    for (const auto& entry : reader->entries()) {
        if (!reader->copyTo(entry, f.restored(i++), flush)) std::abort();
    }
    if (flush == ZipFileReader::FolderFlush::deferred) ZipFileReader::flushFolder(f.directory / "out");
}

// A restore makes new files, so every run starts from an empty folder.
void emptyFolder(benchmark::State& state, const fs::path& folder) {
    state.PauseTiming();
    fs::remove_all(folder);
    fs::create_directories(folder);
    ::sync();
    state.ResumeTiming();
}

void BM_Archive(benchmark::State& state) {
    for (auto _ : state) writeArchive();
    state.SetBytesProcessed(state.iterations() * kFiles * static_cast<std::int64_t>(kFileSize));
}

// Concatenating the same files into one, flushed once.
void BM_ArchiveFloor(benchmark::State& state) {
    auto& f = fixture();
    std::vector<char> chunk(kChunk);
    for (auto _ : state) {
        bench::concatenate(f.sources, f.directory / "floor.bin", chunk);
    }
    state.SetBytesProcessed(state.iterations() * kFiles * static_cast<std::int64_t>(kFileSize));
}

// Flushing the folder after each file, as a lone copyTo does.
void BM_Extract(benchmark::State& state) {
    writeArchive();
    for (auto _ : state) {
        emptyFolder(state, fixture().directory / "out");
        extractArchive(ZipFileReader::FolderFlush::each);
    }
    state.SetBytesProcessed(state.iterations() * kFiles * static_cast<std::int64_t>(kFileSize));
}

// Flushing the folder once after all, as a restore does.
void BM_ExtractBatch(benchmark::State& state) {
    writeArchive();
    for (auto _ : state) {
        emptyFolder(state, fixture().directory / "out");
        extractArchive(ZipFileReader::FolderFlush::deferred);
    }
    state.SetBytesProcessed(state.iterations() * kFiles * static_cast<std::int64_t>(kFileSize));
}

// Plain copies of the same files, each flushed.
void BM_ExtractFloor(benchmark::State& state) {
    auto& f = fixture();
    std::vector<char> chunk(kChunk);
    for (auto _ : state) {
        emptyFolder(state, f.directory / "plain");
        bench::copyEach(f.sources, f.directory / "plain", chunk);
    }
    state.SetBytesProcessed(state.iterations() * kFiles * static_cast<std::int64_t>(kFileSize));
}

BENCHMARK(BM_Archive)->Unit(benchmark::kMillisecond)->MinTime(3.0)->UseRealTime();
BENCHMARK(BM_ArchiveFloor)->Unit(benchmark::kMillisecond)->MinTime(3.0)->UseRealTime();
BENCHMARK(BM_Extract)->Unit(benchmark::kMillisecond)->MinTime(3.0)->UseRealTime();
BENCHMARK(BM_ExtractBatch)->Unit(benchmark::kMillisecond)->MinTime(3.0)->UseRealTime();
BENCHMARK(BM_ExtractFloor)->Unit(benchmark::kMillisecond)->MinTime(3.0)->UseRealTime();


}  // namespace
}  // namespace corvale

int main(int argc, char** argv) {
    using namespace corvale;
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;

    fixture();
    std::printf("%d documents of %zu KiB, %.1f MB in all\n", kFiles, kFileSize >> 10,
                static_cast<double>(kFiles) * kFileSize / 1e6);
    const std::size_t archivePeak = bench::peakResidentAbove(writeArchive);
    fs::create_directories(fixture().directory / "out");
    const std::size_t extractPeak = bench::peakResidentAbove([] { extractArchive(ZipFileReader::FolderFlush::deferred); });

    bench::RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);

    // Throughput against the floor's: the floor's time over ours.
    const double archiveRatio = reporter.time("BM_ArchiveFloor") / reporter.time("BM_Archive");
    const double extractRatio = reporter.time("BM_ExtractFloor") / reporter.time("BM_ExtractBatch");
    const double extractEachRatio = reporter.time("BM_ExtractFloor") / reporter.time("BM_Extract");
    using bench::verdict;
    std::printf("\narchive throughput / copying   %5.2fx  (goal >= 0.8x)  %s\n", archiveRatio,
                verdict(archiveRatio >= 0.8));
    std::printf("extract throughput / copying   %5.2fx  (goal >= 0.8x)  %s\n", extractRatio,
                verdict(extractRatio >= 0.8));
    std::printf("  (flushing the folder after every file: %.2fx)\n", extractEachRatio);
    const double budget = 64.0 * (1 << 20) + kFileSize;
    const auto report = [&](const char* name, std::size_t peak) {
        std::printf("%s peak memory %.1f MB resident (goal < 64 MiB + one document)  %s\n", name,
                    static_cast<double>(peak) / 1e6, verdict(static_cast<double>(peak) < budget));
    };
    report("archive", archivePeak);
    report("extract", extractPeak);
    benchmark::Shutdown();
    return 0;
}
