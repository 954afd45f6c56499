#include "OstQuoteLaunchViewController.h"

#include "OstQuoteLaunchCache.h"
#include "OstQuoteResourceHelper.h"
#include "OstQuoteViewController.h"

#include <OTClock.h>
#include <OTDate.h>
#include <OTDevice.h>
#include <OTNavigationController.h>
#include <OTPalette.h>
#include <OTSkin.h>

#include <QDebug>
#include <QDir>
#include <QFileInfo>
#include <QFontDatabase>

/*!
    \class OstQuoteLaunchViewControllerDelegate
    \inmodule OstQuote
    \brief The host's side of the launch screen: told when the screen may be taken away.

    It may be told more than once (see OstQuoteLaunchViewController) and must not mind.
    Implement it in a QObject (with Q_INTERFACES(OstQuoteLaunchViewControllerDelegate)) and hand
    that to OstQuoteLaunchViewController::setDelegate().
*/

/*!
    \qmltype OstQuoteLaunchViewControllerTemplate
    \inqmlmodule OstQuote
    \instantiates OstQuoteLaunchViewController
    \inherits OTCommonsViewController
    \brief The launch screen's state, without a look.

    The base of the skin \l OstQuoteLaunchViewController; the C++ class
    OstQuoteLaunchViewController tells where today's quote comes from and when the screen may be
    taken away.
*/

namespace {

const QUrl kSkinURL(QStringLiteral("qrc:/OstQuote/OstQuoteLaunchViewControllerSkin.qml"));

// The sentence's face: Helvetica Neue Light where the system has it, otherwise a light cut
// of a plain sans.
QString quoteFontFamily()
{
    static const QString family = [] {
        const QStringList preferred = {QStringLiteral("HelveticaNeue-Light"), QStringLiteral("Helvetica Neue"),
                                       QStringLiteral("DejaVu Sans Light")};
        for (const QString &candidate : preferred) {
            if (QFontDatabase::hasFamily(candidate))
                return candidate;
        }
        return QFontDatabase::systemFont(QFontDatabase::GeneralFont).family();
    }();
    return family;
}

} // namespace

/*!
    \class OstQuoteLaunchViewController
    \inmodule OstQuote
    \brief The launch screen a host shows while it starts.

    Today's sentence under a large picture, the logo in the bottom right corner and a framed
    button at the top right that opens the quote viewer.

    \section1 Today's quote

    It comes from the launch cache on disk (OstQuoteLaunchCache), filled by earlier launches:
    one file per day in \c{<CacheLocation>/launch_quotes}, named by the day key and holding the
    quote's archive. Without a file for today the screen shows the fixed sentence DefaultQuote
    over the default picture. Every launch also asks the server for the batch of coming days and
    files it, on the thread pool, for the launches to come (never showing it), and prefetches
    each quote's first picture into the picture cache.

    \section1 Dismissal

    DismissInterval (2.5 seconds) after each appearance the delegate (a QObject implementing
    OstQuoteLaunchViewControllerDelegate, held weakly) is told that the host may remove the
    screen; willDismiss() is emitted at the same moments for QML hosts. The screen never removes
    itself. The button stops the countdown and pushes a quote viewer; on the way back the
    delegate is told at once and again 2.5 seconds after the screen has reappeared.

    \code
    OstQuoteLaunchViewController *launch = OstQuoteLaunchViewController::create(view.engine());
    launch->setDelegate(&host);   // or connect to its willDismiss() signal
    navigation->pushViewController(launch, false);
    \endcode

    \section1 The skin

    The look is the skin, the QML type \l {OstQuote::OstQuoteLaunchViewController}
    {OstQuoteLaunchViewController}, whose root is this type: it declares the picture, the
    sentence, the logo and the button, hands them over through the properties below and binds
    to the rendered state. In QML the bare type is
    \l {OstQuote::OstQuoteLaunchViewControllerTemplate}{OstQuoteLaunchViewControllerTemplate}.
*/
OstQuoteLaunchViewController::OstQuoteLaunchViewController(QQuickItem *parent)
    : OTCommonsViewController(parent)
{
    // Told on the writing thread, as the cache tells it.
    connect(OstQuoteLaunchCache::sharedCache(), &OstQuoteLaunchCache::quotesCached, this,
            &OstQuoteLaunchViewController::quotesCached, Qt::DirectConnection);
    // A viewer asked for before the screen stood on a stack: pushed one turn after a stack
    // takes the screen in, as a StackView refuses a push while it is making one.
    const auto onStack = [this]() {
        if (m_viewerWanted)
            QMetaObject::invokeMethod(this, &OstQuoteLaunchViewController::pushWantedViewer, Qt::QueuedConnection);
    };
    connect(this, &OTCommonsViewController::stackViewChanged, this, onStack);
    connect(this, &OTCommonsViewController::navigationControllerChanged, this, onStack);
}

