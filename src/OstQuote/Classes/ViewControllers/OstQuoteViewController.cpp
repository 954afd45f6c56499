#include "OstQuoteViewController.h"

#include "OstAPIClient+Quote.h"
#include "OstQuoteLink.h"
#include "OstQuoteResourceHelper.h"

#include <Global.h>
#include <OTClock.h>
#include <OTDate.h>
#include <OTImage.h>
#include <OTNavigationController.h>
#include <OTNotificationCenter.h>
#include <OTSocialService.h>

#include <QClipboard>
#include <QKeyEvent>
#include <QGuiApplication>
#include <OTSkin.h>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickWindow>

#include <cmath>
#include <utility>

namespace {

const QUrl kSkinURL(QStringLiteral("qrc:/OstQuote/OstQuoteViewControllerSkin.qml"));
constexpr qint64 kSecondsPerDay = 86400;

} // namespace

OstQuoteViewController::OstQuoteViewController(QQuickItem *parent)
    : OTCommonsViewController(parent)
{
}

OstQuoteViewController::~OstQuoteViewController() = default;

OstQuoteViewController *OstQuoteViewController::create(QQmlEngine *engine)
{
    return OTSkin::createAs<OstQuoteViewController>(engine, kSkinURL, "_ostQuoteViewControllerSkin");
}

// Calendar

QDateTime OstQuoteViewController::dateToday()
{
    if (!m_dateToday.isValid())
        m_dateToday = OTClock::now();
    return m_dateToday;
}

void OstQuoteViewController::setDateToday(const QDateTime &date)
{
    m_dateToday = date;
}

QString OstQuoteViewController::convertToDateStringWithIndex(qint64 index)
{
    const qint64 seconds = index * -kSecondsPerDay;
    return descriptionWithFormat(dateToday().addSecs(seconds), QStringLiteral("yyyy-MM-dd"));
}

qint64 OstQuoteViewController::indexOfDay(const QString &dayKey)
{
    if (!OstQuoteLink::isDayKey(dayKey) || dayKey < QLatin1String(StartDayKey))
        return -1;
    // Whole days back from the reference instant, which keeps its time of day; with the
    // fixed step a day next to a change of clocks may sit one page off, so the neighbours
    // are tried too.
    const qint64 seconds = ot_dateFromStringFormatDate(dayKey).secsTo(dateToday());
    const qint64 guess = qint64(std::floor(double(seconds) / kSecondsPerDay));
    const qint64 count = numberOfQuotesInGalleryView(m_galleryView);
    qint64 neighbour = -1;
    for (const qint64 index : {guess, guess + 1, guess - 1}) {
        if (index < 0 || index >= count)
            continue;
        if (convertToDateStringWithIndex(index) == dayKey)
            return index;
        if (neighbour < 0)
            neighbour = index;
    }
    // A day the fixed step passes over (the spring change of clocks, seen from summer time)
    // has no page of its own: its neighbour's page stands for it.
    return dayKey <= convertToDateStringWithIndex(0) ? neighbour : -1;
}

void OstQuoteViewController::setInitialDay(const QString &dayKey)
{
    if (m_initialDay == dayKey)
        return;
    m_initialDay = dayKey;
    Q_EMIT initialDayChanged();
    if (dayKey.isEmpty())
        m_pendingDay.clear();
    else
        showDay(dayKey);
}

bool OstQuoteViewController::showDay(const QString &dayKey)
{
    if (!OstQuoteLink::isDayKey(dayKey)) {
        qWarning().noquote() << QStringLiteral("quote viewer: \"%1\" is not a day (yyyy-MM-dd)").arg(dayKey);
        return false;
    }
    // Until today's answer the calendar is not known: the day waits for it.
    if (!m_galleryView || m_galleryView->numberOfQuotes() <= 0) {
        m_pendingDay = dayKey;
        return true;
    }
    m_pendingDay.clear();
    const qint64 index = indexOfDay(dayKey);
    if (index < 0) {
        warnOutsideCalendar(dayKey, QStringLiteral("the viewer stays where it is"));
        return false;
    }
    if (m_galleryView->landingIndex() == index)
        return true;
    m_awaitedDay = m_quotes.contains(dayKey) ? QString() : dayKey;
    return m_galleryView->scrollToIndexAnimated(index);
}

void OstQuoteViewController::warnOutsideCalendar(const QString &dayKey, const QString &consequence)
{
    qWarning().noquote() << QStringLiteral("quote viewer: %1 is outside the days with quotes (%2 to %3); %4")
                                .arg(dayKey, QLatin1String(StartDayKey), convertToDateStringWithIndex(0), consequence);
}

