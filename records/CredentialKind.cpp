#include "records/CredentialKind.h"

#include <array>

namespace corvale {
namespace {

struct KindInfo {
    CredentialKind kind;
    std::string_view raw;
    std::string_view display;
    std::string_view symbol;
    bool needsState;
    bool practiceCritical;
    int typicalYears;  // 0: none
    int typicalDays;   // 0: none
};

constexpr std::array<KindInfo, 19> kKinds{{
    {CredentialKind::stateLicense, "stateLicense", "State License", "building.columns", true, true, 2, 0},
    {CredentialKind::dea, "dea", "DEA Registration", "pills", false, true, 3, 0},
    {CredentialKind::stateCSR, "stateCSR", "State Controlled Substance Registration", "cross.vial", true, false, 2, 0},
    {CredentialKind::boardCertification, "boardCertification", "Board Certification", "rosette", false, true, 0, 0},
    {CredentialKind::bls, "bls", "BLS", "heart", false, false, 2, 0},
    {CredentialKind::acls, "acls", "ACLS", "waveform.path.ecg", false, false, 2, 0},
    {CredentialKind::pals, "pals", "PALS", "figure.and.child.holdinghands", false, false, 2, 0},
    {CredentialKind::nrp, "nrp", "NRP", "stroller", false, false, 2, 0},
    {CredentialKind::atls, "atls", "ATLS", "bandage", false, false, 4, 0},
    {CredentialKind::malpractice, "malpractice", "Malpractice Insurance", "shield.lefthalf.filled", false, false, 1, 0},
    {CredentialKind::hospitalPrivileges, "hospitalPrivileges", "Hospital Privileges", "cross.case", false, false, 2, 0},
    {CredentialKind::caqh, "caqh", "CAQH Attestation", "checkmark.seal", false, false, 1, 120},
    {CredentialKind::tb, "tb", "TB Test", "lungs", false, false, 1, 0},
    {CredentialKind::immunization, "immunization", "Immunization", "syringe", false, false, 0, 0},
    {CredentialKind::imlcLOQ, "imlcLOQ", "IMLC Letter of Qualification", "envelope.badge", false, false, 1, 365},
    {CredentialKind::agreement, "agreement", "Collaborative Agreement", "signature", false, false, 2, 0},
    {CredentialKind::mate, "mate", "MATE Act Training", "graduationcap", false, false, 0, 0},
    {CredentialKind::exam, "exam", "Exam", "pencil.and.list.clipboard", false, false, 0, 0},
    {CredentialKind::other, "other", "Other", "doc", false, false, 0, 0},
}};

constexpr std::array<CredentialKind, kKinds.size()> kOrder = [] {
    std::array<CredentialKind, kKinds.size()> order{};
    for (std::size_t i = 0; i < kKinds.size(); ++i) order[i] = kKinds[i].kind;
    return order;
}();

const KindInfo& info(CredentialKind kind) { return kKinds[static_cast<std::size_t>(kind)]; }

std::optional<int> positive(int value) { return value > 0 ? std::optional<int>(value) : std::nullopt; }

}  // namespace

std::span<const CredentialKind> allCredentialKinds() { return kOrder; }
std::string_view rawValue(CredentialKind kind) { return info(kind).raw; }

std::optional<CredentialKind> credentialKindFromRaw(std::string_view raw) {
    for (const auto& entry : kKinds)
        if (entry.raw == raw) return entry.kind;
    return std::nullopt;
}

std::string_view displayName(CredentialKind kind) { return info(kind).display; }
std::string_view symbolName(CredentialKind kind) { return info(kind).symbol; }
bool needsState(CredentialKind kind) { return info(kind).needsState; }
bool isPracticeCritical(CredentialKind kind) { return info(kind).practiceCritical; }
std::optional<int> typicalYears(CredentialKind kind) { return positive(info(kind).typicalYears); }
std::optional<int> typicalDays(CredentialKind kind) { return positive(info(kind).typicalDays); }

std::optional<Day> proposedExpiry(CredentialKind kind, const Day& issuedOn) {
    if (const auto days = typicalDays(kind)) return issuedOn.addingDays(*days);
    if (const auto years = typicalYears(kind)) return issuedOn.addingYears(*years);
    return std::nullopt;
}

}  // namespace corvale
