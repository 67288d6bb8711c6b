#include "platform/linux/DBusNotifier.h"

#include <gio/gio.h>

#include <memory>
#include <utility>

namespace corvale {
namespace {

constexpr const char* kService = "org.freedesktop.Notifications";
constexpr const char* kPath = "/org/freedesktop/Notifications";
// The click on the notification itself; the service shows it as the body's action.
constexpr const char* kOpenAction = "default";

struct GErrorRelease {
    void operator()(GError* error) const { g_error_free(error); }
};
struct GFreeRelease {
    void operator()(gchar* text) const { g_free(text); }
};

std::string messageOf(GError* error) { return error && error->message ? error->message : "no detail"; }

void onActionInvoked(GDBusConnection*, const gchar*, const gchar*, const gchar*, const gchar*, GVariant* parameters,
                     gpointer self) {
    guint32 id = 0;
    const gchar* action = nullptr;
    g_variant_get(parameters, "(u&s)", &id, &action);
    static_cast<DBusNotifier*>(self)->clicked(id, action ? action : "");
}

void onNotificationClosed(GDBusConnection*, const gchar*, const gchar*, const gchar*, const gchar*,
                          GVariant* parameters, gpointer self) {
    guint32 id = 0;
    guint32 reason = 0;
    g_variant_get(parameters, "(uu)", &id, &reason);
    static_cast<DBusNotifier*>(self)->closed(id);
}

}  // namespace

DBusNotifier::~DBusNotifier() {
    if (!m_bus) return;
    g_dbus_connection_signal_unsubscribe(m_bus, m_actionSubscription);
    g_dbus_connection_signal_unsubscribe(m_bus, m_closedSubscription);
    g_object_unref(m_bus);
}

Result<GDBusConnection*, NotifierFailure> DBusNotifier::connection() {
    if (m_bus) return m_bus;
    GError* raw = nullptr;
    m_bus = g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, &raw);
    std::unique_ptr<GError, GErrorRelease> error(raw);
    if (!m_bus) return fail(NotifierFailure{NotifierFailure::Kind::noService, messageOf(error.get())});
    // Signals are delivered in the main context current now: the caller's thread.
    m_actionSubscription = g_dbus_connection_signal_subscribe(
        m_bus, kService, kService, "ActionInvoked", kPath, nullptr, G_DBUS_SIGNAL_FLAGS_NONE, onActionInvoked, this,
        nullptr);
    m_closedSubscription = g_dbus_connection_signal_subscribe(m_bus, kService, kService, "NotificationClosed", kPath,
                                                              nullptr, G_DBUS_SIGNAL_FLAGS_NONE,
                                                              onNotificationClosed, this, nullptr);
    return m_bus;
}

Result<std::uint32_t, NotifierFailure> DBusNotifier::notify(const Notification& notification) {
    auto bus = connection();
    if (!bus) return fail(bus.error());

    // Services that read markup in the body would take a "<" in a title for a tag.
    std::unique_ptr<gchar, GFreeRelease> body(g_markup_escape_text(notification.body.c_str(), -1));
    GVariantBuilder actions;
    g_variant_builder_init(&actions, G_VARIANT_TYPE("as"));
    if (!notification.link.empty()) {
        g_variant_builder_add(&actions, "s", kOpenAction);
        g_variant_builder_add(&actions, "s", "Open in Corvale");
    }
    GVariantBuilder hints;
    g_variant_builder_init(&hints, G_VARIANT_TYPE("a{sv}"));
    g_variant_builder_add(&hints, "{sv}", "desktop-entry", g_variant_new_string("com.corvale.Corvale"));
    g_variant_builder_add(&hints, "{sv}", "category", g_variant_new_string("x-corvale.reminder"));
    GVariant* parameters = g_variant_new("(susssasa{sv}i)", m_appName.c_str(), 0u, "appointment-soon",
                                         notification.summary.c_str(), body.get(), &actions, &hints, -1);
    GError* raw = nullptr;
    GVariant* reply = g_dbus_connection_call_sync(*bus, kService, kPath, kService, "Notify", parameters,
                                                  G_VARIANT_TYPE("(u)"), G_DBUS_CALL_FLAGS_NONE, 10'000, nullptr,
                                                  &raw);
    std::unique_ptr<GError, GErrorRelease> error(raw);
    if (!reply) {
        const bool absent = error && g_error_matches(error.get(), G_DBUS_ERROR, G_DBUS_ERROR_SERVICE_UNKNOWN);
        return fail(NotifierFailure{absent ? NotifierFailure::Kind::noService : NotifierFailure::Kind::refused,
                                    messageOf(error.get())});
    }
    guint32 id = 0;
    g_variant_get(reply, "(u)", &id);
    g_variant_unref(reply);
    if (!notification.link.empty()) m_links[id] = notification.link;
    return id;
}

void DBusNotifier::setClickHandler(std::function<void(const std::string& link)> opened) {
    m_opened = std::move(opened);
    (void)connection();  // subscribes now, in the caller's main context
}

void DBusNotifier::clicked(std::uint32_t id, const std::string& action) {
    const auto found = m_links.find(id);
    if (found == m_links.end() || action != kOpenAction) return;
    const std::string link = found->second;
    m_links.erase(found);
    if (m_opened) m_opened(link);
}

void DBusNotifier::closed(std::uint32_t id) { m_links.erase(id); }

void DBusNotifier::followClicks(std::chrono::milliseconds limit,
                                const std::function<void(const std::string& link)>& opened) {
    if (!m_bus || m_links.empty()) return;
    auto kept = std::exchange(m_opened, opened);
    GMainContext* context = g_main_context_default();
    bool timedOut = false;
    GSource* timer = g_timeout_source_new(static_cast<guint>(limit.count()));
    g_source_set_callback(
        timer,
        [](gpointer flag) -> gboolean {
            *static_cast<bool*>(flag) = true;
            return G_SOURCE_REMOVE;
        },
        &timedOut, nullptr);
    g_source_attach(timer, context);
    while (!m_links.empty() && !timedOut) g_main_context_iteration(context, TRUE);
    g_source_destroy(timer);
    g_source_unref(timer);
    m_opened = std::move(kept);
}

}  // namespace corvale
