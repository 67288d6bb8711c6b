#include "app/Accessibility.h"

#include "app/ProgressRing.h"

#include <QAccessibleValueInterface>
#include <QAccessibleWidget>

#include <cmath>

namespace corvale::app {
namespace {

class HeadingAccessible : public QAccessibleWidget {
public:
    explicit HeadingAccessible(HeadingLabel* label) : QAccessibleWidget(label, QAccessible::Heading) {}

    QString text(QAccessible::Text kind) const override {
        if (kind == QAccessible::Name) {
            const QString set = widget()->accessibleName();
            return set.isEmpty() ? static_cast<const QLabel*>(widget())->text() : set;
        }
        return QAccessibleWidget::text(kind);
    }
};

class RingAccessible : public QAccessibleWidget, public QAccessibleValueInterface {
public:
    explicit RingAccessible(ProgressRing* ring) : QAccessibleWidget(ring, QAccessible::ProgressBar) {}

    void* interface_cast(QAccessible::InterfaceType type) override {
        if (type == QAccessible::ValueInterface) return static_cast<QAccessibleValueInterface*>(this);
        return QAccessibleWidget::interface_cast(type);
    }
    QString text(QAccessible::Text kind) const override {
        // The centre text ("82", "36 h") is what a sighted user reads in the ring.
        if (kind == QAccessible::Value) return ring()->centreText();
        return QAccessibleWidget::text(kind);
    }

    QVariant currentValue() const override { return static_cast<int>(std::lround(ring()->share() * 100)); }
    void setCurrentValue(const QVariant&) override {}
    QVariant maximumValue() const override { return 100; }
    QVariant minimumValue() const override { return 0; }
    QVariant minimumStepSize() const override { return 1; }

private:
    const ProgressRing* ring() const { return static_cast<const ProgressRing*>(object()); }
};

QAccessibleInterface* describeWidget(const QString&, QObject* object) {
    if (auto* ring = qobject_cast<ProgressRing*>(object)) return new RingAccessible(ring);
    if (auto* heading = qobject_cast<HeadingLabel*>(object)) return new HeadingAccessible(heading);
    return nullptr;
}

}  // namespace

void installAccessibility() {
    static const bool installed = [] {
        QAccessible::installFactory(describeWidget);
        return true;
    }();
    (void)installed;
}

}  // namespace corvale::app
