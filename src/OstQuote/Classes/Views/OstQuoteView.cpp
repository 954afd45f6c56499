#include "OstQuoteView.h"

#include <OTDate.h>
#include <OTMotion.h>
#include <OTSkin.h>

#include <QLocale>
#include <QQmlEngine>

namespace {

const QUrl kSkinURL(QStringLiteral("qrc:/OstQuote/OstQuoteViewSkin.qml"));

// One compiled skin per engine, kept with the engine.
} // namespace

OstQuoteView::OstQuoteView(QQuickItem *parent)
    : QQuickItem(parent)
{
    setAcceptedMouseButtons(Qt::LeftButton);
    setAcceptTouchEvents(true);
    m_coverMotion = new OTMotion(this, "coverOffset", "coverSliding");
}

OstQuoteView::~OstQuoteView() = default;

OstQuoteView *OstQuoteView::create(QQuickItem *context)
{
    // The nearest item of the scene that QML made knows the engine.
    QQmlEngine *engine = OTSkin::engineForItem(context);
    return engine ? create(engine) : nullptr;
}

OstQuoteView *OstQuoteView::create(QQmlEngine *engine)
{
    return OTSkin::createAs<OstQuoteView>(engine, kSkinURL, "_ostQuoteViewSkin");
}

void OstQuoteView::setQuote(const OstQuotePtr &quote)
{
    m_quote = quote;
    const OstQuote *q = quote.data();

    if (q && !q->author().isNull())
        m_authorText = QStringLiteral("\u2014 %1").arg(q->author());
    m_translationText = q ? q->translation() : QString();
    m_contentText = q ? q->content() : QString();
    const QDateTime day = q ? ot_dateFromStringFormatDate(q->assign_date()) : QDateTime();
    if (day.isValid()) {
        m_dayText = descriptionWithFormat(day, QStringLiteral("dd"));
        m_monthYearText = descriptionWithFormat(day, QStringLiteral("MMM. yyyy"), QStringLiteral("en_GB"));
        m_dateText = spokenDate(q->assign_date());
    }
    if (q && !q->origin_img_urls().isEmpty()) {
        const QUrl url(q->origin_img_urls().constFirst(), QUrl::StrictMode);
        if (url.isValid() && !url.isRelative() && url != m_imageSource) {
            m_imageSource = url;
            Q_EMIT imageSourceChanged();
        }
    }
    Q_EMIT textsChanged();
    Q_EMIT quoteChanged();
}

QString OstQuoteView::spokenDate(const QString &dayKey)
{
    if (!ot_dateFromStringFormatDate(dayKey).isValid())
        return QString();
    return QLocale().toString(QDate::fromString(dayKey, QStringLiteral("yyyy-MM-dd")), QLocale::LongFormat);
}

void OstQuoteView::setItemIndex(qint64 index)
{
    if (m_itemIndex == index)
        return;
    m_itemIndex = index;
    Q_EMIT itemIndexChanged();
}

void OstQuoteView::setIsShowing(bool showing)
{
    if (m_isShowing == showing)
        return;
    m_isShowing = showing;
    Q_EMIT isShowingChanged();
}

void OstQuoteView::setDepth(qreal progress, qreal minimumScale)
{
    if (m_depthProgress == progress && m_depthMinimumScale == minimumScale)
        return;
    m_depthProgress = progress;
    m_depthMinimumScale = minimumScale;
    Q_EMIT depthChanged();
}

void OstQuoteView::setCoverOffset(qreal offset)
{
    if (qFuzzyCompare(m_coverOffset, offset))
        return;
    m_coverOffset = offset;
    Q_EMIT coverOffsetChanged();
}

void OstQuoteView::setCoverSliding(bool sliding)
{
    if (m_coverSliding == sliding)
        return;
    m_coverSliding = sliding;
    Q_EMIT coverSlidingChanged();
}

void OstQuoteView::showCoverViewWithAnimated(bool animated)
{
    moveCover(0, animated, [this]() { setIsShowing(true); });
}

void OstQuoteView::tapped()
{
    // The flag is read now and flipped only when the move completes: a second tap during
    // the slide aims at the same place again, and both completions flip the flag.
    moveCover(m_isShowing ? CoverSlideDistance : 0, true, [this]() { setIsShowing(!m_isShowing); });
}

void OstQuoteView::moveCover(qreal offset, bool animated, std::function<void()> completion)
{
    if (m_coverAnimated != animated) {
        m_coverAnimated = animated;
        Q_EMIT coverAnimatedChanged();
    }
    m_coverMotion->moveTo(offset, std::move(completion));
}

// Touches and clicks that reach the page itself (not its covers, which take their own) are
// taps on the bare picture. A drag that the gallery takes over ungrabs the page instead of
// releasing it, so it never counts as a tap.

void OstQuoteView::mousePressEvent(QMouseEvent *event)
{
    event->accept();
}

void OstQuoteView::mouseReleaseEvent(QMouseEvent *event)
{
    event->accept();
    if (contains(event->position()))
        tapped();
}

void OstQuoteView::touchEvent(QTouchEvent *event)
{
    event->accept();
    if (event->type() == QEvent::TouchEnd && !event->points().isEmpty()
        && contains(event->points().constFirst().position()))
        tapped();
}
