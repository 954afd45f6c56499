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

/*!
    \qmltype OstQuoteViewControllerTemplate
    \inqmlmodule OstQuote
    \instantiates OstQuoteViewController
    \inherits OTCommonsViewController
    \brief The quote viewer's state and actions, without a look.

    The base of the skin \l OstQuoteViewController. The C++ class OstQuoteViewController tells
    what the viewer asks of the server, the day it opens at and its keys.
*/

namespace {

const QUrl kSkinURL(QStringLiteral("qrc:/OstQuote/OstQuoteViewControllerSkin.qml"));
constexpr qint64 kSecondsPerDay = 86400;

} // namespace

/*!
    \class OstQuoteViewController
    \inmodule OstQuote
    \brief The quote viewer: a full-screen gallery with one page per day from today back to
    1 October 2016.

    A back button and a share button sit over its top corners, and the app's logo, which only
    share pictures show. Swipe right to go back in time, tap the picture to slide the text off it
    and back, share with the button at the top right. Push it onto the foundation's navigation
    host; it hides the bar while it is in view and its back button pops it:

    \code
    navigation->pushViewController(OstQuoteViewController::create(view.engine()), true);
    \endcode

    \section1 What it asks of the server

    On load it asks the server for today's quote; its answer fixes "today", is kept and loads the
    gallery. From then on each day is asked for one swipe ahead: when the gallery comes to rest on
    a page, the day before it and (if still missing) its own day are requested, and a page is
    filled from the answers kept so far whenever the gallery asks for it. Nothing is retried or
    reported: a day that failed is simply asked for again at the next rest.

    If today's quote cannot be had (the server is down, the device is offline and today's answer
    was never kept), the viewer asks once, when it loads, and never again: it stays black, with
    its back and share buttons over it. A host that wants a retry pops the viewer and pushes a new
    one.

    \section1 The day it opens at

    It opens at today, or at the day initialDay names when the host has set it (a day key,
    \c yyyy-MM-dd; OstQuoteLink gives the day of a link). The day is shown once the calendar is
    known, that is once today's answer has come: the gallery then rests at that day's page and
    asks for its days as at any rest, the older neighbour first. showDay() turns to a day later
    on. A day outside the calendar (before StartDayKey or after today) is refused with a warning,
    and the viewer opens at today (or, later on, stays where it is).

    \section1 Keys

    Left and PageUp turn to the day before, Right and PageDown to the day after, Home to today
    and End to the first day, each as a swipe would (the wheel pages through the gallery's scroll
    view the same way). Esc, Backspace, Alt+Left and the platform's back key close the share
    panel when it is up, and otherwise take the user back from the screen, whatever the chrome
    shows.

    \section1 Sharing

    The share button raises the share panel (OstCustomShareView), with this screen as its
    delegate; the shares go through OTSocialService::defaultService(). A share to a target takes
    the share picture first, in the Screenshot chrome.

    \section1 The skin

    The look is the skin, the QML type \l {OstQuote::OstQuoteViewController}
    {OstQuoteViewController}, whose root is this type: it declares the gallery (handed over
    through galleryView), the two buttons and the logo, and shows the buttons or the logo as
    \l chrome says. The buttons stand back while the share panel is up, which holds the keyboard
    then. In QML the bare type is
    \l {OstQuote::OstQuoteViewControllerTemplate}{OstQuoteViewControllerTemplate}.
*/
OstQuoteViewController::OstQuoteViewController(QQuickItem *parent)
    : OTCommonsViewController(parent)
{
}

OstQuoteViewController::~OstQuoteViewController() = default;

/*!
    Returns a new viewer with its skin, made in \a engine; push it onto an
    OTNavigationController.
*/
OstQuoteViewController *OstQuoteViewController::create(QQmlEngine *engine)
{
    return OTSkin::createAs<OstQuoteViewController>(engine, kSkinURL, "_ostQuoteViewControllerSkin");
}

