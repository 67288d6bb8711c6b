#include "requirements/RuleDataReader.h"

#include "records/JSONReader.h"

#include <array>
#include <charconv>
#include <cmath>

namespace corvale {

namespace {

// A required piece missing marks the whole read refused; reading carries on
// harmlessly over empty values and the caller gives nothing back.
class Fields {
public:
    Fields(const JSONValue& object, bool& refused) : m_object(object), m_refused(refused) {
        if (!object.isObject()) m_refused = true;
    }

    std::optional<double> number(std::string_view key) const {
        const JSONValue* value = m_object.find(key);
        if (!value) return std::nullopt;
        if (value->isNumber()) return std::isfinite(value->asNumber()) ? std::optional(value->asNumber()) : std::nullopt;
        if (!value->isString()) return std::nullopt;
        std::string kept;
        for (char c : value->asString())
            if ((c >= '0' && c <= '9') || c == '.') kept += c;
        double parsed = 0;
        const auto [end, error] = std::from_chars(kept.data(), kept.data() + kept.size(), parsed);
        if (kept.empty() || error != std::errc{} || end != kept.data() + kept.size()) return std::nullopt;
        return parsed;
    }

    std::optional<int> integer(std::string_view key) const {
        const auto value = number(key);
        if (!value || std::fabs(*value) > 1e9) return std::nullopt;
        return static_cast<int>(std::lround(*value));
    }

    std::optional<std::string> text(std::string_view key) const {
        const JSONValue* value = m_object.find(key);
        return value && value->isString() ? std::optional(value->asString()) : std::nullopt;
    }

    std::optional<bool> flag(std::string_view key) const {
        const JSONValue* value = m_object.find(key);
        return value && value->isBool() ? std::optional(value->asBool()) : std::nullopt;
    }

    std::string requiredText(std::string_view key) const {
        auto value = text(key);
        if (!value) m_refused = true;
        return value.value_or(std::string{});
    }

    const JSONValue* object(std::string_view key) const {
        const JSONValue* value = m_object.find(key);
        return value && value->isObject() ? value : nullptr;
    }

    const JSONValue::Array* array(std::string_view key) const {
        const JSONValue* value = m_object.find(key);
        return value && value->isArray() ? &value->asArray() : nullptr;
    }

