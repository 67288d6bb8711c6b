#include "app/ThemeColors.h"

#include <QApplication>
#include <QRegularExpression>

#include <algorithm>
#include <array>
#include <cmath>

namespace corvale::app {
namespace {

using R = ColorRole;

const std::array kColors{
    ThemeColor{R::window, "window", QColor(0xf4, 0xf5, 0xf7), QColor(0x1e, 0x20, 0x24)},
    ThemeColor{R::base, "base", QColor(0xff, 0xff, 0xff), QColor(0x27, 0x2a, 0x30)},
    ThemeColor{R::alternateBase, "alternateBase", QColor(0xf6, 0xf7, 0xf9), QColor(0x2d, 0x31, 0x37)},
    ThemeColor{R::text, "text", QColor(0x1d, 0x23, 0x29), QColor(0xe6, 0xe8, 0xeb)},
    ThemeColor{R::mutedText, "muted", QColor(0x55, 0x60, 0x6d), QColor(0xa8, 0xb0, 0xba)},
    ThemeColor{R::placeholder, "placeholder", QColor(0x5f, 0x69, 0x75), QColor(0x9c, 0xa4, 0xae)},
    ThemeColor{R::border, "border", QColor(0x86, 0x8f, 0x9a), QColor(0x7a, 0x82, 0x8e)},
    ThemeColor{R::divider, "divider", QColor(0xdd, 0xe1, 0xe6), QColor(0x3a, 0x3e, 0x45)},
    ThemeColor{R::accent, "accent", QColor(0x2b, 0x6f, 0x97), QColor(0x2b, 0x6f, 0x97)},
    ThemeColor{R::onAccent, "onAccent", QColor(0xff, 0xff, 0xff), QColor(0xff, 0xff, 0xff)},
    ThemeColor{R::link, "link", QColor(0x23, 0x63, 0x8a), QColor(0x86, 0xc5, 0xec)},
    ThemeColor{R::selection, "selection", QColor(0x2b, 0x6f, 0x97), QColor(0x2b, 0x6f, 0x97)},
    ThemeColor{R::selectedText, "selectedText", QColor(0xff, 0xff, 0xff), QColor(0xff, 0xff, 0xff)},
    ThemeColor{R::focusRing, "focus", QColor(0x1f, 0x6c, 0xb8), QColor(0x6c, 0xb6, 0xe4)},
    ThemeColor{R::focusOnAccent, "focusOnAccent", QColor(0x00, 0x00, 0x00), QColor(0xe6, 0xe8, 0xeb)},
    ThemeColor{R::problem, "problem", QColor(0xb4, 0x23, 0x18), QColor(0xff, 0x8f, 0x85)},
    ThemeColor{R::danger, "danger", QColor(0xb4, 0x23, 0x18), QColor(0xb4, 0x23, 0x18)},
    ThemeColor{R::onDanger, "onDanger", QColor(0xff, 0xff, 0xff), QColor(0xff, 0xff, 0xff)},
    ThemeColor{R::good, "good", QColor(0x17, 0x75, 0x4c), QColor(0x5c, 0xc9, 0x8f)},
    ThemeColor{R::warn, "warn", QColor(0x9a, 0x5b, 0x00), QColor(0xe8, 0xa9, 0x3a)},
    ThemeColor{R::alert, "alert", QColor(0xb4, 0x23, 0x18), QColor(0xff, 0x8f, 0x85)},
    ThemeColor{R::neutral, "neutral", QColor(0x5b, 0x66, 0x73), QColor(0xa0, 0xa8, 0xb2)},
};

const std::array kPairs{
    ColorPair{R::text, R::window, PairUse::text, "page text"},
    ColorPair{R::text, R::base, PairUse::text, "text on cards, inputs and lists"},
    ColorPair{R::text, R::alternateBase, PairUse::text, "text on alternate rows"},
    ColorPair{R::mutedText, R::window, PairUse::text, "captions on the page"},
    ColorPair{R::mutedText, R::base, PairUse::text, "captions and column headings on cards"},
    ColorPair{R::mutedText, R::alternateBase, PairUse::text, "details on alternate rows"},
    ColorPair{R::placeholder, R::base, PairUse::text, "an empty field's hint"},
    ColorPair{R::onAccent, R::accent, PairUse::text, "primary buttons, the selected screen, checked segments"},
    ColorPair{R::link, R::base, PairUse::text, "link buttons on cards"},
    ColorPair{R::link, R::window, PairUse::text, "link buttons on the page"},
    ColorPair{R::selectedText, R::selection, PairUse::text, "highlighted rows and drop-down items"},
    ColorPair{R::problem, R::base, PairUse::text, "problem lines in forms"},
    ColorPair{R::problem, R::window, PairUse::text, "problem lines on the page"},
    ColorPair{R::onDanger, R::danger, PairUse::text, "buttons that destroy"},
    ColorPair{R::good, R::base, PairUse::text, "days left and status, settled"},
    ColorPair{R::warn, R::base, PairUse::text, "days left and status, soon"},
    ColorPair{R::alert, R::base, PairUse::text, "days left and status, now"},
    ColorPair{R::good, R::alternateBase, PairUse::text, "status on alternate rows, settled"},
    ColorPair{R::warn, R::alternateBase, PairUse::text, "status on alternate rows, soon"},
    ColorPair{R::alert, R::alternateBase, PairUse::text, "status on alternate rows, now"},
    ColorPair{R::neutral, R::base, PairUse::text, "points of a small deduction"},
    ColorPair{R::border, R::base, PairUse::control, "the edge of an input on a card"},
    ColorPair{R::border, R::window, PairUse::control, "the edge of an input on the page"},
    ColorPair{R::focusRing, R::base, PairUse::control, "focus ring on a card"},
    ColorPair{R::focusRing, R::window, PairUse::control, "focus ring on the page"},
    ColorPair{R::focusRing, R::alternateBase, PairUse::control, "focus ring round a table"},
    ColorPair{R::focusOnAccent, R::accent, PairUse::control, "focus ring against a primary button's fill"},
    ColorPair{R::focusOnAccent, R::base, PairUse::control, "focus ring of a primary button on a card"},
    ColorPair{R::focusOnAccent, R::window, PairUse::control, "focus ring of a primary button on the page"},
    ColorPair{R::focusOnAccent, R::danger, PairUse::control, "focus ring against a destroying button's fill"},
};

double channel(double value) { return value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4); }

double luminance(const QColor& color) {
    const QColor rgb = color.toRgb();
    return 0.2126 * channel(rgb.redF()) + 0.7152 * channel(rgb.greenF()) + 0.0722 * channel(rgb.blueF());
}

}  // namespace