OstQuoteLaunchViewController::~OstQuoteLaunchViewController()
{
    // A batch being filed may be telling this screen; it is one small file per day.
    OstQuoteLaunchCache::sharedCache()->waitForPendingWrites();
}

/*!
    Returns a new launch screen with its skin, made in \a engine; push it onto an
    OTNavigationController.
*/
OstQuoteLaunchViewController *OstQuoteLaunchViewController::create(QQmlEngine *engine)
{
    return OTSkin::createAs<OstQuoteLaunchViewController>(engine, kSkinURL, "_ostQuoteLaunchViewControllerSkin");
}

void OstQuoteLaunchViewController::setDelegate(QObject *delegate)
{
    if (m_delegate == delegate)
        return;
    m_delegate = delegate;
    Q_EMIT delegateChanged();
}

void OstQuoteLaunchViewController::setPopFromQuote(bool popFromQuote)
{
    if (m_popFromQuote == popFromQuote)
        return;
    m_popFromQuote = popFromQuote;
    Q_EMIT popFromQuoteChanged();
}

OstQuoteLaunchViewControllerDelegate *OstQuoteLaunchViewController::launchDelegate() const
{
    return m_delegate ? qobject_cast<OstQuoteLaunchViewControllerDelegate *>(m_delegate.data()) : nullptr;
}

void OstQuoteLaunchViewController::tellDelegate()
{
    // The host may take the screen away (even delete it) while it is being told.
    const QPointer<OstQuoteLaunchViewController> self(this);
    if (OstQuoteLaunchViewControllerDelegate *delegate = launchDelegate())
        delegate->willDismissLaunchViewController(this);
    if (self)
        Q_EMIT willDismiss();
}

// Start

/*!
    Hides the navigation bar, draws today's cached quote and asks for the batch.
*/
void OstQuoteLaunchViewController::viewDidLoad()
{
    OTCommonsViewController::viewDidLoad();
    if (OTNavigationController *navigation = navigationController())
        navigation->setNavigationBarHidden(true, false);
    loadCachedQuote();
    fetchQuotes();
}

/*!
    Draws \a quote; a null \a quote draws the fixed sentence and the default picture.
*/
void OstQuoteLaunchViewController::renderQuote(const OstQuotePtr &quote)
{
    const QString content = quote ? quote->content() : QString();
    m_quoteText = content.isNull() ? QString::fromLatin1(DefaultQuote) : content;
    m_quoteLineSpacing = OTPalette::launchQuoteLineSpacing();
    m_quoteColor = OTPalette::ostrelFontColorLaunchQuote();
    QFont font(quoteFontFamily());
    font.setWeight(QFont::Light);
    font.setPixelSize(OTDevice::currentDevice()->userInterfaceIdiom() == OTDevice::Pad ? OTPalette::launchQuotePadFontSize()
                                                                                      : OTPalette::launchQuoteFontSize());
    m_quoteFont = font;

    const QStringList pictures = quote ? quote->origin_img_urls() : QStringList();
    if (!pictures.isEmpty()) {
        // Loaded by the skin's Image through the picture cache, without a placeholder.
        m_imageSource = QUrl(pictures.first());
    } else {
        m_imageSource = OstQuoteResourceHelper::imageURL(QStringLiteral("default_launch_image"));
    }
    Q_EMIT quoteRendered();
}

/*!
    \property OstQuoteLaunchViewController::logoImage
    \brief The logo's image.
*/
QUrl OstQuoteLaunchViewController::logoImage() const
{
    return OstQuoteResourceHelper::imageURL(QStringLiteral("launch_ostrel_logo"));
}

/*!
    \property OstQuoteLaunchViewController::buttonTitle
    \brief The button's title, in the user's language.
*/
QString OstQuoteLaunchViewController::buttonTitle() const
{
    return OstQuoteResourceHelper::LocalizedString(QStringLiteral("quote_press_to_view"), QStringLiteral("每日一句"));
}

// Launch cache

/*!
    Returns the launch cache's folder, \c{<CacheLocation>/launch_quotes}, created (with its
    parents) on every call.
*/
QString OstQuoteLaunchViewController::quotesCachePath()
{
    return OstQuoteLaunchCache::directoryPath();
}

/*!
    Draws today's cached quote, or the fixed sentence (also for a damaged or odd file).
*/
void OstQuoteLaunchViewController::loadCachedQuote()
{
    renderQuote(OstQuoteLaunchCache::sharedCache()->loadTodaysQuote());
}