void OstQuoteViewController::fillPageInView(const OstQuotePtr &quote)
{
    // A day turned to from afar: its page came before its answer, and no swipe will render
    // it again, so the answer goes to the page as soon as it comes.
    m_awaitedDay.clear();
    if (!m_galleryView)
        return;
    OstQuoteView *page = m_galleryView->currentQuoteView();
    if (page && !page->quote() && convertToDateStringWithIndex(m_galleryView->currentIndex()) == quote->assign_date())
        page->setQuote(quote);
}

qint64 OstQuoteViewController::numberOfQuotesInGalleryView(OstQuoteGalleryView *galleryView)
{
    Q_UNUSED(galleryView);
    const QDateTime start = ot_dateFromStringFormatDate(QString::fromLatin1(StartDayKey));
    // Seconds from now to the start: negative once the start lies in the past.
    const double sinceNow =
        start.isValid() ? double(start.toMSecsSinceEpoch() - OTClock::now().toMSecsSinceEpoch()) / 1000.0 : 0.0;
    // Days elapsed with their fraction, plus the start day itself, truncated toward zero.
    return qint64(sinceNow / -double(kSecondsPerDay) + 1.0);
}

// Start

void OstQuoteViewController::viewDidLoad()
{
    OTCommonsViewController::viewDidLoad();
    commonInit();
}

void OstQuoteViewController::commonInit()
{
    setupSubviews();
    connect(OTNotificationCenter::defaultCenter(), &OTNotificationCenter::sharedToWeiboSuccess, this,
            &OstQuoteViewController::didShareToWeibo, Qt::DirectConnection);
    requestQuoteWithDate(QStringLiteral("today"), true);
}

void OstQuoteViewController::setupSubviews()
{
    // The skin has laid out the gallery, the buttons and the logo (back to front); the
    // gallery learns where its pages come from.
    if (m_galleryView) {
        m_galleryView->setDataSource(this);
        m_galleryView->setDelegate(this);
        connect(m_galleryView, &OstQuoteGalleryView::currentIndexChanged, this,
                &OstQuoteViewController::dayInViewChanged);
        connect(m_galleryView, &OstQuoteGalleryView::numberOfQuotesChanged, this,
                &OstQuoteViewController::dayInViewChanged);
    }
    setChrome(Normal);
}

// Requests

void OstQuoteViewController::requestQuoteWithDate(const QString &date, bool shouldReload)
{
    getQuoteWithDate(
        OstAPIClient::sharedClient(), date,
        [this, date, shouldReload](OstQuotePtr quote, const OTError &) {
            if (!quote || quote->assign_date().isNull())
                return;
            if (date == QLatin1String("today")) {
                setDateToday(ot_dateFromStringFormatDate(quote->assign_date()));
                Q_EMIT dayInViewChanged();
            }
            m_quotes.insert(quote->assign_date(), quote);
            if (quote->assign_date() == m_awaitedDay)
                fillPageInView(quote);
            if (shouldReload && m_galleryView) {
                // The day to open at, now that the calendar is known: the load rests there.
                const QString day = std::exchange(m_pendingDay, QString());
                const qint64 index = day.isEmpty() ? -1 : indexOfDay(day);
                if (!day.isEmpty() && index < 0)
                    warnOutsideCalendar(day, QStringLiteral("the viewer opens at today"));
                if (index > 0) {
                    m_awaitedDay = day;
                    m_galleryView->reloadDataAtIndex(index);
                }
                else
                    m_galleryView->reloadData();
            }
        },
        this);
}

// Gallery

OstQuoteView *OstQuoteViewController::galleryViewQuoteAtIndex(OstQuoteGalleryView *galleryView, qint64 index)
{
    OstQuoteView *page = galleryView->dequeueReusableView();
    if (!page)
        return nullptr;
    if (const OstQuotePtr quote = m_quotes.value(convertToDateStringWithIndex(index)))
        page->setQuote(quote);
    return page;
}

void OstQuoteViewController::galleryViewDidScrollToIndex(OstQuoteGalleryView *galleryView, qint64 index)
{
    Q_UNUSED(galleryView);
    // The older neighbour first: it is the page the next swipe brings.
    const QString older = convertToDateStringWithIndex(index + 1);
    if (!m_quotes.contains(older))
        requestQuoteWithDate(older, false);
    const QString own = convertToDateStringWithIndex(index);
    if (!m_quotes.contains(own))
        requestQuoteWithDate(own, false);
}

// Keys

