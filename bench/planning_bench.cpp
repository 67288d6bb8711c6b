// The twelve-month plan and the readiness report of a large office, each
// beside its floor: everyone's licence progress and standing score (the
// readiness both are made from). Then the report as a PDF, per page.
//
//   cmake --preset release && cmake --build --preset release -j2 && build/release/bench/planning_bench

#include "documents/PrintedReport.h"
#include "requirements/Readiness.h"
#include "requirements/ReadinessReport.h"
#include "requirements/RenewalPlan.h"
#include "requirements/Requirements.h"

#include "BenchSupport.h"
#include "SyntheticOffice.h"

#include <benchmark/benchmark.h>

#include <cstdio>

namespace corvale {
namespace {

const Day kPlanningDay{2026, 6, 1};

struct Fixture {
    VaultDocument document = bench::makeOfficeVault();
    const RequirementsFile* rules = Requirements::shared().file() ? &*Requirements::shared().file() : nullptr;
};

const Fixture& fixture() {
    static const Fixture instance;
    return instance;
}

void BM_ReadinessFloor(benchmark::State& state) {
    for (auto _ : state) {
        auto readiness = Readiness::compute(fixture().document, fixture().rules, kPlanningDay);
        benchmark::DoNotOptimize(readiness);
    }
}

void BM_Plan(benchmark::State& state) {
    for (auto _ : state) {
        auto plan = RenewalPlan::compute(fixture().document, fixture().rules, kPlanningDay);
        benchmark::DoNotOptimize(plan);
    }
}

void BM_Report(benchmark::State& state) {
    for (auto _ : state) {
        auto printed = ReadinessReport::build(fixture().document, fixture().rules, kPlanningDay)->printable();
        benchmark::DoNotOptimize(printed);
    }
}

BENCHMARK(BM_ReadinessFloor)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(BM_Plan)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(BM_Report)->Unit(benchmark::kMillisecond)->MinTime(2.0);

}  // namespace
}  // namespace corvale

int main(int argc, char** argv) {
    using namespace corvale;
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    if (!fixture().rules) {
        std::fprintf(stderr, "The state rules were not found beside the benchmark.\n");
        return 1;
    }
    std::printf("Synthetic office vault: %d providers, %zu credentials, %zu CME activities\n", bench::kProviders,
                fixture().document.credentials.size(), fixture().document.cme.size());

    bench::RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    using bench::verdict;
    const double planRatio = reporter.ratio("BM_Plan", "BM_ReadinessFloor");
    const double reportRatio = reporter.ratio("BM_Report", "BM_ReadinessFloor");
    std::printf("\nplan / readiness    %5.2fx  (goal < 2x)  %s\n", planRatio, verdict(planRatio < 2));
    std::printf("report / readiness  %5.2fx  (goal < 3x)  %s\n", reportRatio, verdict(reportRatio < 3));

    // Once: drawing is the printer's pace, and a whole office is hundreds of pages.
    const auto printed = ReadinessReport::build(fixture().document, fixture().rules, kPlanningDay)->printable();
    const auto started = std::chrono::steady_clock::now();
    const auto pdf = writePdf(printed);
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();
    std::printf("report PDF: %.1f MB in %.2f s for %d people\n", pdf ? static_cast<double>(pdf->size()) / 1e6 : 0.0,
                seconds, bench::kProviders);
    benchmark::Shutdown();
    return 0;
}
