#pragma once
// Plain copies of documents for an outside viewer. They live on the real disk
// (the viewer must be able to open them) under
//   <temporary folder>/corvale-<uid>-plain/<document id>/<file name>
// with owner-only folders and files. The shared temporary folder may hold a
// look-alike planted by someone else, so every folder is checked, not assumed.

#include "platform/Bytes.h"
#include "platform/Result.h"
#include "vault/VaultError.h"

#include <filesystem>
#include <string>
#include <string_view>

namespace corvale {

// One safe path component: no separators, control characters, ".." or
// leading dot, at most 200 bytes; `fallback` when nothing usable is left.
std::string sanitisedFileName(std::string_view name, std::string_view fallback);

// Makes `path` an owner-only folder on the real disk, or accepts one already
// there only if it is a real folder owned by this user (its mode tightened
// when it was loosened). For folders in a place other users can write to.
Result<void, VaultError> ensurePrivateFolder(const std::filesystem::path& path);

// "<prefix>-<this user's id>-<suffix>": a name no other user's copy of the
// app would pick in a shared folder.
std::string perUserName(std::string_view prefix, std::string_view suffix);

class PlainCopies {
public:
    explicit PlainCopies(std::filesystem::path temporaryBase);

    // The folder everything lives in; removing it removes every copy.
    const std::filesystem::path& root() const { return m_root; }

    Result<std::filesystem::path, VaultError> write(std::string_view documentId, std::string_view filename,
                                                    ByteView plain) const;
    Result<void, VaultError> clear() const;

private:
    std::filesystem::path m_temporaryBase;
    std::filesystem::path m_root;
};

}  // namespace corvale
