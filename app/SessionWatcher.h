#pragma once
// Tells the window when the desktop session locks or the machine is about to
// sleep, so app lock can close the vault before anyone else sits down. Listens
// to logind on the system bus and to the screen savers on the session bus; a
// bus that is not there is simply not heard.

#include <QDBusConnection>
#include <QObject>

namespace corvale::app {

class SessionWatcher : public QObject {
    Q_OBJECT

public:
    explicit SessionWatcher(QObject* parent = nullptr);
    // For tests: listen on these buses instead of the user's own.
    SessionWatcher(QDBusConnection systemBus, QDBusConnection sessionBus, QObject* parent = nullptr);

    // logind's object path for a session id, escaped as logind escapes it.
    static QString sessionPath(const QString& sessionId);

signals:
    void sessionLocked();

private slots:
    void onPrepareForSleep(bool starting);
    void onScreenSaverActive(bool active);
    void onSessionLock();

private:
    void listen(QDBusConnection systemBus, QDBusConnection sessionBus);
};

}  // namespace corvale::app
