// Opening and saving a large office vault, each beside its floor: the work
// no implementation of the format can avoid (parsing the JSON with simdjson,
// AES-GCM, writing the bytes). Then everyone's licence progress and standing
// score, against opening the same vault. Prints the ratios and peak heap use
// at the end.
//
//   cmake --preset release && cmake --build --preset release -j2 && build/release/bench/vault_bench

#include "platform/Crypto.h"
#include "platform/linux/PosixFileSystem.h"
#include "records/VaultDocument.h"
#include "requirements/Readiness.h"
#include "requirements/Requirements.h"
#include "vault/Sealer.h"
#include "vault/VaultFiles.h"

#include "BenchSupport.h"
#include "SyntheticOffice.h"

#include <benchmark/benchmark.h>
#include <malloc.h>
#include <simdjson.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <map>
#include <new>
#include <string>

// ------------------------------------------------------------ heap accounting
// Counts live heap bytes so one open or save can report its peak. Only this
// benchmark replaces the allocator; nothing here touches the memory itself.

namespace {
std::atomic<std::size_t> g_liveBytes{0};
std::atomic<std::size_t> g_peakBytes{0};

void noteAllocation(void* pointer) {
    if (!pointer) return;
    const std::size_t live = g_liveBytes.fetch_add(malloc_usable_size(pointer)) + malloc_usable_size(pointer);
    std::size_t peak = g_peakBytes.load();
    while (live > peak && !g_peakBytes.compare_exchange_weak(peak, live)) {
    }
}

void noteRelease(void* pointer) {
    if (pointer) g_liveBytes.fetch_sub(malloc_usable_size(pointer));
}

void* allocate(std::size_t size) {
    void* pointer = std::malloc(size ? size : 1);
    noteAllocation(pointer);
    return pointer;
}

void* allocateAligned(std::size_t size, std::align_val_t alignment) {
    void* pointer = nullptr;
    if (posix_memalign(&pointer, static_cast<std::size_t>(alignment), size ? size : 1) != 0) return nullptr;
    noteAllocation(pointer);
    return pointer;
}

void release(void* pointer) {
    noteRelease(pointer);
    std::free(pointer);
}
}  // namespace

void* operator new(std::size_t size) {
    if (void* pointer = allocate(size)) return pointer;
    throw std::bad_alloc();
}
void* operator new[](std::size_t size) { return operator new(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return allocate(size); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return allocate(size); }
void* operator new(std::size_t size, std::align_val_t alignment) {
    if (void* pointer = allocateAligned(size, alignment)) return pointer;
    throw std::bad_alloc();
}
void* operator new[](std::size_t size, std::align_val_t alignment) { return operator new(size, alignment); }
void operator delete(void* pointer) noexcept { release(pointer); }
void operator delete[](void* pointer) noexcept { release(pointer); }
void operator delete(void* pointer, std::size_t) noexcept { release(pointer); }
void operator delete[](void* pointer, std::size_t) noexcept { release(pointer); }
void operator delete(void* pointer, std::align_val_t) noexcept { release(pointer); }
void operator delete[](void* pointer, std::align_val_t) noexcept { release(pointer); }
void operator delete(void* pointer, std::size_t, std::align_val_t) noexcept { release(pointer); }
void operator delete[](void* pointer, std::size_t, std::align_val_t) noexcept { release(pointer); }

namespace corvale {
namespace {

using bench::kProviders;
using bench::makeOfficeVault;

const Day kPlanningDay{2026, 6, 1};

struct Fixture {
    std::filesystem::path directory;
    PosixFileSystem fileSystem;
    VaultDocument document;
    std::string json;
    Bytes envelope;
    SecureBytes key{crypto::kAesKeySize};

    Fixture() {
        char pattern[] = "/tmp/corvale-bench-XXXXXX";
        directory = mkdtemp(pattern);
        crypto::fillRandom({key.data(), key.size()});
        document = makeOfficeVault();
        json = encodeVaultDocument(document);
        envelope = Sealer::seal(asBytes(json), key.view()).value();
        if (!files().saveDocument(document)) std::abort();
    }
    ~Fixture() { std::filesystem::remove_all(directory); }

    VaultFiles files() { return VaultFiles(fileSystem, key.clone(), directory, directory / "tmp"); }
    std::filesystem::path floorPath() const { return directory / "floor.pbv"; }
};

Fixture& fixture() {
    static Fixture instance;
    return instance;
}

void BM_Open(benchmark::State& state) {
    auto files = fixture().files();
    for (auto _ : state) {
        auto document = files.loadDocument();
        if (!document) state.SkipWithError("open failed");
        benchmark::DoNotOptimize(document);
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * fixture().json.size()));
}

// Reading the file, AES-GCM opening it and simdjson parsing the plain text.
void BM_OpenFloor(benchmark::State& state) {
    auto& f = fixture();
    const auto path = f.files().documentPath();
    for (auto _ : state) {
        auto envelope = f.fileSystem.readFile(path);
        auto plain = Sealer::open(envelope.value(), f.key.view());
        simdjson::dom::parser parser;
        simdjson::dom::element root;
        if (parser.parse(plain->data(), plain->size()).get(root) != simdjson::SUCCESS) state.SkipWithError("parse");
        benchmark::DoNotOptimize(root);
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * f.json.size()));
}

void BM_Save(benchmark::State& state) {
    auto files = fixture().files();
    for (auto _ : state) {
        if (!files.saveDocument(fixture().document)) state.SkipWithError("save failed");
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * fixture().json.size()));
}

