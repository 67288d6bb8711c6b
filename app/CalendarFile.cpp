#include "app/CalendarFile.h"

#include "records/Timestamp.h"
#include "records/VaultDocument.h"
#include "requirements/CalendarExport.h"
#include "requirements/Readiness.h"

#include <QSaveFile>

namespace corvale::app {
namespace {

std::string calendarText(const VaultDocument& document, const RequirementsFile* rules, const Day& today,
                         const Timestamp& stamp) {
    return calendarOf(Readiness::compute(document, rules, today), document.settings, stamp);
}

}  // namespace

bool CalendarFile::write(const QString& path, const VaultDocument& document, const RequirementsFile* rules,
                         const Day& today, const Timestamp& stamp, QString& problem) {
    const std::string text = calendarText(document, rules, today, stamp);
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) ||
        file.write(text.data(), static_cast<qint64>(text.size())) != static_cast<qint64>(text.size()) || !file.commit()) {
        problem = QObject::tr("The calendar couldn't be written to %1 (%2).").arg(path, file.errorString());
        return false;
    }
    return true;
}

bool CalendarFile::refresh(const QString& path, const VaultDocument& document, const RequirementsFile* rules,
                           const Day& today, const Timestamp& stamp) {
    // The same stamp every time, so only a changed event makes the texts differ.
    std::string events = calendarText(document, rules, today, Timestamp::epoch());
    if (path == m_path && events == m_written) return true;
    QString problem;
    if (!write(path, document, rules, today, stamp, problem)) return false;
    m_path = path;
    m_written = std::move(events);
    return true;
}

}  // namespace corvale::app
