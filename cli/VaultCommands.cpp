// init, documents, backups, key files, join and erase: the vault's life cycle.

#include "cli/CommandContext.h"
#include "records/AsciiCase.h"
#include "records/EntryRules.h"
#include "records/VaultDocument.h"

#include <algorithm>
#include <cctype>
#include <utility>

namespace corvale::cli {
namespace {

int finish(Session& session, const Result<void, VaultError>& result) {
    return result ? kSucceeded : session.failed(result.error());
}

}  // namespace

int runInit(Session& session, const InitOptions& options) {
    VaultStore store(session.setup);
    if (auto started = store.start(); !started) {
        return session.failed(started.error());
    }
    if (store.phase() != VaultPhase::welcome) {
        return session.failed(VaultError::vaultExists());
    }
    Onboarding onboarding;
    onboarding.owner.id = newUUID();
    onboarding.owner.updatedAt = session.now();
    onboarding.owner.name = options.name;
    onboarding.owner.degree = options.degree;
    onboarding.owner.isSelf = true;
    onboarding.states = options.states;
    onboarding.managerOnly = options.managerOnly;
    auto created = store.create(std::move(onboarding));
    if (!created) {
        return session.failed(created.error());
    }
    session.out << store.doc().vaultId << '\n';  // create and join have already written the vault
    return kSucceeded;
}

int runDocumentOpen(Session& session, const std::string& id) {
    VaultStore store(session.setup);
    if (auto opened = openRecords(session, store); !opened) {
        return session.failed(opened.error());
    }
    const auto& documents = store.doc().documents;
    if (std::none_of(documents.begin(), documents.end(),
                     [&](const DocumentRecord& d) { return !d.deleted && d.id == id; })) {
        return session.failed("No document has the id " + id + ".");
    }
    auto path = store.temporaryFile(id);
    if (!path) {
        return session.failed(path.error());
    }
    session.out << path->string() << '\n';
    return kSucceeded;
}

int runClearTemporary(Session& session) {
    // Never started: plain copies need neither the key nor the vault, and
    // clearing them must work while the app holds the vault or the key is gone.
    VaultStore store(session.setup);
    return finish(session, store.clearTemporaryFiles());
}

int runBackupExport(Session& session, const std::optional<std::filesystem::path>& destination, bool passphraseStdin) {
    VaultStore store(session.setup);
    if (auto opened = openRecords(session, store); !opened) {
        return session.failed(opened.error());
    }
    auto passphrase = readPassphrase(session, passphraseStdin, PassphraseUse::newOne);
    if (!passphrase) {
        return session.failed(passphrase.error());
    }
    auto written = store.exportBackup(passphrase->text(), destination);
    if (!written) {
        return session.failed(written.error());
    }
    session.out << written->string() << '\n';
    return kSucceeded;
}

int runBackupRestore(Session& session, const std::filesystem::path& archive, bool passphraseStdin) {
    VaultStore store(session.setup);
    if (auto started = store.start(); !started) {
        return session.failed(started.error());
    }
    auto passphrase = readPassphrase(session, passphraseStdin, PassphraseUse::existing);
    if (!passphrase) {
        return session.failed(passphrase.error());
    }
    if (auto restored = store.restoreBackup(archive, passphrase->text()); !restored) {
        return session.failed(restored.error());
    }
    return finish(session, store.flush());
}

int runKeyFileExport(Session& session, const std::filesystem::path& path, bool passphraseStdin) {
    VaultStore store(session.setup);
    if (auto opened = openRecords(session, store); !opened) {
        return session.failed(opened.error());
    }
    auto passphrase = readPassphrase(session, passphraseStdin, PassphraseUse::newOne);
    if (!passphrase) {
        return session.failed(passphrase.error());
    }
    return finish(session, store.exportKeyFile(path, passphrase->text()));
}

int runJoin(Session& session, const std::filesystem::path& folder, bool passphraseStdin) {
    VaultStore store(session.setup);
    if (auto started = store.start(); !started) {
        return session.failed(started.error());
    }
    if (store.phase() != VaultPhase::welcome) {
        return session.failed(VaultError::vaultExists());
    }
    auto passphrase = readPassphrase(session, passphraseStdin, PassphraseUse::existing);
    if (!passphrase) {
        return session.failed(passphrase.error());
    }
    if (auto joined = store.join(folder, passphrase->text()); !joined) {
        return session.failed(joined.error());
    }
    session.out << store.doc().vaultId << '\n';  // create and join have already written the vault
    return kSucceeded;
}

int runErase(Session& session) {
    VaultStore store(session.setup);
    if (auto started = store.start(); !started) {
        return session.failed(started.error());
    }
    return finish(session, store.erase());
}

}  // namespace corvale::cli
