#include "records/Degree.h"

#include <array>

namespace corvale {
namespace {

struct DegreeInfo {
    Degree degree;
    std::string_view raw;
    std::string_view display;
    std::string_view code;  // empty: no state rule block
};

constexpr std::array<DegreeInfo, 11> kDegrees{{
    {Degree::md, "MD", "MD", "md"},
    {Degree::doctor, "DO", "DO", "do"},
    {Degree::np, "NP", "NP", "np"},
    {Degree::pa, "PA", "PA", "pa"},
    {Degree::crna, "CRNA", "CRNA", "crna"},
    {Degree::caa, "CAA", "CAA", "caa"},
    {Degree::rn, "RN", "RN", "rn"},
    {Degree::lpn, "LPN", "LPN/LVN", "lpn"},
    {Degree::cnm, "CNM", "CNM", "cnm"},
    {Degree::cns, "CNS", "CNS", "cns"},
    {Degree::other, "Other", "Other", ""},
}};

constexpr std::array<Degree, kDegrees.size()> kOrder = [] {
    std::array<Degree, kDegrees.size()> order{};
    for (std::size_t i = 0; i < kDegrees.size(); ++i) order[i] = kDegrees[i].degree;
    return order;
}();

const DegreeInfo& info(Degree degree) { return kDegrees[static_cast<std::size_t>(degree)]; }

}  // namespace

std::span<const Degree> allDegrees() { return kOrder; }
std::string_view rawValue(Degree degree) { return info(degree).raw; }

std::optional<Degree> degreeFromRaw(std::string_view raw) {
    for (const auto& entry : kDegrees)
        if (entry.raw == raw) return entry.degree;
    return std::nullopt;
}

std::string_view displayName(Degree degree) { return info(degree).display; }

std::optional<std::string_view> professionCode(Degree degree) {
    const auto code = info(degree).code;
    return code.empty() ? std::nullopt : std::optional<std::string_view>(code);
}

}  // namespace corvale
