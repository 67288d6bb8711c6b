// Stands in for libFuzzer where it is not available (gcc builds, CTest): runs
// each file named on the command line, or each file in a named folder, through
// LLVMFuzzerTestOneInput once. libFuzzer-style flags ("-runs=0") are ignored so
// the same command line works with both.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <system_error>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
extern "C" __attribute__((weak)) int LLVMFuzzerInitialize(int* argc, char*** argv);

namespace {

namespace fs = std::filesystem;

bool readFile(const fs::path& path, std::vector<char>& contents) {
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        return false;
    }
    contents.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    return !in.bad();
}

// A folder's files in a stable order, so a failure replays the same way.
bool collect(const fs::path& path, std::vector<fs::path>& inputs) {
    std::error_code error;
    if (!fs::is_directory(path, error)) {
        inputs.push_back(path);
        return true;
    }
    std::vector<fs::path> files;
    for (const auto& entry : fs::directory_iterator(path, error)) {
        if (entry.is_regular_file(error)) {
            files.push_back(entry.path());
        }
    }
    if (error) {
        std::fprintf(stderr, "cannot list %s: %s\n", path.c_str(), error.message().c_str());
        return false;
    }
    std::sort(files.begin(), files.end());
    inputs.insert(inputs.end(), files.begin(), files.end());
    return true;
}

}  // namespace

int main(int argc, char* argv[]) {
    if (LLVMFuzzerInitialize != nullptr) {
        LLVMFuzzerInitialize(&argc, &argv);
    }

    std::vector<fs::path> inputs;
    for (int i = 1; i < argc; ++i) {
        if (argv[i][0] == '-') {
            continue;
        }
        if (!collect(argv[i], inputs)) {
            return 1;
        }
    }
    if (inputs.empty()) {
        std::fprintf(stderr, "usage: %s FILE-OR-FOLDER...\nno inputs to replay\n", argv[0]);
        return 1;
    }

    std::vector<char> contents;
    for (const auto& input : inputs) {
        if (!readFile(input, contents)) {
            std::fprintf(stderr, "cannot read %s\n", input.c_str());
            return 1;
        }
        // An exact-size heap copy so the sanitizers see any read past the end.
        auto data = std::make_unique<std::uint8_t[]>(contents.size());
        std::copy(contents.begin(), contents.end(), data.get());
        std::fprintf(stderr, "Running: %s (%zu bytes)\n", input.c_str(), contents.size());
        LLVMFuzzerTestOneInput(data.get(), contents.size());
    }
    std::fprintf(stderr, "Executed %zu inputs\n", inputs.size());
    return 0;
}
