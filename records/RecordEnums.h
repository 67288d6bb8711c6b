#pragma once
// The small enumerations records store by raw text.

#include <optional>
#include <span>
#include <string_view>

namespace corvale {

enum class CMECategory { cat1, cat2, aanp, aapa, nbcrna, ce, other };
enum class CredentialCategory { exam, certification, course, registration, membership, other };
enum class RenewalStage { notStarted, gathering, submitted, approved };

std::span<const CMECategory> allCMECategories();
std::string_view rawValue(CMECategory value);
std::optional<CMECategory> cmeCategoryFromRaw(std::string_view raw);

std::span<const CredentialCategory> allCredentialCategories();
std::string_view rawValue(CredentialCategory value);
std::optional<CredentialCategory> credentialCategoryFromRaw(std::string_view raw);

std::span<const RenewalStage> allRenewalStages();
std::string_view rawValue(RenewalStage value);
std::optional<RenewalStage> renewalStageFromRaw(std::string_view raw);

}  // namespace corvale
