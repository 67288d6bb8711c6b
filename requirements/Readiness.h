#pragma once
// Everything the Today view and `corvale today` show: each state licence's
// cycle progress and the standing score of the people in view, computed from
// a vault's records in one pass over them.

#include "records/VaultDocument.h"
#include "requirements/StandingScore.h"
#include "requirements/StateProgress.h"

#include <optional>
#include <string_view>
#include <vector>

namespace corvale {

struct Readiness {
    std::vector<StateProgress> progress;  // state licences in record order
    StandingInput input;                  // views into the document it was computed from
    StandingScore score;
    std::vector<PersonStanding> people;   // each person's own score, when more than one is in view

    // `personId` narrows the view to one person; without it every live person
    // is in view, except one who only manages others and holds no credential. The result refers to `document`, which must outlive it.
    static Readiness compute(const VaultDocument& document, const RequirementsFile* file, const Day& today,
                             std::optional<std::string_view> personId = std::nullopt);
};

}  // namespace corvale
