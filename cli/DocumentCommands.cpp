// doc read: what a document says, read on this machine, without storing anything.

#include "cli/CommandContext.h"
#include "documents/reading/DocumentParser.h"
#include "documents/reading/GuessJSON.h"
#include "records/JSONWriter.h"
#include "records/USState.h"

#include <iomanip>
#include <sstream>

namespace corvale::cli {
namespace {

void line(std::ostream& out, std::string_view label, const std::optional<std::string>& value) {
    if (value) out << std::left << std::setw(14) << (std::string(label) + ":") << *value << '\n';
}

std::optional<std::string> dayText(const std::optional<Day>& day) {
    return day ? std::optional(day->formatted()) : std::nullopt;
}

std::optional<std::string> hoursText(const std::optional<double>& hours) {
    if (!hours) return std::nullopt;
    std::ostringstream text;
    text << std::setprecision(6) << *hours;
    return text.str();
}

}  // namespace

int runDocumentRead(Session& session, const std::filesystem::path& file, bool json) {
    auto bytes = session.setup.files.readFile(file);
    if (!bytes) return session.failed(bytes.error().message());
    auto read = session.recognizer.read(*bytes);
    if (!read) return session.failed(read.error().message());
    const Guess guess = DocumentParser::parse(read->text, file.filename().string());
    if (json) {
        JSONObject object = guessJSON(guess);
        object.emplace("pages", read->pages);
        object.emplace("fromTextLayer", read->fromTextLayer);
        object.emplace("text", read->text);
        session.out << writeJSON(object) << '\n';
        return kSucceeded;
    }
    auto& out = session.out;
    line(out, "Kind", std::string(displayName(guess.kind)));
    if (guess.isVerificationReport) line(out, "Source", std::string("a board's online verification"));
    line(out, "State", guess.state ? std::optional(USState::nameOf(*guess.state) + " (" + *guess.state + ")")
                                   : std::nullopt);
    line(out, "Number", guess.number);
    line(out, "Licence type", guess.nurseLicenseType);
    if (guess.multistate) line(out, "Compact", std::string("multistate licence"));
    line(out, "Issued", dayText(guess.issued));
    line(out, "Expires", dayText(guess.expires));
    if (!guess.issued && !guess.expires) line(out, "Date", dayText(guess.anyDate));
    line(out, "Hours", hoursText(guess.hours));
    line(out, "Title", guess.title);
    line(out, "Provider", guess.provider);
    line(out, "Status", guess.boardStatus);
    if (guess.certification) line(out, "Certification", guess.certification->title);
    std::string topics;
    for (const auto& topic : guess.topics) topics += (topics.empty() ? "" : ", ") + session.requirements.topicName(topic);
    if (!topics.empty()) line(out, "Topics", topics);
    out << '\n'
        << (read->fromTextLayer ? "The PDF's own text" : "Recognised text") << " (" << read->pages
        << (read->pages == 1 ? " page" : " pages") << "):\n";
    std::istringstream lines(read->text);
    for (std::string text; std::getline(lines, text);) out << "  " << text << '\n';
    return kSucceeded;
}

}  // namespace corvale::cli
