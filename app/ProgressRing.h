#pragma once
// A ring that fills with a share, with a number or short text in its middle:
// the standing score on Today and each licence's cycle.

#include <QWidget>

namespace corvale::app {

class ProgressRing : public QWidget {
    Q_OBJECT

public:
    explicit ProgressRing(int diameter, QWidget* parent = nullptr);

    // `share` from 0 to 1; `centre` is the text inside the ring.
    void setValue(double share, const QString& centre);
    double share() const { return m_share; }
    QString centreText() const { return m_centre; }

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    int m_diameter;
    double m_share = 0;
    QString m_centre;
};

}  // namespace corvale::app
