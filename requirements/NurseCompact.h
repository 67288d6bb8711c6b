#pragma once
// The Nurse Licensure Compact: which states are in it and what that means for
// a nurse's licences, in the sentences the app shows. The lists are fixed in
// the program and carry the date they were last reviewed.

#include "records/Credential.h"
#include "records/Degree.h"

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace corvale::NurseCompact {

inline constexpr std::string_view kLastReviewed = "2026-11-03";

std::span<const std::string_view> memberStates();
// Passed the Compact but may not issue or recognise multistate licences yet.
std::span<const std::string_view> pendingStates();
bool isMember(std::string_view code);
bool isPending(std::string_view code);

// "The Compact list in Corvale was last reviewed November 3, 2026"
std::string reviewedNote();
// What the Compact means for practising in `state` on these licences.
std::vector<std::string> coverage(std::string_view state, std::span<const Credential> licenses,
                                  Degree personDegree);
// What changes when the primary residence moves; absent when nothing moves.
std::optional<std::string> moveNote(std::string_view from, std::string_view to);
// The sentence under a state's requirements.
std::string stateSentence(std::string_view state);

}  // namespace corvale::NurseCompact
