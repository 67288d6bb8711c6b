#pragma once
// Shared by the command groups; not part of the library's interface.

#include "cli/Commands.h"
#include "platform/TextRecognizer.h"
#include "records/Day.h"
#include "records/Timestamp.h"

#include <filesystem>
#include <iostream>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace corvale::cli {

inline constexpr int kSucceeded = 0;
inline constexpr int kFailed = 1;
inline constexpr int kUsageError = 2;

struct Session {
    VaultStoreSetup setup;
    std::istream& in;
    std::ostream& out;
    std::ostream& err;
    PassphrasePrompt prompt;
    const Requirements& requirements;
    const StateFees& fees;
    Notifier& notifier;
    LinkOpener openLink;
    TextRecognizer& recognizer;

    int failed(std::string_view message) {
        err << message << '\n';
        return kFailed;
    }
    int failed(const VaultError& error) { return failed(error.message()); }
    int usage(std::string_view message) {
        err << message << '\n';
        return kUsageError;
    }
    Timestamp now() const { return Timestamp::now(setup.clock); }
};

// The lists a TYPE argument can name.
enum class RecordList { people, credentials, cme, documents, packets, healthRecords };
std::optional<RecordList> recordListFromName(std::string_view name);
std::vector<std::string_view> recordListNames();

// Starts the store and gets it to ready. Where app lock is on it asks the
// authenticator, which asks for the login password on the terminal; with no
// terminal it refuses. Fails with the sentence to show.
Result<void, std::string> openRecords(Session& session, VaultStore& store);

// The owner of a new record: the given live person, else the user, else the only person.
Result<std::string, std::string> choosePerson(const VaultDocument& document, const std::optional<std::string>& given);

// openRecords, then choosePerson: where every new record starts. Fails with the sentence to show.
Result<std::string, std::string> openForNewRecord(Session& session, VaultStore& store,
                                                  const std::optional<std::string>& person);

// A new passphrase seals a copy and must be long enough (and typed twice on a
// terminal); an existing one only has to open what it sealed.
enum class PassphraseUse { existing, newOne };

// From standard input or the terminal, kept in a wiping buffer throughout.
Result<SecureBytes, std::string> readPassphrase(Session& session, bool fromStdin, PassphraseUse use);

struct InitOptions {
    std::string name;
    std::string degree;
    std::vector<std::string> states;
    bool managerOnly = false;
};

struct PersonOptions {
    std::string name;
    std::string degree;
};

struct CredentialOptions {
    std::string kind;
    std::optional<std::string> state, number, title, person;
    std::optional<Day> issued, expires;
};

struct CMEOptions {
    std::string title;
    double hours = 0;
    Day completed;
    std::string category;
    std::vector<std::string> topics;
    std::optional<std::string> person;
};

struct DocumentOptions {
    std::filesystem::path file;
    std::optional<std::string> person, kind;
    bool read = false;  // recognise it and propose the record it belongs to
};

struct DocumentReviewOptions {
    std::string id;
    std::vector<std::string> corrections;  // FIELD=VALUE
    bool accept = false;
};
int runDocumentReview(Session& session, const DocumentReviewOptions& options, bool json);
int runDocumentList(Session& session, bool needsReview, bool json);
int runDocumentDuplicates(Session& session, bool remove);

// Recognises and parses a document without storing it.
int runDocumentRead(Session& session, const std::filesystem::path& file, bool json);

struct RulesOptions {
    std::string state;
    std::optional<std::string> profession;
};

struct ProgressOptions {
    std::optional<std::string> person;
    std::optional<Day> asOf;  // plan toward this day instead of today
};

int runToday(Session& session, const ProgressOptions& options, bool json);

struct RemindOptions {
    std::optional<Day> asOf;
    bool dryRun = false;
    int stayMinutes = 0;  // how long to wait for a click on what was sent
};
int runRemind(Session& session, const RemindOptions& options);
// Holds a credential's reminders back until `until`; without it, lets them go again.
int runSnooze(Session& session, const std::string& credentialId, const std::optional<Day>& until);
// Marks a credential kind as not applicable to this vault (no reminders), or applicable again.
int runNotApplicable(Session& session, const std::string& kind, bool applies);
int runProgress(Session& session, const ProgressOptions& options, bool json);
// Writes the renewals as an iCalendar file and prints its path.
int runCalendar(Session& session, const ProgressOptions& options, const std::filesystem::path& destination);
// The next twelve months of expiries, renewal windows and cycle ends, and the topics still open.
int runPlan(Session& session, const ProgressOptions& options, bool json);
// Writes the readiness report as a PDF and prints its path.
int runReport(Session& session, const ProgressOptions& options, const std::filesystem::path& destination);

int runRules(Session& session, const RulesOptions& options, bool json);
int runFees(Session& session, const std::vector<std::string>& states, bool json);

int runInit(Session& session, const InitOptions& options);
int runStatus(Session& session, bool json);
int runAddPerson(Session& session, const PersonOptions& options);
int runAddCredential(Session& session, const CredentialOptions& options);
int runAddCME(Session& session, const CMEOptions& options);
int runList(Session& session, RecordList list, bool json);
int runShow(Session& session, RecordList list, const std::string& id, bool json);
int runDelete(Session& session, RecordList list, const std::string& id);

int runDocumentAdd(Session& session, const DocumentOptions& options);
int runDocumentOpen(Session& session, const std::string& id);
int runClearTemporary(Session& session);
int runBackupExport(Session& session, const std::optional<std::filesystem::path>& destination, bool passphraseStdin);
int runBackupRestore(Session& session, const std::filesystem::path& archive, bool passphraseStdin);
int runKeyFileExport(Session& session, const std::filesystem::path& path, bool passphraseStdin);
int runJoin(Session& session, const std::filesystem::path& folder, bool passphraseStdin);
int runErase(Session& session);

}  // namespace corvale::cli
