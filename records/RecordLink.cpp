#include "records/RecordLink.h"

#include <algorithm>

namespace corvale {
namespace {

constexpr std::string_view kScheme = "corvale://";
constexpr std::string_view kCredential = "credential/";
constexpr std::string_view kActivity = "activity/";

// A link arrives from outside the app: anything but an id's own characters is refused, not passed on.
bool isRecordId(std::string_view id) {
    return !id.empty() && id.size() <= 128 && std::all_of(id.begin(), id.end(), [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' || c == '_';
    });
}

}  // namespace

std::string RecordLink::text() const {
    switch (target) {
    case Target::credential: return std::string(kScheme) + std::string(kCredential) + recordId;
    case Target::activity: return std::string(kScheme) + std::string(kActivity) + recordId;
    case Target::today: break;
    }
    return std::string(kScheme) + "today";
}

std::optional<RecordLink> RecordLink::parse(std::string_view text) {
    if (!text.starts_with(kScheme)) return std::nullopt;
    std::string_view rest = text.substr(kScheme.size());
    // Desktops sometimes add a trailing slash to a link they pass on.
    if (rest.ends_with('/')) rest.remove_suffix(1);
    if (rest == "today" || rest.empty()) return RecordLink::today();
    for (const auto& [prefix, target] : {std::pair{kCredential, Target::credential}, std::pair{kActivity, Target::activity}}) {
        if (!rest.starts_with(prefix)) continue;
        const std::string_view id = rest.substr(prefix.size());
        if (!isRecordId(id)) return std::nullopt;
        return RecordLink{target, std::string(id)};
    }
    return std::nullopt;
}

}  // namespace corvale
