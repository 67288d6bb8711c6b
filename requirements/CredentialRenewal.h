#pragma once
// What renewal planning reads off a credential: its name in a sentence,
// whether its renewal is already with the board, whether a copy is missing.

#include "records/Credential.h"

#include <span>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

namespace corvale {

// "Texas RN license", "DEA registration", "BLS card", or the user's title.
std::string renewTitle(const Credential& credential);

// Titles for credentials listed together, in the same order. Where two of one
// person would read alike ("DEA registration" twice), each says what tells it
// apart: its state, else its number, else its expiry ("DEA registration (Texas)").
std::vector<std::string> distinctTitles(std::span<const Credential* const> credentials);

// The application is with the board (stage submitted or approved), so the
// expiry no longer needs the user's action.
bool isRenewalFiled(const Credential& credential);

// A kind that packets and credentialing offices ask a copy of, with none of
// its attached ids among the vault's live documents.
bool needsDocument(const Credential& credential, const std::unordered_set<std::string_view>& liveDocumentIds);

}  // namespace corvale
