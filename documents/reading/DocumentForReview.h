#pragma once
// The record a file is stored under, whichever way it came in: the command line, the window or the
// drop folder.

#include "records/DocumentRecord.h"

#include <optional>
#include <string>
#include <string_view>

namespace corvale {

// The media type a stored file is given, from the extension of its name.
std::string contentTypeFor(std::string_view filename);

// A new record for a file of this person; the store fills in the hash, the size and the time added. With
// recognised text, the record holds it, takes the kind the text reads as (unless `kind` is given) and
// waits for the user's review.
DocumentRecord documentRecordFor(std::string personId, std::string filename, Timestamp now,
                                 std::optional<std::string> recognisedText = std::nullopt,
                                 std::optional<std::string> kind = std::nullopt);

}  // namespace corvale
