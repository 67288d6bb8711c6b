#pragma once
// Desktop notifications: a summary line and a body, shown by whatever
// notification service the desktop runs.

#include "platform/Result.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>

namespace corvale {

struct Notification {
    std::string summary;
    std::string body;  // plain text; an implementation escapes what the service would read as markup
    std::string link;  // a corvale:// link to open when the notification is clicked; empty for none
};

struct NotifierFailure {
    enum class Kind {
        noService,  // nothing answers for notifications in this session
        refused,    // the service answered with an error
    };
    Kind kind = Kind::refused;
    std::string detail;  // the service's own words, for a log
};

class Notifier {
public:
    virtual ~Notifier() = default;
    // The id the service gave the notification.
    virtual Result<std::uint32_t, NotifierFailure> notify(const Notification& notification) = 0;
    // Waits up to `limit` while any notification sent with a link is still on
    // screen, calling `opened` with the link of each one the user clicks.
    virtual void followClicks(std::chrono::milliseconds limit,
                              const std::function<void(const std::string& link)>& opened) = 0;
};

}  // namespace corvale
