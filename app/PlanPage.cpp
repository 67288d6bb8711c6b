#include "app/PlanPage.h"

#include "app/AppContext.h"
#include "app/FormParts.h"
#include "app/Theme.h"
#include "app/ThemeColors.h"
#include "requirements/RenewalPlan.h"
#include "requirements/Requirements.h"
#include "vault/VaultStore.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

namespace corvale::app {
namespace {

QString text(const std::string& value) { return QString::fromStdString(value); }

QString buttonText(PlanEvent::Kind kind) {
    return kind == PlanEvent::Kind::cycleEnd ? QObject::tr("Log CME") : QObject::tr("Renew");
}

QWidget* eventRow(const PlanEvent& event, PlanPage* page) {
    auto* row = new QWidget;
    const QString day = text(event.day.shortFormatted());
    row->setAccessibleName(day + QStringLiteral(": ") + text(event.title));
    auto* date = makeLabel(day.section(QLatin1Char(','), 0, 0), "planDay", row);
    date->setFixedWidth(64);
    date->setAlignment(Qt::AlignLeft | Qt::AlignTop);
    scaleFont(date, 1.0, QFont::DemiBold);
    auto* title = makeLabel(text(event.title), "planTitle", row);
    scaleFont(title, 1.0, QFont::DemiBold);
    auto* words = new QVBoxLayout;
    words->setSpacing(2);
    words->addWidget(title);
    words->addWidget(makeLabel(text(event.detail), "detail", row));
    if (event.pointsAtStake > 0) {
        auto* stake = makeLabel((event.pointsAtStake == 1
                                     ? QObject::tr("Costs 1 point of the standing score if nothing is done by then")
                                     : QObject::tr("Costs %1 points of the standing score if nothing is done by then")
                                           .arg(event.pointsAtStake)),
                                "caption", row);
        stake->setStyleSheet(QStringLiteral("color: %1;").arg(
            (event.pointsAtStake >= 12 ? alertColor() : warnColor()).name()));
        words->addWidget(stake);
    }
    auto* layout = new QHBoxLayout(row);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(14);
    layout->addWidget(date, 0, Qt::AlignTop);
    layout->addLayout(words, 1);
    auto* act = new QPushButton(buttonText(event.kind), row);
    act->setAccessibleName(buttonText(event.kind) + QStringLiteral(": ") + text(event.title));
    const QString action = event.kind == PlanEvent::Kind::cycleEnd ? QStringLiteral("logCME") : QStringLiteral("renew");
    const QString recordId = text(event.recordId);
    QObject::connect(act, &QPushButton::clicked, page, [page, action, recordId] { emit page->fixRequested(action, recordId); });
    layout->addWidget(act, 0, Qt::AlignTop);
    return row;
}

}  // namespace

PlanPage::PlanPage(AppContext& context, QWidget* parent) : Screen(context, parent) {
    setProperty("screen", QStringLiteral("plan"));
    auto* content = new QWidget(this);
    auto* column = new QVBoxLayout(content);
    column->setContentsMargins(36, 28, 36, 28);
    column->setSpacing(18);
    auto* title = makeLabel(tr("Plan"), "title", content);
    scaleFont(title, 1.8, QFont::DemiBold);
    m_caption = makeLabel(QString(), "caption", content);
    setHandle(m_caption, tr("Plan period"));
    column->addWidget(title);
    column->addWidget(m_caption);
    m_months = new QVBoxLayout;
    m_months->setSpacing(18);
    column->addLayout(m_months);
    m_topics = rowsCard(tr("Mandated topics still open"), column, content, &m_topicsCard);
    column->addStretch(1);
    scrollPage(this, content, 1180);
}

void PlanPage::showEvent(QShowEvent* event) {
    Screen::showEvent(event);
    if (m_stale) reload();
}

void PlanPage::reload() {
    // A plan scores the vault on each day it looks at: made only for a screen that is looked at,
    // and out of view it holds nothing, so a locked window keeps no record text behind the lock.
    m_stale = !isVisible();
    clearRows(m_months);
    clearRows(m_topics);
    m_topicsCard->setVisible(false);
    if (m_stale) return;
    const auto& rules = context().requirements.file();
    const auto& scope = context().store.scopePersonId();
    const auto plan = RenewalPlan::compute(context().doc(), rules ? &*rules : nullptr, context().today(),
                                           scope ? std::optional<std::string_view>(*scope) : std::nullopt);
    const Day last = plan.months.back().first;
    const auto count = plan.eventCount();
    m_caption->setText(tr("From %1 to the end of %2: %3")
                           .arg(text(plan.from.formatted()), text(last.monthAndYear()),
                                count == 0   ? tr("nothing to do or to watch")
                                : count == 1 ? tr("one thing to do or to watch")
                                             : tr("%1 things to do or to watch").arg(count)));
    for (const auto& month : plan.months) {
        QVBoxLayout* rows = rowsCard(text(month.first.monthAndYear()), m_months, nullptr);
        if (month.events.empty()) rows->addWidget(makeLabel(tr("Nothing due."), "caption", nullptr));
        for (const auto& event : month.events) rows->addWidget(eventRow(event, this));
    }
    for (const auto& open : plan.openTopics) {
        auto* row = new QWidget;
        auto* layout = new QVBoxLayout(row);
        layout->setContentsMargins(0, 0, 0, 0);
        layout->setSpacing(2);
        auto* heading = makeLabel(tr("%1 · cycle ends %2").arg(text(open.title), text(open.cycleEnd.formatted())),
                                  "planTitle", row);
        scaleFont(heading, 1.0, QFont::DemiBold);
        layout->addWidget(heading);
        for (const auto& topic : open.topics) layout->addWidget(makeLabel(text(topic), "detail", row));
        m_topics->addWidget(row);
    }
    m_topicsCard->setVisible(!plan.openTopics.empty());
}

QStringList PlanPage::timelineLines() const {
    QStringList lines;
    // Rows just made are shown once control returns; rows taken out are hidden at once.
    const auto taken = [this](const QWidget* widget) {
        for (; widget && widget != this; widget = widget->parentWidget())
            if (widget->isHidden() && widget->testAttribute(Qt::WA_WState_ExplicitShowHide)) return true;
        return false;
    };
    for (const QLabel* label : findChildren<QLabel*>())
        if (!taken(label) && !label->text().isEmpty()) lines << label->text();
    return lines;
}

}  // namespace corvale::app
