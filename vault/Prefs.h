#pragma once
// The user's preferences: a small JSON object in
// <configuration>/Corvale/prefs.json, written atomically on every change.
// Unknown keys are kept. Owned by the VaultStore's thread.

#include "platform/FileSystem.h"
#include "records/JSONValue.h"
#include "records/Timestamp.h"
#include "vault/VaultError.h"

#include <filesystem>
#include <optional>
#include <set>
#include <string>
#include <string_view>

namespace corvale {

class Prefs {
public:
    static constexpr std::string_view kAppLock = "appLock";
    static constexpr std::string_view kLastBackup = "lastBackup";
    static constexpr std::string_view kMigrated = "migratedFromQuillmarsh";
    // Minutes without input before an app-locked vault locks itself; 0 never.
    static constexpr std::string_view kIdleLockMinutes = "idleLockMinutes";
    static constexpr int kDefaultIdleLockMinutes = 15;
    // The reminder occasions already put on the desktop, so each goes out once.
    static constexpr std::string_view kRemindersShown = "remindersShown";
    // The weekly review: off until turned on; its weekday (1 Sunday to 7 Saturday) and hour.
    static constexpr std::string_view kWeeklyReview = "weeklyReview";
    static constexpr std::string_view kWeeklyReviewWeekday = "weeklyReviewWeekday";
    static constexpr std::string_view kWeeklyReviewHour = "weeklyReviewHour";
    static constexpr int kDefaultWeeklyReviewWeekday = 2;  // Monday
    static constexpr int kDefaultWeeklyReviewHour = 8;
    // A calendar file kept up to date after every change; absent or null when none is.
    static constexpr std::string_view kCalendarFile = "calendarFile";
    // The drop folder watched for new documents; absent or null when none is.
    static constexpr std::string_view kDropFolder = "dropFolder";

    Prefs(FileSystem& files, std::filesystem::path file);
    static std::filesystem::path defaultFile();  // <configuration>/Corvale/prefs.json

    // A missing or unreadable file reads as no preferences: nothing here is worth refusing to start over.
    void load();

    bool flag(std::string_view key) const;
    std::optional<Timestamp> timestamp(std::string_view key) const;
    const JSONValue* value(std::string_view key) const;
    // A whole number, or `fallback` when the key is missing or holds something else.
    int integer(std::string_view key, int fallback) const;
    // A list of texts kept as a set; other entries in it are skipped.
    std::set<std::string, std::less<>> textSet(std::string_view key) const;
    // kDefaultIdleLockMinutes until the user picks; 0 means never.
    double idleLockMinutes() const;

    Result<void, VaultError> setFlag(std::string_view key, bool value);
    Result<void, VaultError> setTimestamp(std::string_view key, const Timestamp& value);
    Result<void, VaultError> set(std::string_view key, JSONValue value);
    Result<void, VaultError> setTextSet(std::string_view key, const std::set<std::string, std::less<>>& texts);
    // Copies every key this file lacks from another one (an older installation's).
    Result<void, VaultError> adoptMissing(const std::filesystem::path& olderFile);

    const std::filesystem::path& file() const { return m_file; }

private:
    Result<void, VaultError> save();

    FileSystem& m_files;
    std::filesystem::path m_file;
    JSONObject m_values;
};

}  // namespace corvale
