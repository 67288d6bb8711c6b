#include "platform/linux/DBusNotifier.h"

#include <gio/gio.h>

#include <memory>

namespace corvale {
namespace {

struct GObjectRelease {
    void operator()(gpointer object) const { g_object_unref(object); }
};
struct GErrorRelease {
    void operator()(GError* error) const { g_error_free(error); }
};
struct GFreeRelease {
    void operator()(gchar* text) const { g_free(text); }
};

std::string messageOf(GError* error) { return error && error->message ? error->message : "no detail"; }

}  // namespace

Result<std::uint32_t, NotifierFailure> DBusNotifier::notify(const Notification& notification) {
    GError* raw = nullptr;
    std::unique_ptr<GDBusConnection, GObjectRelease> bus(g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, &raw));
    std::unique_ptr<GError, GErrorRelease> error(raw);
    if (!bus) return fail(NotifierFailure{NotifierFailure::Kind::noService, messageOf(error.get())});

    // Services that read markup in the body would take a "<" in a title for a tag.
    std::unique_ptr<gchar, GFreeRelease> body(g_markup_escape_text(notification.body.c_str(), -1));
    GVariantBuilder actions;
    g_variant_builder_init(&actions, G_VARIANT_TYPE("as"));
    GVariantBuilder hints;
    g_variant_builder_init(&hints, G_VARIANT_TYPE("a{sv}"));
    g_variant_builder_add(&hints, "{sv}", "desktop-entry", g_variant_new_string("corvale"));
    g_variant_builder_add(&hints, "{sv}", "category", g_variant_new_string("x-corvale.reminder"));
    GVariant* parameters = g_variant_new("(susssasa{sv}i)", m_appName.c_str(), 0u, "appointment-soon",
                                         notification.summary.c_str(), body.get(), &actions, &hints, -1);
    raw = nullptr;
    GVariant* reply = g_dbus_connection_call_sync(bus.get(), "org.freedesktop.Notifications",
                                                  "/org/freedesktop/Notifications", "org.freedesktop.Notifications",
                                                  "Notify", parameters, G_VARIANT_TYPE("(u)"),
                                                  G_DBUS_CALL_FLAGS_NONE, 10'000, nullptr, &raw);
    error.reset(raw);
    if (!reply) {
        const bool absent = error && g_error_matches(error.get(), G_DBUS_ERROR, G_DBUS_ERROR_SERVICE_UNKNOWN);
        return fail(NotifierFailure{absent ? NotifierFailure::Kind::noService : NotifierFailure::Kind::refused,
                                    messageOf(error.get())});
    }
    guint32 id = 0;
    g_variant_get(reply, "(u)", &id);
    g_variant_unref(reply);
    return id;
}

}  // namespace corvale
