#pragma once
// The states, DC and the territories Corvale knows by their postal codes.

#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace corvale {

struct USState {
    std::string_view code;
    std::string_view name;

    static std::span<const USState> all();
    // Looked up upper-cased; absent for an unknown code.
    static std::optional<USState> find(std::string_view code);
    // The state's name, or the text as given when it is no known code.
    static std::string nameOf(std::string_view code);
};

// The sentence for text that names no state, wherever a state is typed.
std::string notAState(std::string_view text);

}  // namespace corvale