// Calendar

/*!
    Returns the instant today's answer fixed as "today": page index 0. Each further index is one
    day (86400 s) earlier.
*/
QDateTime OstQuoteViewController::dateToday()
{
    if (!m_dateToday.isValid())
        m_dateToday = OTClock::now();
    return m_dateToday;
}

/*!
    Fixes "today" at \a date.
*/
void OstQuoteViewController::setDateToday(const QDateTime &date)
{
    m_dateToday = date;
}

/*!
    Returns the day key of the page \a index.
*/
QString OstQuoteViewController::convertToDateStringWithIndex(qint64 index)
{
    const qint64 seconds = index * -kSecondsPerDay;
    return descriptionWithFormat(dateToday().addSecs(seconds), QStringLiteral("yyyy-MM-dd"));
}

/*!
    Returns the page index of the day key \a dayKey, or -1 when the calendar does not hold that
    day. A day between the first day and today that no page is labelled with (the fixed step
    passes over a day when the clocks go forward) gets its neighbour's page.
*/
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

/*!
    Turns to the page of \a dayKey as a swipe that lands there would, or, before today's answer,
    makes it the day to open at. Returns \c false, with a warning, for what is not a day key or a
    day outside the calendar; \c false too while a finger holds the gallery.
*/
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

/*!
    Returns the number of days from the first day to today (by OTClock): the pages of
    \a galleryView.
*/
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

/*!
    Hands the gallery its data source and delegate and asks for today's quote.
*/
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

/*!
    Asks the server for the day \a date (\c yyyy-MM-dd or \c today); the answer is kept and,
    with \a shouldReload, reloads the gallery.
*/
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

/*!
    Returns a page of \a galleryView for \a index, filled with its day's quote when it has come.
*/
OstQuoteView *OstQuoteViewController::galleryViewQuoteAtIndex(OstQuoteGalleryView *galleryView, qint64 index)
{
    OstQuoteView *page = galleryView->dequeueReusableView();
    if (!page)
        return nullptr;
    if (const OstQuotePtr quote = m_quotes.value(convertToDateStringWithIndex(index)))
        page->setQuote(quote);
    return page;
}

/*!
    Asks for the days around \a index, where \a galleryView is going.
*/
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

/*!
    Returns portrait only.
*/
Qt::ScreenOrientations OstQuoteViewController::supportedInterfaceOrientations() const
{
    return Qt::PortraitOrientation;
}

/*!
    Hides the navigation bar as the viewer appears (the back button stands in for it); the bar
    slides whether or not the screen's own change is \a animated.
*/
void OstQuoteViewController::viewWillAppear(bool animated)
{
    OTCommonsViewController::viewWillAppear(animated);
    // The back button stands in for the bar; the change always animates.
    if (OTNavigationController *navigation = navigationController())
        navigation->setNavigationBarHidden(true, true);
}

/*!
    Shows the navigation bar again as the viewer leaves; the bar slides whether or not the
    screen's own change is \a animated.
*/
void OstQuoteViewController::viewWillDisappear(bool animated)
{
    OTCommonsViewController::viewWillDisappear(animated);
    if (OTNavigationController *navigation = navigationController())
        navigation->setNavigationBarHidden(false, true);
}

/*!
    \property OstQuoteViewController::backImage
    \brief The back button's image.
*/
QUrl OstQuoteViewController::backImage() const
{
    return ostrelNavigationBackImage();
}

/*!
    \property OstQuoteViewController::backHighlightImage
    \brief The back button's pressed look.
*/
QUrl OstQuoteViewController::backHighlightImage() const
{
    return ostrelNavigationBackHighlightImage();
}

/*!
    \property OstQuoteViewController::shareImage
    \brief The share button's image.
*/
QUrl OstQuoteViewController::shareImage() const
{
    return OTSocialService::shareIconImageForBar();
}

