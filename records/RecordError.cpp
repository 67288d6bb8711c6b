#include "records/RecordError.h"

namespace corvale {

std::string message(RecordError error) {
    switch (error) {
    case RecordError::invalidJSON:
        return "This file isn't readable JSON, so it can't be opened.";
    case RecordError::notVaultDocument:
        return "This file isn't a Corvale vault.";
    case RecordError::malformedRecord:
        return "A record in this vault is damaged, so restore the vault from a backup.";
    case RecordError::tooDeep:
        return "This file nests its data too deeply to be a Corvale file, so restore it from a backup.";
    }
    return "This file couldn't be read.";
}

}  // namespace corvale
