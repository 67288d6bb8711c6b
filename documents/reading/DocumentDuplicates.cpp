#include "documents/reading/DocumentDuplicates.h"

#include <algorithm>
#include <cctype>
#include <numeric>
#include <utility>

namespace corvale {

std::string DocumentDuplicates::normalized(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    bool space = false;
    for (const char c : text) {
        if (std::isspace(static_cast<unsigned char>(c))) {
            space = !out.empty();
            continue;
        }
        if (space) out += ' ';
        space = false;
        out += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    }
    return out;
}

std::map<std::string, DocumentDuplicates::Copy> DocumentDuplicates::copies(const std::vector<DocumentRecord>& documents) {
    std::vector<std::size_t> order(documents.size());
    std::iota(order.begin(), order.end(), 0);
    std::stable_sort(order.begin(), order.end(),
                     [&](std::size_t a, std::size_t b) { return documents[a].addedAt < documents[b].addedAt; });
    std::map<std::pair<std::string, std::string>, std::size_t> byFile;
    std::map<std::pair<std::string, std::string>, std::size_t> byText;
    std::map<std::string, Copy> found;
    for (const std::size_t index : order) {
        const DocumentRecord& document = documents[index];
        if (document.deleted) continue;
        const auto original = [&](std::size_t first, Reason reason) {
            found.emplace(document.id,
                          Copy{document.id, documents[first].id, documents[first].filename, reason});
        };
        if (!document.blobHash.empty()) {
            const auto [at, fresh] = byFile.emplace(std::pair(document.personId, document.blobHash), index);
            if (!fresh) {
                original(at->second, Reason::sameFile);
                continue;
            }
        }
        if (document.text) {
            std::string text = normalized(*document.text);
            if (text.empty()) continue;
            const auto [at, fresh] = byText.emplace(std::pair(document.personId, std::move(text)), index);
            if (!fresh) original(at->second, Reason::sameText);
        }
    }
    return found;
}

namespace {

// The list names the original once, where the first of the two stood.
bool repoint(std::vector<std::string>& ids, const std::map<std::string, DocumentDuplicates::Copy>& copies) {
    bool changed = false;
    std::vector<std::string> result;
    for (const auto& id : ids) {
        const auto copy = copies.find(id);
        const std::string& kept = copy == copies.end() ? id : copy->second.originalId;
        changed = changed || copy != copies.end();
        if (std::find(result.begin(), result.end(), kept) == result.end()) result.push_back(kept);
    }
    if (changed) ids = std::move(result);
    return changed;
}

template <class Records>
void repointAll(Records& records, const std::map<std::string, DocumentDuplicates::Copy>& copies, Timestamp now) {
    for (auto& record : records)
        if (!record.deleted && repoint(record.documentIds, copies)) record.updatedAt = now;
}

}  // namespace

std::size_t DocumentDuplicates::remove(VaultDocument& vault, Timestamp now) {
    const auto found = copies(vault.documents);
    if (found.empty()) return 0;
    for (auto& document : vault.documents)
        if (found.contains(document.id)) {
            document.deleted = true;
            document.updatedAt = now;
        }
    repointAll(vault.credentials, found, now);
    repointAll(vault.cme, found, now);
    repointAll(vault.packets, found, now);
    repointAll(vault.healthRecords, found, now);
    return found.size();
}

std::string DocumentDuplicates::removedSentence(std::size_t count) {
    return count == 1 ? "1 duplicate removed" : std::to_string(count) + " duplicates removed";
}

std::string_view rawValue(DocumentDuplicates::Reason reason) {
    return reason == DocumentDuplicates::Reason::sameFile ? "sameFile" : "sameText";
}

}  // namespace corvale
