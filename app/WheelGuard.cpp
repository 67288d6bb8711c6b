#include "app/WheelGuard.h"

#include <QAbstractScrollArea>
#include <QAbstractSpinBox>
#include <QApplication>
#include <QComboBox>
#include <QEvent>
#include <QObject>
#include <QWheelEvent>

namespace corvale::app {
namespace {

class WheelGuard final : public QObject {
public:
    using QObject::QObject;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override {
        if (event->type() != QEvent::Wheel) return false;
        auto* field = qobject_cast<QWidget*>(watched);
        if (!field || field->hasFocus()) return false;
        auto* wheel = static_cast<QWheelEvent*>(event);
        // Straight to the scroll area around it: a wheel event Qt makes up is never passed up by itself.
        for (QWidget* outer = field->parentWidget(); outer; outer = outer->parentWidget()) {
            auto* area = qobject_cast<QAbstractScrollArea*>(outer);
            if (!area) continue;
            QWidget* viewport = area->viewport();
            QWheelEvent forwarded(viewport->mapFromGlobal(wheel->globalPosition()), wheel->globalPosition(),
                                  wheel->pixelDelta(), wheel->angleDelta(), wheel->buttons(), wheel->modifiers(),
                                  wheel->phase(), wheel->inverted(), wheel->source());
            QApplication::sendEvent(viewport, &forwarded);
            return true;
        }
        // Ignored, so Qt offers it to the field's parents instead.
        wheel->ignore();
        return true;
    }
};

WheelGuard* sharedGuard() {
    static WheelGuard* guard = new WheelGuard(qApp);
    return guard;
}

void guard(QWidget* field) {
    // The wheel alone never gives focus, so it never starts editing either.
    if (field->focusPolicy() == Qt::WheelFocus) field->setFocusPolicy(Qt::StrongFocus);
    field->removeEventFilter(sharedGuard());
    field->installEventFilter(sharedGuard());
}

}  // namespace

void guardWheel(QWidget* root) {
    for (QComboBox* box : root->findChildren<QComboBox*>()) guard(box);
    for (QAbstractSpinBox* box : root->findChildren<QAbstractSpinBox*>()) guard(box);
}

}  // namespace corvale::app
