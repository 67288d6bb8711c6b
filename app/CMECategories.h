#pragma once
// How the CME credit categories read in the app, and which one a new
// activity starts with for each profession.

#include "records/Degree.h"

#include <QString>

#include <optional>
#include <string_view>

namespace corvale::app {

// "AMA PRA Category 1", "Nursing CE"...; text no category knows is shown as stored.
QString cmeCategoryName(std::string_view raw);

// The credit a clinician of this degree usually earns: nurses log contact
// hours, PAs AAPA credit, physicians Category 1.
std::string_view defaultCMECategory(std::optional<Degree> degree);

}  // namespace corvale::app
