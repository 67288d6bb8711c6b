#include "app/DropFolderWatch.h"

#include "platform/linux/TesseractRecognizer.h"
#include "vault/DropFolder.h"
#include "vault/Prefs.h"
#include "vault/VaultStore.h"

#include <QFutureWatcher>
#include <QTimer>
#include <QtConcurrent/QtConcurrentRun>

namespace corvale::app {
namespace {

using Reading = std::vector<Result<RecognizedDocument, RecognitionError>>;

}  // namespace

DropFolderWatch::DropFolderWatch(FileSystem& files, VaultStore& store, const Clock& clock, QObject* parent)
    : QObject(parent),
      m_files(files),
      m_store(store),
      m_clock(clock),
      m_recognizer(std::make_unique<TesseractRecognizer>()),
      m_timer(new QTimer(this)) {
    m_timer->setInterval(kLookEveryMs);
    connect(m_timer, &QTimer::timeout, this, &DropFolderWatch::look);
}

DropFolderWatch::~DropFolderWatch() { m_work.waitForFinished(); }

bool DropFolderWatch::watching() const { return m_folder != nullptr; }

void DropFolderWatch::follow() {
    const JSONValue* chosen = m_store.phase() == VaultPhase::ready ? m_store.prefs().value(Prefs::kDropFolder) : nullptr;
    const bool wanted = chosen && chosen->isString() && !chosen->asString().empty();
    if (!wanted) {
        m_timer->stop();
        if (!m_reading) m_folder.reset();
        return;
    }
    const std::filesystem::path path = chosen->asString();
    if (!m_folder || m_folder->folder() != path) {
        if (m_reading) return;  // taken up at the next look, once this one is filed
        (void)m_files.createDirectories(path);
        m_folder = std::make_unique<DropFolder>(m_files, *m_recognizer, path);
    }
    if (!m_timer->isActive()) m_timer->start();
}

void DropFolderWatch::look() {
    if (!m_folder || m_reading || m_store.phase() != VaultPhase::ready) return;
    // Files wait in the folder until someone can own them, rather than being read again at every look.
    if (!DropFolder::ownerFor(m_store.doc(), std::nullopt)) return;
    auto result = std::make_shared<DropFolderScan>();
    auto ready = std::make_shared<std::vector<DroppedFile>>(m_folder->takeReady(*result));
    if (ready->empty()) return;
    m_reading = true;
    auto* watcher = new QFutureWatcher<Reading>(this);
    DropFolder* folder = m_folder.get();
    connect(watcher, &QFutureWatcher<Reading>::finished, this, [this, watcher, folder, ready, result] {
        const Reading read = watcher->result();
        watcher->deleteLater();
        for (std::size_t i = 0; i < ready->size(); ++i)
            folder->file(m_store, (*ready)[i], read[i], Timestamp::now(m_clock), std::nullopt, *result);
        folder->finish();
        m_reading = false;
        QStringList problems;
        for (const auto& [name, why] : result->refused)
            problems << QString::fromStdString(name) + QStringLiteral(": ") + QString::fromStdString(why);
        emit filed(static_cast<int>(result->imported.size()), problems);
        follow();  // the folder may have been changed or turned off meanwhile
    });
    auto future = QtConcurrent::run([folder, ready] {
        Reading read;
        for (const auto& dropped : *ready) read.push_back(folder->recognise(dropped));
        return read;
    });
    m_work = QFuture<void>(future);
    watcher->setFuture(future);
}

}  // namespace corvale::app
