#pragma once
// Watches the drop folder chosen in Settings while the window is open: every few seconds it looks, reads
// what has settled on a worker thread, and files it for review on the interface thread, where the store
// lives. Stops with no folder chosen; a look while one is under way does nothing.

#include <QFuture>
#include <QObject>
#include <QStringList>

#include <memory>

class QTimer;

namespace corvale {
class Clock;
class DropFolder;
class FileSystem;
class TextRecognizer;
class VaultStore;
}  // namespace corvale

namespace corvale::app {

class DropFolderWatch : public QObject {
    Q_OBJECT

public:
    static constexpr int kLookEveryMs = 5000;

    DropFolderWatch(FileSystem& files, VaultStore& store, const Clock& clock, QObject* parent = nullptr);
    ~DropFolderWatch() override;

    // Follows the folder in the preferences: watches it (made when missing), or stops when none is set.
    void follow();
    void look();
    bool watching() const;
    bool reading() const { return m_reading; }

signals:
    // After a look that read something: how many documents were stored, and each file refused with why.
    void filed(int stored, const QStringList& problems);

private:
    FileSystem& m_files;
    VaultStore& m_store;
    const Clock& m_clock;
    std::unique_ptr<TextRecognizer> m_recognizer;
    std::unique_ptr<DropFolder> m_folder;
    QTimer* m_timer = nullptr;
    QFuture<void> m_work;  // waited for on the way out: it reads through the folder and recognizer held here
    bool m_reading = false;
};

}  // namespace corvale::app
