// Reading documents, each beside its floor measured in the same run:
// - one 300 dpi page read and parsed, beside the `tesseract` command on the same picture;
// - a ten-page scanned PDF on every core, beside the same PDF read one page after another;
// - the parser alone on a page of text, beside one date pattern run over the same page.
//
//   cmake --preset release && cmake --build --preset release -j2 && build/release/bench/reading_bench

#include "PaintedDocument.h"
#include "documents/reading/DocumentParser.h"
#include "documents/reading/Pattern.h"
#include "platform/linux/TesseractRecognizer.h"

#include "BenchSupport.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <fstream>
#include <string>

namespace corvale {
namespace {

testing::Paper certificatePage() {
    return testing::Paper{{"Certificate of Completion", "Jane Q. Example, MD", "has successfully completed",
                           "Managing Chronic Pain and Opioid Use", "Date of completion: 03/14/2026",
                           "AMA PRA Category 1 Credit(s) claimed: 1.5", "Provider: Example Medical Education Institute",
                           "Texas Medical Board approved course number 12345",
                           "Accredited by the Accreditation Council for Continuing Medical Education"}};
}

const Bytes& page() {
    static const Bytes picture = testing::scannedPicture(certificatePage(), testing::Scan{300, 0.5, 0, 0.001});
    return picture;
}

const std::string& pagePath() {
    static const std::string path = [] {
        const std::string p = std::filesystem::temp_directory_path() / "corvale-reading-bench.png";
        std::ofstream(p, std::ios::binary).write(reinterpret_cast<const char*>(page().data()),
                                                  static_cast<std::streamsize>(page().size()));
        return p;
    }();
    return path;
}

const Bytes& tenPages() {
    static const Bytes pdf = [] {
        std::vector<testing::Paper> pages(10, certificatePage());
        return testing::scannedPDF(pages, 300);
    }();
    return pdf;
}

std::string pageText() {
    std::string text;
    for (int i = 0; i < 6; ++i)
        for (const auto& line : certificatePage().lines) text += line + "\n";
    return text;
}

void BM_TesseractCommand(benchmark::State& state) {
    const std::string command = "tesseract " + pagePath() + " stdout >/dev/null 2>&1";
    for (auto _ : state)
        if (std::system(command.c_str()) != 0) state.SkipWithError("the tesseract command failed");
}

void BM_ReadPage(benchmark::State& state) {
    TesseractRecognizer recognizer(1);
    for (auto _ : state) {
        auto read = recognizer.read(page());
        if (!read) state.SkipWithError("the page was not read");
        auto guess = DocumentParser::parse(read->text, "page.png");
        benchmark::DoNotOptimize(guess);
    }
}

void BM_TenPagesOneByOne(benchmark::State& state) {
    TesseractRecognizer recognizer(1);
    for (auto _ : state) benchmark::DoNotOptimize(recognizer.read(tenPages()));
}

void BM_TenPagesInParallel(benchmark::State& state) {
    TesseractRecognizer recognizer;
    for (auto _ : state) benchmark::DoNotOptimize(recognizer.read(tenPages()));
}

void BM_OnePatternOverPageText(benchmark::State& state) {
    const std::string text = pageText();
    const Pattern date(R"(\b(\d{1,2})[\/\-.](\d{1,2})[\/\-.](\d{2,4})\b)");
    for (auto _ : state) benchmark::DoNotOptimize(date.all(text));
}

void BM_ParsePageText(benchmark::State& state) {
    const std::string text = pageText();
    for (auto _ : state) benchmark::DoNotOptimize(DocumentParser::parse(text, "certificate.pdf"));
}

BENCHMARK(BM_TesseractCommand)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(8);
BENCHMARK(BM_ReadPage)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(8);
BENCHMARK(BM_TenPagesOneByOne)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(2);
BENCHMARK(BM_TenPagesInParallel)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(2);
BENCHMARK(BM_OnePatternOverPageText)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_ParsePageText)->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace corvale

int main(int argc, char** argv) {
    using namespace corvale;
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    bench::RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    using bench::verdict;
    const double page = reporter.ratio("BM_ReadPage", "BM_TesseractCommand");
    const double parallel = reporter.ratio("BM_TenPagesInParallel", "BM_TenPagesOneByOne");
    const double parseMs = reporter.time("BM_ParsePageText") / 1e3;  // reported in microseconds
    std::printf("\nread + parse / tesseract command  %5.2fx  (goal <= 1.15x)  %s\n", page, verdict(page <= 1.15));
    std::printf("ten pages in parallel / in turn   %5.2fx  (goal <= 0.6x)   %s\n", parallel, verdict(parallel <= 0.6));
    std::printf("parser on a page of text          %5.3f ms (%.0fx one pattern over it; goal < 1 ms)  %s\n", parseMs,
                reporter.ratio("BM_ParsePageText", "BM_OnePatternOverPageText"), verdict(parseMs < 1));
    benchmark::Shutdown();
    std::filesystem::remove(pagePath());
    return 0;
}
