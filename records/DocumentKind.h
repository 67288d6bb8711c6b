#pragma once

#include "records/CredentialKind.h"

#include <optional>
#include <span>
#include <string_view>

namespace corvale {

enum class DocumentKind { license, dea, csr, loq, cme, bls, acls, cv, diploma, malpractice, id, skillsChecklist, other };

std::span<const DocumentKind> allDocumentKinds();
std::string_view rawValue(DocumentKind kind);
std::optional<DocumentKind> documentKindFromRaw(std::string_view raw);
std::string_view displayName(DocumentKind kind);
std::string_view symbolName(DocumentKind kind);

// What a copy of a credential of this kind is filed as; `other` where no kind fits.
DocumentKind documentKindFor(std::optional<CredentialKind> kind);

}  // namespace corvale
