#pragma once
// What the screen reader is told that a widget's class alone doesn't say:
// titles are headings, and progress rings are progress bars with a value.

#include <QLabel>

namespace corvale::app {

// A screen's or section's title. Its own class, because the toolkit's answer
// for a plain label (static text) would be found before ours.
class HeadingLabel : public QLabel {
    Q_OBJECT

public:
    using QLabel::QLabel;
};

// Safe to call more than once; the first call installs it for the process.
void installAccessibility();

}  // namespace corvale::app
