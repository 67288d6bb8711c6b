#pragma once
// The printable readiness report, for one person or the whole office: each
// person's score and headline, every credential with its status and expiry,
// each licence's education cycle with its open topics, and the last compliance
// screening when there is one. The app and `corvale report` print the same.

#include "documents/PrintedReport.h"
#include "records/VaultDocument.h"
#include "requirements/RuleData.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace corvale {

struct ReadinessReport {
    struct CredentialLine {
        std::string title;    // "Texas RN license", told apart from its likes
        std::string number;   // empty when none is kept
        std::string status;   // "Current", "Renew soon", "Renewal submitted"...
        std::string expires;  // "March 31, 2027", or "No expiry date"
    };
    struct CycleLine {
        std::string title;   // "Texas RN license"
        std::string period;  // "June 1, 2025 to May 31, 2027"
        std::string summary;  // "12 of 24 contact hours"
        std::vector<std::string> openTopics;  // "Human trafficking: 0 of 2 hours"
        std::optional<std::string> caveat;
    };
    struct PersonPart {
        std::string name;
        std::string degree;
        std::optional<int> score;  // none for someone who only manages others
        std::string headline;
        std::vector<CredentialLine> credentials;
        std::vector<CycleLine> cycles;
        std::string compliance;  // the last screening, or that none has been run
    };

    Day preparedOn;
    std::vector<PersonPart> people;  // worst score first, as Today lists them

    // Everyone in the vault, or the one person `personId` names (nothing when it names no one).
    static std::optional<ReadinessReport> build(const VaultDocument& document, const RequirementsFile* rules,
                                                const Day& today,
                                                std::optional<std::string_view> personId = std::nullopt);

    PrintedReport printable() const;
};

}  // namespace corvale
