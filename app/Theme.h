#pragma once
// The app's look: one accent over the system palette, so light and dark
// appearance follow the desktop.

#include <QColor>
#include <QFont>
#include <QString>

class QLabel;
class QWidget;

namespace corvale::app {

QString appStyleSheet();

// Status colours: settled, needs attention soon, needs attention now.
QColor goodColor();
QColor warnColor();
QColor alertColor();
// The colour a score or progress share is drawn in.
QColor colorForShare(double share);

QLabel* makeLabel(const QString& text, const char* objectName, QWidget* parent);
void scaleFont(QWidget* widget, double factor, QFont::Weight weight = QFont::Normal);

}  // namespace corvale::app
