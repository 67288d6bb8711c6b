#pragma once
// Documents stored more than once: the same file added twice, or two files whose recognised text is the same.

#include "records/DocumentRecord.h"
#include "records/VaultDocument.h"

#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace corvale {

struct DocumentDuplicates {
    enum class Reason { sameFile, sameText };

    struct Copy {
        std::string duplicateId;
        std::string originalId;
        std::string originalName;
        Reason reason = Reason::sameFile;
    };

    // Keyed by the duplicate's id. The original is the copy added first (the earlier in the list on a
    // tie); deleted records and documents of different people are never copies of each other.
    static std::map<std::string, Copy> copies(const std::vector<DocumentRecord>& documents);
    // Text as compared: lower case, every run of white space one space, none at either end.
    static std::string normalized(std::string_view text);
    // Deletes every duplicate and points the records that named one at its original; answers how many went.
    static std::size_t remove(VaultDocument& vault, Timestamp now);
    // "1 duplicate removed", "3 duplicates removed".
    static std::string removedSentence(std::size_t count);
};

std::string_view rawValue(DocumentDuplicates::Reason reason);

}  // namespace corvale
