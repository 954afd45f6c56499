#include "OstQuoteView.h"

#include <OTDate.h>
#include <OTMotion.h>
#include <OTSkin.h>

#include <QLocale>
#include <QQmlEngine>

/*!
    \qmltype OstQuoteViewTemplate
    \inqmlmodule OstQuote
    \instantiates OstQuoteView
    \brief A quote page's state, without a look.

    The base of the skin \l OstQuoteView: the texts it shows, the picture, and where the cover
    stands.
*/

namespace {

const QUrl kSkinURL(QStringLiteral("qrc:/OstQuote/OstQuoteViewSkin.qml"));

// One compiled skin per engine, kept with the engine.
} // namespace

/*!
    \class OstQuoteView
    \inmodule OstQuote
    \brief One full-screen page of the quote gallery.

    The day's picture, a dark cover at the top and one at the bottom that carries the date, the
    sentence, its translation and the author. A tap on the bare picture slides the bottom cover
    (and the text on it) off the page; the next tap brings it back.

    Behaviour lives here; the look (children, anchors, fonts, colours) and the cover's slide are
    the skin, the QML type \l {OstQuote::OstQuoteView}{OstQuoteView}, whose root is this type.
    The skin binds to the texts and the offset below, animates the offset (a Behavior enabled
    while \l coverAnimated holds) and hands back the children that others reach: the picture and
    the cover. In QML the bare type is \l {OstQuote::OstQuoteViewTemplate}{OstQuoteViewTemplate}.
*/
OstQuoteView::OstQuoteView(QQuickItem *parent)
    : QQuickItem(parent)
{
    setAcceptedMouseButtons(Qt::LeftButton);
    setAcceptTouchEvents(true);
    m_coverMotion = new OTMotion(this, "coverOffset", "coverSliding");
}

OstQuoteView::~OstQuoteView() = default;

/*!
    Returns a new page with its skin, made in the QML engine of \a context (an item of the scene
    the page will live in). Returns null when \a context has no engine.
*/
OstQuoteView *OstQuoteView::create(QQuickItem *context)
{
    // The nearest item of the scene that QML made knows the engine.
    QQmlEngine *engine = OTSkin::engineForItem(context);
    return engine ? create(engine) : nullptr;
}

/*!
    \overload

    Makes the page in \a engine.
*/
OstQuoteView *OstQuoteView::create(QQmlEngine *engine)
{
    return OTSkin::createAs<OstQuoteView>(engine, kSkinURL, "_ostQuoteViewSkin");
}

/*!
    Shows \a quote. Fields the quote lacks leave the author line, the date and the picture as
    they were, and clear the sentence and the translation. A null quote counts as one that lacks
    every field.
*/
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

/*!
    Returns the day \a dayKey (\c yyyy-MM-dd) in full in the reader's language (QLocale()):
    "Wednesday, 1 March 2017", "2017年3月1日星期三". Returns an empty string for anything but a
    day key.
*/
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

/*!
    Sets the page's place in a page turn to \a progress, its content never shown smaller than
    \a minimumScale. The gallery calls this as the content moves.
*/
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

/*!
    Brings the text cover back into view: over 0.25 s when \a animated, or at once. isShowing
    turns true when that move completes (right after this returns, without animation).
*/
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

/*!
    \qmlproperty OstQuote OstQuoteViewTemplate::quote
    \readonly

    The quote shown, or null.
*/

/*!
    \qmlproperty int OstQuoteViewTemplate::itemIndex

    The page's day index in the gallery: 0 is today.
*/

/*!
    \qmlproperty bool OstQuoteViewTemplate::isShowing

    Whether the text cover is in view.
*/

/*!
    \qmlproperty string OstQuoteViewTemplate::authorText
    \readonly

    The author line.
*/

/*!
    \qmlproperty string OstQuoteViewTemplate::translationText
    \readonly

    The translation.
*/

/*!
    \qmlproperty string OstQuoteViewTemplate::contentText
    \readonly

    The sentence.
*/

/*!
    \qmlproperty string OstQuoteViewTemplate::dayText
    \readonly

    The day of the month.
*/

/*!
    \qmlproperty string OstQuoteViewTemplate::monthYearText
    \readonly

    The month and year.
*/

/*!
    \qmlproperty string OstQuoteViewTemplate::dateText
    \readonly

    The day in full, as screen readers say it (the labels show it in short).
*/

/*!
    \qmlproperty url OstQuoteViewTemplate::imageSource
    \readonly

    The source of the day's picture.
*/