void OstQuoteViewController::keyPressEvent(QKeyEvent *event)
{
    const Qt::KeyboardModifiers modifiers = event->modifiers() & ~Qt::KeypadModifier;
    const int key = event->key();
    const bool back = (modifiers == Qt::NoModifier
                       && (key == Qt::Key_Escape || key == Qt::Key_Backspace || key == Qt::Key_Back))
        || (modifiers == Qt::AltModifier && key == Qt::Key_Left);
    if (back) {
        event->accept();
        if (isSharePanelShowing())
            m_shareView->hideWithAnimated(true);
        else
            backAction();
        return;
    }
    // Paging waits while the share panel is up.
    if (modifiers != Qt::NoModifier || !m_galleryView || isSharePanelShowing()) {
        event->ignore();
        return;
    }
    // The page to the left is the day before.
    const qint64 from = m_galleryView->landingIndex();
    switch (key) {
    case Qt::Key_Left:
    case Qt::Key_PageUp:
        m_galleryView->scrollToIndexAnimated(from + 1);
        break;
    case Qt::Key_Right:
    case Qt::Key_PageDown:
        m_galleryView->scrollToIndexAnimated(from - 1);
        break;
    case Qt::Key_Home:
        m_galleryView->scrollToIndexAnimated(0);
        break;
    case Qt::Key_End:
        m_galleryView->scrollToIndexAnimated(m_galleryView->numberOfQuotes() - 1);
        break;
    default:
        event->ignore();
        return;
    }
    event->accept();
}

// Navigation

Qt::ScreenOrientations OstQuoteViewController::supportedInterfaceOrientations() const
{
    return Qt::PortraitOrientation;
}

void OstQuoteViewController::viewWillAppear(bool animated)
{
    OTCommonsViewController::viewWillAppear(animated);
    // The back button stands in for the bar; the change always animates.
    if (OTNavigationController *navigation = navigationController())
        navigation->setNavigationBarHidden(true, true);
}

void OstQuoteViewController::viewWillDisappear(bool animated)
{
    OTCommonsViewController::viewWillDisappear(animated);
    if (OTNavigationController *navigation = navigationController())
        navigation->setNavigationBarHidden(false, true);
}

QUrl OstQuoteViewController::backImage() const
{
    return ostrelNavigationBackImage();
}

QUrl OstQuoteViewController::backHighlightImage() const
{
    return ostrelNavigationBackHighlightImage();
}

QUrl OstQuoteViewController::shareImage() const
{
    return OTSocialService::shareIconImageForBar();
}

QUrl OstQuoteViewController::shareHighlightImage() const
{
    return OTSocialService::highlightedShareIconImageForBar();
}

QUrl OstQuoteViewController::logoImage() const
{
    return OstQuoteResourceHelper::imageURL(QStringLiteral("ostrel_logo_quote"));
}

QString OstQuoteViewController::backTitle() const
{
    return OstQuoteResourceHelper::LocalizedString(QStringLiteral("quote_viewer_back"));
}

QString OstQuoteViewController::shareTitle() const
{
    return OstQuoteResourceHelper::LocalizedString(QStringLiteral("quote_viewer_share"));
}

QString OstQuoteViewController::dayInView()
{
    if (!m_galleryView || m_galleryView->numberOfQuotes() <= 0)
        return QString();
    return OstQuoteView::spokenDate(convertToDateStringWithIndex(m_galleryView->currentIndex()));
}

// Sharing

OstCustomShareView *OstQuoteViewController::shareView()
{
    if (!m_shareView) {
        OstCustomShareView *panel = OstCustomShareView::create(qmlEngineForScene());
        if (panel) {
            panel->setParent(this);
            panel->setDelegate(this);
        }
        setShareView(panel);
    }
    return m_shareView;
}

void OstQuoteViewController::setShareView(OstCustomShareView *shareView)
{
    if (m_shareView == shareView)
        return;
    const bool wasShowing = isSharePanelShowing();
    if (m_shareView)
        disconnect(m_shareView, &OstCustomShareView::showingChanged, this, nullptr);
    m_shareView = shareView;
    if (m_shareView)
        connect(m_shareView, &OstCustomShareView::showingChanged, this,
                &OstQuoteViewController::sharePanelShowingChanged);
    if (wasShowing != isSharePanelShowing())
        Q_EMIT sharePanelShowingChanged();
}

void OstQuoteViewController::shareAction()
{
    if (OstCustomShareView *panel = shareView())
        panel->showInController(this, true);
}

OstQuotePtr OstQuoteViewController::currentQuote()
{
    if (!m_galleryView)
        return {};
    return m_quotes.value(convertToDateStringWithIndex(m_galleryView->currentIndex()));
}