    const JSONValue::Array& requiredArray(std::string_view key) const {
        static const JSONValue::Array kEmpty;
        const auto* value = array(key);
        if (!value) m_refused = true;
        return value ? *value : kEmpty;
    }

private:
    const JSONValue& m_object;
    bool& m_refused;
};

TopicRule readTopicRule(const JSONValue& value, bool& refused) {
    const Fields f(value, refused);
    TopicRule t;
    t.key = f.requiredText("key");
    t.hours = f.number("hours");
    t.note = f.text("note");
    t.frequency = f.text("frequency");
    t.everyNCycles = f.number("everyNCycles");
    t.everyYears = f.number("everyYears");
    t.appliesTo = f.text("appliesTo");
    t.boardApprovedOnly = f.flag("boardApprovedOnly");
    return t;
}

Rule readRule(const JSONValue& value, bool& refused) {
    const Fields f(value, refused);
    Rule r;
    r.cycleYears = f.number("cycleYears");
    r.hours = f.number("hours");
    r.cat1Min = f.number("cat1Min");
    if (const auto* topics = f.array("topics")) {
        r.topics.emplace();
        for (const auto& topic : *topics) r.topics->push_back(readTopicRule(topic, refused));
    }
    r.renewalBasis = f.text("renewalBasis");
    r.renewalYears = f.number("renewalYears");
    r.renewalDate = f.text("renewalDate");
    r.board = f.text("board");
    r.boardURL = f.text("boardURL");
    r.notes = f.text("notes");
    r.verified = f.flag("verified");
    r.lastChecked = f.text("lastChecked");
    return r;
}

constexpr std::array<std::string_view, 10> kBlockKeys{"md", "do", "np", "pa", "crna", "caa", "rn", "lpn", "cnm", "cns"};

StateRule readStateRule(const JSONValue& value, bool& refused) {
    const Fields f(value, refused);
    StateRule s;
    s.code = f.requiredText("code");
    s.name = f.requiredText("name");
    s.board = f.text("board");
    s.boardURL = f.text("boardURL");
    s.lastChecked = f.text("lastChecked");
    for (const auto key : kBlockKeys) {
        if (const auto* block = f.object(key)) s.blocks.emplace(std::string(key), readRule(*block, refused));
    }
    if (const auto* boards = f.object("boards")) {
        for (const auto& [key, entry] : boards->asObject()) {
            if (!entry.isObject()) continue;
            const Fields b(entry, refused);
            BoardInfo info{b.text("name"), b.text("url")};
            if (!info.url) info.url = b.text("boardURL");
            s.boards.emplace(key, std::move(info));
        }
    }
    s.verified = f.flag("verified");
    s.renewalYears = f.number("renewalYears");
    s.renewalBasis = f.text("renewalBasis");
    s.renewalDate = f.text("renewalDate");
    s.verifyURL = f.text("verifyURL");
    return s;
}

StateFee readStateFee(const JSONValue& value, bool& refused) {
    const Fields f(value, refused);
    StateFee s;
    s.code = f.requiredText("code");
    s.name = f.requiredText("name");
    s.applicationFee = f.number("applicationFee");
    s.licenseOrIssuanceFee = f.number("licenseOrIssuanceFee");
    s.renewalFee = f.number("renewalFee");
    s.renewalYears = f.number("renewalYears");
    if (const auto* processing = f.object("processing")) {
        const Fields p(*processing, refused);
        s.processing = StateFee::Processing{p.text("text"), p.number("typicalDays")};
    }
    s.imlcMember = f.flag("imlcMember");
    s.boardFeesURL = f.text("boardFeesURL");
    s.lastChecked = f.text("lastChecked");
    s.verified = f.flag("verified");
    s.notes = f.text("notes");
    return s;
}

template <class Read>
auto guarded(std::string_view json, Read read)
    -> std::optional<decltype(read(std::declval<const JSONValue&>(), std::declval<bool&>()))> {
    auto parsed = parseJSON(json);
    if (!parsed) return std::nullopt;
    bool refused = false;
    auto file = read(*parsed, refused);
    if (refused) return std::nullopt;
    return file;
}

}  // namespace

std::optional<RequirementsFile> readRequirementsFile(std::string_view json) {
    return guarded(json, [](const JSONValue& root, bool& refused) {
        const Fields f(root, refused);
        RequirementsFile file;
        file.version = f.integer("version");
        file.lastReviewed = f.text("lastReviewed");
        file.disclaimer = f.text("disclaimer");
        for (const auto& value : f.requiredArray("topics")) {
            const Fields t(value, refused);
            file.topics.push_back({t.requiredText("key"), t.requiredText("name")});
        }
        for (const auto& value : f.requiredArray("states")) file.states.push_back(readStateRule(value, refused));
        if (const auto* national = f.array("national")) {
            for (const auto& value : *national) {
                const Fields n(value, refused);
                file.national.push_back({n.requiredText("key"), n.requiredText("name"), n.number("cycleYears"),
                                         n.number("hours"), n.number("cat1Min"), n.text("notes")});
            }
        }
        return file;
    });
}

std::optional<StateFeesFile> readStateFeesFile(std::string_view json) {
    return guarded(json, [](const JSONValue& root, bool& refused) {
        const Fields f(root, refused);
        StateFeesFile file;
        file.version = f.integer("version");
        file.lastReviewed = f.text("lastReviewed");
        file.disclaimer = f.text("disclaimer");
        for (const auto& value : f.requiredArray("states")) file.states.push_back(readStateFee(value, refused));
        return file;
    });
}

}  // namespace corvale
