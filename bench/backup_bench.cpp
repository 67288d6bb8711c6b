// Backing up and restoring a vault of 2,000 documents of 256 KiB through the
// VaultStore, beside the floor of copying the same sealed files in the same
// run (into one file, flushed once, for the backup; one by one, each flushed,
// for the restore). Prints the throughput ratios and the peak resident memory.
//
//   cmake --preset release && cmake --build --preset release -j2 && build/release/bench/backup_bench

#include "platform/Crypto.h"
#include "platform/linux/PosixFileSystem.h"
#include "platform/memory/InMemorySecretStore.h"
#include "vault/VaultStore.h"

#include "BenchSupport.h"

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <filesystem>
#include <vector>

namespace corvale {
namespace {

namespace fs = std::filesystem;

constexpr int kDocuments = 2000;
constexpr std::size_t kDocumentSize = 256 << 10;
constexpr std::string_view kPassphrase = "a long passphrase for the bench";

struct Device {
    fs::path home;
    PosixFileSystem files;
    InMemorySecretStore secrets;
    SystemClock clock;
    ManualScheduler scheduler;
    UnavailableAuthenticator authenticator;

    explicit Device(fs::path folder) : home(std::move(folder)) { fs::create_directories(home); }
    VaultStoreSetup setup() {
        return {files, secrets, clock, scheduler, authenticator, home / "share", home / "prefs.json", home / "tmp"};
    }
};

struct Fixture {
    fs::path root;
    std::unique_ptr<Device> office;
    std::unique_ptr<VaultStore> store;
    fs::path archive;
    std::vector<fs::path> blobs;

    Fixture() {
        char pattern[] = "/tmp/corvale-backup-bench-XXXXXX";
        root = mkdtemp(pattern);
        office = std::make_unique<Device>(root / "office");
        store = std::make_unique<VaultStore>(office->setup());
        Onboarding onboarding;
        onboarding.owner.name = "Bench";
        onboarding.owner.degree = "MD";
        if (!store->create(onboarding)) std::abort();
        for (int i = 0; i < kDocuments; ++i) {
            DocumentRecord record;
            record.filename = "scan-" + std::to_string(i) + ".pdf";
            if (!store->addDocument(crypto::randomBytes(kDocumentSize), record)) std::abort();
        }
        if (!store->flush()) std::abort();
        for (const auto& entry : fs::directory_iterator(store->vaultDirectory() / "blobs")) blobs.push_back(entry.path());
        blobs.push_back(store->vaultDirectory() / "vault.pbv");
        archive = root / "backup.pbbackup";
        if (!store->exportBackup(kPassphrase, archive)) std::abort();
    }
    ~Fixture() { fs::remove_all(root); }
};

Fixture& fixture() {
    static Fixture instance;
    return instance;
}

std::int64_t sealedBytes() {
    std::int64_t total = 0;
    for (const auto& path : fixture().blobs) total += static_cast<std::int64_t>(fs::file_size(path));
    return total;
}

void BM_Export(benchmark::State& state) {
    auto& f = fixture();
    for (auto _ : state) {
        if (!f.store->exportBackup(kPassphrase, f.root / "export.pbbackup")) state.SkipWithError("export failed");
    }
    state.SetBytesProcessed(state.iterations() * sealedBytes());
}

void BM_ExportFloor(benchmark::State& state) {
    auto& f = fixture();
    std::vector<char> buffer(1 << 20);
    for (auto _ : state) {
        bench::concatenate(f.blobs, f.root / "copy.bin", buffer);
    }
    state.SetBytesProcessed(state.iterations() * sealedBytes());
}

void BM_Restore(benchmark::State& state) {
    auto& f = fixture();
    int round = 0;
    for (auto _ : state) {
        state.PauseTiming();
        const fs::path home = f.root / ("restore-" + std::to_string(round++));
        auto device = std::make_unique<Device>(home);
        auto restored = std::make_unique<VaultStore>(device->setup());
        state.ResumeTiming();
        if (!restored->restoreBackup(f.archive, kPassphrase)) state.SkipWithError("restore failed");
        state.PauseTiming();
        restored.reset();
        fs::remove_all(home);
        state.ResumeTiming();
    }
    state.SetBytesProcessed(state.iterations() * sealedBytes());
}

void BM_RestoreFloor(benchmark::State& state) {
    auto& f = fixture();
    std::vector<char> buffer(1 << 20);
    for (auto _ : state) {
        state.PauseTiming();
        const fs::path folder = f.root / "copies";
        fs::remove_all(folder);
        fs::create_directories(folder);
        state.ResumeTiming();
        bench::copyEach(f.blobs, folder, buffer);
    }
    state.SetBytesProcessed(state.iterations() * sealedBytes());
}

BENCHMARK(BM_Export)->Unit(benchmark::kMillisecond)->MinTime(3.0)->UseRealTime();
BENCHMARK(BM_ExportFloor)->Unit(benchmark::kMillisecond)->MinTime(3.0)->UseRealTime();
BENCHMARK(BM_Restore)->Unit(benchmark::kMillisecond)->MinTime(3.0)->UseRealTime();
BENCHMARK(BM_RestoreFloor)->Unit(benchmark::kMillisecond)->MinTime(3.0)->UseRealTime();

}  // namespace
}  // namespace corvale

int main(int argc, char** argv) {
    using namespace corvale;
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    auto& f = fixture();
    const std::size_t exportPeak =
        bench::peakResidentAbove([&] { (void)f.store->exportBackup(kPassphrase, f.root / "peak.pbbackup"); });
    const std::size_t restorePeak = bench::peakResidentAbove([&] {
        Device device(f.root / "peak-restore");
        VaultStore restored(device.setup());
        (void)restored.restoreBackup(f.archive, kPassphrase);
    });

    bench::RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);

    // Throughput is the inverse of time, so the floor's time goes on top.
    const double exportRatio = reporter.ratio("BM_ExportFloor", "BM_Export");
    const double restoreRatio = reporter.ratio("BM_RestoreFloor", "BM_Restore");
    const double budget = 64.0 * (1 << 20) + kDocumentSize;
    using bench::verdict;
    std::printf("\nexport throughput   %5.2fx copying  (goal >= 0.8x)  %s\n", exportRatio, verdict(exportRatio >= 0.8));
    std::printf("restore throughput  %5.2fx copying  (goal >= 0.8x)  %s\n", restoreRatio, verdict(restoreRatio >= 0.8));
    std::printf("export peak memory  %6.1f MB  (goal < 64 MiB + one document)  %s\n", static_cast<double>(exportPeak) / 1e6,
                verdict(static_cast<double>(exportPeak) < budget));
    std::printf("restore peak memory %6.1f MB  (goal < 64 MiB + one document)  %s\n", static_cast<double>(restorePeak) / 1e6,
                verdict(static_cast<double>(restorePeak) < budget));
    benchmark::Shutdown();
    return 0;
}