/*!
    \qmlproperty real OstQuoteViewTemplate::coverHeight
    \readonly

    The bottom cover's height (250), which is also how far it slides off the picture.
*/

/*!
    \qmlproperty real OstQuoteViewTemplate::coverOffset

    How far the bottom cover sits below its place: 0 in view, 250 out of view. Set to where the
    cover is asked to go; the skin's slide writes the steps on the way.
*/

/*!
    \qmlproperty bool OstQuoteViewTemplate::coverAnimated
    \readonly

    Whether the move of the cover under way slides (true) or jumps (false).
*/

/*!
    \qmlproperty bool OstQuoteViewTemplate::coverSliding

    Set by the skin while its slide of the cover runs (bound to its animation's \c running):
    the move ends, and isShowing follows, when the slide does.
*/

/*!
    \qmlproperty real OstQuoteViewTemplate::depthProgress
    \readonly

    The page's place in a page turn of the gallery: 1 whole and in its place, falling to 0 as
    a page being left shrinks and fades behind the one sliding over it (or rising from 0 as the
    page being approached grows and appears). A skin shows the page with that opacity and its
    content scaled about its centre by depthProgress, never below depthMinimumScale.
*/

/*!
    \qmlproperty real OstQuoteViewTemplate::depthMinimumScale
    \readonly

    The least scale a skin shows the page's content at during a page turn (0.8 for the page
    being left).
*/

/*!
    \qmlmethod void OstQuoteViewTemplate::showCoverViewWithAnimated(bool animated)

    Brings the text cover back into view, \a animated or at once.
*/

/*!
    \property OstQuoteView::quote
    \brief The quote shown, or null.
*/

/*!
    \property OstQuoteView::itemIndex
    \brief The page's day index in the gallery: 0 is today.
*/

/*!
    \property OstQuoteView::isShowing
    \brief Whether the text cover is in view.
*/

/*!
    \property OstQuoteView::authorText
    \brief The author line the skin shows.
*/

/*!
    \property OstQuoteView::translationText
    \brief The translation the skin shows.
*/

/*!
    \property OstQuoteView::contentText
    \brief The sentence the skin shows.
*/

/*!
    \property OstQuoteView::dayText
    \brief The day of the month the skin shows.
*/

/*!
    \property OstQuoteView::monthYearText
    \brief The month and year the skin shows.
*/

/*!
    \property OstQuoteView::dateText
    \brief The day in full, as screen readers say it (the labels show it in short).
*/

/*!
    \property OstQuoteView::imageSource
    \brief The source of the day's picture.
*/

/*!
    \property OstQuoteView::coverHeight
    \brief The bottom cover's height (RVQuoteBottomCoverHeight, 250), which is also how far it
    slides off the picture.
*/

/*!
    \property OstQuoteView::coverOffset
    \brief How far the bottom cover sits below its place: 0 in view, 250 out of view.

    Set here to where the cover is asked to go; the skin's slide writes the steps on the way.
*/

/*!
    \property OstQuoteView::coverAnimated
    \brief Whether the move of the cover under way slides (true) or jumps (false).
*/

/*!
    \property OstQuoteView::coverSliding
    \brief Whether the skin's slide of the cover runs; set by the skin.

    The move of the cover ends when the slide does (see OTMotion).
*/

/*!
    \property OstQuoteView::depthProgress
    \brief The page's place in a page turn of the gallery: 1 whole and in its place, 0 gone
    behind the page sliding over it.
*/

/*!
    \property OstQuoteView::depthMinimumScale
    \brief The least scale the page's content is shown at during a page turn.
*/

/*!
    \fn qreal OstQuoteView::depthScale() const

    The scale the skin shows the content at: depthProgress, never below depthMinimumScale.
*/

/*!
    \variable OstQuoteView::CoverSlideDistance

    The distance the cover slides (over OTPalette::CoverSlideDuration): its whole height.
*/

/*!
    \fn OstQuoteView::OstQuoteView(QQuickItem *parent)

    Constructs a page without a skin, with \a parent. Use create() for a page with its skin.
*/

/*!
    \fn OstQuoteView::~OstQuoteView()

    Destroys the page.
*/

/*!
    \fn OstQuotePtr OstQuoteView::quote() const

    Returns the quote shown, or null.
*/

/*!
    \fn OstQuote *OstQuoteView::quoteObject() const

    Returns the quote shown as a plain pointer, or null.
*/
