// The Licenses screen's list over a large office vault, against opening that
// vault: filling the list on every change must stay a small part of what
// opening the vault already costs.
//
//   cmake --preset release && cmake --build --preset release -j2 --target licenses_bench
//   build/release/bench/licenses_bench

#include "app/CredentialListModel.h"
#include "platform/Crypto.h"
#include "platform/linux/PosixFileSystem.h"
#include "records/Day.h"
#include "records/VaultDocument.h"
#include "vault/VaultFiles.h"

#include "BenchSupport.h"
#include "SyntheticOffice.h"

#include <QCoreApplication>

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>

namespace corvale {
namespace {

const Day kToday{2026, 11, 22};

struct Fixture {
    std::filesystem::path directory;
    PosixFileSystem fileSystem;
    SecureBytes key{crypto::kAesKeySize};
    VaultDocument opened;

    Fixture() {
        char pattern[] = "/tmp/corvale-licenses-bench-XXXXXX";
        directory = mkdtemp(pattern);
        crypto::fillRandom({key.data(), key.size()});
        if (!files().saveDocument(bench::makeOfficeVault())) std::abort();
        auto document = files().loadDocument();
        if (!document) std::abort();
        opened = std::move(document).value();
    }
    ~Fixture() { std::filesystem::remove_all(directory); }

    VaultFiles files() { return VaultFiles(fileSystem, key.clone(), directory, directory / "tmp"); }
};

Fixture& fixture() {
    static Fixture instance;
    return instance;
}

// Reading vault.pbv, unsealing it and decoding the document.
void BM_OpenVault(benchmark::State& state) {
    auto files = fixture().files();
    for (auto _ : state) {
        auto document = files.loadDocument();
        if (!document) state.SkipWithError("open failed");
        benchmark::DoNotOptimize(document);
    }
}

// What the screen does on every reload: rebuild the rows for everyone, then
// let the proxy sort each group by days left (it sorts a group when it is first asked for it).
void BM_LicensesModel(benchmark::State& state) {
    const VaultDocument& document = fixture().opened;
    app::CredentialListModel model;
    app::CredentialSortFilterProxy proxy;
    proxy.setSourceModel(&model);
    proxy.sort(app::CredentialListModel::DaysLeftColumn, Qt::AscendingOrder);
    int rows = 0;
    for (auto _ : state) {
        model.reload(document, kToday, QString());
        rows = 0;
        for (int group = 0; group < proxy.rowCount(); ++group) {
            const QModelIndex parent = proxy.index(group, 0);
            rows += proxy.rowCount(parent);
            benchmark::DoNotOptimize(proxy.index(0, 0, parent));
        }
    }
    if (rows != static_cast<int>(document.credentials.size())) state.SkipWithError("rows missing from the list");
    state.counters["rows"] = rows;
}

BENCHMARK(BM_OpenVault)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(BM_LicensesModel)->Unit(benchmark::kMillisecond)->MinTime(2.0);

}  // namespace
}  // namespace corvale

int main(int argc, char** argv) {
    using namespace corvale;
    QCoreApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;

    const auto& opened = fixture().opened;
    std::printf("Synthetic office vault: %zu people, %zu credentials, %zu CME activities\n", opened.people.size(),
                opened.credentials.size(), opened.cme.size());

    bench::RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);

    const double ratio = reporter.ratio("BM_LicensesModel", "BM_OpenVault");
    std::printf("\nlicenses model / open  %5.2fx  (goal < 0.10x)  %s\n", ratio, bench::verdict(ratio < 0.10));
    benchmark::Shutdown();
    return 0;
}