/*!
    Asks for the batch; the answer is filed on the thread pool, whether or not this screen is
    still there.
*/
void OstQuoteLaunchViewController::fetchQuotes()
{
    // The answer is filed by the process's cache, also when this screen is gone by then; the
    // request goes once the screen's first frame is out, whether the host shows it in its
    // window at once or loads it first and puts it in a window later (a navigation stack).
    OstQuoteLaunchCache::sharedCache()->fetchQuotes(this);
}

/*!
    Files \a quotes, one file per assign_date (later ones win), then prefetches each quote's
    first picture. Runs on any thread; every batch goes through here on the pool.
*/
void OstQuoteLaunchViewController::cacheQuotes(const QList<OstQuotePtr> &quotes)
{
    OstQuoteLaunchCache::sharedCache()->cacheQuotes(quotes);
}

/*!
    Removes every cache file whose day began before now, today's included; names that are no day
    key stay.
*/
void OstQuoteLaunchViewController::clearEarlyQuotes()
{
    const QString directory = quotesCachePath();
    const QFileInfo info(directory);
    if (!info.isDir() || !info.isReadable())
        return;
    const QStringList names =
        QDir(directory).entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
    const QDateTime now = OTClock::now();
    for (const QString &name : names) {
        const QDateTime day = ot_dateFromStringFormatDate(name);
        // A day key stands for the start of its day, so today's file goes too.
        if (!day.isValid() || !(day < now))
            continue;
        const QString path = directory + QLatin1Char('/') + name;
        if (QFileInfo(path).isDir() && !QFileInfo(path).isSymLink())
            QDir(path).removeRecursively();
        else
            QFile::remove(path);
    }
}

// Countdown and exit

/*!
    Called before the screen appears, \a animated or at once. On the way back from the viewer
    its button opened, the delegate is told at once.
*/
void OstQuoteLaunchViewController::viewWillAppear(bool animated)
{
    OTCommonsViewController::viewWillAppear(animated);
    // Back from the viewer: the host may go on at once.
    if (m_popFromQuote)
        tellDelegate();
}

/*!
    Starts a countdown of DismissInterval once the screen has appeared, \a animated or at once;
    every appearance starts its own, and one still pending runs on.
*/
void OstQuoteLaunchViewController::viewDidAppear(bool animated)
{
    OTCommonsViewController::viewDidAppear(animated);
    // Every appearance starts its own countdown; one still pending runs on.
    auto *countdown = new QTimer(this);
    countdown->setSingleShot(true);
    countdown->setTimerType(Qt::PreciseTimer);
    countdown->setInterval(DismissInterval);
    connect(countdown, &QTimer::timeout, this, [this, countdown]() { timerFired(countdown); });
    countdown->start();
    m_timer = countdown;
}

/*!
    The countdown \a timer has run out: tells the delegate and drops the countdown.
*/
void OstQuoteLaunchViewController::timerFired(QTimer *timer)
{
    const QPointer<QTimer> fired(timer);
    const QPointer<OstQuoteLaunchViewController> self(this);
    tellDelegate();
    if (!self)
        return;
    const bool current = fired && fired == m_timer;
    resetTimer();
    // An earlier countdown that has run out goes as well.
    if (!current && fired)
        fired->deleteLater();
}

/*!
    Stops and drops the pending countdown.
*/
void OstQuoteLaunchViewController::resetTimer()
{
    if (m_timer) {
        m_timer->stop();
        m_timer->deleteLater();
    }
    m_timer = nullptr;
}

/*!
    The button's action: stops the countdown and pushes a new quote viewer.

    A screen standing alone in the window, before the host's StackView has taken it in, keeps
    the viewer wanted: it is pushed once a stack takes the screen.
*/
void OstQuoteLaunchViewController::buttonPressed()
{
    setPopFromQuote(true);
    resetTimer();
    m_viewerWanted = true;
    pushWantedViewer();
}

void OstQuoteLaunchViewController::pushWantedViewer()
{
    // Without a stack to stand on (a navigation host or a host app's StackView) there is
    // nowhere to show the viewer yet.
    if (!m_viewerWanted || (!navigationController() && !stackView()))
        return;
    m_viewerWanted = false;
    OstQuoteViewController *viewer = OstQuoteViewController::create(qmlEngineForScene());
    if (viewer && !pushOnStack(viewer, true))
        delete viewer;
}

/*!
    \fn OstQuoteLaunchViewControllerDelegate::~OstQuoteLaunchViewControllerDelegate()

    Destroys the delegate.
*/

/*!
    \fn void OstQuoteLaunchViewControllerDelegate::willDismissLaunchViewController(OstQuoteLaunchViewController *controller)

    Called when the host may remove the launch screen \a controller. Does nothing by default.
*/

