#include "requirements/Requirements.h"

#include "platform/Paths.h"
#include "platform/linux/PosixFileSystem.h"
#include "requirements/RuleDataReader.h"

namespace corvale {

namespace {

std::optional<Bytes> firstFound(FileSystem& files, const std::vector<std::filesystem::path>& folders,
                                std::string_view name) {
    for (const auto& folder : folders) {
        const auto path = folder / name;
        if (!files.exists(path)) continue;
        auto bytes = files.readFile(path);
        if (!bytes) return std::nullopt;
        return std::move(*bytes);
    }
    return std::nullopt;
}


}  // namespace

Requirements Requirements::load(FileSystem& files, const std::vector<std::filesystem::path>& folders) {
    const auto bytes = firstFound(files, folders, kRequirementsResource);
    return Requirements(bytes ? readRequirementsFile(asText(*bytes)) : std::nullopt);
}

StateFees StateFees::load(FileSystem& files, const std::vector<std::filesystem::path>& folders) {
    const auto bytes = firstFound(files, folders, kStateFeesResource);
    return StateFees(bytes ? readStateFeesFile(asText(*bytes)) : std::nullopt);
}

// Function-local statics: initialised once, safely, by whichever thread asks first.
const Requirements& Requirements::shared() {
    static const Requirements instance = [] {
        PosixFileSystem files;
        return load(files, paths::resourceDirectories());
    }();
    return instance;
}

const StateFees& StateFees::shared() {
    static const StateFees instance = [] {
        PosixFileSystem files;
        return load(files, paths::resourceDirectories());
    }();
    return instance;
}

}  // namespace corvale
