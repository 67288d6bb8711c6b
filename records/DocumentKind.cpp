#include "records/DocumentKind.h"

#include <array>

namespace corvale {
namespace {

struct DocumentKindInfo {
    DocumentKind kind;
    std::string_view raw;
    std::string_view display;
    std::string_view symbol;
};

constexpr std::array<DocumentKindInfo, 13> kKinds{{
    {DocumentKind::license, "license", "License", "building.columns"},
    {DocumentKind::dea, "dea", "DEA Certificate", "pills"},
    {DocumentKind::csr, "csr", "Controlled Substance Registration", "cross.vial"},
    {DocumentKind::loq, "loq", "Letter of Qualification", "envelope.badge"},
    {DocumentKind::cme, "cme", "CME Certificate", "graduationcap"},
    {DocumentKind::bls, "bls", "BLS Card", "heart"},
    {DocumentKind::acls, "acls", "ACLS Card", "waveform.path.ecg"},
    {DocumentKind::cv, "cv", "CV", "person.text.rectangle"},
    {DocumentKind::diploma, "diploma", "Diploma", "scroll"},
    {DocumentKind::malpractice, "malpractice", "Malpractice Face Sheet", "shield.lefthalf.filled"},
    {DocumentKind::id, "id", "Photo ID", "person.crop.rectangle"},
    {DocumentKind::skillsChecklist, "skillsChecklist", "Skills Checklist", "checklist"},
    {DocumentKind::other, "other", "Other", "doc"},
}};

constexpr std::array<DocumentKind, kKinds.size()> kOrder = [] {
    std::array<DocumentKind, kKinds.size()> order{};
    for (std::size_t i = 0; i < kKinds.size(); ++i) order[i] = kKinds[i].kind;
    return order;
}();

const DocumentKindInfo& info(DocumentKind kind) { return kKinds[static_cast<std::size_t>(kind)]; }

}  // namespace

std::span<const DocumentKind> allDocumentKinds() { return kOrder; }
std::string_view rawValue(DocumentKind kind) { return info(kind).raw; }

std::optional<DocumentKind> documentKindFromRaw(std::string_view raw) {
    for (const auto& entry : kKinds)
        if (entry.raw == raw) return entry.kind;
    return std::nullopt;
}

std::string_view displayName(DocumentKind kind) { return info(kind).display; }
std::string_view symbolName(DocumentKind kind) { return info(kind).symbol; }

DocumentKind documentKindFor(std::optional<CredentialKind> kind) {
    if (!kind) return DocumentKind::other;
    switch (*kind) {
    case CredentialKind::stateLicense:
        return DocumentKind::license;
    case CredentialKind::dea:
        return DocumentKind::dea;
    case CredentialKind::stateCSR:
        return DocumentKind::csr;
    case CredentialKind::imlcLOQ:
        return DocumentKind::loq;
    case CredentialKind::bls:
        return DocumentKind::bls;
    case CredentialKind::acls:
        return DocumentKind::acls;
    case CredentialKind::malpractice:
        return DocumentKind::malpractice;
    default:
        return DocumentKind::other;
    }
}

}  // namespace corvale