void OstQuoteViewController::shareViewShareToPlatform(OstCustomShareView *shareView, int platformType)
{
    Q_UNUSED(shareView);
    shareQuoteViewWithPlatform(platformType);
}

void OstQuoteViewController::shareQuoteViewWithPlatform(int platformType)
{
    const QImage screenshot = screenShotOfCurrentQuoteView();
    const OstQuotePtr quote = currentQuote();
    const QString link = OTSocialService::getShareUrlForType(platformType, quote ? quote->share_urls() : QVariantMap());
    OTSocialService *service = OTSocialService::defaultService();

    if (platformType == OTSharePlatformSaveImage || platformType == OTSharePlatformCopyImage) {
        // Saving and copying the picture need nothing but the picture.
        service->shareContent(QString(), QString(), QString(), link, screenshot, platformType, this);
    } else {
        // Nothing to say without a quote. The chrome stays as the screenshot left it.
        if (!quote)
            return;
        const QString topic = OstQuoteResourceHelper::LocalizedString(QStringLiteral("home_item_quote_share_topic"));
        if (platformType == OTSharePlatformMail)
            service->shareContent(quote->content(), topic, link, link, QImage(), platformType, this);
        else
            service->shareContent(quote->content(), topic, link, link, screenshot, platformType, this);
    }
    initNavigationBar();
}

QImage OstQuoteViewController::screenShotOfCurrentQuoteView()
{
    // The skin's bindings follow at once, so the capture below sees the logo.
    setChrome(Screenshot);
    if (OstCustomShareView *panel = shareView())
        panel->hideWithAnimated(false);
    if (m_galleryView) {
        if (OstQuoteView *page = m_galleryView->currentQuoteView())
            page->showCoverViewWithAnimated(false);
    }

    // The screen as it looks now, without what lies over it (a message still in view).
    return renderViewImage();
}

void OstQuoteViewController::initNavigationBar()
{
    setChrome(Normal);
}

void OstQuoteViewController::setChrome(Chrome chrome)
{
    if (m_chrome == chrome)
        return;
    m_chrome = chrome;
    Q_EMIT chromeChanged();
}

void OstQuoteViewController::shareViewCopyLinkClicked(OstCustomShareView *shareView, QObject *sender)
{
    Q_UNUSED(shareView);
    Q_UNUSED(sender);
    const OstQuotePtr quote = currentQuote();
    const QString link = OTSocialService::getDefaultShareUrl(quote ? quote->share_urls() : QVariantMap());
    if (link.isNull())
        return;
    QGuiApplication::clipboard()->setText(link);
    Global::sharedGlobal()->showHUB(
        OstQuoteResourceHelper::LocalizedString(QStringLiteral("share_view_copy_link_copied"), QStringLiteral("")), 0);
}

QString OstQuoteViewController::plainText(const OstQuote &quote)
{
    QStringList lines;
    for (const QString &line : {quote.content(), quote.translation()}) {
        if (!line.trimmed().isEmpty())
            lines.append(line.trimmed());
    }
    if (!quote.author().trimmed().isEmpty())
        lines.append(QStringLiteral("— ") + quote.author().trimmed());
    const QString link = OTSocialService::getDefaultShareUrl(quote.share_urls());
    if (!link.isEmpty())
        lines.append(link);
    return lines.join(u'\n');
}

void OstQuoteViewController::shareViewCopyTextClicked(OstCustomShareView *shareView, QObject *sender)
{
    Q_UNUSED(shareView);
    Q_UNUSED(sender);
    // Without a quote in view there is nothing to copy, as with a link.
    const OstQuotePtr quote = currentQuote();
    const QString text = quote ? plainText(*quote) : QString();
    if (text.isEmpty())
        return;
    QGuiApplication::clipboard()->setText(text);
    Global::sharedGlobal()->showHUB(
        OstQuoteResourceHelper::LocalizedString(QStringLiteral("share_view_copy_text_copied"), QStringLiteral("")), 0);
}

void OstQuoteViewController::shareViewMoreButtonClicked(OstCustomShareView *shareView, QObject *sender)
{
    Q_UNUSED(sender);
    const OstQuotePtr quote = currentQuote();
    const QString link = OTSocialService::getDefaultShareUrl(quote ? quote->share_urls() : QVariantMap());
    if (link.isNull() || !shareView)
        return;
    shareView->showSystemShareModuleWithActivityItems({link}, this);
}

void OstQuoteViewController::didShareToWeibo()
{
    Global::sharedGlobal()->showHUB(
        OstQuoteResourceHelper::LocalizedString(QStringLiteral("share_success"), QStringLiteral("分享成功")), 0);
}
