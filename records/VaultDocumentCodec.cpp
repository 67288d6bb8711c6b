#include "records/RecordCodec.h"
#include "records/VaultDocument.h"

#include <utility>

#include "platform/SecureBytes.h"

namespace corvale {
namespace {

// Enough to avoid regrowing the output several times on a large vault.
std::size_t estimatedSize(const VaultDocument& document) {
    std::size_t size = 4096;
    size += document.people.size() * 1024 + document.credentials.size() * 512 + document.cme.size() * 384 +
            document.packets.size() * 512 + document.healthRecords.size() * 512;
    for (const auto& record : document.documents)
        size += 512 + (record.text ? record.text->size() + record.text->size() / 8 : 0);
    return size;
}

}  // namespace

const DocumentRecord* VaultDocument::liveDocument(std::string_view id) const {
    for (const auto& document : documents)
        if (!document.deleted && document.id == id) return &document;
    return nullptr;
}

DocumentRecord* VaultDocument::liveDocument(std::string_view id) {
    return const_cast<DocumentRecord*>(std::as_const(*this).liveDocument(id));
}

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

namespace {

bool hasVaultFormat(simdjson::ondemand::document& document) {
    std::string_view format;
    document.rewind();
    return document.find_field_unordered("format").get(format) == simdjson::SUCCESS && format == kVaultDocumentFormat;
}

Result<VaultDocument, RecordError> decodePadded(simdjson::padded_string_view json) {
    simdjson::ondemand::parser parser;
    simdjson::ondemand::document root;
    if (parser.iterate(json).get(root) != simdjson::SUCCESS) return fail(RecordError::invalidJSON);
    simdjson::ondemand::json_type type;
    if (root.type().get(type) != simdjson::SUCCESS) return fail(RecordError::invalidJSON);
    if (type != simdjson::ondemand::json_type::object) return fail(RecordError::notVaultDocument);
    simdjson::ondemand::value value;
    if (root.get_value().get(value) != simdjson::SUCCESS) return fail(RecordError::invalidJSON);

    codec::Reader reader;
    VaultDocument document;
    document.format.clear();
    const bool decoded = reader.decode(value, document);
    if (reader.tooDeep()) return fail(RecordError::tooDeep);
    if (reader.broken()) return fail(RecordError::invalidJSON);
    if (decoded) {
        // Anything after the root object means the text was never one JSON value.
        if (root.current_location().error() != simdjson::OUT_OF_BOUNDS) return fail(RecordError::invalidJSON);
        if (document.format != kVaultDocumentFormat) return fail(RecordError::notVaultDocument);
        return document;
    }
    // Reading stopped at the first bad record, perhaps before the format was seen.
    return fail(hasVaultFormat(root) ? RecordError::malformedRecord : RecordError::notVaultDocument);
}

}  // namespace

Result<VaultDocument, RecordError> decodeVaultDocument(std::string_view json, std::size_t spareCapacity) {
    if (spareCapacity >= kJSONReadPadding)
        return decodePadded(simdjson::padded_string_view(json.data(), json.size(), json.size() + spareCapacity));
    const simdjson::padded_string copy(json);
    return decodePadded(copy);
}

Result<VaultDocument, RecordError> decodeVaultDocument(Bytes&& plainJSON) {
    auto document = decodeVaultDocument(asText(plainJSON), plainJSON.capacity() - plainJSON.size());
    secureWipe(plainJSON.data(), plainJSON.size());
    Bytes().swap(plainJSON);
    return document;
}

}  // namespace corvale
