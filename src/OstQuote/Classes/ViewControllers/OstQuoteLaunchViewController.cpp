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

OstQuoteLaunchViewController::OstQuoteLaunchViewController(QQuickItem *parent)
    : OTCommonsViewController(parent)
{
    // Told on the writing thread, as the cache tells it.
    connect(OstQuoteLaunchCache::sharedCache(), &OstQuoteLaunchCache::quotesCached, this,
            &OstQuoteLaunchViewController::quotesCached, Qt::DirectConnection);
}

OstQuoteLaunchViewController::~OstQuoteLaunchViewController()
{
    // A batch being filed may be telling this screen; it is one small file per day.
    OstQuoteLaunchCache::sharedCache()->waitForPendingWrites();
}

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

void OstQuoteLaunchViewController::viewDidLoad()
{
    OTCommonsViewController::viewDidLoad();
    if (OTNavigationController *navigation = navigationController())
        navigation->setNavigationBarHidden(true, false);
    loadCachedQuote();
    fetchQuotes();
}

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

QUrl OstQuoteLaunchViewController::logoImage() const
{
    return OstQuoteResourceHelper::imageURL(QStringLiteral("launch_ostrel_logo"));
}

QString OstQuoteLaunchViewController::buttonTitle() const
{
    return OstQuoteResourceHelper::LocalizedString(QStringLiteral("quote_press_to_view"), QStringLiteral("每日一句"));
}

// Launch cache

QString OstQuoteLaunchViewController::quotesCachePath()
{
    return OstQuoteLaunchCache::directoryPath();
}

void OstQuoteLaunchViewController::loadCachedQuote()
{
    renderQuote(OstQuoteLaunchCache::sharedCache()->loadTodaysQuote());
}

void OstQuoteLaunchViewController::fetchQuotes()
{
    // The answer is filed by the process's cache, also when this screen is gone by then; the
    // request goes once the screen's first frame is out, whether the host shows it in its
    // window at once or loads it first and puts it in a window later (a navigation stack).
    OstQuoteLaunchCache::sharedCache()->fetchQuotes(this);
}

void OstQuoteLaunchViewController::cacheQuotes(const QList<OstQuotePtr> &quotes)
{
    OstQuoteLaunchCache::sharedCache()->cacheQuotes(quotes);
}

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

void OstQuoteLaunchViewController::viewWillAppear(bool animated)
{
    OTCommonsViewController::viewWillAppear(animated);
    // Back from the viewer: the host may go on at once.
    if (m_popFromQuote)
        tellDelegate();
}

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

void OstQuoteLaunchViewController::resetTimer()
{
    if (m_timer) {
        m_timer->stop();
        m_timer->deleteLater();
    }
    m_timer = nullptr;
}

void OstQuoteLaunchViewController::buttonPressed()
{
    setPopFromQuote(true);
    resetTimer();
    // Without a stack to stand on (a navigation host or a host app's StackView) there is
    // nowhere to show the viewer.
    if (!navigationController() && !stackView())
        return;
    OstQuoteViewController *viewer = OstQuoteViewController::create(qmlEngineForScene());
    if (viewer && !pushOnStack(viewer, true))
        delete viewer;
}
