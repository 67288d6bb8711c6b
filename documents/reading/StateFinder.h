#pragma once
// The state whose authority issued a document, read from its wording.

#include <optional>
#include <string>
#include <string_view>

namespace corvale {

// The two-letter code of the state named beside an authority word ("Texas Medical Board", "State of
// New York"), else of a board's address (", TX 78701"), else of a state named anywhere; absent when
// the text names none. Names inside other names (Kansas City, George Washington University, Ohio
// State University, Orange County) are not taken.
std::optional<std::string> findState(std::string_view text);

}  // namespace corvale
