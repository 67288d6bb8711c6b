#pragma once
// Reads recognised text into a Guess. Stateless and thread-safe: the patterns are compiled once.

#include "documents/reading/Guess.h"

#include <optional>
#include <string>
#include <string_view>

namespace corvale {

struct DocumentParser {
    // The file name is read too: people name scans "TX license.pdf".
    static Guess parse(std::string_view text, std::string_view filename);
};

DocumentKind guessKind(std::string_view text, std::string_view filename);
std::optional<std::string> findNumber(std::string_view text, DocumentKind kind, bool lenient);
// Credit or contact hours; "Category 1" is a credit category, never one hour.
std::optional<double> findHours(std::string_view text);
std::optional<std::string> findBoardStatus(std::string_view text);
std::optional<std::string> findTitle(std::string_view text);
std::optional<std::string> findProvider(std::string_view text);
// A nursing certification named by its certifying body (AACN, BCEN, ENA, ONCC, MSNCB, ANCC, AANPCB).
std::optional<Certification> findNursingCredential(std::string_view text);
// A life-support card or a specialty board's certificate.
std::optional<Certification> findCertification(std::string_view text);
std::vector<std::string> findTopics(std::string_view text);
std::optional<std::string> findNurseLicenseType(std::string_view text);
bool isVerificationReport(std::string_view text);
bool isMultistate(std::string_view text);

}  // namespace corvale
