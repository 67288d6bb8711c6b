#pragma once
// The rules a new entry must pass before it is saved, shared by the app's
// editors and the command line so both refuse the same things in the same
// words. Each check answers the sentence to show, or nothing when it passes.

#include "platform/Result.h"
#include "records/Day.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace corvale {

// Characters, not bytes, so a passphrase in another script is not held to a longer one.
inline constexpr std::size_t kMinimumPassphraseLength = 8;
std::optional<std::string> newPassphraseProblem(std::string_view passphrase);

// A CME activity is logged once it is done, so its day cannot lie ahead of today.
std::optional<std::string> cmeCompletedProblem(const Day& completed, const Day& today);

// Hours as typed: a plain decimal number above 0 with at most two decimals ("1.5", ".25").
Result<double, std::string> parseCMEHours(std::string_view text);

// A stored document must hold something; an empty file is almost always a failed download or scan.
std::optional<std::string> storedFileProblem(std::string_view filename, std::size_t size);

}  // namespace corvale
