#include "records/RecordEnums.h"

#include <array>

namespace corvale {
namespace {

// Raw text equals the case name, and the arrays follow declaration order.
template <class Enum, std::size_t N>
std::optional<Enum> fromRaw(const std::array<std::string_view, N>& names, std::string_view raw) {
    for (std::size_t i = 0; i < N; ++i)
        if (names[i] == raw) return static_cast<Enum>(i);
    return std::nullopt;
}

template <class Enum, std::size_t N>
constexpr std::array<Enum, N> sequence() {
    std::array<Enum, N> values{};
    for (std::size_t i = 0; i < N; ++i) values[i] = static_cast<Enum>(i);
    return values;
}

constexpr std::array<std::string_view, 7> kCMECategories{"cat1", "cat2", "aanp", "aapa", "nbcrna", "ce", "other"};
constexpr std::array<std::string_view, 6> kCredentialCategories{"exam",         "certification", "course",
                                                                 "registration", "membership",    "other"};
constexpr std::array<std::string_view, 4> kRenewalStages{"notStarted", "gathering", "submitted", "approved"};

constexpr auto kCMECategoryOrder = sequence<CMECategory, kCMECategories.size()>();
constexpr auto kCredentialCategoryOrder = sequence<CredentialCategory, kCredentialCategories.size()>();
constexpr auto kRenewalStageOrder = sequence<RenewalStage, kRenewalStages.size()>();

}  // namespace

std::span<const CMECategory> allCMECategories() { return kCMECategoryOrder; }
std::string_view rawValue(CMECategory value) { return kCMECategories[static_cast<std::size_t>(value)]; }
std::optional<CMECategory> cmeCategoryFromRaw(std::string_view raw) { return fromRaw<CMECategory>(kCMECategories, raw); }

std::span<const CredentialCategory> allCredentialCategories() { return kCredentialCategoryOrder; }
std::string_view rawValue(CredentialCategory value) { return kCredentialCategories[static_cast<std::size_t>(value)]; }
std::optional<CredentialCategory> credentialCategoryFromRaw(std::string_view raw) {
    return fromRaw<CredentialCategory>(kCredentialCategories, raw);
}

std::span<const RenewalStage> allRenewalStages() { return kRenewalStageOrder; }
std::string_view rawValue(RenewalStage value) { return kRenewalStages[static_cast<std::size_t>(value)]; }
std::optional<RenewalStage> renewalStageFromRaw(std::string_view raw) {
    return fromRaw<RenewalStage>(kRenewalStages, raw);
}

}  // namespace corvale