/*!
    \property OstQuoteViewController::shareHighlightImage
    \brief The share button's pressed look.
*/
QUrl OstQuoteViewController::shareHighlightImage() const
{
    return OTSocialService::highlightedShareIconImageForBar();
}

/*!
    \property OstQuoteViewController::logoImage
    \brief The logo shown in share pictures.
*/
QUrl OstQuoteViewController::logoImage() const
{
    return OstQuoteResourceHelper::imageURL(QStringLiteral("ostrel_logo_quote"));
}

/*!
    \property OstQuoteViewController::backTitle
    \brief What screen readers say for the back button.
*/
QString OstQuoteViewController::backTitle() const
{
    return OstQuoteResourceHelper::LocalizedString(QStringLiteral("quote_viewer_back"));
}

/*!
    \property OstQuoteViewController::shareTitle
    \brief What screen readers say for the share button.
*/
QString OstQuoteViewController::shareTitle() const
{
    return OstQuoteResourceHelper::LocalizedString(QStringLiteral("quote_viewer_share"));
}

/*!
    \property OstQuoteViewController::dayInView
    \brief The day of the page in view in full ("Wednesday, 1 March 2017").

    It is empty until the gallery has pages, and changes when the gallery comes to rest on
    another day.
*/
QString OstQuoteViewController::dayInView()
{
    if (!m_galleryView || m_galleryView->numberOfQuotes() <= 0)
        return QString();
    return OstQuoteView::spokenDate(convertToDateStringWithIndex(m_galleryView->currentIndex()));
}

// Sharing

/*!
    Returns the share panel, made on first use with this screen as its delegate.
*/
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

/*!
    Uses \a shareView as the share panel.
*/
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

/*!
    The share button's action: raises the share panel over the screen.
*/
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

/*!
    Shares the quote in view to \a platformType, picked in \a shareView.
*/
void OstQuoteViewController::shareViewShareToPlatform(OstCustomShareView *shareView, int platformType)
{
    Q_UNUSED(shareView);
    shareQuoteViewWithPlatform(platformType);
}

/*!
    Shares the quote in view, with its share picture, to \a platformType through
    OTSocialService.
*/
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

/*!
    Returns the whole screen with the text cover of the page in view, as share pictures show it:
    the Screenshot chrome, the share panel away. Restores nothing (see initNavigationBar()).
*/
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

/*!
    Puts the chrome as in normal use (Normal): logo hidden, back and share buttons shown.
*/
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

/*!
    Copies the link of the quote in view, as \a sender in \a shareView asked, and says so;
    nothing happens when the quote in view has no link.
*/
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

/*!
    Returns \a quote as plain text for the clipboard: the sentence, its translation,
    "— author" and the day's link, a line each (a piece the quote lacks is left out).
*/
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

/*!
    Copies the quote in view as plainText(), as \a sender in \a shareView asked, and says
    "Text copied".
*/
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

/*!
    Opens the system share route for the link of the quote in view, as \a sender in \a shareView
    asked.
*/
void OstQuoteViewController::shareViewMoreButtonClicked(OstCustomShareView *shareView, QObject *sender)
{
    Q_UNUSED(sender);
    const OstQuotePtr quote = currentQuote();
    const QString link = OTSocialService::getDefaultShareUrl(quote ? quote->share_urls() : QVariantMap());
    if (link.isNull() || !shareView)
        return;
    shareView->showSystemShareModuleWithActivityItems({link}, this);
}

/*!
    Says that a Weibo share went out (anywhere in the app).
*/
void OstQuoteViewController::didShareToWeibo()
{
    Global::sharedGlobal()->showHUB(
        OstQuoteResourceHelper::LocalizedString(QStringLiteral("share_success"), QStringLiteral("分享成功")), 0);
}

/*!
    \qmlproperty OstQuoteGalleryView OstQuoteViewControllerTemplate::galleryView

    The skin's gallery, handed over by the skin.
*/

