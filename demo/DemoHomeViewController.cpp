#include "DemoHomeViewController.h"

#include <OTNavigationController.h>
#include <OTSkin.h>
#include <OstAPIClient.h>
#include <OstAPIClient+Quote.h>
#include <OTUserInfoStore+OstQuote.h>
#include <OstQuoteViewController.h>

#include <OTDate.h>

#include <QLocale>

#include <algorithm>

namespace {

const QUrl kSkinURL(QStringLiteral("qrc:/DemoHome.qml"));

// The first day with a quote.
const QDate kFirstDay(2016, 10, 1);

// The demo speaks English, and Chinese where the locale's language is Chinese.
bool speaksChinese()
{
    return QLocale().language() == QLocale::Chinese;
}

// Today, the device's day in the foundation's clock and zone, as the viewer reckons it.
QDate today()
{
    return ot_dayFromKey(ot_todayKey());
}

bool sameMonth(const QDate &a, const QDate &b)
{
    return a.year() == b.year() && a.month() == b.month();
}

} // namespace

DemoHomeViewController::DemoHomeViewController(QQuickItem *parent)
    : OTCommonsViewController(parent)
    , m_lastDay(std::max(today(), kFirstDay))
    , m_focusedDay(m_lastDay)
{
    setTitle(QStringLiteral("OstQuote"));
}

DemoHomeViewController *DemoHomeViewController::create(QQmlEngine *engine)
{
    return OTSkin::createAs<DemoHomeViewController>(engine, kSkinURL, "_demoHomeSkin");
}

QString DemoHomeViewController::placeholderText() const
{
    // Promised only while it is being fetched.
    if (m_state == Idle || m_state == Updating)
        return QStringLiteral("No quote yet: today's is on its way.");
    return QStringLiteral("No quote yet.");
}

QString DemoHomeViewController::viewerButtonTitle() const
{
    return QStringLiteral("Open the quote viewer");
}

QString DemoHomeViewController::retryButtonTitle() const
{
    return QStringLiteral("Try again");
}

QString DemoHomeViewController::firstDay()
{
    return kFirstDay.toString(QLatin1String(OTDayKeyFormat));
}

QString DemoHomeViewController::lastDay() const
{
    return m_lastDay.toString(QLatin1String(OTDayKeyFormat));
}

QString DemoHomeViewController::focusedDay() const
{
    return m_focusedDay.toString(QLatin1String(OTDayKeyFormat));
}

QString DemoHomeViewController::shownMonthTitle() const
{
    const QLocale locale;
    return locale.toString(m_focusedDay, speaksChinese() ? QStringLiteral("yyyy年M月") : QStringLiteral("MMMM yyyy"));
}

bool DemoHomeViewController::canShowPreviousMonth() const
{
    return QDate(m_focusedDay.year(), m_focusedDay.month(), 1) > kFirstDay;
}

bool DemoHomeViewController::canShowNextMonth() const
{
    return QDate(m_focusedDay.year(), m_focusedDay.month(), 1) < QDate(m_lastDay.year(), m_lastDay.month(), 1);
}

QString DemoHomeViewController::openDayButtonTitle() const
{
    return speaksChinese() ? QStringLiteral("打开某一天…") : QStringLiteral("Open a day…");
}

QString DemoHomeViewController::dayPickerTitle() const
{
    return speaksChinese() ? QStringLiteral("打开某一天") : QStringLiteral("Open a day");
}

QString DemoHomeViewController::previousMonthTitle() const
{
    return speaksChinese() ? QStringLiteral("上个月") : QStringLiteral("Previous month");
}

QString DemoHomeViewController::nextMonthTitle() const
{
    return speaksChinese() ? QStringLiteral("下个月") : QStringLiteral("Next month");
}

QString DemoHomeViewController::unavailableDayText() const
{
    return speaksChinese() ? QStringLiteral("没有这一天的名言") : QStringLiteral("No quote for this day");
}

bool DemoHomeViewController::canPickDay(const QString &dayKey) const
{
    const QDate day = ot_dayFromKey(dayKey);
    return day.isValid() && day >= kFirstDay && day <= m_lastDay;
}

QString DemoHomeViewController::spokenDay(const QString &dayKey) const
{
    const QDate day = ot_dayFromKey(dayKey);
    return day.isValid() ? QLocale().toString(day, QLocale::LongFormat) : QString();
}

QDate DemoHomeViewController::clampToRange(const QDate &day) const
{
    return std::clamp(day, kFirstDay, m_lastDay);
}

