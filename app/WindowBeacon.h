#pragma once
// Lets a second Corvale window that finds the vault in use bring the window
// holding it forward instead of only saying so. The holder answers on the
// session bus under a name derived from the vault's folder, so two users or
// two vault folders never reach each other's window. Interface thread only.

#include <QObject>
#include <QString>

#include <filesystem>

namespace corvale::app {

class WindowBeacon : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.corvale.Corvale.Window")

public:
    explicit WindowBeacon(const std::filesystem::path& vaultDirectory, QObject* parent = nullptr);
    ~WindowBeacon() override;

    // Starts answering for this vault; false when the bus is not there or another holds the name.
    bool listen();
    void stop();
    // Whether some window answers for this vault now.
    bool holderAnswers() const;
    // Asks the holder to come forward; true when it did.
    bool bringHolderForward() const;
    // Asks the holder to come forward opened on a corvale:// link; true when it took it.
    bool openInHolder(const QString& link) const;

    QString serviceName() const { return m_service; }

public slots:
    Q_SCRIPTABLE void Raise();
    Q_SCRIPTABLE void Open(const QString& link);

signals:
    void raiseRequested();
    void openRequested(const QString& link);

private:
    QString m_service;
    bool m_listening = false;
};

}  // namespace corvale::app
