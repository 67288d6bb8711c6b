#include "cli/Commands.h"
#include "records/AsciiCase.h"

#include "cli/CommandContext.h"
#include "cli/DesktopApp.h"
#include "cli/SafeOutput.h"
#include "platform/linux/DBusNotifier.h"
#include "platform/linux/TesseractRecognizer.h"
#include "records/CredentialKind.h"
#include "records/Degree.h"
#include "records/DocumentKind.h"
#include "records/EntryRules.h"
#include "records/RecordEnums.h"
#include "records/USState.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <functional>
#include <utility>

#include <unistd.h>

namespace corvale {
namespace cli {
namespace {

constexpr std::pair<std::string_view, RecordList> kListNames[] = {
    {"people", RecordList::people},
    {"person", RecordList::people},
    {"credentials", RecordList::credentials},
    {"credential", RecordList::credentials},
    {"cme", RecordList::cme},
    {"documents", RecordList::documents},
    {"document", RecordList::documents},
    {"packets", RecordList::packets},
    {"packet", RecordList::packets},
    {"healthRecords", RecordList::healthRecords},
};

template <class Values, class Raw>
std::string joined(const Values& values, Raw raw) {
    std::string text;
    for (const auto& value : values) {
        text += text.empty() ? "" : ", ";
        text += raw(value);
    }
    return text;
}

// A validator that accepts only the raw values of one enumeration and names them all when it refuses.
template <class Values, class FromRaw>
CLI::Validator oneOf(std::string_view what, const Values& values, FromRaw fromRaw) {
    const std::string allowed = joined(values, [](auto value) { return std::string(rawValue(value)); });
    return CLI::Validator(
        [what = std::string(what), allowed, fromRaw](std::string& text) -> std::string {
            return fromRaw(text) ? "" : "'" + text + "' isn't a " + what + "; use one of " + allowed + ".";
        },
        allowed, std::string(what));
}

CLI::Validator dayValidator() {
    return CLI::Validator(
        [](std::string& text) -> std::string {
            if (Day::parseExisting(text)) return "";
            if (Day::parse(text)) return "'" + text + "' isn't on the calendar, so check the day and month.";
            return "'" + text + "' isn't a day; write it as YYYY-MM-DD.";
        },
        "YYYY-MM-DD");
}

// Upper-cases in place, so "ca" is stored as the board writes it.
CLI::Validator stateValidator() {
    return CLI::Validator(
        [](std::string& text) -> std::string {
            const bool letters = text.size() == 2 && std::all_of(text.begin(), text.end(),
                                                                 [](unsigned char c) { return std::isalpha(c) != 0; });
            if (!letters) {
                return notAState(text);
            }
            text = asciiUpper(text);
            return "";
        },
        "XX");
}

// The editor's rule for hours, so the command line refuses what the app refuses, in its words.
CLI::Validator hoursValidator() {
    return CLI::Validator(
        [](std::string& text) -> std::string {
            auto hours = parseCMEHours(text);
            return hours ? "" : hours.error();
        },
        "HOURS");
}

CLI::Validator listValidator() {
    return CLI::Validator(
        [](std::string& text) -> std::string {
            if (recordListFromName(text)) {
                return "";
            }
            std::string names;
            for (auto name : recordListNames()) {
                names += names.empty() ? "" : ", ";
                names += name;
            }
            return "'" + text + "' isn't a record type; use one of " + names + ".";
        },
        "TYPE");
}

std::optional<std::string> given(const CLI::Option* option, const std::string& value) {
    return option->count() > 0 ? std::optional(value) : std::nullopt;
}

std::optional<Day> givenDay(const CLI::Option* option, const std::string& value) {
    return option->count() > 0 ? Day::parse(value) : std::nullopt;
}

}  // namespace

std::optional<RecordList> recordListFromName(std::string_view name) {
    for (const auto& [text, list] : kListNames) {
        if (text == name) {
            return list;
        }
    }
    return std::nullopt;
}

std::vector<std::string_view> recordListNames() {
    return {"people", "credentials", "cme", "documents", "packets", "healthRecords"};
}

Result<void, std::string> openRecords(Session& session, VaultStore& store) {
    if (auto started = store.start(); !started) {
        return fail(started.error().message());
    }
    switch (store.phase()) {
    case VaultPhase::ready:
        return {};
    case VaultPhase::locked:
        // App lock asks for the login password; with nowhere to ask it, a script must not get in.
        if (!session.prompt) {
            return fail(
                std::string("App lock is on and there's no terminal to ask for your login password on, "
                            "so run this command in a terminal."));
        }
        if (auto unlocked = store.unlock(); !unlocked) {
            return fail(std::string("Your login password wasn't accepted, so the vault stays locked."));
        }
        return {};
    case VaultPhase::loading:
    case VaultPhase::welcome:
        break;
    }
    return fail(VaultError::noVault().message());
}

Result<SecureBytes, std::string> readPassphrase(Session& session, bool fromStdin, PassphraseUse use) {
    std::optional<SecureBytes> passphrase;
    if (fromStdin) {
        passphrase = readSecretLine([&](char& c) { return static_cast<bool>(session.in.get(c)); });
        if (!passphrase) {
            return fail(std::string("Standard input held no passphrase."));
        }
    } else {
        passphrase = session.prompt ? session.prompt("Passphrase: ") : std::nullopt;
        if (!passphrase) {
            return fail(std::string("A passphrase is needed, so pass it on standard input with --passphrase-stdin."));
        }
    }
    if (passphrase->empty()) {
        return fail(std::string("The passphrase is empty, so give one with at least one character."));
    }
    if (use == PassphraseUse::newOne) {
        if (auto tooShort = newPassphraseProblem(passphrase->text())) {
            return fail(std::move(*tooShort));
        }
        // Asked twice on a terminal, where a typo would lock the user out of the copy.
        if (!fromStdin) {
            auto again = session.prompt("Repeat the passphrase: ");
            if (!again || !(*again == *passphrase)) {
                return fail(std::string("The passphrases don't match, so nothing was written."));
            }
        }
    }
    return std::move(*passphrase);
}

}  // namespace cli

int runCommandLine(std::vector<std::string> args, std::istream& in, std::ostream& out, std::ostream& err,
                   VaultStoreSetup setup) {
    // Standard input that is not a terminal means a script: nothing is asked, and app lock refuses it.
    return runCommandLine(std::move(args), in, out, err, setup,
                          ::isatty(STDIN_FILENO) == 1 ? PassphrasePrompt(promptOnTerminal) : PassphrasePrompt());
}

int runCommandLine(std::vector<std::string> args, std::istream& in, std::ostream& out, std::ostream& err,
                   VaultStoreSetup setup, PassphrasePrompt prompt, StateData data, Notifier* notifier,
                   LinkOpener openLink) {
    using namespace cli;
    // Everything printed passes the escaping edge, record text and error sentences alike.
    EscapingBuffer outBuffer(out);
    EscapingBuffer errBuffer(err);
    std::ostream safeOut(&outBuffer);
    std::ostream safeErr(&errBuffer);
    DBusNotifier desktopNotifier;
    TesseractRecognizer deviceRecognizer;
    Session session{setup,
                    in,
                    safeOut,
                    safeErr,
                    std::move(prompt),
                    data.requirements ? *data.requirements : Requirements::shared(),
                    data.fees ? *data.fees : StateFees::shared(),
                    notifier ? *notifier : desktopNotifier,
                    openLink ? std::move(openLink) : LinkOpener(startDesktopApp),
                    deviceRecognizer};

    CLI::App app("Corvale: licences, CME and documents in an encrypted vault on this machine.", "corvale");
    app.require_subcommand(1);
    // The action of whichever command was parsed; set by the command's callback.
    std::function<int()> action;

    const auto degrees =
        oneOf("degree", allDegrees(), [](const std::string& t) { return degreeFromRaw(t).has_value(); });
    const auto credentialKinds = oneOf("credential kind", allCredentialKinds(),
                                       [](const std::string& t) { return credentialKindFromRaw(t).has_value(); });
    const auto cmeCategories = oneOf("CME category", allCMECategories(),
                                     [](const std::string& t) { return cmeCategoryFromRaw(t).has_value(); });
    const auto documentKinds = oneOf("document kind", allDocumentKinds(),
                                     [](const std::string& t) { return documentKindFromRaw(t).has_value(); });

    bool json = false;
    bool passphraseStdin = false;
    auto addJSON = [&](CLI::App* command) { command->add_flag("--json", json, "Print JSON"); };
    auto addPassphraseStdin = [&](CLI::App* command) {
        command->add_flag("--passphrase-stdin", passphraseStdin,
                          "Read the passphrase from the first line of standard input");
    };

    InitOptions init;
    auto* initCommand = app.add_subcommand("init", "Create a new vault on this device");
    initCommand->add_option("--name", init.name, "Your name")->required();
    initCommand->add_option("--degree", init.degree, "Your degree")->required()->check(degrees);
    initCommand->add_option("--state", init.states, "A licence state, primary first (repeatable)")
        ->transform(stateValidator());
    initCommand->add_flag("--manager", init.managerOnly, "You manage others and hold no licences yourself");
    initCommand->callback([&] { action = [&] { return runInit(session, init); }; });

    auto* status = app.add_subcommand("status", "Show the vault's phase and how many records it holds");
    addJSON(status);
    status->callback([&] { action = [&] { return runStatus(session, json); }; });

    auto* add = app.add_subcommand("add", "Add a record");
    add->require_subcommand(1);

    PersonOptions person;
    auto* addPerson = add->add_subcommand("person", "Add a person");
    addPerson->add_option("--name", person.name, "Name")->required();
    addPerson->add_option("--degree", person.degree, "Degree")->required()->check(degrees);
    addPerson->callback([&] { action = [&] { return runAddPerson(session, person); }; });

    CredentialOptions credential;
    std::string state, number, title, owner, issued, expires;
    auto* addCredential = add->add_subcommand("credential", "Add a licence, registration or certification");
    addCredential->add_option("--kind", credential.kind, "Credential kind")->required()->check(credentialKinds);
    auto* stateOption = addCredential->add_option("--state", state, "Two-letter state")->transform(stateValidator());
    auto* numberOption = addCredential->add_option("--number", number, "Number");
    auto* issuedOption = addCredential->add_option("--issued", issued, "Issue day")->check(dayValidator());
    auto* expiresOption = addCredential->add_option("--expires", expires, "Expiry day")->check(dayValidator());
    auto* titleOption = addCredential->add_option("--title", title, "Title");
    auto* personOption = addCredential->add_option("--person", owner, "Owner's id");
    addCredential->callback([&] {
        credential.state = given(stateOption, state);
        credential.number = given(numberOption, number);
        credential.issued = givenDay(issuedOption, issued);
        credential.expires = givenDay(expiresOption, expires);
        credential.title = given(titleOption, title);
        credential.person = given(personOption, owner);
        action = [&] { return runAddCredential(session, credential); };
    });

    CMEOptions cme;
    std::string hours, completed, cmeOwner;
    cme.category = "other";
    auto* addCME = add->add_subcommand("cme", "Add a CME activity");
    addCME->add_option("--title", cme.title, "Title")->required();
    addCME->add_option("--hours", hours, "Hours or contact hours")->required()->check(hoursValidator());
    addCME->add_option("--completed", completed, "Day completed")->required()->check(dayValidator());
    addCME->add_option("--category", cme.category, "CME category")->check(cmeCategories);
    addCME->add_option("--topic", cme.topics, "Topic key (repeatable)");
    auto* cmePersonOption = addCME->add_option("--person", cmeOwner, "Owner's id");
    addCME->callback([&] {
        auto parsedHours = parseCMEHours(hours);  // the validator has already refused anything else
        cme.hours = parsedHours ? *parsedHours : 0;
        cme.completed = Day::parse(completed).value_or(Day{});
        cme.person = given(cmePersonOption, cmeOwner);
        action = [&] { return runAddCME(session, cme); };
    });

    std::string listName, recordId;
    auto* list = app.add_subcommand("list", "List the live records of one type");
    list->add_option("TYPE", listName, "people, credentials, cme, documents, packets or healthRecords")
        ->required()
        ->check(listValidator());
    addJSON(list);
    list->callback([&] { action = [&] { return runList(session, *recordListFromName(listName), json); }; });

    auto* show = app.add_subcommand("show", "Show one record");
    show->add_option("TYPE", listName, "Record type")->required()->check(listValidator());
    show->add_option("ID", recordId, "Record id")->required();
    addJSON(show);
    show->callback([&] { action = [&] { return runShow(session, *recordListFromName(listName), recordId, json); }; });

    auto* remove = app.add_subcommand("delete", "Delete one record");
    remove->add_option("TYPE", listName, "Record type")->required()->check(listValidator());
    remove->add_option("ID", recordId, "Record id")->required();
    remove->callback([&] { action = [&] { return runDelete(session, *recordListFromName(listName), recordId); }; });

    auto* doc = app.add_subcommand("doc", "Store and open documents");
    doc->require_subcommand(1);
    DocumentOptions document;
    std::string documentFile, documentOwner, documentKind;
    auto* docAdd = doc->add_subcommand("add", "Store a file in the vault");
    docAdd->add_option("FILE", documentFile, "The file")->required();
    auto* docPersonOption = docAdd->add_option("--person", documentOwner, "Owner's id");
    auto* docKindOption = docAdd->add_option("--kind", documentKind, "Document kind")->check(documentKinds);
    docAdd->add_flag("--read", document.read, "Read it on this machine and propose the record it belongs to");
    docAdd->callback([&] {
        document.file = documentFile;
        document.person = given(docPersonOption, documentOwner);
        document.kind = given(docKindOption, documentKind);
        action = [&] { return runDocumentAdd(session, document); };
    });
    auto* docRead = doc->add_subcommand("read", "Read a document on this machine and show what it says; stores nothing");
    docRead->add_option("FILE", documentFile, "A PDF or a picture")->required();
    addJSON(docRead);
    docRead->callback([&] { action = [&] { return runDocumentRead(session, documentFile, json); }; });
    DocumentReviewOptions review;
    auto* docReview = doc->add_subcommand("review", "Show what a read document proposes, or confirm it");
    docReview->add_option("ID", review.id, "Document id")->required();
    docReview->add_option("--set", review.corrections, "Correct a field first: FIELD=VALUE (repeatable)");
    docReview->add_flag("--accept", review.accept, "Create or update the record and clear needs-review");
    addJSON(docReview);
    docReview->callback([&] { action = [&] { return runDocumentReview(session, review, json); }; });
    bool needsReviewOnly = false;
    auto* docList = doc->add_subcommand("list", "List the stored documents");
    docList->add_flag("--needs-review", needsReviewOnly, "Only those still to be confirmed");
    addJSON(docList);
    docList->callback([&] { action = [&] { return runDocumentList(session, needsReviewOnly, json); }; });
    bool removeDuplicates = false;
    auto* docDuplicates = doc->add_subcommand("duplicates", "List documents stored twice");
    docDuplicates->add_flag("--remove", removeDuplicates, "Remove them, keeping the first of each");
    docDuplicates->callback([&] { action = [&] { return runDocumentDuplicates(session, removeDuplicates); }; });
    auto* docOpen = doc->add_subcommand("open", "Make a temporary plain copy and print its path");
    docOpen->add_option("ID", recordId, "Document id")->required();
    docOpen->callback([&] { action = [&] { return runDocumentOpen(session, recordId); }; });
    auto* docClear = doc->add_subcommand("clear-temp", "Remove every temporary plain copy");
    docClear->callback([&] { action = [&] { return runClearTemporary(session); }; });

    auto* backup = app.add_subcommand("backup", "Export or restore a passphrase-protected backup");
    backup->require_subcommand(1);
    std::string backupOut, archive;
    auto* backupExport = backup->add_subcommand("export", "Write a backup and print its path");
    auto* backupOutOption = backupExport->add_option("--out", backupOut, "Where to write it");
    addPassphraseStdin(backupExport);
    backupExport->callback([&] {
        action = [&, destination = given(backupOutOption, backupOut)] {
            return runBackupExport(session,
                                   destination ? std::optional<std::filesystem::path>(*destination) : std::nullopt,
                                   passphraseStdin);
        };
    });
    auto* backupRestore = backup->add_subcommand("restore", "Restore a backup onto this device");
    backupRestore->add_option("PATH", archive, "The backup")->required();
    addPassphraseStdin(backupRestore);
    backupRestore->callback([&] { action = [&] { return runBackupRestore(session, archive, passphraseStdin); }; });

    auto* keyfile = app.add_subcommand("keyfile", "Key files for joining the vault from another device");
    keyfile->require_subcommand(1);
    std::string keyFilePath;
    auto* keyfileExport = keyfile->add_subcommand("export", "Write the vault key, sealed under a passphrase");
    keyfileExport->add_option("PATH", keyFilePath, "Where to write it")->required();
    addPassphraseStdin(keyfileExport);
    keyfileExport->callback([&] { action = [&] { return runKeyFileExport(session, keyFilePath, passphraseStdin); }; });

    std::string joinFolder;
    auto* join = app.add_subcommand("join", "Join a vault from a folder holding vault.pbv and vault.key");
    join->add_option("FOLDER", joinFolder, "The folder")->required();
    addPassphraseStdin(join);
    join->callback([&] { action = [&] { return runJoin(session, joinFolder, passphraseStdin); }; });

    RulesOptions rules;
    auto* rulesCommand = app.add_subcommand("rules", "Show a state's renewal and education rules");
    rulesCommand->add_option("STATE", rules.state, "Two-letter state code")->required();
    rulesCommand->add_option("--profession", rules.profession, "MD, DO, NP, PA, CRNA, CAA, RN, LPN, CNM or CNS");
    addJSON(rulesCommand);
    rulesCommand->callback([&] { action = [&] { return runRules(session, rules, json); }; });

    std::vector<std::string> feeStates;
    auto* fees = app.add_subcommand("fees", "Compare licence fees, processing times and IMLC membership");
    fees->add_option("STATE", feeStates, "Two-letter state codes")->required();
    addJSON(fees);
    fees->callback([&] { action = [&] { return runFees(session, feeStates, json); }; });

    ProgressOptions progress;
    std::string progressPerson, asOf;
    const auto addProgressOptions = [&](CLI::App* command) {
        command->add_option("--person", progressPerson, "Only this person's records (their id)");
        command->add_option("--as-of", asOf, "Where things will stand on this day")->check(dayValidator());
        addJSON(command);
    };
    const auto progressOptions = [&](CLI::App* command) {
        progress.person = given(command->get_option("--person"), progressPerson);
        progress.asOf = givenDay(command->get_option("--as-of"), asOf);
    };
    auto* today = app.add_subcommand("today", "The standing score, what needs you and each licence's cycle");
    addProgressOptions(today);
    today->callback([&] {
        progressOptions(today);
        action = [&] { return runToday(session, progress, json); };
    });
    auto* progressCommand = app.add_subcommand("progress", "Every licence's education cycle in full");
    addProgressOptions(progressCommand);
    progressCommand->callback([&] {
        progressOptions(progressCommand);
        action = [&] { return runProgress(session, progress, json); };
    });

    auto* planCommand =
        app.add_subcommand("plan", "The next twelve months: expiries, renewal windows, cycle ends and open topics");
    addProgressOptions(planCommand);
    planCommand->callback([&] {
        progressOptions(planCommand);
        action = [&] { return runPlan(session, progress, json); };
    });

    std::string calendarOut;
    auto* calendar = app.add_subcommand("calendar", "Write the renewals as a calendar file (.ics) to import or subscribe to");
    calendar->add_option("--out", calendarOut, "The file to write")->required();
    calendar->add_option("--person", progressPerson, "Only this person's records (their id)");
    calendar->callback([&] {
        progress.person = given(calendar->get_option("--person"), progressPerson);
        action = [&] { return runCalendar(session, progress, calendarOut); };
    });

    std::string reportOut;
    auto* report = app.add_subcommand("report", "Write the readiness report, for one person or everyone, as a PDF");
    report->add_option("--out", reportOut, "The file to write")->required();
    report->add_option("--person", progressPerson, "Only this person (their id)");
    report->add_option("--as-of", asOf, "Where things will stand on this day")->check(dayValidator());
    report->callback([&] {
        progressOptions(report);
        action = [&] { return runReport(session, progress, reportOut); };
    });

    RemindOptions remind;
    std::string remindAsOf;
    auto* remindCommand =
        app.add_subcommand("remind", "Put what is due today on the desktop, each reminder once, and print it");
    remindCommand->add_option("--as-of", remindAsOf, "Remind as on this day")->check(dayValidator());
    remindCommand->add_flag("--dry-run", remind.dryRun, "Print what is due without sending or remembering it");
    remindCommand
        ->add_option("--stay", remind.stayMinutes,
                     "Stay up to this many minutes to open Corvale on a reminder when it is clicked")
        ->check(CLI::Range(0, 24 * 60));
    remindCommand->callback([&] {
        remind.asOf = givenDay(remindCommand->get_option("--as-of"), remindAsOf);
        action = [&] { return runRemind(session, remind); };
    });

    std::string snoozeId, snoozeUntil;
    auto* snooze = app.add_subcommand("snooze", "Hold a credential's reminders back until a day");
    snooze->add_option("ID", snoozeId, "The credential's id")->required();
    auto* untilOption = snooze->add_option("--until", snoozeUntil, "The first day to remind again")->check(dayValidator());
    bool wake = false;
    snooze->add_flag("--off", wake, "Remind again from now on");
    snooze->callback([&] {
        action = [&] {
            const auto until = givenDay(untilOption, snoozeUntil);
            if (until.has_value() == wake) return session.usage("Give either --until DAY or --off.");
            return runSnooze(session, snoozeId, until);
        };
    });
    std::string notApplicableKind;
    bool applies = false;
    auto* notApplicable =
        app.add_subcommand("not-applicable", "Stop reminders for a kind of credential you don't hold");
    notApplicable->add_option("KIND", notApplicableKind, "Credential kind")->required()->check(credentialKinds);
    notApplicable->add_flag("--off", applies, "The kind applies again");
    notApplicable->callback([&] { action = [&] { return runNotApplicable(session, notApplicableKind, applies); }; });

    bool yes = false;
    auto* erase = app.add_subcommand("erase", "Erase the vault, its documents and its key from this device");
    erase->add_flag("--yes", yes, "Confirm");
    erase->callback([&] {
        action = [&] {
            if (!yes) {
                return session.usage(
                    "erase removes the vault, its documents and its key from this device for good; "
                    "pass --yes to go ahead.");
            }
            return runErase(session);
        };
    });

    try {
        std::reverse(args.begin(), args.end());  // CLI11 takes the arguments last first
        app.parse(args);
    } catch (const CLI::ParseError& error) {
        const int code = app.exit(error, safeOut, safeErr);
        return code == 0 ? kSucceeded : kUsageError;
    }
    return action ? action() : kUsageError;
}

}  // namespace corvale
