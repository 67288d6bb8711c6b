#pragma once
// The app's look, drawn from the theme table in ThemeColors.h: light or dark
// as the desktop is.

#include <QColor>
#include <QFont>
#include <QString>

class QLabel;
class QWidget;

namespace corvale::app {

// The sheet in the desktop's scheme now, or in the one asked for.
QString appStyleSheet();
QString appStyleSheet(bool dark);
// Gives a window the theme's palette and sheet, and keeps them in step with
// the desktop's scheme when it switches.
void applyTheme(QWidget* window);

// Status colours: settled, needs attention soon, needs attention now.
QColor goodColor();
QColor warnColor();
QColor alertColor();
// The colour a score or progress share is drawn in.
QColor colorForShare(double share);

QLabel* makeLabel(const QString& text, const char* objectName, QWidget* parent);
void scaleFont(QWidget* widget, double factor, QFont::Weight weight = QFont::Normal);

}  // namespace corvale::app
