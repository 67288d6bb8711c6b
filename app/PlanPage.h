#pragma once
// The next twelve months for whoever is in view, month by month: each
// expiry, the day each renewal window opens and each education cycle end,
// with the points each would cost if nothing is done; then, per state, the
// mandated topics still open.

#include "app/Screen.h"

class QLabel;
class QVBoxLayout;

namespace corvale::app {

class PlanPage : public Screen {
    Q_OBJECT

public:
    explicit PlanPage(AppContext& context, QWidget* parent = nullptr);

    void reload() override;
    // What the timeline says, month by month, one line per row: for tests and screen readers alike.
    QStringList timelineLines() const;

signals:
    // An event's button: "renew" for a credential, "logCME" for a licence's cycle.
    void fixRequested(const QString& action, const QString& recordId);

protected:
    void showEvent(QShowEvent* event) override;

private:
    QLabel* m_caption = nullptr;
    QVBoxLayout* m_months = nullptr;
    QWidget* m_topicsCard = nullptr;
    QVBoxLayout* m_topics = nullptr;
    bool m_stale = true;  // the records changed while the screen was out of view
};

}  // namespace corvale::app
