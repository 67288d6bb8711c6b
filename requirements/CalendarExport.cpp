#include "requirements/CalendarExport.h"

#include "requirements/CredentialRenewal.h"
#include "requirements/Hours.h"
#include "requirements/Readiness.h"
#include "requirements/ReminderPlan.h"
#include "records/USState.h"

#include <algorithm>
#include <cstdio>

namespace corvale {
namespace {

// TEXT values escape backslash, semicolon, comma and line breaks.
std::string escaped(const std::string& text) {
    std::string out;
    for (const char c : text) {
        if (c == '\\' || c == ';' || c == ',') {
            out += '\\';
            out += c;
        } else if (c == '\n') {
            out += "\\n";
        } else if (c != '\r') {
            out += c;
        }
    }
    return out;
}

// Content lines end in CRLF and fold at 75 octets, never inside a UTF-8 character.
void line(std::string& out, const std::string& content) {
    std::size_t start = 0;
    std::size_t limit = 75;
    while (content.size() - start > limit) {
        std::size_t cut = start + limit;
        while (cut > start && (static_cast<unsigned char>(content[cut]) & 0xC0) == 0x80) --cut;
        out.append(content, start, cut - start);
        out += "\r\n ";
        start = cut;
        limit = 74;  // the leading space counts
    }
    out.append(content, start, std::string::npos);
    out += "\r\n";
}

std::string dateOf(const Day& day) {
    char text[40];  // room for any int, so the optimiser sees nothing cut short
    std::snprintf(text, sizeof text, "%04d%02d%02d", day.year, day.month, day.day);
    return text;
}

std::string stampOf(const Timestamp& stamp) {
    const auto seconds = std::chrono::floor<std::chrono::seconds>(stamp.time);
    const auto days = std::chrono::floor<std::chrono::days>(seconds);
    const std::chrono::year_month_day date(days);
    const std::chrono::hh_mm_ss clock(seconds - days);
    char text[96];  // room for any values, so the optimiser sees nothing cut short
    std::snprintf(text, sizeof text, "%04d%02u%02uT%02ld%02ld%02ldZ", static_cast<int>(date.year()),
                  static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
                  static_cast<long>(clock.hours().count()), static_cast<long>(clock.minutes().count()),
                  static_cast<long>(clock.seconds().count()));
    return text;
}

struct Event {
    std::string uid;
    Day day;
    std::string summary;
    std::string description;
    std::vector<int> alarms;  // days before
};

void write(std::string& out, const Event& event, const std::string& stamp) {
    line(out, "BEGIN:VEVENT");
    line(out, "UID:" + event.uid);
    line(out, "DTSTAMP:" + stamp);
    line(out, "DTSTART;VALUE=DATE:" + dateOf(event.day));
    line(out, "DTEND;VALUE=DATE:" + dateOf(event.day.addingDays(1)));
    line(out, "SUMMARY:" + escaped(event.summary));
    if (!event.description.empty()) line(out, "DESCRIPTION:" + escaped(event.description));
    line(out, "TRANSP:TRANSPARENT");
    for (const int days : event.alarms) {
        line(out, "BEGIN:VALARM");
        line(out, "ACTION:DISPLAY");
        line(out, "TRIGGER:-P" + std::to_string(days) + "D");
        line(out, "DESCRIPTION:" + escaped(event.summary));
        line(out, "END:VALARM");
    }
    line(out, "END:VEVENT");
}

}  // namespace

std::string calendarOf(const Readiness& readiness, const VaultSettings& settings, const Timestamp& stamp) {
    const auto credentials = readiness.input.active();
    const auto titles = distinctTitles(credentials);
    std::vector<Event> events;
    for (std::size_t i = 0; i < credentials.size(); ++i) {
        const Credential& credential = *credentials[i];
        if (!credential.expiresOn) continue;
        std::string whose;
        if (const auto who = readiness.input.who(credential)) whose = " · " + *who;
        Event event{"expiry-" + credential.id + "@corvale", *credential.expiresOn, titles[i] + " expires" + whose, {},
                    reminderLeadDays(credential, settings)};
        if (credential.number && !credential.number->empty()) event.description = "Number " + *credential.number + ".";
        events.push_back(std::move(event));
    }
    for (const auto& progress : readiness.progress) {
        const std::string state = USState::nameOf(progress.license.state.value_or(""));
        std::string whose;
        if (const auto who = readiness.input.who(progress.license)) whose = " · " + *who;
        const double missing = progress.missingHours();
        Event event{"cycle-" + progress.license.id + "@corvale", progress.cycleEnd,
                    state + " education cycle ends" + whose, progress.summary() + ".", {}};
        // Alarms only while hours are missing: a finished cycle needs nothing more.
        if (missing > kHourTolerance) {
            event.description += " " + hoursText(missing, HoursRounding::up) + " " + progress.unit() + " still to earn.";
            event.alarms = reminderLeadDays(progress.license, settings);
        }
        events.push_back(std::move(event));
    }
    std::stable_sort(events.begin(), events.end(), [](const Event& a, const Event& b) { return a.day < b.day; });

    std::string out;
    line(out, "BEGIN:VCALENDAR");
    line(out, "VERSION:2.0");
    line(out, "PRODID:-//Corvale//Corvale renewals//EN");
    line(out, "CALSCALE:GREGORIAN");
    line(out, "METHOD:PUBLISH");
    line(out, "X-WR-CALNAME:Corvale renewals");
    const std::string made = stampOf(stamp);
    for (const auto& event : events) write(out, event, made);
    line(out, "END:VCALENDAR");
    return out;
}

}  // namespace corvale
