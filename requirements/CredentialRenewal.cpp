#include "requirements/CredentialRenewal.h"

#include "records/RecordEnums.h"
#include "requirements/USState.h"

#include <algorithm>

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
