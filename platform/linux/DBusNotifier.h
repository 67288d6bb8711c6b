#pragma once
// Notifications through the freedesktop Notifications service on the session
// bus. The service tells only the connection that sent a notification when it
// is clicked, so one connection is kept for the notifier's lifetime.

#include "platform/Notifier.h"

#include <map>

typedef struct _GDBusConnection GDBusConnection;

namespace corvale {

class DBusNotifier final : public Notifier {
public:
    explicit DBusNotifier(std::string appName = "Corvale") : m_appName(std::move(appName)) {}
    ~DBusNotifier() override;
    DBusNotifier(const DBusNotifier&) = delete;
    DBusNotifier& operator=(const DBusNotifier&) = delete;

    Result<std::uint32_t, NotifierFailure> notify(const Notification& notification) override;
    void followClicks(std::chrono::milliseconds limit,
                      const std::function<void(const std::string& link)>& opened) override;
    // For a program with a GLib main loop of its own (Qt's on Linux): clicks
    // reach `opened` as they happen, with no waiting.
    void setClickHandler(std::function<void(const std::string& link)> opened);

    // Called by the bus; public only so the C callbacks can reach them.
    void clicked(std::uint32_t id, const std::string& action);
    void closed(std::uint32_t id);

private:
    Result<GDBusConnection*, NotifierFailure> connection();

    std::string m_appName;
    GDBusConnection* m_bus = nullptr;
    unsigned m_actionSubscription = 0;
    unsigned m_closedSubscription = 0;
    std::map<std::uint32_t, std::string> m_links;  // on screen, by the service's id
    std::function<void(const std::string&)> m_opened;
};

}  // namespace corvale
