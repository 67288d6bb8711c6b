#include "app/ProgressRing.h"

#include "app/Theme.h"
#include "app/ThemeColors.h"

#include <QAccessible>
#include <QPainter>
#include <QPainterPath>

#include <algorithm>
#include <cmath>

namespace corvale::app {

ProgressRing::ProgressRing(int diameter, QWidget* parent) : QWidget(parent), m_diameter(diameter) {
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

void ProgressRing::setValue(double share, const QString& centre) {
    m_share = std::clamp(share, 0.0, 1.0);
    m_centre = centre;
    setAccessibleDescription(centre);
    QAccessibleValueChangeEvent changed(this, static_cast<int>(std::lround(m_share * 100)));
    QAccessible::updateAccessibility(&changed);
    update();
}

QSize ProgressRing::sizeHint() const { return {m_diameter, m_diameter}; }

void ProgressRing::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const double thickness = std::max(4.0, m_diameter / 11.0);
    const QRectF bounds = QRectF(rect()).adjusted(thickness / 2, thickness / 2, -thickness / 2, -thickness / 2);

    QPen track(themeColor(ColorRole::divider), thickness, Qt::SolidLine, Qt::RoundCap);
    painter.setPen(track);
    painter.drawEllipse(bounds);
    if (m_share > 0) {
        QPen fill(colorForShare(m_share), thickness, Qt::SolidLine, Qt::RoundCap);
        painter.setPen(fill);
        // Qt measures arcs in sixteenths of a degree, counter-clockwise from three o'clock.
        painter.drawArc(bounds, 90 * 16, -static_cast<int>(m_share * 360 * 16));
    }

    QFont font = this->font();
    font.setPixelSize(std::max(10, static_cast<int>(m_diameter / (m_centre.size() > 2 ? 4.5 : 3.0))));
    font.setWeight(QFont::DemiBold);
    painter.setFont(font);
    painter.setPen(themeColor(ColorRole::text));
    painter.drawText(rect(), Qt::AlignCenter, m_centre);
}

}  // namespace corvale::app