/*!
    \qmlproperty QtObject OstQuoteLaunchViewControllerTemplate::delegate

    The delegate set from C++ (an OstQuoteLaunchViewControllerDelegate), or null. QML hosts
    handle willDismiss() instead.
*/

/*!
    \qmlproperty bool OstQuoteLaunchViewControllerTemplate::popFromQuote

    Whether the screen is coming back from the viewer its button opened.
*/

/*!
    \qmlproperty string OstQuoteLaunchViewControllerTemplate::quoteText
    \readonly

    The sentence drawn.
*/

/*!
    \qmlproperty font OstQuoteLaunchViewControllerTemplate::quoteFont
    \readonly

    The sentence's font: larger on a tablet.
*/

/*!
    \qmlproperty color OstQuoteLaunchViewControllerTemplate::quoteColor
    \readonly

    The sentence's colour.
*/

/*!
    \qmlproperty real OstQuoteLaunchViewControllerTemplate::quoteLineSpacing
    \readonly

    The space between the sentence's lines.
*/

/*!
    \qmlproperty url OstQuoteLaunchViewControllerTemplate::imageSource
    \readonly

    The source of the picture drawn.
*/

/*!
    \qmlproperty url OstQuoteLaunchViewControllerTemplate::logoImage
    \readonly

    The logo's image.
*/

/*!
    \qmlproperty string OstQuoteLaunchViewControllerTemplate::buttonTitle
    \readonly

    The button's title.
*/

/*!
    \qmlmethod void OstQuoteLaunchViewControllerTemplate::buttonPressed()

    The button's action: stops the countdown and pushes a new quote viewer on the stack the
    screen stands on. Pressed while the screen stands alone in the window, the viewer is pushed
    once a StackView takes the screen in.
*/

/*!
    \qmlsignal OstQuoteLaunchViewControllerTemplate::willDismiss()

    Emitted 2.5 s after each appearance (and at once on the way back from the viewer): the host
    may remove the screen. It may come more than once; act once.
*/

/*!
    \qmlsignal OstQuoteLaunchViewControllerTemplate::quotesCached(list dayKeys)

    Emitted when a batch has been filed: \a dayKeys are the files written, in order.
*/

/*!
    \qmlsignal OstQuoteLaunchViewControllerTemplate::quoteRendered()

    Emitted when the screen has drawn a quote.
*/

/*!
    \variable OstQuoteLaunchViewController::DefaultQuote

    The sentence shown when there is no quote for today: "Success is falling nine times and
    getting up ten."
*/

/*!
    \variable OstQuoteLaunchViewController::DismissInterval

    From an appearance to telling the delegate, in milliseconds: 2500.
*/

/*!
    \property OstQuoteLaunchViewController::delegate
    \brief The delegate: a QObject implementing OstQuoteLaunchViewControllerDelegate, held
    weakly.
*/

/*!
    \property OstQuoteLaunchViewController::popFromQuote
    \brief Whether the screen is coming back from the viewer its button opened.
*/

/*!
    \property OstQuoteLaunchViewController::quoteText
    \brief The sentence renderQuote() drew.
*/

/*!
    \property OstQuoteLaunchViewController::quoteFont
    \brief The sentence's font: larger on a tablet (OTDevice).
*/

/*!
    \property OstQuoteLaunchViewController::quoteColor
    \brief The sentence's colour.
*/

/*!
    \property OstQuoteLaunchViewController::quoteLineSpacing
    \brief The space between the sentence's lines.
*/

/*!
    \property OstQuoteLaunchViewController::imageSource
    \brief The source of the picture renderQuote() drew.
*/

/*!
    \fn OstQuoteLaunchViewController::OstQuoteLaunchViewController(QQuickItem *parent)

    Constructs a launch screen without a skin, with \a parent. Use create() for a screen with its
    skin.
*/

/*!
    \fn OstQuoteLaunchViewController::~OstQuoteLaunchViewController()

    Destroys the screen, waiting for batch writes still under way (they tell this screen).
*/

/*!
    \fn QTimer *OstQuoteLaunchViewController::timer() const

    Returns the pending countdown, or null.
*/

/*!
    \fn void OstQuoteLaunchViewController::willDismiss()

    This signal is emitted whenever the delegate is asked (with or without one): the host may
    remove the screen.
*/

/*!
    \fn void OstQuoteLaunchViewController::quotesCached(const QStringList &dayKeys)

    This signal is emitted when a batch has been filed; \a dayKeys are the files written, in
    order. It is emitted on the thread that wrote them, for every batch the cache files while
    this screen exists.
*/

/*!
    \fn void OstQuoteLaunchViewController::quoteRendered()

    This signal is emitted when renderQuote() has drawn a quote.
*/
