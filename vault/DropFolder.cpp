#include "vault/DropFolder.h"

#include "documents/reading/DocumentForReview.h"
#include "records/AsciiCase.h"
#include "records/EntryRules.h"

#include <algorithm>

namespace corvale {
namespace {

// Sync clients and browsers write under a temporary name and rename when done.
bool isPartial(const std::string& name) {
    const std::string lower = asciiLower(name);
    for (const auto suffix : {".part", ".crdownload", ".tmp", ".download", "~"})
        if (lower.ends_with(suffix)) return true;
    return name.starts_with(".");
}

}  // namespace

std::optional<std::string> DropFolder::ownerFor(const VaultDocument& vault, const std::optional<std::string>& given) {
    std::vector<const Person*> live;
    for (const auto& person : vault.people)
        if (!person.deleted) live.push_back(&person);
    if (given) {
        for (const Person* person : live)
            if (person->id == *given) return person->id;
        return std::nullopt;
    }
    for (const Person* person : live)
        if (person->isSelf) return person->id;
    return live.size() == 1 ? std::optional(live.front()->id) : std::nullopt;
}

DropFolder::DropFolder(FileSystem& files, TextRecognizer& recognizer, std::filesystem::path folder)
    : m_files(files), m_recognizer(recognizer), m_folder(std::move(folder)) {}

void DropFolder::moveAside(const std::string& name, std::string_view subfolder) {
    const std::filesystem::path target = m_folder / subfolder;
    if (!m_files.createDirectories(target)) return;
    const std::filesystem::path source = m_folder / name;
    const std::filesystem::path stem = std::filesystem::path(name).stem();
    const std::string extension = std::filesystem::path(name).extension().string();
    std::filesystem::path destination = target / name;
    for (int copy = 2; m_files.exists(destination) && copy < 1000; ++copy)
        destination = target / (stem.string() + " (" + std::to_string(copy) + ")" + extension);
    (void)m_files.rename(source, destination);
}

std::vector<DroppedFile> DropFolder::takeReady(DropFolderScan& result) {
    if (m_busy.exchange(true)) {
        result.busy = true;
        return {};
    }
    std::vector<DroppedFile> ready;
    std::map<std::string, FileStamp> seen;
    for (const std::string& name : m_files.list(m_folder)) {
        const auto stamp = m_files.stamp(m_folder / name);
        if (!stamp || isPartial(name)) continue;  // folders, links, files still under a temporary name
        seen[name] = *stamp;
        const auto before = m_lastSeen.find(name);
        if (before == m_lastSeen.end() || !(before->second == *stamp) || stamp->size == 0) {
            ++result.waiting;
            continue;
        }
        auto bytes = m_files.readRegularFile(m_folder / name, kLargestFile);
        if (!bytes) {
            result.refused.emplace_back(name, bytes.error().message());
            if (bytes.error().code == FileError::Code::tooLarge) moveAside(name, kNotImported);
            continue;
        }
        ready.push_back({name, std::move(*bytes)});
    }
    m_lastSeen = std::move(seen);
    if (ready.empty()) m_busy = false;
    return ready;
}

void DropFolder::file(VaultStore& store, const DroppedFile& dropped,
                      const Result<RecognizedDocument, RecognitionError>& read, Timestamp now,
                      const std::optional<std::string>& personId, DropFolderScan& result) {
    const std::string& name = dropped.name;
    if (!read) {
        result.refused.emplace_back(name, read.error().message());
        if (read.error().code != RecognitionError::Code::noEngine) moveAside(name, kNotImported);
        return;
    }
    const auto person = store.phase() == VaultPhase::ready ? ownerFor(store.doc(), personId) : std::nullopt;
    if (!person) {
        // Left where it is, to be taken again once someone is chosen or the vault is open again.
        result.refused.emplace_back(name, "Choose whose documents the drop folder files, then they are read.");
        return;
    }
    auto added = store.addDocument(dropped.bytes, documentRecordFor(*person, name, now, read->text));
    // The file leaves the folder only once the vault holding it is on disk.
    if (added && store.flush()) {
        result.imported.push_back(added->id);
        moveAside(name, kImported);
    } else {
        result.refused.emplace_back(name, added ? "The vault couldn't be saved, so the file stays for the next try."
                                                : added.error().message());
        m_lastSeen.erase(name);
    }
}

DropFolderScan DropFolder::scan(VaultStore& store, Timestamp now, const std::optional<std::string>& personId) {
    DropFolderScan result;
    for (const auto& dropped : takeReady(result)) file(store, dropped, recognise(dropped), now, personId, result);
    if (!result.busy) finish();
    return result;
}

}  // namespace corvale
