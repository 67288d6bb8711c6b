#pragma once

#include "records/Day.h"

#include <optional>
#include <span>
#include <string_view>

namespace corvale {

// Declared in listing order (the order pickers show).
enum class CredentialKind {
    stateLicense,
    dea,
    stateCSR,
    boardCertification,
    bls,
    acls,
    pals,
    nrp,
    atls,
    malpractice,
    hospitalPrivileges,
    caqh,
    tb,
    immunization,
    imlcLOQ,
    agreement,
    mate,
    exam,
    other,
};

std::span<const CredentialKind> allCredentialKinds();
std::string_view rawValue(CredentialKind kind);
// Absent for text no kind has; the record keeps that text as it is.
std::optional<CredentialKind> credentialKindFromRaw(std::string_view raw);

std::string_view displayName(CredentialKind kind);
std::string_view symbolName(CredentialKind kind);
bool needsState(CredentialKind kind);
// A lapse stops practice.
bool isPracticeCritical(CredentialKind kind);
// Usual validity, used to propose an expiry from an issue date; typicalDays wins where set.
std::optional<int> typicalYears(CredentialKind kind);
std::optional<int> typicalDays(CredentialKind kind);
// The expiry a credential of this kind issued on `issuedOn` usually has; absent
// for kinds with no usual validity (board certifications, exams).
std::optional<Day> proposedExpiry(CredentialKind kind, const Day& issuedOn);

}  // namespace corvale
