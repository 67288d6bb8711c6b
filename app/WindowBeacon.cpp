#include "app/WindowBeacon.h"

#include <QCryptographicHash>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>

namespace corvale::app {

namespace {

const QString kObjectPath = QStringLiteral("/com/corvale/Corvale/Window");
const QString kInterface = QStringLiteral("com.corvale.Corvale.Window");
constexpr int kCallTimeoutMs = 2000;

}  // namespace

WindowBeacon::WindowBeacon(const std::filesystem::path& vaultDirectory, QObject* parent) : QObject(parent) {
    // A bus name element may not start with a digit, hence the letter before the hash.
    const QByteArray digest =
        QCryptographicHash::hash(QByteArray::fromStdString(vaultDirectory.string()), QCryptographicHash::Sha256)
            .toHex()
            .left(16);
    m_service = QStringLiteral("com.corvale.Corvale.v") + QString::fromLatin1(digest);
}

WindowBeacon::~WindowBeacon() { stop(); }

bool WindowBeacon::listen() {
    if (m_listening) return true;
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) return false;
    if (!bus.registerObject(kObjectPath, this, QDBusConnection::ExportScriptableSlots)) return false;
    if (!bus.registerService(m_service)) {
        bus.unregisterObject(kObjectPath);
        return false;
    }
    m_listening = true;
    return true;
}

void WindowBeacon::stop() {
    if (!m_listening) return;
    QDBusConnection bus = QDBusConnection::sessionBus();
    bus.unregisterService(m_service);
    bus.unregisterObject(kObjectPath);
    m_listening = false;
}

bool WindowBeacon::holderAnswers() const {
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected() || bus.interface() == nullptr) return false;
    const auto registered = bus.interface()->isServiceRegistered(m_service);
    return registered.isValid() && registered.value();
}

bool WindowBeacon::bringHolderForward() const {
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) return false;
    const QDBusMessage call =
        QDBusMessage::createMethodCall(m_service, kObjectPath, kInterface, QStringLiteral("Raise"));
    return bus.call(call, QDBus::Block, kCallTimeoutMs).type() == QDBusMessage::ReplyMessage;
}

bool WindowBeacon::openInHolder(const QString& link) const {
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) return false;
    QDBusMessage call = QDBusMessage::createMethodCall(m_service, kObjectPath, kInterface, QStringLiteral("Open"));
    call << link;
    return bus.call(call, QDBus::Block, kCallTimeoutMs).type() == QDBusMessage::ReplyMessage;
}

void WindowBeacon::Raise() { emit raiseRequested(); }

void WindowBeacon::Open(const QString& link) { emit openRequested(link); }

}  // namespace corvale::app
