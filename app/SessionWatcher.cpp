#include "app/SessionWatcher.h"

#include <QByteArray>

namespace corvale::app {
namespace {

const QString kLogin1 = QStringLiteral("org.freedesktop.login1");

}  // namespace

SessionWatcher::SessionWatcher(QObject* parent) : QObject(parent) {
    listen(QDBusConnection::systemBus(), QDBusConnection::sessionBus());
}

SessionWatcher::SessionWatcher(QDBusConnection systemBus, QDBusConnection sessionBus, QObject* parent)
    : QObject(parent) {
    listen(std::move(systemBus), std::move(sessionBus));
}

QString SessionWatcher::sessionPath(const QString& sessionId) {
    // Every byte outside [A-Za-z0-9], and a leading digit, becomes _xx in hex.
    QString path = QStringLiteral("/org/freedesktop/login1/session/");
    const QByteArray bytes = sessionId.toUtf8();
    for (qsizetype i = 0; i < bytes.size(); ++i) {
        const auto c = static_cast<unsigned char>(bytes[i]);
        const bool letter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
        const bool digit = c >= '0' && c <= '9';
        if (letter || (digit && i > 0)) {
            path += QChar(c);
        } else {
            path += QStringLiteral("_%1").arg(c, 2, 16, QLatin1Char('0'));
        }
    }
    return path;
}

void SessionWatcher::listen(QDBusConnection systemBus, QDBusConnection sessionBus) {
    if (systemBus.isConnected()) {
        systemBus.connect(kLogin1, QStringLiteral("/org/freedesktop/login1"),
                          QStringLiteral("org.freedesktop.login1.Manager"), QStringLiteral("PrepareForSleep"), this,
                          SLOT(onPrepareForSleep(bool)));
        const QString session = qEnvironmentVariable("XDG_SESSION_ID");
        if (!session.isEmpty()) {
            systemBus.connect(kLogin1, sessionPath(session), QStringLiteral("org.freedesktop.login1.Session"),
                              QStringLiteral("Lock"), this, SLOT(onSessionLock()));
        }
    }
    if (sessionBus.isConnected()) {
        // Any sender: the screen saver's bus name differs from desktop to desktop.
        sessionBus.connect(QString(), QStringLiteral("/org/freedesktop/ScreenSaver"),
                           QStringLiteral("org.freedesktop.ScreenSaver"), QStringLiteral("ActiveChanged"), this,
                           SLOT(onScreenSaverActive(bool)));
        sessionBus.connect(QString(), QStringLiteral("/org/gnome/ScreenSaver"), QStringLiteral("org.gnome.ScreenSaver"),
                           QStringLiteral("ActiveChanged"), this, SLOT(onScreenSaverActive(bool)));
    }
}

void SessionWatcher::onPrepareForSleep(bool starting) {
    if (starting) emit sessionLocked();
}

void SessionWatcher::onScreenSaverActive(bool active) {
    if (active) emit sessionLocked();
}

void SessionWatcher::onSessionLock() { emit sessionLocked(); }

}  // namespace corvale::app
