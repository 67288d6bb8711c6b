#include "ShippedRules.h"
#include "requirements/CalendarExport.h"
#include "requirements/Readiness.h"

#include <gtest/gtest.h>

namespace corvale {
namespace {

std::vector<std::string> linesOf(const std::string& text) {
    std::vector<std::string> lines;
    std::size_t start = 0;
    for (std::size_t end; (end = text.find("\r\n", start)) != std::string::npos; start = end + 2)
        lines.push_back(text.substr(start, end - start));
    EXPECT_EQ(start, text.size()) << "every line ends in CRLF";
    return lines;
}

TEST(CalendarExport, LinesFoldAtSeventyFiveOctetsWithoutSplittingACharacterAndOfficesSayWhose) {
    VaultDocument document;
    for (const char* name : {"Zoë Ångström-Björklund", "Jordan Reyes"}) {
        Person person;
        person.id = std::string("p-") + name;
        person.name = name;
        person.degree = "RN";
        document.people.push_back(person);
    }
    Credential card;
    card.id = "c1";
    card.personId = document.people[0].id;
    card.kind = "boardCertification";
    card.title = "Certificación en enfermería de cuidados críticos pediátricos, con mención; y más";
    card.number = "";  // sixty two-octet characters: the line must fold between them
    for (int i = 0; i < 60; ++i) card.number->append("é");
    card.expiresOn = Day{2027, 2, 28};
    document.credentials.push_back(card);

    const auto readiness = Readiness::compute(document, &testing::shippedRules(), Day{2026, 11, 22});
    const std::string calendar =
        calendarOf(readiness, document.settings, Timestamp::fromTimePoint(std::chrono::sys_days{
                                                     std::chrono::year{2026} / 11 / 22}));
    const auto lines = linesOf(calendar);
    std::string unfolded;
    for (const auto& line : lines) {
        EXPECT_LE(line.size(), 75u) << line;
        // A continuation starts with one space; no line starts inside a character.
        ASSERT_FALSE(line.empty());
        EXPECT_NE(static_cast<unsigned char>(line[line[0] == ' ' ? 1 : 0]) & 0xC0, 0x80u) << line;
        if (line[0] == ' ')
            unfolded += line.substr(1);
        else
            unfolded += "\n" + line;
    }
    EXPECT_NE(unfolded.find("\nSUMMARY:Certificación en enfermería de cuidados críticos pediátricos\\, con "
                            "mención\\; y más expires · Zoë Ångström-Björklund\n"),
              std::string::npos)
        << unfolded;
    EXPECT_NE(unfolded.find("\nDTSTAMP:20261122T000000Z\n"), std::string::npos);
    EXPECT_NE(unfolded.find("\nDTSTART;VALUE=DATE:20270228\nDTEND;VALUE=DATE:20270301\n"), std::string::npos);
    EXPECT_NE(unfolded.find("\nUID:expiry-c1@corvale\n"), std::string::npos);
    EXPECT_EQ(lines.front(), "BEGIN:VCALENDAR");
    EXPECT_EQ(lines.back(), "END:VCALENDAR");
}

}  // namespace
}  // namespace corvale
