#pragma once
// Every colour the app paints with, each with a light and a dark value, and
// the pairs of colours that are drawn on one another. The contrast test walks
// those pairs, so a colour used against a new background belongs in the list.

#include <QColor>
#include <QPalette>
#include <QString>

#include <span>

namespace corvale::app {

enum class ColorRole {
    window,         // behind the pages
    base,           // cards, inputs, lists
    alternateBase,  // every other table row
    text,
    mutedText,  // captions, details, column headings
    placeholder,
    border,     // the edge of a control the user must find
    divider,    // lines between parts, decoration only
    accent,     // primary buttons, the selected screen, checked segments
    onAccent,   // text on the accent
    link,       // text buttons that read as links
    selection,  // highlighted rows and drop-down items
    selectedText,
    focusRing,
    focusOnAccent,  // the ring round a control filled with the accent
    problem,        // error and warning lines
    danger,         // buttons that destroy
    onDanger,
    good,     // settled
    warn,     // needs attention soon
    alert,    // needs attention now
    neutral,  // no status to give
};

struct ThemeColor {
    ColorRole role;
    const char* name;  // how the style sheet names it: @name
    QColor light;
    QColor dark;
};

std::span<const ThemeColor> themeColors();

// Text must reach 4.5:1, large text and the parts of a control (its edge,
// its focus ring, a status dot) 3:1.
enum class PairUse { text, largeText, control };

struct ColorPair {
    ColorRole foreground;
    ColorRole background;
    PairUse use;
    const char* where;
};

std::span<const ColorPair> colorPairs();

// The WCAG 2 contrast ratio, 1 to 21.
double contrastRatio(const QColor& first, const QColor& second);
double requiredContrast(PairUse use);

// The desktop's scheme is read from its palette: Qt 6.4 has no colour-scheme hint.
bool isDark(const QPalette& palette);
bool desktopIsDark();

QColor themeColor(ColorRole role, bool dark);
// In the scheme the desktop shows now.
QColor themeColor(ColorRole role);

// The palette unstyled widgets draw with, from the same table.
QPalette themePalette(bool dark);

// Replaces each @name in a style sheet with that colour's value.
QString withThemeColors(QString styleSheet, bool dark);

}  // namespace corvale::app
