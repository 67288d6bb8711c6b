#pragma once
// Keeps every notification it is given, for tests; can be told to refuse.

#include "platform/Notifier.h"

#include <optional>
#include <vector>

namespace corvale {

class RecordingNotifier final : public Notifier {
public:
    Result<std::uint32_t, NotifierFailure> notify(const Notification& notification) override {
        if (refusal) return fail(*refusal);
        sent.push_back(notification);
        return static_cast<std::uint32_t>(sent.size());
    }

    // Plays the clicks in `clicks` (indexes into `sent`) as if the user made them.
    void followClicks(std::chrono::milliseconds limit,
                      const std::function<void(const std::string& link)>& opened) override {
        followedFor = limit;
        for (const std::size_t index : clicks)
            if (index < sent.size() && !sent[index].link.empty()) opened(sent[index].link);
    }

    std::vector<Notification> sent;
    std::vector<std::size_t> clicks;
    std::optional<std::chrono::milliseconds> followedFor;
    std::optional<NotifierFailure> refusal;
};

}  // namespace corvale
