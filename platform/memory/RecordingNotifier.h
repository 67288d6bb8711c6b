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

    std::vector<Notification> sent;
    std::optional<NotifierFailure> refusal;
};

}  // namespace corvale
