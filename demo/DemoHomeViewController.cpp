#include "DemoHomeViewController.h"

#include <OTNavigationController.h>
#include <OTSkin.h>
#include <OstAPIClient.h>
#include <OstAPIClient+Quote.h>
#include <OTUserInfoStore+OstQuote.h>
#include <OstQuoteViewController.h>

namespace {

const QUrl kSkinURL(QStringLiteral("qrc:/DemoHome.qml"));

} // namespace

DemoHomeViewController::DemoHomeViewController(QQuickItem *parent)
    : OTCommonsViewController(parent)
{
}

DemoHomeViewController *DemoHomeViewController::create(QQmlEngine *engine)
{
    return OTSkin::createAs<DemoHomeViewController>(engine, kSkinURL, "_demoHomeSkin");
}

QString DemoHomeViewController::title() const
{
    return QStringLiteral("OstQuote");
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
