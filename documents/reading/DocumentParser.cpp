#include "documents/reading/DocumentParser.h"

#include "documents/reading/DocumentDates.h"
#include "documents/reading/NumberFinder.h"
#include "documents/reading/Pattern.h"
#include "documents/reading/StateFinder.h"
#include "documents/reading/TextLines.h"
#include "records/AsciiCase.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cctype>

namespace corvale {
namespace {

bool isWordByte(char c) { return std::isalnum(static_cast<unsigned char>(c)) != 0; }

// Short keywords ("cv", "dea", "bls") count only as whole words; phrases count wherever they stand.
bool mentions(std::string_view lower, std::string_view word) {
    const bool whole = word.size() <= 4 && std::all_of(word.begin(), word.end(), isWordByte);
    for (std::size_t at = lower.find(word); at != std::string_view::npos; at = lower.find(word, at + 1)) {
        if (!whole) return true;
        const bool startOk = at == 0 || !isWordByte(lower[at - 1]);
        const bool endOk = at + word.size() == lower.size() || !isWordByte(lower[at + word.size()]);
        if (startOk && endOk) return true;
    }
    return false;
}

struct Keyword {
    std::string_view word;
    int weight;
};

struct KindKeywords {
    DocumentKind kind;
    std::vector<Keyword> words;
};

// Listed most specific first: on a tie the earlier kind wins.
const std::vector<KindKeywords>& kindTables() {
    static const std::vector<KindKeywords> tables{
        {DocumentKind::dea,
         {{"drug enforcement administration", 6}, {"dea registration", 5}, {"deadiversion", 5}, {"dea", 2},
          {"u.s. department of justice", 3}, {"controlled substance registration certificate", 3}, {"schedules", 2}}},
        {DocumentKind::loq,
         {{"letter of qualification", 6}, {"interstate medical licensure compact", 5}, {"imlc", 4}, {"loq", 4}}},
        {DocumentKind::acls,
         {{"advanced cardiovascular life support", 6}, {"acls", 5}, {"pediatric advanced life support", 6},
          {"pals", 5}, {"neonatal resuscitation", 5}, {"nrp", 4}, {"advanced trauma life support", 6}, {"atls", 5}}},
        {DocumentKind::bls, {{"basic life support", 5}, {"bls", 4}, {"heartsaver", 3}, {"cpr", 3}}},
        {DocumentKind::skillsChecklist,
         {{"skills checklist", 8}, {"skills check list", 8}, {"skill checklist", 8}, {"competency checklist", 6},
          {"self-assessment", 3}, {"experience level", 3}, {"proficiency", 2}}},
        {DocumentKind::malpractice,
         {{"malpractice", 5}, {"professional liability", 5}, {"certificate of insurance", 4},
          {"certificate of coverage", 4}, {"limits of liability", 4}, {"claims-made", 4}, {"claims made", 4},
          {"retroactive date", 4}, {"policy number", 3}, {"policy period", 3}, {"each claim", 3}, {"aggregate", 3},
          {"insured", 2}, {"insurer", 2}, {"coverage", 1}, {"occurrence", 1}}},
        {DocumentKind::id,
         {{"driver's license", 6}, {"drivers license", 6}, {"driver license", 6}, {"identification card", 5},
          {"passport", 5}, {"real id", 4}, {"motor vehicles", 4}, {"dmv", 3}, {"class c", 2}, {"hgt", 2},
          {"eyes", 2}, {"donor", 2}, {"dob", 2}, {"sex", 1}}},
        {DocumentKind::cme,
         {{"ama pra category 1", 5}, {"continuing medical education", 4}, {"category 1 credit", 4},
          {"designates this", 4}, {"nursing continuing professional development", 4}, {"continuing education", 3},
          {"contact hours", 3}, {"contact hour", 3}, {"certificate of attendance", 3}, {"credits claimed", 3},
          {"this activity", 3}, {"ce credit", 3}, {"accme", 3}, {"cme", 3}, {"certificate of completion", 2},
          {"credit(s)", 2}, {"accredited by", 2}, {"ancc", 2}, {"successfully completed", 1}, {"has completed", 1}}},
        {DocumentKind::cv,
         {{"curriculum vitae", 6}, {"resume", 4}, {"résumé", 4}, {"cv", 3}, {"professional experience", 3},
          {"work experience", 3}, {"employment history", 3}, {"references available", 3},
          {"education and training", 2}}},
        {DocumentKind::diploma,
         {{"upon the recommendation of the faculty", 5}, {"with all the rights and privileges", 5}, {"diploma", 5},
          {"doctor of medicine", 4}, {"doctor of osteopathic medicine", 4}, {"has conferred", 4},
          {"conferred upon", 4}, {"degree of", 3}, {"bachelor of science", 3}, {"master of science", 3},
          {"graduate medical education", 3}, {"school of medicine", 2}, {"residency", 2},
          {"has satisfactorily completed", 2}}},
        {DocumentKind::csr,
         {{"controlled dangerous substance", 4}, {"state controlled substance", 4}, {"bureau of narcotic", 4},
          {"controlled substance registration", 3}, {"controlled substances registration", 3},
          {"controlled substance license", 3}, {"controlled substances license", 3}, {"csr", 3}, {"cds", 2}}},
        {DocumentKind::license,
         {{"board of medicine", 3}, {"medical board", 3}, {"board of nursing", 3}, {"board of medical examiners", 3},
          {"board of osteopathic", 3}, {"physician and surgeon", 3}, {"to practice medicine", 3},
          {"is hereby licensed", 3}, {"license verification", 3}, {"medical license", 3}, {"nursing license", 3},
          {"nursing board", 2}, {"registered nurse", 2}, {"practical nurse", 2}, {"vocational nurse", 2},
          {"nurse practitioner", 2}, {"physician assistant", 2}, {"to practice as", 2}, {"license number", 2},
          {"license no", 2}, {"licensee", 2}, {"multistate", 2}, {"aprn", 2}, {"license type", 2},
          {"license status", 2}, {"professional license", 2}, {"license", 1}, {"licence", 1}, {"licensure", 1}}},
    };
    return tables;
}

std::string fileWords(std::string_view filename) {
    std::string words = asciiLower(filename);
    for (char& c : words)
        if (c == '_' || c == '-' || c == '.') c = ' ';
    return words;
}

double decimal(std::string_view text) {
    double value = 0;
    std::from_chars(text.data(), text.data() + text.size(), value);
    return value;
}

bool insideAny(const std::vector<Pattern::Match>& spans, std::size_t at) {
    return std::any_of(spans.begin(), spans.end(), [&](const auto& m) { return at >= m.begin && at < m.end; });
}

bool insideAny(const std::vector<std::pair<std::size_t, std::size_t>>& spans, std::size_t at) {
    return std::any_of(spans.begin(), spans.end(), [&](const auto& s) { return at >= s.first && at < s.second; });
}

// The rest of a label's line, or the next line when the label stands alone.
std::optional<std::string> valueAfter(const std::vector<TextLine>& lines, std::size_t index, std::size_t from) {
    const std::string_view rest = trimmed(lines[index].text.substr(from));
    if (!rest.empty()) return std::string(rest);
    for (std::size_t next = index + 1; next < lines.size(); ++next)
        if (!isBlank(lines[next].text)) return std::string(trimmed(lines[next].text));
    return std::nullopt;
}

std::optional<std::string> tidyTitle(std::string_view text) {
    static const Pattern leading(R"(^(?:the\s+(?:course|activity|program|programme)\s*[:\-]?\s*|the\s+)?[\s"'“”:]*)");
    if (const auto m = leading.search(text)) text.remove_prefix(m->end);
    while (!text.empty() && std::string_view("\"'“” .,;:").find(text.back()) != std::string_view::npos)
        text.remove_suffix(1);
    // The typographic quotes are three bytes each; a cut one must not leave half a character.
    while (!text.empty() && (static_cast<unsigned char>(text.back()) & 0xC0) == 0x80) text.remove_suffix(1);
    while (!text.empty() && static_cast<unsigned char>(text.back()) >= 0xC0) text.remove_suffix(1);
    text = trimmed(text);
    if (text.size() < 4 || text.size() > 160 || !dateSpans(text).empty()) return std::nullopt;
    return std::string(text);
}

struct NursingBody {
    std::string_view body;  // as a whole word in lower case
    std::string_view name;
    std::vector<std::string_view> credentials;
    bool needsCredential;  // a body that also accredits CE courses names a credential before it counts
};

const std::vector<NursingBody>& nursingBodies() {
    static const std::vector<NursingBody> bodies{
        {"aacn", "AACN", {"CCRN", "PCCN", "CMC", "CSC", "ACNPC-AG", "ACCNS-AG"}, false},
        {"bcen", "BCEN", {"CEN", "CPEN", "CFRN", "CTRN", "TCRN"}, false},
        {"ena", "ENA", {"TNCC", "ENPC"}, false},
        {"oncc", "ONCC", {"OCN", "CPHON", "BMTCN", "AOCNP", "CBCN"}, false},
        {"msncb", "MSNCB", {"CMSRN"}, false},
        {"ancc", "ANCC", {"FNP-BC", "AGPCNP-BC", "AGACNP-BC", "PMHNP-BC", "RN-BC", "NE-BC", "NPD-BC"}, true},
        {"aanpcb", "AANPCB", {"FNP-C", "AGNP-C", "ENP-C"}, true},
    };
    return bodies;
}

bool hasWord(std::string_view text, std::string_view word) {
    for (std::size_t at = text.find(word); at != std::string_view::npos; at = text.find(word, at + 1)) {
        const bool startOk = at == 0 || (!isWordByte(text[at - 1]) && text[at - 1] != '-');
        const std::size_t end = at + word.size();
        const bool endOk = end == text.size() || (!isWordByte(text[end]) && text[end] != '-');
        if (startOk && endOk) return true;
    }
    return false;
}

}  // namespace

std::optional<CredentialKind> Guess::credentialKind() const {
    switch (kind) {
    case DocumentKind::license: return CredentialKind::stateLicense;
    case DocumentKind::dea: return CredentialKind::dea;
    case DocumentKind::csr: return CredentialKind::stateCSR;
    case DocumentKind::loq: return CredentialKind::imlcLOQ;
    case DocumentKind::bls: return CredentialKind::bls;
    case DocumentKind::acls: return certification ? certification->kind : CredentialKind::acls;
    case DocumentKind::malpractice: return CredentialKind::malpractice;
    default: break;
    }
    if (certification && certification->kind == CredentialKind::boardCertification)
        return CredentialKind::boardCertification;
    return std::nullopt;
}

DocumentKind guessKind(std::string_view text, std::string_view filename) {
    const std::string lower = asciiLower(text);
    const std::string name = fileWords(filename);
    DocumentKind best = DocumentKind::other;
    int bestScore = 1;  // one weak word alone decides nothing
    for (const auto& table : kindTables()) {
        int score = 0;
        for (const auto& [word, weight] : table.words) {
            if (mentions(lower, word)) score += weight;
            if (mentions(name, word)) score += 2 * weight;
        }
        if (score > bestScore) {
            best = table.kind;
            bestScore = score;
        }
    }
    return best;
}

std::optional<std::string> findNumber(std::string_view text, DocumentKind kind, bool lenient) {
    if (kind == DocumentKind::dea)
        if (auto dea = NumberFinder::deaForm(text)) return dea;
    return NumberFinder::find(text, lenient);
}

std::optional<double> findHours(std::string_view text) {
    static const Pattern labelled(R"((?i)(?:credits?|hours?)[^\n\d]{0,30}?[:\-][ \t]*(\d{1,3}(?:\.\d{1,2})?)\b)");
    static const Pattern unit(
        R"((?i)(?:^|[ \t(])(\d{1,3}(?:\.\d{1,2})?)[ \t]*(?:AMA PRA credit type|credit type|AOA credit type|credits?|contact hours?|CME hours?|CE hours?|hours?))");
    // "2.0 AMA PRA Category 1 Credits": the amount stands before the category.
    static const Pattern beforeCategory(
        R"((?i)(?:^|[ \t(])(\d{1,3}(?:\.\d{1,2})?)[ \t]*(?:AMA PRA |AOA )?category[ \t]*[12][AB]?(?:-?[AB])?[ \t]*credits?)");
    static const Pattern category(R"((?i)(category|class|level)[ \t]*[12AB](-?[AB])?\b)");
    const auto lines = textLines(text);
    for (const Pattern* pattern : {&labelled, &unit, &beforeCategory}) {
        for (const auto& line : lines) {
            const auto categories = category.all(line.text);
            const auto dates = dateSpans(line.text);
            for (const auto& match : pattern->all(line.text)) {
                const std::size_t at = static_cast<std::size_t>(match.group(1).data() - line.text.data());
                if (insideAny(categories, at) || insideAny(dates, at)) continue;
                const double hours = decimal(match.group(1));
                if (hours > 0 && hours <= 500) return hours;
            }
        }
    }
    return std::nullopt;
}

std::optional<std::string> findBoardStatus(std::string_view text) {
    static const Pattern labelled(
        R"((?i)\b(?:license|licence|registration|credential)?\s*status\s*[:\-]\s*([A-Za-z][A-Za-z \-]{1,40}))");
    static const Pattern labelWord(
        R"((?i)\s+(?:expiration|expires|exp|issued?|date|licen[cs]e|number|type|renewal|original|name|discipline|board)\b.*$)");
    const auto tidy = [](std::string_view value) -> std::optional<std::string> {
        if (const std::size_t gap = value.find("  "); gap != std::string_view::npos) value = value.substr(0, gap);
        std::string status(trimmed(value));
        if (const auto m = labelWord.search(status)) status.erase(m->begin);
        if (status.empty()) return std::nullopt;
        return status;
    };
    const auto lines = textLines(text);
    for (const auto& line : lines)
        if (const auto match = labelled.search(line.text))
            if (auto status = tidy(match->group(1))) return status;
    // A verification table: the cell below a "Status" heading.
    for (std::size_t i = 0; i + 1 < lines.size(); ++i) {
        const auto heading = textCells(lines[i].text);
        if (heading.size() < 2) continue;
        for (std::size_t column = 0; column < heading.size(); ++column) {
            const std::string title = asciiLower(trimmed(heading[column].text));
            if (!title.ends_with("status")) continue;
            const auto row = textCells(lines[i + 1].text);
            if (const std::size_t cell = cellUnder(heading, column, row); cell < row.size())
                if (auto status = tidy(row[cell].text)) return status;
        }
    }
    return std::nullopt;
}

std::optional<std::string> findTitle(std::string_view text) {
    static const Pattern label(
        R"((?i)^\s*(?:(?:activity|course|program|programme|session|event)\s+)?(?:title|name of (?:activity|course|program))\s*[:\-]\s*)");
    static const Pattern bare(R"((?i)^\s*(?:activity|course|program|programme)\s*[:\-]\s*)");
    static const Pattern phrase(
        R"((?i)\b(?:successfully completed|has completed|have completed|completed the|for completing|participated in|for participation in|attended)\b[\s:]*)");
    const auto lines = textLines(text);
    for (const Pattern* pattern : {&label, &bare}) {
        for (std::size_t i = 0; i < lines.size(); ++i)
            if (const auto match = pattern->search(lines[i].text))
                if (const auto value = valueAfter(lines, i, match->end))
                    if (auto title = tidyTitle(*value)) return title;
    }
    for (std::size_t i = 0; i < lines.size(); ++i)
        if (const auto match = phrase.search(lines[i].text))
            if (const auto value = valueAfter(lines, i, match->end))
                if (auto title = tidyTitle(*value)) return title;
    return std::nullopt;
}

std::optional<std::string> findProvider(std::string_view text) {
    static const Pattern label(
        R"((?i)(?:\b(?:accredited provider|provider name|provider|training cent(?:er|re)(?: name)?)\s*[:\-]|\b(?:jointly provided by|provided by|presented by|sponsored by)\b)\s*)");
    const auto lines = textLines(text);
    for (std::size_t i = 0; i < lines.size(); ++i) {
        const auto match = label.search(lines[i].text);
        if (!match) continue;
        auto value = valueAfter(lines, i, match->end);
        if (!value) continue;
        // "Provider #12345" names an approval number, not the provider.
        const std::string_view v = trimmed(*value);
        if (v.empty() || v.front() == '#' || std::isdigit(static_cast<unsigned char>(v.front()))) continue;
        std::string provider(v.substr(0, std::min<std::size_t>(v.find("  "), 120)));
        if (provider.size() >= 3) return provider;
    }
    return std::nullopt;
}

std::optional<Certification> findNursingCredential(std::string_view text) {
    const std::string lower = asciiLower(text);
    if (lower.find("nurs") == std::string::npos) return std::nullopt;
    for (const auto& body : nursingBodies()) {
        if (!hasWord(lower, body.body)) continue;
        for (const auto credential : body.credentials) {
            if (hasWord(text, credential))
                return Certification{CredentialKind::boardCertification,
                                     std::string(credential) + " (" + std::string(body.name) + ")",
                                     std::string(body.body) + "-" + asciiLower(credential)};
        }
        if (!body.needsCredential)
            return Certification{CredentialKind::boardCertification, std::string(body.name) + " certification",
                                 std::string(body.body)};
    }
    return std::nullopt;
}

std::optional<Certification> findCertification(std::string_view text) {
    struct Card {
        std::vector<std::string_view> words;
        CredentialKind kind;
        std::string_view title;
        std::string_view program;
    };
    static const std::vector<Card> cards{
        {{"advanced cardiovascular life support", "acls"}, CredentialKind::acls, "ACLS Provider", "acls"},
        {{"pediatric advanced life support", "pals"}, CredentialKind::pals, "PALS Provider", "pals"},
        {{"neonatal resuscitation", "nrp"}, CredentialKind::nrp, "NRP Provider", "nrp"},
        {{"advanced trauma life support", "atls"}, CredentialKind::atls, "ATLS Provider", "atls"},
        {{"basic life support", "bls"}, CredentialKind::bls, "BLS Provider", "bls"},
    };
    const std::string lower = asciiLower(text);
    const bool heart = lower.find("american heart association") != std::string::npos;
    for (const auto& card : cards)
        for (const auto word : card.words)
            if (mentions(lower, word))
                return Certification{card.kind, std::string(card.title),
                                     (heart ? "aha-" : "") + std::string(card.program)};
    static const Pattern board(R"(\b(American (?:Osteopathic )?Board of [A-Z][A-Za-z]+(?: (?:and |of )?[A-Z][A-Za-z]+){0,4}))");
    static const Pattern boardAnyCase(R"((?i)\b(american (?:osteopathic )?board of [a-z]+(?: (?:and |of )?[a-z]+){0,4}))");
    if (const auto match = board.search(text))
        return Certification{CredentialKind::boardCertification, std::string(match->group(1)), std::nullopt};
    if (const auto match = boardAnyCase.search(text))
        return Certification{CredentialKind::boardCertification, std::string(trimmed(match->group(1))), std::nullopt};
    return std::nullopt;
}

std::vector<std::string> findTopics(std::string_view text) {
    static const std::vector<std::pair<std::string_view, std::string_view>> words{
        {"opioid", "opioidPrescribing"},
        {"pain management", "painManagement"},
        {"implicit bias", "implicitBias"},
        {"human trafficking", "humanTrafficking"},
        {"infection control", "infectionControl"},
        {"domestic violence", "domesticViolence"},
        {"child abuse", "childAbuse"},
        {"suicide", "suicidePrevention"},
        {"medical error", "medicalErrors"},
        {"patient safety", "patientSafety"},
        {"ethics", "medicalEthics"},
        {"end-of-life", "endOfLifeCare"},
        {"end of life", "endOfLifeCare"},
        {"alzheimer", "alzheimersDementia"},
        {"dementia", "alzheimersDementia"},
        {"cultural competen", "culturalCompetency"},
        {"hiv", "hivAids"},
        {"sexual harassment", "sexualHarassmentPrevention"},
        {"substance use", "substanceUse"},
        {"addiction", "substanceUse"},
        {"controlled substance", "controlledSubstances"},
        {"jurisprudence", "jurisprudence"},
        {"bioterrorism", "bioterrorism"},
        {"geriatric", "geriatrics"},
        {"risk management", "riskManagement"},
        {"nutrition", "nutrition"},
        {"veteran", "veteransMentalHealth"},
        {"elder abuse", "dependentAdultAbuse"},
    };
    const std::string lower = asciiLower(text);
    std::vector<std::string> topics;
    for (const auto& [word, key] : words)
        if (mentions(lower, word) && std::find(topics.begin(), topics.end(), key) == topics.end())
            topics.emplace_back(key);
    return topics;
}

std::optional<std::string> findNurseLicenseType(std::string_view text) {
    static const std::vector<std::pair<std::string_view, std::string_view>> types{
        {"certified registered nurse anesthetist", "CRNA"},
        {"certified nurse midwife", "CNM"},
        {"certified nurse-midwife", "CNM"},
        {"clinical nurse specialist", "CNS"},
        {"nurse practitioner", "NP"},
        {"advanced practice registered nurse", "APRN"},
        {"aprn", "APRN"},
        {"licensed vocational nurse", "LVN"},
        {"licensed practical nurse", "LPN"},
        {"registered nurse", "RN"},
    };
    const std::string lower = asciiLower(text);
    for (const auto& [words, type] : types)
        if (mentions(lower, words)) return std::string(type);
    return std::nullopt;
}

bool isMultistate(std::string_view text) {
    const std::string lower = asciiLower(text);
    if (mentions(lower, "single state") || mentions(lower, "single-state")) return false;
    return mentions(lower, "multistate") || mentions(lower, "multi-state") || mentions(lower, "nurse licensure compact");
}

bool isVerificationReport(std::string_view text) {
    const std::string lower = asciiLower(text);
    for (const auto words : {"license verification", "licensee verification", "verification of licensure",
                             "verification of license", "primary source verification", "license lookup",
                             "license search", "search results", "information is current as of", "data current as of",
                             "as of the date of this verification", "look up a license", "verify a license"})
        if (mentions(lower, words)) return true;
    return false;
}

Guess DocumentParser::parse(std::string_view text, std::string_view filename) {
    Guess guess;
    guess.kind = guessKind(text, filename);
    const DocumentDates read = readDates(text);
    guess.expires = read.expiry;
    guess.issued = read.issued;
    for (const auto& dated : read.all)
        if (dated.role == DateRole::none) {
            guess.anyDate = dated.day;
            break;
        }
    static const Pattern validFor(R"(valid(?:\s+for)?\s+(\d{2,4})\s+days)");
    if (!guess.expires && guess.issued)
        if (const auto match = validFor.search(asciiLower(text)))
            guess.expires = guess.issued->addingDays(static_cast<int>(decimal(match->group(1))));
    if (guess.kind != DocumentKind::cv) guess.state = findState(text);
    const bool credential = guess.kind == DocumentKind::license || guess.kind == DocumentKind::dea ||
                            guess.kind == DocumentKind::csr || guess.kind == DocumentKind::loq;
    guess.number = findNumber(text, guess.kind, credential);
    if (guess.kind == DocumentKind::cme) {
        guess.hours = findHours(text);
        guess.topics = findTopics(text);
    }
    if (guess.kind == DocumentKind::cme || guess.kind == DocumentKind::diploma || guess.kind == DocumentKind::other)
        guess.title = findTitle(text);
    guess.provider = findProvider(text);
    if (guess.kind == DocumentKind::license) {
        guess.nurseLicenseType = findNurseLicenseType(text);
        guess.multistate = guess.nurseLicenseType && isMultistate(text);
    }
    guess.boardStatus = findBoardStatus(text);
    guess.isVerificationReport = isVerificationReport(text);
    // A CE certificate names its accreditor (ANCC), not a certification the nurse holds.
    if (guess.kind != DocumentKind::cme) {
        guess.certification = findNursingCredential(text);
        if (!guess.certification) guess.certification = findCertification(text);
    }
    if (guess.certification && !guess.title &&
        (guess.kind == DocumentKind::bls || guess.kind == DocumentKind::acls || guess.kind == DocumentKind::other))
        guess.title = guess.certification->title;
    return guess;
}

}  // namespace corvale
