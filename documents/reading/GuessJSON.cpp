#include "documents/reading/GuessJSON.h"

namespace corvale {
namespace {

void putDay(JSONObject& object, std::string_view key, const std::optional<Day>& day) {
    if (day) object.emplace(std::string(key), day->toString());
}

}  // namespace

JSONObject guessJSON(const Guess& guess) {
    JSONObject object;
    object.emplace("kind", std::string(rawValue(guess.kind)));
    if (const auto kind = guess.credentialKind()) object.emplace("credentialKind", std::string(rawValue(*kind)));
    putIfPresent(object, "state", guess.state);
    putIfPresent(object, "number", guess.number);
    putDay(object, "issued", guess.issued);
    putDay(object, "expires", guess.expires);
    putDay(object, "anyDate", guess.anyDate);
    putIfPresent(object, "hours", guess.hours);
    putIfPresent(object, "title", guess.title);
    putIfPresent(object, "provider", guess.provider);
    JSONValue::Array topics(guess.topics.begin(), guess.topics.end());
    object.emplace("topics", std::move(topics));
    object.emplace("multistate", guess.multistate);
    putIfPresent(object, "nurseLicenseType", guess.nurseLicenseType);
    putIfPresent(object, "boardStatus", guess.boardStatus);
    object.emplace("isVerificationReport", guess.isVerificationReport);
    if (guess.certification) {
        JSONObject certification{{"kind", std::string(rawValue(guess.certification->kind))},
                                 {"title", guess.certification->title}};
        putIfPresent(certification, "programId", guess.certification->programId);
        object.emplace("certification", std::move(certification));
    }
    return object;
}

}  // namespace corvale
