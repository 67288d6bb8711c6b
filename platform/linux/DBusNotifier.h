#pragma once
// Notifications through the freedesktop Notifications service on the session bus.

#include "platform/Notifier.h"

namespace corvale {

class DBusNotifier final : public Notifier {
public:
    explicit DBusNotifier(std::string appName = "Corvale") : m_appName(std::move(appName)) {}
    Result<std::uint32_t, NotifierFailure> notify(const Notification& notification) override;

private:
    std::string m_appName;
};

}  // namespace corvale
