#include "documents/reading/DocumentForReview.h"

#include "documents/reading/DocumentParser.h"
#include "records/AsciiCase.h"

#include <filesystem>
#include <utility>

namespace corvale {

std::string contentTypeFor(std::string_view filename) {
    const std::string extension = asciiLower(std::filesystem::path(filename).extension().string());
    constexpr std::pair<std::string_view, std::string_view> kTypes[] = {
        {".pdf", "application/pdf"}, {".png", "image/png"},   {".jpg", "image/jpeg"}, {".jpeg", "image/jpeg"},
        {".heic", "image/heic"},     {".tif", "image/tiff"},  {".tiff", "image/tiff"}, {".txt", "text/plain"},
    };
    for (const auto& [ext, type] : kTypes)
        if (extension == ext) return std::string(type);
    return "application/octet-stream";
}

DocumentRecord documentRecordFor(std::string personId, std::string filename, Timestamp now,
                                 std::optional<std::string> recognisedText, std::optional<std::string> kind) {
    DocumentRecord record;
    record.id = newUUID();
    record.updatedAt = now;
    record.personId = std::move(personId);
    record.contentType = contentTypeFor(filename);
    record.filename = std::move(filename);
    record.kind = std::move(kind);
    if (recognisedText) {
        if (!record.kind) record.kind = std::string(rawValue(DocumentParser::parse(*recognisedText, record.filename).kind));
        record.text = std::move(recognisedText);
        record.needsReview = true;
    }
    return record;
}

}  // namespace corvale
