#include "vault/Prefs.h"

#include <algorithm>

#include "platform/Paths.h"
#include "records/JSONReader.h"
#include "records/JSONWriter.h"

namespace corvale {

Prefs::Prefs(FileSystem& files, std::filesystem::path file) : m_files(files), m_file(std::move(file)) {}

std::filesystem::path Prefs::defaultFile() { return paths::configurationDirectory() / "Corvale" / "prefs.json"; }

void Prefs::load() {
    m_values.clear();
    const auto bytes = m_files.readFile(m_file);
    if (!bytes) return;
    auto parsed = parseJSON(asText(*bytes));
    if (parsed && parsed->isObject()) m_values = std::move(parsed->asObject());
}

bool Prefs::flag(std::string_view key) const {
    const JSONValue* found = value(key);
    return found && found->isBool() && found->asBool();
}

std::optional<Timestamp> Prefs::timestamp(std::string_view key) const {
    const JSONValue* found = value(key);
    if (!found || !found->isString()) return std::nullopt;
    return Timestamp::parse(found->asString());
}

const JSONValue* Prefs::value(std::string_view key) const {
    const auto it = m_values.find(key);
    return it == m_values.end() ? nullptr : &it->second;
}

double Prefs::idleLockMinutes() const {
    const JSONValue* found = value(kIdleLockMinutes);
    if (!found || !found->isNumber()) return kDefaultIdleLockMinutes;
    // A hand-edited file may hold anything; a day is the most that still means something.
    const double minutes = found->asNumber();
    if (!(minutes > 0)) return 0;
    return std::min(minutes, 24.0 * 60);
}

Result<void, VaultError> Prefs::setFlag(std::string_view key, bool value) { return set(key, value); }

Result<void, VaultError> Prefs::setTimestamp(std::string_view key, const Timestamp& value) {
    return set(key, value.toString());
}

Result<void, VaultError> Prefs::set(std::string_view key, JSONValue value) {
    m_values.insert_or_assign(std::string(key), std::move(value));
    return save();
}

int Prefs::integer(std::string_view key, int fallback) const {
    const JSONValue* found = value(key);
    if (!found || !found->isNumber()) return fallback;
    const double number = found->asNumber();
    return number == static_cast<double>(static_cast<int>(number)) ? static_cast<int>(number) : fallback;
}

std::set<std::string, std::less<>> Prefs::textSet(std::string_view key) const {
    std::set<std::string, std::less<>> texts;
    if (const JSONValue* list = value(key); list && list->isArray())
        for (const auto& entry : list->asArray())
            if (entry.isString()) texts.insert(entry.asString());
    return texts;
}

Result<void, VaultError> Prefs::setTextSet(std::string_view key, const std::set<std::string, std::less<>>& texts) {
    JSONValue::Array list;
    list.reserve(texts.size());
    for (const auto& text : texts) list.emplace_back(text);
    return set(key, JSONValue(std::move(list)));
}

Result<void, VaultError> Prefs::adoptMissing(const std::filesystem::path& olderFile) {
    const auto bytes = m_files.readFile(olderFile);
    if (!bytes) return {};
    const auto parsed = parseJSON(asText(*bytes));
    if (!parsed || !parsed->isObject()) return {};
    bool changed = false;
    for (const auto& [key, value] : parsed->asObject()) changed |= m_values.emplace(key, value).second;
    return changed ? save() : Result<void, VaultError>();
}

Result<void, VaultError> Prefs::save() {
    if (auto made = m_files.createDirectories(m_file.parent_path()); !made) return fail(VaultError::storage(made.error()));
    const std::string json = writeJSON(JSONValue(m_values));
    if (auto written = m_files.replaceFileAtomically(m_file, asBytes(json)); !written)
        return fail(VaultError::storage(written.error()));
    return {};
}

}  // namespace corvale