std::span<const ThemeColor> themeColors() { return kColors; }
std::span<const ColorPair> colorPairs() { return kPairs; }

double contrastRatio(const QColor& first, const QColor& second) {
    const double a = luminance(first);
    const double b = luminance(second);
    return (std::max(a, b) + 0.05) / (std::min(a, b) + 0.05);
}

double requiredContrast(PairUse use) { return use == PairUse::text ? 4.5 : 3.0; }

bool isDark(const QPalette& palette) { return luminance(palette.color(QPalette::Window)) < 0.2; }

bool desktopIsDark() { return isDark(QApplication::palette()); }

QColor themeColor(ColorRole role, bool dark) {
    for (const auto& color : kColors)
        if (color.role == role) return dark ? color.dark : color.light;
    return {};
}

QColor themeColor(ColorRole role) { return themeColor(role, desktopIsDark()); }

QPalette themePalette(bool dark) {
    const auto c = [dark](ColorRole role) { return themeColor(role, dark); };
    QPalette palette;
    for (const auto group : {QPalette::Active, QPalette::Inactive}) {
        palette.setColor(group, QPalette::Window, c(R::window));
        palette.setColor(group, QPalette::WindowText, c(R::text));
        palette.setColor(group, QPalette::Base, c(R::base));
        palette.setColor(group, QPalette::AlternateBase, c(R::alternateBase));
        palette.setColor(group, QPalette::Text, c(R::text));
        palette.setColor(group, QPalette::Button, c(R::base));
        palette.setColor(group, QPalette::ButtonText, c(R::text));
        palette.setColor(group, QPalette::PlaceholderText, c(R::placeholder));
        palette.setColor(group, QPalette::Highlight, c(R::selection));
        palette.setColor(group, QPalette::HighlightedText, c(R::selectedText));
        palette.setColor(group, QPalette::Link, c(R::link));
        palette.setColor(group, QPalette::ToolTipBase, c(R::base));
        palette.setColor(group, QPalette::ToolTipText, c(R::text));
        palette.setColor(group, QPalette::Mid, c(R::border));
        palette.setColor(group, QPalette::Midlight, c(R::divider));
    }
    // Disabled text is exempt from contrast, but must still read as text.
    palette.setColor(QPalette::Disabled, QPalette::Window, c(R::window));
    palette.setColor(QPalette::Disabled, QPalette::Base, c(R::window));
    palette.setColor(QPalette::Disabled, QPalette::Button, c(R::window));
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        palette.setColor(QPalette::Disabled, role, c(R::mutedText));
    return palette;
}

QString withThemeColors(QString styleSheet, bool dark) {
    static const QRegularExpression token(QStringLiteral("@([A-Za-z]+)"));
    QString result;
    result.reserve(styleSheet.size());
    qsizetype from = 0;
    for (auto it = token.globalMatch(styleSheet); it.hasNext();) {
        const auto match = it.next();
        const QString name = match.captured(1);
        const auto* color = std::find_if(kColors.begin(), kColors.end(),
                                         [&](const ThemeColor& c) { return name == QLatin1String(c.name); });
        if (color == kColors.end()) qFatal("the style sheet names no theme colour @%s", qPrintable(name));
        result += QStringView(styleSheet).mid(from, match.capturedStart() - from);
        result += (dark ? color->dark : color->light).name();
        from = match.capturedEnd();
    }
    result += QStringView(styleSheet).mid(from);
    return result;
}

}  // namespace corvale::app
