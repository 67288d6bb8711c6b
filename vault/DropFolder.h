#pragma once
// The drop folder: files a phone's or scanner's sync client leaves in a folder the user chose are read on
// this machine, stored for review, then moved out of the way into the folder's "Imported" subfolder
// ("Not imported" for a file that is no document, with its sentence). A file whose size or time still
// changes between two looks is being written and waits for the next.
// Run scan on the store's thread; a scan asked for while one runs returns at once, so starting the
// watcher again while it runs is harmless.

#include "platform/FileSystem.h"
#include "platform/TextRecognizer.h"
#include "records/Timestamp.h"
#include "vault/VaultStore.h"

#include <filesystem>
#include <atomic>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace corvale {

struct DropFolderScan {
    std::vector<std::string> imported;                       // ids of the documents stored
    std::vector<std::pair<std::string, std::string>> refused;  // file name, and why
    std::size_t waiting = 0;                                 // files still being written, or seen for the first time
    bool busy = false;                                       // another scan was running
};

struct DroppedFile {
    std::string name;
    Bytes bytes;
};

class DropFolder {
public:
    static constexpr std::string_view kImported = "Imported";
    static constexpr std::string_view kNotImported = "Not imported";
    static constexpr std::uint64_t kLargestFile = 200ull << 20;

    static std::filesystem::path defaultFolder(const std::filesystem::path& home) { return home / "Corvale Inbox"; }

    DropFolder(FileSystem& files, TextRecognizer& recognizer, std::filesystem::path folder);
    // Whose the files become: `given` when it names a live person, else the vault's own, else its only person.
    static std::optional<std::string> ownerFor(const VaultDocument& vault, const std::optional<std::string>& given);
    const std::filesystem::path& folder() const { return m_folder; }

    // One whole pass on the caller's thread. Files go to `personId` when given, else to the vault's own
    // person, else to its only person.
    DropFolderScan scan(VaultStore& store, Timestamp now, const std::optional<std::string>& personId = std::nullopt);

    // The same pass in three steps, so recognition can run on another thread: the files complete since
    // the last look, read whole (none, and `busy` set, while an earlier pass is unfinished); then each
    // read with `recognise` on any thread; then each filed on the store's thread; then `finish`.
    std::vector<DroppedFile> takeReady(DropFolderScan& result);
    Result<RecognizedDocument, RecognitionError> recognise(const DroppedFile& file) { return m_recognizer.read(file.bytes); }
    void file(VaultStore& store, const DroppedFile& dropped, const Result<RecognizedDocument, RecognitionError>& read,
              Timestamp now, const std::optional<std::string>& personId, DropFolderScan& result);
    void finish() { m_busy = false; }

private:
    FileSystem& m_files;
    TextRecognizer& m_recognizer;
    std::filesystem::path m_folder;
    std::map<std::string, FileStamp> m_lastSeen;
    std::atomic<bool> m_busy{false};

    void moveAside(const std::string& name, std::string_view subfolder);
};

}  // namespace corvale
