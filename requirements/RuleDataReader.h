#pragma once
// Decodes the two state data files. Leniently: a field of the wrong type reads
// as absent, numbers may come as text ("$1,200", "25 hours"); only a document
// missing its required structure is refused.

#include "requirements/RuleData.h"

#include <optional>
#include <string_view>

namespace corvale {

std::optional<RequirementsFile> readRequirementsFile(std::string_view json);
std::optional<StateFeesFile> readStateFeesFile(std::string_view json);

}  // namespace corvale
