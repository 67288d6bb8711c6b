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

std::string DocumentDuplicates::removedSentence(std::size_t count) {
    return count == 1 ? "1 duplicate removed" : std::to_string(count) + " duplicates removed";
}

std::string_view rawValue(DocumentDuplicates::Reason reason) {
    return reason == DocumentDuplicates::Reason::sameFile ? "sameFile" : "sameText";
}

}  // namespace corvale
