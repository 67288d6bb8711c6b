#include "requirements/CredentialRenewal.h"

#include "records/RecordEnums.h"
#include "records/USState.h"

#include <algorithm>
#include <unordered_map>

namespace corvale {

std::string renewTitle(const Credential& credential) {
    const auto kind = credential.kindValue();
    const bool titled = credential.title && !credential.title->empty();
    const std::string state = credential.state ? USState::nameOf(*credential.state) : "";
    const auto inState = [&](std::string_view what) { return state.empty() ? std::string(what) : state + " " + std::string(what); };
    if (!kind) return titled ? *credential.title : credential.kind;
    switch (*kind) {
    case CredentialKind::stateLicense: {
        const bool typed = credential.licenseType && !credential.licenseType->empty();
        return inState(typed ? *credential.licenseType + " license" : "license");
    }
    case CredentialKind::stateCSR:
        return inState("controlled substance registration");
    case CredentialKind::dea:
        return "DEA registration";
    case CredentialKind::bls:
    case CredentialKind::acls:
    case CredentialKind::pals:
    case CredentialKind::nrp:
    case CredentialKind::atls:
        return titled ? *credential.title : std::string(displayName(*kind)) + " card";
    case CredentialKind::boardCertification:
        return titled ? *credential.title : "Board certification";
    case CredentialKind::malpractice:
        return titled ? *credential.title : "Malpractice insurance";
    default:
        return titled ? *credential.title : std::string(displayName(*kind));
    }
}

std::vector<std::string> distinctTitles(std::span<const Credential* const> credentials) {
    std::vector<std::string> titles;
    titles.reserve(credentials.size());
    for (const Credential* credential : credentials) titles.push_back(renewTitle(*credential));

    // Alike: one person's, under the same title.
    std::unordered_map<std::string, std::vector<std::size_t>> groups;
    groups.reserve(credentials.size());
    for (std::size_t i = 0; i < credentials.size(); ++i) {
        std::string key = credentials[i]->personId;
        key += '\0';
        key += titles[i];
        groups[std::move(key)].push_back(i);
    }
    for (const auto& group : groups) {
        const std::vector<std::size_t>& alike = group.second;  // a lambda below can't capture a structured binding
        if (alike.size() < 2) continue;
        const auto differ = [&](auto field) {
            return std::any_of(alike.begin(), alike.end(), [&](std::size_t k) {
                return field(*credentials[k]) != field(*credentials[alike.front()]);
            });
        };
        const auto state = [](const Credential& c) { return c.state.value_or(""); };
        const auto number = [](const Credential& c) { return c.number.value_or(""); };
        const auto expiry = [](const Credential& c) { return c.expiresOn ? c.expiresOn->shortFormatted() : ""; };
        const bool byState = differ(state), byNumber = differ(number), byExpiry = differ(expiry);
        for (const std::size_t k : alike) {
            const Credential& credential = *credentials[k];
            std::string telling;
            if (byState && !state(credential).empty())
                telling = USState::nameOf(state(credential));
            else if (byNumber && !number(credential).empty())
                telling = number(credential);
            else if (byExpiry && credential.expiresOn)
                telling = "expires " + expiry(credential);
            if (!telling.empty()) titles[k] += " (" + telling + ")";
        }
    }
    return titles;
}

bool isRenewalFiled(const Credential& credential) {
    const auto stage = credential.renewalStage ? renewalStageFromRaw(*credential.renewalStage) : std::nullopt;
    return stage == RenewalStage::submitted || stage == RenewalStage::approved;
}

bool needsDocument(const Credential& credential, const std::unordered_set<std::string_view>& liveDocumentIds) {
    const auto kind = credential.kindValue();
    // Attestations, agreements, exams and free-form items have no card or certificate to show.
    if (!kind || *kind == CredentialKind::caqh || *kind == CredentialKind::agreement || *kind == CredentialKind::exam ||
        *kind == CredentialKind::other) {
        return false;
    }
    return std::none_of(credential.documentIds.begin(), credential.documentIds.end(),
                        [&](const std::string& id) { return liveDocumentIds.contains(id); });
}

}  // namespace corvale
