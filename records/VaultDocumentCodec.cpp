#include "records/RecordCodec.h"
#include "records/VaultDocument.h"

namespace corvale {
namespace {

// Enough to avoid regrowing the output several times on a large vault.
std::size_t estimatedSize(const VaultDocument& document) {
    std::size_t size = 4096;
    size += document.people.size() * 1024 + document.credentials.size() * 512 + document.cme.size() * 384 +
            document.packets.size() * 512 + document.healthRecords.size() * 512;
    for (const auto& record : document.documents) size += 512 + (record.text ? record.text->size() + record.text->size() / 8 : 0);
    return size;
}

}  // namespace

VaultDocument VaultDocument::makeEmpty() {
    VaultDocument document;
    document.vaultId = newUUID();
    return document;
}

std::string encodeVaultDocument(const VaultDocument& document) {
    std::string out;
    out.reserve(estimatedSize(document));
    JSONWriter writer(out);
    codec::encode(writer, document);
    return out;
}

static_assert(kJSONReadPadding >= simdjson::SIMDJSON_PADDING);

Result<VaultDocument, RecordError> decodeVaultDocument(std::string_view json, std::size_t spareCapacity) {
    simdjson::dom::parser parser;
    simdjson::dom::element root;
    const bool needsCopy = spareCapacity < kJSONReadPadding;
    if (parser.parse(json.data(), json.size(), needsCopy).get(root) != simdjson::SUCCESS)
        return fail(RecordError::invalidJSON);
    if (!root.is_object()) return fail(RecordError::notVaultDocument);
    std::string_view format;
    if (root["format"].get(format) != simdjson::SUCCESS || format != kVaultDocumentFormat)
        return fail(RecordError::notVaultDocument);
    VaultDocument document;
    if (!codec::decode(root, document)) return fail(RecordError::malformedRecord);
    return document;
}

}  // namespace corvale
