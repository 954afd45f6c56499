#pragma once

#include "OstQuoteGlobal.h"
#include "OstQuote.h"
#include "RVGradientOverView.h"

#include <QPointer>
#include <QQuickItem>
#include <QUrl>
#include <QtQml/qqmlregistration.h>

class OTMotion;
class QQmlEngine;

// One full-screen page of the quote gallery: the day's picture, a dark cover at the top and
// one at the bottom that carries the date, the sentence, its translation and the author.
// A tap on the bare picture slides the bottom cover (and the text on it) off the page; the
// next tap brings it back.
//
// Behaviour lives here; the look (children, anchors, fonts, colours) and the cover's slide
// are the skin OstQuoteViewSkin.qml, the QML type OstQuoteView (this C++ type is
// OstQuoteViewTemplate in QML, for a skin of a host's own). The skin binds to the texts and
// the offset below and animates the offset (a Behavior enabled while coverAnimated holds).
// Its children carry object names ("backgroundImageView", "coverView", the labels') for
// whoever must find them.
class OSTQUOTE_EXPORT OstQuoteView : public QQuickItem
{
    Q_OBJECT
    QML_NAMED_ELEMENT(OstQuoteViewTemplate)
    Q_PROPERTY(OstQuote *quote READ quoteObject NOTIFY quoteChanged)
    Q_PROPERTY(qint64 itemIndex READ itemIndex WRITE setItemIndex NOTIFY itemIndexChanged)
    Q_PROPERTY(bool isShowing READ isShowing WRITE setIsShowing NOTIFY isShowingChanged)

    // What the skin shows.
    Q_PROPERTY(QString authorText READ authorText NOTIFY textsChanged)
    Q_PROPERTY(QString translationText READ translationText NOTIFY textsChanged)
    Q_PROPERTY(QString contentText READ contentText NOTIFY textsChanged)
    Q_PROPERTY(QString dayText READ dayText NOTIFY textsChanged)
    Q_PROPERTY(QString monthYearText READ monthYearText NOTIFY textsChanged)
    // The day in full, as screen readers say it (the labels show it in short).
    Q_PROPERTY(QString dateText READ dateText NOTIFY textsChanged)
    Q_PROPERTY(QUrl imageSource READ imageSource NOTIFY imageSourceChanged)
    // The bottom cover's height (RVQuoteBottomCoverHeight, 250), which is also how far it
    // slides off the picture.
    Q_PROPERTY(qreal coverHeight READ coverHeight CONSTANT)
    // How far the bottom cover sits below its place: 0 in view, 250 out of view. Set here to
    // where the cover is asked to go; the skin's slide writes the steps on the way.
    Q_PROPERTY(qreal coverOffset READ coverOffset WRITE setCoverOffset NOTIFY coverOffsetChanged)
    // Whether the move of the cover under way slides (true) or jumps (false).
    Q_PROPERTY(bool coverAnimated READ coverAnimated NOTIFY coverAnimatedChanged)
    // Set by the skin while its slide of the cover runs: the move ends when the slide does.
    Q_PROPERTY(bool coverSliding READ coverSliding WRITE setCoverSliding NOTIFY coverSlidingChanged)
    // The page's place in a page turn of the gallery: 1 whole and in its place, falling to 0
    // as a page being left shrinks and fades behind the one sliding over it (or rising from 0
    // as the page being approached grows and appears). The skin shows the page with that
    // opacity and its content scaled about its centre by depthProgress, never below
    // depthMinimumScale.
    Q_PROPERTY(qreal depthProgress READ depthProgress NOTIFY depthChanged)
    Q_PROPERTY(qreal depthMinimumScale READ depthMinimumScale NOTIFY depthChanged)

public:
    // The distance the cover slides (over OTPalette::CoverSlideDuration): its whole height.
    static constexpr qreal CoverSlideDistance = RVQuoteBottomCoverHeight;
    static qreal coverHeight() { return RVQuoteBottomCoverHeight; }

    explicit OstQuoteView(QQuickItem *parent = nullptr);
    ~OstQuoteView() override;

    // A new page with its skin, made in the QML engine of `context` (an item of the scene
    // the page will live in). Null when `context` has no engine.
    static OstQuoteView *create(QQuickItem *context);
    static OstQuoteView *create(QQmlEngine *engine);

    OstQuotePtr quote() const { return m_quote; }
    OstQuote *quoteObject() const { return m_quote.data(); }
    // Shows `quote`. Fields the quote lacks leave the author line, the date and the picture as
    // they were, and clear the sentence and the translation. A null quote counts as one that
    // lacks every field.
    void setQuote(const OstQuotePtr &quote);

    qint64 itemIndex() const { return m_itemIndex; }
    void setItemIndex(qint64 index);

    bool isShowing() const { return m_isShowing; }
    void setIsShowing(bool showing);

    // Brings the text cover back into view: over 0.25 s, or at once. isShowing turns true
    // when that move completes (right after this returns, without animation).
    Q_INVOKABLE void showCoverViewWithAnimated(bool animated);

    QString authorText() const { return m_authorText; }
    QString translationText() const { return m_translationText; }
    QString contentText() const { return m_contentText; }
    QString dayText() const { return m_dayText; }
    QString monthYearText() const { return m_monthYearText; }
    QString dateText() const { return m_dateText; }
    // The day `dayKey` ("yyyy-MM-dd") in full in the reader's language (QLocale()):
    // "Wednesday, 1 March 2017", "2017年3月1日星期三". Empty for anything but a day key.
    static QString spokenDate(const QString &dayKey);
    QUrl imageSource() const { return m_imageSource; }
    qreal coverOffset() const { return m_coverOffset; }
    bool coverAnimated() const { return m_coverAnimated; }
    bool coverSliding() const { return m_coverSliding; }
    void setCoverSliding(bool sliding);
    qreal depthProgress() const { return m_depthProgress; }
    qreal depthMinimumScale() const { return m_depthMinimumScale; }
    // The scale the skin shows the content at: depthProgress, never below depthMinimumScale.
    qreal depthScale() const { return qMax(m_depthProgress, m_depthMinimumScale); }
    void setDepth(qreal progress, qreal minimumScale);


Q_SIGNALS:
    void quoteChanged();
    void itemIndexChanged();
    void isShowingChanged();
    void textsChanged();
    void imageSourceChanged();
    void coverOffsetChanged();
    void coverAnimatedChanged();
    void coverSlidingChanged();
    void depthChanged();

protected:
    void mousePressEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void touchEvent(QTouchEvent *event) override;

private:
    // A tap that ended on the bare page.
    void tapped();
    // Moves the cover to `offset`, sliding or at once; `completion` runs when that move ends,
    // also when a later move has taken the cover elsewhere in the meantime.
    void moveCover(qreal offset, bool animated, std::function<void()> completion);
    void setCoverOffset(qreal offset);

    OstQuotePtr m_quote;
    qint64 m_itemIndex = 0;
    bool m_isShowing = true;
    QString m_authorText;
    QString m_translationText;
    QString m_contentText;
    QString m_dayText;
    QString m_monthYearText;
    QString m_dateText;
    QUrl m_imageSource;
    qreal m_coverOffset = 0;
    qreal m_depthProgress = 1;
    qreal m_depthMinimumScale = 0;
    bool m_coverAnimated = true;
    bool m_coverSliding = false;
    OTMotion *m_coverMotion = nullptr;

};
