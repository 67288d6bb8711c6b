// Any recognised text, however garbled, must be read without crashing, and what the parser proposes
// must be something a form can take: a real day, a known state, a number of sensible length.
#include "documents/reading/DocumentParser.h"
#include "records/USState.h"

#include <cstdint>
#include <cstdlib>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const auto guess = corvale::DocumentParser::parse(text, text.substr(0, 40));
    for (const auto& day : {guess.issued, guess.expires, guess.anyDate})
        if (day && !day->exists()) std::abort();
    if (guess.state && !corvale::USState::find(*guess.state)) std::abort();
    if (guess.number && (guess.number->size() < 3 || guess.number->size() > 20)) std::abort();
    if (guess.hours && (*guess.hours <= 0 || *guess.hours > 500)) std::abort();
    if (guess.title && (guess.title->size() < 4 || guess.title->size() > 160)) std::abort();
    return 0;
}