void DemoHomeViewController::setFocusedDay(const QDate &day)
{
    if (day == m_focusedDay)
        return;
    const bool monthChanged = !sameMonth(day, m_focusedDay);
    m_focusedDay = day;
    Q_EMIT focusedDayChanged();
    if (monthChanged)
        Q_EMIT shownMonthChanged();
}

bool DemoHomeViewController::openDayPicker()
{
    const QDate now = today();
    if (now < kFirstDay)
        return false;
    if (m_dayPickerOpen)
        return true;
    const bool rangeChanged = now != m_lastDay;
    const bool monthStays = sameMonth(m_focusedDay, now);
    m_lastDay = now;
    m_dayPickerOpen = true;
    Q_EMIT dayPickerChanged();
    setFocusedDay(m_lastDay);
    // The flip buttons follow the new range even where the month shown stays.
    if (rangeChanged && monthStays)
        Q_EMIT shownMonthChanged();
    return true;
}

void DemoHomeViewController::closeDayPicker()
{
    if (!m_dayPickerOpen)
        return;
    m_dayPickerOpen = false;
    Q_EMIT dayPickerChanged();
}

bool DemoHomeViewController::flipMonth(int months)
{
    const QDate target = m_focusedDay.addMonths(months);
    const QDate targetMonth(target.year(), target.month(), 1);
    if (!target.isValid() || targetMonth > m_lastDay || targetMonth.addMonths(1) <= kFirstDay)
        return false;
    setFocusedDay(clampToRange(target));
    return true;
}

void DemoHomeViewController::moveFocusedDay(int days)
{
    setFocusedDay(clampToRange(m_focusedDay.addDays(days)));
}

void DemoHomeViewController::focusFirstDay()
{
    setFocusedDay(kFirstDay);
}

void DemoHomeViewController::focusLastDay()
{
    setFocusedDay(m_lastDay);
}

bool DemoHomeViewController::pickDay(const QString &dayKey)
{
    if (!m_dayPickerOpen || !canPickDay(dayKey))
        return false;
    setFocusedDay(ot_dayFromKey(dayKey));
    closeDayPicker();
    openViewerAtDay(dayKey);
    return true;
}

bool DemoHomeViewController::pickFocusedDay()
{
    return pickDay(focusedDay());
}

void DemoHomeViewController::viewDidLoad()
{
    OTCommonsViewController::viewDidLoad();
    showStoredQuote();
    updateQuote();
}

void DemoHomeViewController::showStoredQuote()
{
    // The store hands back whatever it unarchived: only a quote is shown.
    const OstQuotePtr quote = latestQuote().objectCast<OstQuote>();
    const QString content = quote ? quote->content() : QString();
    const QString author = quote ? quote->author() : QString();
    const QString translation = quote ? quote->translation() : QString();
    const QString day = quote ? quote->assign_date() : QString();
    if (content == m_quoteText && author == m_authorText && translation == m_translationText && day == m_dayText)
        return;
    m_quoteText = content;
    m_authorText = author;
    m_translationText = translation;
    m_dayText = day;
    Q_EMIT quoteChanged();
}

void DemoHomeViewController::updateQuote()
{
    setState(Updating, hasQuote() ? QStringLiteral("Updating today's quote…") : QString());
    updateQuoteWithBlock(
        OstAPIClient::sharedClient(),
        [this](OTModelPtr, const OTError &error) {
            if (error.isError()) {
                setState(Failed, QStringLiteral("Could not update today's quote: %1").arg(error.description()));
                return;
            }
            showStoredQuote();
            setState(Updated, QString());
        },
        this);
}

void DemoHomeViewController::setState(State state, const QString &statusText)
{
    if (m_state == state && m_statusText == statusText)
        return;
    m_state = state;
    m_statusText = statusText;
    Q_EMIT statusChanged();
}

void DemoHomeViewController::retry()
{
    if (m_state != Updating)
        updateQuote();
}

void DemoHomeViewController::openViewer()
{
    OTNavigationController *navigation = navigationController();
    if (!navigation)
        return;
    if (OstQuoteViewController *viewer = OstQuoteViewController::create(qmlEngineForScene()))
        navigation->pushViewController(viewer, true);
}

void DemoHomeViewController::openViewerAtDay(const QString &dayKey)
{
    OTNavigationController *navigation = navigationController();
    if (!navigation)
        return;
    if (OstQuoteViewController *viewer = OstQuoteViewController::create(qmlEngineForScene())) {
        // Before the push: the viewer shows that day once it knows today's answer.
        viewer->setInitialDay(dayKey);
        navigation->pushViewController(viewer, true);
    }
}
