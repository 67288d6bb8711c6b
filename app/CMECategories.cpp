#include "app/CMECategories.h"

#include "records/RecordEnums.h"

#include <QObject>

namespace corvale::app {

QString cmeCategoryName(std::string_view raw) {
    const auto category = cmeCategoryFromRaw(raw);
    if (!category) return QString::fromUtf8(raw.data(), static_cast<qsizetype>(raw.size()));
    switch (*category) {
    case CMECategory::cat1: return QObject::tr("AMA PRA Category 1");
    case CMECategory::cat2: return QObject::tr("Category 2");
    case CMECategory::aanp: return QObject::tr("AANP");
    case CMECategory::aapa: return QObject::tr("AAPA Category 1");
    case CMECategory::nbcrna: return QObject::tr("NBCRNA");
    case CMECategory::ce: return QObject::tr("Nursing CE");
    case CMECategory::other: return QObject::tr("Other");
    }
    return QString();
}

std::string_view defaultCMECategory(std::optional<Degree> degree) {
    if (!degree) return rawValue(CMECategory::other);
    switch (*degree) {
    case Degree::md:
    case Degree::doctor: return rawValue(CMECategory::cat1);
    case Degree::pa: return rawValue(CMECategory::aapa);
    case Degree::np: return rawValue(CMECategory::aanp);
    case Degree::crna: return rawValue(CMECategory::nbcrna);
    case Degree::cnm:
    case Degree::cns:
    case Degree::rn:
    case Degree::lpn: return rawValue(CMECategory::ce);
    case Degree::caa:
    case Degree::other: break;
    }
    return rawValue(CMECategory::other);
}

}  // namespace corvale::app
