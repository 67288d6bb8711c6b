#pragma once
// What the text of one document proposes: its kind and the fields of the record it belongs to.

#include "records/CredentialKind.h"
#include "records/Day.h"
#include "records/DocumentKind.h"

#include <optional>
#include <string>
#include <vector>

namespace corvale {

struct Certification {
    CredentialKind kind = CredentialKind::other;
    std::string title;
    std::optional<std::string> programId;
};

struct Guess {
    DocumentKind kind = DocumentKind::other;
    std::optional<std::string> state;
    std::optional<std::string> number;
    std::optional<Day> issued;
    std::optional<Day> expires;
    std::optional<Day> anyDate;
    std::optional<double> hours;
    std::optional<std::string> title;
    std::optional<std::string> provider;
    std::vector<std::string> topics;
    bool multistate = false;
    std::optional<std::string> nurseLicenseType;
    std::optional<std::string> boardStatus;
    bool isVerificationReport = false;
    std::optional<Certification> certification;

    // The credential a document of this kind is a copy of; absent for CME certificates and papers that
    // are no credential (a CV, a diploma, an ID).
    std::optional<CredentialKind> credentialKind() const;
};

}  // namespace corvale
