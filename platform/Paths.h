#pragma once
// Where the app keeps its files on this platform.

#include <filesystem>
#include <vector>

namespace corvale::paths {

// $XDG_DATA_HOME, or ~/.local/share.
std::filesystem::path applicationSupportDirectory();

// $XDG_CONFIG_HOME, or ~/.config.
std::filesystem::path configurationDirectory();

// A folder for short-lived plain copies: $XDG_RUNTIME_DIR (memory-backed on
// most systems), else $TMPDIR or /tmp.
std::filesystem::path temporaryDirectory();

}  // namespace corvale::paths

namespace corvale::paths {

// Folders that may hold the read-only data files delivered with the program,
// nearest first: `resources` beside the executable or one level up (a build
// tree), then `../share/corvale` (an installed program).
std::vector<std::filesystem::path> resourceDirectories();

}  // namespace corvale::paths
