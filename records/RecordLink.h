#pragma once
// corvale:// links: what a notification, a calendar event or another program
// hands the app to open it on a place or a record.
//   corvale://credential/<id>   corvale://activity/<id>   corvale://today

#include <optional>
#include <string>
#include <string_view>

namespace corvale {

struct RecordLink {
    enum class Target { today, credential, activity };
    Target target = Target::today;
    std::string recordId;  // empty for a place

    std::string text() const;
    // Nothing for text that is not one of ours; ids are kept to the characters record ids use.
    static std::optional<RecordLink> parse(std::string_view text);

    static RecordLink today() { return {}; }
    static RecordLink credential(std::string id) { return {Target::credential, std::move(id)}; }
    static RecordLink activity(std::string id) { return {Target::activity, std::move(id)}; }

    friend bool operator==(const RecordLink&, const RecordLink&) = default;
};

}  // namespace corvale
