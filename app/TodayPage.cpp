#include "app/TodayPage.h"

#include "requirements/Readiness.h"

#include "app/FormParts.h"
#include "app/ProgressRing.h"
#include "app/Theme.h"
#include "app/ThemeColors.h"
#include "requirements/CredentialRenewal.h"
#include "records/USState.h"

#include <QFrame>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QScrollArea>
#include <QVBoxLayout>

#include <algorithm>
#include <cmath>

namespace corvale::app {
namespace {

constexpr int kRenewalHorizonDays = 90;

QString text(const std::string& value) { return QString::fromStdString(value); }

QString fixLabel(StandingScore::FixAction action) {
    switch (action) {
    case StandingScore::FixAction::renew:
        return QObject::tr("Renew");
    case StandingScore::FixAction::edit:
        return QObject::tr("Edit");
    case StandingScore::FixAction::attach:
        return QObject::tr("Attach copy");
    case StandingScore::FixAction::logCME:
        return QObject::tr("Log CME");
    }
    return QObject::tr("Open");
}

QWidget* deductionRow(const StandingScore::Deduction& deduction, TodayPage* page) {
    auto* row = new QWidget;
    row->setAccessibleName(text(deduction.title));
    auto* points = new QLabel(QStringLiteral("−%1").arg(deduction.points), row);
    points->setFixedWidth(44);
    points->setAlignment(Qt::AlignRight | Qt::AlignTop);
    scaleFont(points, 1.1, QFont::DemiBold);
    points->setStyleSheet(QStringLiteral("color: %1;")
                              .arg((deduction.thisMonth     ? alertColor()
                                    : deduction.points >= 5 ? warnColor()
                                                            : themeColor(ColorRole::neutral))
                                       .name()));
    QString heading = text(deduction.title);
    if (deduction.person) heading += QStringLiteral(" · ") + text(*deduction.person);
    auto* title = makeLabel(heading, "deductionTitle", row);
    scaleFont(title, 1.0, QFont::DemiBold);
    auto* words = new QVBoxLayout;
    words->setSpacing(2);
    words->addWidget(title);
    words->addWidget(makeLabel(text(deduction.detail), "detail", row));
    words->addWidget(makeLabel(text(deduction.recovery()), "caption", row));
    auto* layout = new QHBoxLayout(row);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(14);
    layout->addWidget(points);
    layout->addLayout(words, 1);
    auto* fix = new QPushButton(fixLabel(deduction.fix.action), row);
    fix->setAccessibleName(fixLabel(deduction.fix.action) + QStringLiteral(": ") + text(deduction.title));
    const QString action = text(std::string(rawValue(deduction.fix.action)));
    const QString recordId = text(deduction.fix.recordId);
    QObject::connect(fix, &QPushButton::clicked, page,
                     [page, action, recordId] { emit page->fixRequested(action, recordId); });
    layout->addWidget(fix, 0, Qt::AlignTop);
    return row;
}

QString daysText(int days) {
    if (days == 0) return QObject::tr("today");
    if (days == 1) return QObject::tr("tomorrow");
    return QObject::tr("in %1 days").arg(days);
}

// One person's own score in an office: a blended number would hide who needs help.
QWidget* personRow(const PersonStanding& standing, TodayPage* page) {
    auto* row = new QWidget;
    const QString name = text(standing.name);
    row->setAccessibleName(name);
    auto* ring = new ProgressRing(48, row);
    ring->setValue(standing.score.value / 100.0, QString::number(standing.score.value));
    ring->setAccessibleName(QObject::tr("%1's standing score").arg(name));
    auto* title = makeLabel(name, "personTitle", row);
    scaleFont(title, 1.0, QFont::DemiBold);
    auto* words = new QVBoxLayout;
    words->setSpacing(2);
    words->addWidget(title);
    words->addWidget(makeLabel(text(standing.score.headline), "detail", row));
    auto* layout = new QHBoxLayout(row);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(14);
    layout->addWidget(ring, 0, Qt::AlignTop);
    layout->addLayout(words, 1);
    auto* open = new QPushButton(QObject::tr("Show"), row);
    open->setAccessibleName(QObject::tr("Show %1's records").arg(name));
    const QString personId = text(standing.personId);
    QObject::connect(open, &QPushButton::clicked, page, [page, personId] { emit page->personRequested(personId); });
    layout->addWidget(open, 0, Qt::AlignTop);
    return row;
}

// `who` names the licence's holder when more than one person is in view.
QWidget* licenceRow(const StateProgress& progress, const std::optional<std::string>& who) {
    auto* row = new QWidget;
    const std::string code = progress.license.state.value_or("");
    QString state = QString::fromStdString(USState::nameOf(code));
    if (who) state += QStringLiteral(" · ") + text(*who);
    row->setAccessibleName(state);
    auto* ring = new ProgressRing(48, row);
    ring->setValue(progress.ringFraction(), QStringLiteral("%1%").arg(std::lround(progress.ringFraction() * 100)));
    ring->setAccessibleName(QObject::tr("%1 cycle progress").arg(state));
    auto* title = makeLabel(
        state + QStringLiteral(" · ") +
            QString::fromStdString(progress.cycleStart.shortFormatted() + " – " + progress.cycleEnd.shortFormatted()),
        "licenceTitle", row);
    scaleFont(title, 1.0, QFont::DemiBold);
    auto* words = new QVBoxLayout;
    words->setSpacing(2);
    words->addWidget(title);
    words->addWidget(makeLabel(text(progress.summary()), "detail", row));
    const auto open = progress.openTopics();
    if (!open.empty()) {
        QStringList names;
        for (const auto& line : open) names << text(line.name);
        words->addWidget(
            makeLabel(QObject::tr("Still open: %1").arg(names.join(QStringLiteral(", "))), "caption", row));
    }
    if (const auto caveat = progress.caveat()) words->addWidget(makeLabel(text(*caveat), "footnote", row));
    auto* layout = new QHBoxLayout(row);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(14);
    layout->addWidget(ring, 0, Qt::AlignTop);
    layout->addLayout(words, 1);
    return row;
}

}  // namespace

TodayPage::TodayPage(QWidget* parent) : QWidget(parent) {
    setObjectName(QStringLiteral("page"));
    setAttribute(Qt::WA_StyledBackground, true);

    auto* content = new QWidget;
    content->setObjectName(QStringLiteral("page"));
    auto* column = new QVBoxLayout(content);
    column->setContentsMargins(36, 28, 36, 28);
    column->setSpacing(18);

    auto* header = new QFrame(content);
    header->setObjectName(QStringLiteral("card"));
    m_score = new ProgressRing(120, header);
    m_score->setAccessibleName(tr("Standing score"));
    auto* heading = makeLabel(tr("Today"), "title", header);
    scaleFont(heading, 1.8, QFont::DemiBold);
    m_headline = makeLabel(QString(), "headline", header);
    scaleFont(m_headline, 1.2);
    setHandle(m_headline, tr("Headline"));
    m_date = makeLabel(QString(), "caption", header);
    auto* words = new QVBoxLayout;
    words->addStretch(1);
    words->addWidget(heading);
    words->addWidget(m_headline);
    words->addWidget(m_date);
    words->addStretch(1);
    auto* headerLayout = new QHBoxLayout(header);
    headerLayout->setContentsMargins(26, 22, 26, 22);
    headerLayout->setSpacing(26);
    headerLayout->addWidget(m_score);
    headerLayout->addLayout(words, 1);
    column->addWidget(header);

    m_people = rowsCard(tr("Standing by person"), column, content, &m_peopleCard);
    m_deductions = rowsCard(tr("What needs you"), column, content);
    m_renewals = rowsCard(tr("Renewals in the next 90 days"), column, content);
    m_licences = rowsCard(tr("Continuing education by licence"), column, content);
    column->addStretch(1);

    scrollPage(this, content, 1180);
}

QString TodayPage::headline() const { return m_headline->text(); }

void TodayPage::display(const Readiness& readiness, const Day& today, bool managesOnly) {
    const StandingScore& score = readiness.score;
    m_headline->setText(text(score.headline));
    clearRows(m_deductions);
    clearRows(m_people);
    const bool several = !readiness.people.empty();
    m_peopleCard->setVisible(several);
    for (const auto& standing : readiness.people) m_people->addWidget(personRow(standing, this));
    if (managesOnly && readiness.input.active().empty()) {
        m_score->setValue(0, QStringLiteral("–"));
        m_headline->setText(tr("Nothing of yours to score."));
        m_date->setText(tr("You keep others' records and hold no credential yourself"));
        m_deductions->addWidget(makeLabel(tr("Choose Everyone or one of the people you manage in the switcher to "
                                             "see what needs them."),
                                          "detail", nullptr));
    } else if (readiness.input.active().empty()) {
        // A full score over nothing tracked would read as all is well; say what to add first instead.
        m_score->setValue(0, QStringLiteral("–"));
        m_date->setText(tr("No score until a credential is tracked"));
        auto* start = new QWidget;
        auto* row = new QHBoxLayout(start);
        row->setContentsMargins(0, 0, 0, 0);
        row->addWidget(makeLabel(tr("Start with a state license: its renewal, reminders and education cycle follow "
                                    "from it. Certifications, DEA and life-support cards can come next."),
                                 "detail", start),
                       1);
        auto* add = new QPushButton(tr("Add a license"), start);
        add->setObjectName(QStringLiteral("primary"));
        connect(add, &QPushButton::clicked, this, [this] { emit fixRequested(QStringLiteral("add"), QString()); });
        row->addWidget(add, 0, Qt::AlignTop);
        m_deductions->addWidget(start);
    } else {
        if (several) {
            // Each person's number is in the list below; the ring shows the one who needs help most.
            const PersonStanding& lowest = readiness.people.front();
            m_score->setValue(lowest.score.value / 100.0, QString::number(lowest.score.value));
            m_score->setAccessibleName(tr("Lowest standing score, %1").arg(text(lowest.name)));
            m_date->setText(tr("Lowest standing %1 of 100 (%2) among %n people on %3", nullptr,
                               static_cast<int>(readiness.people.size()))
                                .arg(lowest.score.value)
                                .arg(text(lowest.name), text(today.formatted())));
        } else {
            m_score->setValue(score.value / 100.0, QString::number(score.value));
            m_score->setAccessibleName(tr("Standing score"));
            m_date->setText(tr("Standing %1 of 100 on %2").arg(score.value).arg(text(today.formatted())));
        }
        for (const auto& deduction : score.deductions) m_deductions->addWidget(deductionRow(deduction, this));
        if (score.deductions.empty())
            m_deductions->addWidget(makeLabel(tr("Nothing is costing you points."), "detail", nullptr));
    }

    clearRows(m_renewals);
    auto credentials = readiness.input.active();
    std::erase_if(credentials, [&](const Credential* c) {
        return !c->expiresOn || today.daysTo(*c->expiresOn) < 0 || today.daysTo(*c->expiresOn) > kRenewalHorizonDays;
    });
    std::stable_sort(credentials.begin(), credentials.end(),
                     [](const Credential* a, const Credential* b) { return *a->expiresOn < *b->expiresOn; });
    const auto titles = distinctTitles(credentials);
    for (std::size_t i = 0; i < credentials.size(); ++i) {
        const Credential* credential = credentials[i];
        const int days = today.daysTo(*credential->expiresOn);
        QString line = text(titles[i]) + QStringLiteral(" · ") +
                       text(credential->expiresOn->formatted()) + QStringLiteral(" (") + daysText(days) +
                       QStringLiteral(")");
        if (isRenewalFiled(*credential)) line += tr(", renewal filed");
        if (const auto who = readiness.input.who(*credential)) line += QStringLiteral(" · ") + text(*who);
        m_renewals->addWidget(makeLabel(line, "detail", nullptr));
    }
    if (credentials.empty())
        m_renewals->addWidget(makeLabel(tr("No renewals due in the next 90 days."), "detail", nullptr));

    clearRows(m_licences);
    for (const auto& progress : readiness.progress)
        m_licences->addWidget(licenceRow(progress, readiness.input.who(progress.license.personId)));
    if (readiness.progress.empty()) {
        m_licences->addWidget(makeLabel(tr("Add a state licence to see its education cycle."), "detail", nullptr));
    }
}

}  // namespace corvale::app