// AES-GCM sealing the same JSON and writing it the same atomic way.
void BM_SaveFloor(benchmark::State& state) {
    auto& f = fixture();
    for (auto _ : state) {
        auto sealed = Sealer::seal(asBytes(f.json), f.key.view());
        if (!f.fileSystem.replaceFileAtomically(f.floorPath(), sealed.value())) state.SkipWithError("write failed");
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * f.json.size()));
}

// Every person's licence progress and standing score, from the open document.
void BM_Readiness(benchmark::State& state) {
    const auto& rules = Requirements::shared().file();
    if (!rules) state.SkipWithError("the state rules were not found beside the benchmark");
    for (auto _ : state) {
        auto readiness = Readiness::compute(fixture().document, rules ? &*rules : nullptr, kPlanningDay);
        benchmark::DoNotOptimize(readiness);
    }
}

BENCHMARK(BM_Open)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(BM_Readiness)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(BM_OpenFloor)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(BM_Save)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(BM_SaveFloor)->Unit(benchmark::kMillisecond)->MinTime(2.0);

struct Peak {
    std::size_t resident = 0;  // what the work really touched
    std::size_t heap = 0;      // what it asked for, touched or not
};

template <class Work>
Peak peakAbove(Work&& work) {
    const std::size_t heapBefore = g_liveBytes.load();
    g_peakBytes.store(heapBefore);
    const std::size_t resident = bench::peakResidentAbove(work);
    return {resident, g_peakBytes.load() - heapBefore};
}

}  // namespace
}  // namespace corvale

int main(int argc, char** argv) {
    using namespace corvale;
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;

    auto& f = fixture();
    std::printf("Synthetic office vault: %d providers, %zu credentials, %zu CME activities, %zu documents, %.1f MB of JSON\n",
                kProviders, f.document.credentials.size(), f.document.cme.size(), f.document.documents.size(),
                static_cast<double>(f.json.size()) / 1e6);

    const auto jsonBytes = static_cast<double>(f.json.size());
    auto files = f.files();
    const Peak openPeak = peakAbove([&] { auto document = files.loadDocument(); });
    const Peak savePeak = peakAbove([&] { (void)files.saveDocument(f.document); });

    bench::RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);

    const double openRatio = reporter.time("BM_Open") / reporter.time("BM_OpenFloor");
    const double saveRatio = reporter.time("BM_Save") / reporter.time("BM_SaveFloor");
    const double readinessRatio = reporter.time("BM_Readiness") / reporter.time("BM_Open");
    using bench::verdict;
    std::printf("\nopen / floor        %5.2fx  (goal < 2.5x)  %s\n", openRatio, verdict(openRatio < 2.5));
    std::printf("save / floor        %5.2fx  (goal < 3.0x)  %s\n", saveRatio, verdict(saveRatio < 3.0));
    std::printf("progress and standing / open  %5.2fx  (goal < 0.25x)  %s\n", readinessRatio,
                verdict(readinessRatio < 0.25));
    const auto report = [&](const char* name, const Peak& peak) {
        const double resident = static_cast<double>(peak.resident);
        std::printf("%s peak memory %5.2fx the JSON (%.1f MB resident, goal < 4x)  %s;  heap reserved %.1f MB\n", name,
                    resident / jsonBytes, resident / 1e6, verdict(resident < 4 * jsonBytes),
                    static_cast<double>(peak.heap) / 1e6);
    };
    report("open", openPeak);
    report("save", savePeak);
    benchmark::Shutdown();
    return 0;
}