/*!
    \qmlproperty enumeration OstQuoteViewControllerTemplate::chrome
    \readonly

    What lies over the gallery:

    \value OstQuoteViewController.Normal The back and share buttons, no logo.
    \value OstQuoteViewController.Screenshot The logo, no buttons (the length of one capture
           for sharing).
*/

/*!
    \qmlproperty url OstQuoteViewControllerTemplate::backImage
    \readonly

    The back button's image.
*/

/*!
    \qmlproperty url OstQuoteViewControllerTemplate::backHighlightImage
    \readonly

    The back button's pressed look.
*/

/*!
    \qmlproperty url OstQuoteViewControllerTemplate::shareImage
    \readonly

    The share button's image.
*/

/*!
    \qmlproperty url OstQuoteViewControllerTemplate::shareHighlightImage
    \readonly

    The share button's pressed look.
*/

/*!
    \qmlproperty url OstQuoteViewControllerTemplate::logoImage
    \readonly

    The logo shown in share pictures.
*/

/*!
    \qmlproperty string OstQuoteViewControllerTemplate::backTitle
    \readonly

    What screen readers say for the back button.
*/

/*!
    \qmlproperty string OstQuoteViewControllerTemplate::shareTitle
    \readonly

    What screen readers say for the share button.
*/

/*!
    \qmlproperty string OstQuoteViewControllerTemplate::dayInView
    \readonly

    The day of the page in view in full ("Wednesday, 1 March 2017"); empty until the gallery has
    pages. It changes when the gallery comes to rest on another day.
*/

/*!
    \qmlproperty bool OstQuoteViewControllerTemplate::sharePanelShowing
    \readonly

    Whether the share panel is up.
*/

/*!
    \qmlproperty string OstQuoteViewControllerTemplate::initialDay

    The day to open at (\c yyyy-MM-dd); empty, the default, for today. Set it before the screen
    appears; set later, it turns to the day as showDay() does.
*/

/*!
    \qmlmethod bool OstQuoteViewControllerTemplate::showDay(string dayKey)

    Turns to the page of \a dayKey as a swipe that lands there would, or, before today's answer,
    makes it the day to open at. Returns false, with a warning, for what is not a day key or a
    day outside the calendar; false too while a finger holds the gallery.
*/

/*!
    \qmlmethod void OstQuoteViewControllerTemplate::shareAction()

    The share button's action: raises the share panel over the screen.
*/

/*!
    \enum OstQuoteViewController::Chrome

    What lies over the gallery.

    \value Normal The back and share buttons, no logo.
    \value Screenshot The logo, no buttons: the length of one capture for sharing.
*/

/*!
    \variable OstQuoteViewController::StartDayKey

    The first day that has a quote: \c 2016-10-01.
*/

/*!
    \property OstQuoteViewController::galleryView
    \brief The skin's gallery.
*/

/*!
    \property OstQuoteViewController::chrome
    \brief What lies over the gallery.
*/

/*!
    \property OstQuoteViewController::sharePanelShowing
    \brief Whether the share panel is up.
*/

/*!
    \property OstQuoteViewController::initialDay
    \brief The day to open at (\c yyyy-MM-dd); empty, the default, for today.

    Set it before the screen appears; set later, it turns to the day as showDay() does.
*/

/*!
    \fn OstQuoteViewController::OstQuoteViewController(QQuickItem *parent)

    Constructs a viewer without a skin, with \a parent. Use create() for a viewer with its skin.
*/

/*!
    \fn OstQuoteViewController::~OstQuoteViewController()

    Destroys the viewer.
*/

/*!
    \fn QHash<QString, OstQuotePtr> OstQuoteViewController::quotes() const

    Returns the quotes received so far, by their own assign_date.
*/

/*!
    \fn void OstQuoteViewController::setQuotes(const QHash<QString, OstQuotePtr> &quotes)

    Replaces the quotes received so far with \a quotes.
*/
