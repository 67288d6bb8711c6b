#pragma once
// The renewals calendar written where the user chose, for a calendar app to
// import or subscribe to; kept up to date after every change once asked.

#include <QString>

#include <string>

namespace corvale {
struct VaultDocument;
struct RequirementsFile;
struct Day;
struct Timestamp;
}  // namespace corvale

namespace corvale::app {

class CalendarFile {
public:
    // Writes the whole vault's calendar to `path` atomically. False with `problem` said when it can't.
    static bool write(const QString& path, const VaultDocument& document, const RequirementsFile* rules,
                      const Day& today, const Timestamp& stamp, QString& problem);

    // After a change: rewrites `path` only when an event changed, so a subscribed
    // calendar app isn't told of changes that aren't there.
    bool refresh(const QString& path, const VaultDocument& document, const RequirementsFile* rules, const Day& today,
                 const Timestamp& stamp);

private:
    QString m_path;
    std::string m_written;  // the events as last written, without their stamps
};

}  // namespace corvale::app
