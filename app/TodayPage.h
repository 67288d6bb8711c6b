#pragma once
// What needs the user now: the standing score and its deductions, the
// renewals of the next 90 days and each licence's education cycle.

#include <QWidget>

class QLabel;
class QVBoxLayout;

// Kept out of this header: the meta-object compiler cannot read the records' C++20 headers.
namespace corvale {
struct Day;
struct Readiness;
}  // namespace corvale

namespace corvale::app {

class ProgressRing;

class TodayPage : public QWidget {
    Q_OBJECT

public:
    explicit TodayPage(QWidget* parent = nullptr);

    // `managesOnly`: the one person in view keeps others' records and holds
    // none, so there is nothing of theirs to score.
    void display(const Readiness& readiness, const Day& today, bool managesOnly = false);

    const ProgressRing* scoreRing() const { return m_score; }
    QString headline() const;

signals:
    // A deduction's button: the action's raw value ("renew", "edit", "attach",
    // "logCME") and the record it opens.
    void fixRequested(const QString& action, const QString& recordId);
    // A person's row in the list of everyone's standing.
    void personRequested(const QString& personId);

private:
    ProgressRing* m_score = nullptr;
    QLabel* m_headline = nullptr;
    QLabel* m_date = nullptr;
    QWidget* m_peopleCard = nullptr;
    QVBoxLayout* m_people = nullptr;
    QVBoxLayout* m_deductions = nullptr;
    QVBoxLayout* m_renewals = nullptr;
    QVBoxLayout* m_licences = nullptr;
};

}  // namespace corvale::app
