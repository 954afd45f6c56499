#pragma once

#include "OstQuoteGlobal.h"
#include "OstQuote.h"

#include <QPointer>
#include <QQuickItem>
#include <QUrl>
#include <QtQml/qqmlregistration.h>

class QQmlEngine;
class QVariantAnimation;

// One full-screen page of the quote gallery: the day's picture, a dark cover at the top and
// one at the bottom that carries the date, the sentence, its translation and the author.
// A tap on the bare picture slides the bottom cover (and the text on it) off the page; the
// next tap brings it back.
//
// Behaviour lives here; the look (children, anchors, fonts, colours) is the skin
// OstQuoteViewSkin.qml, whose root is this type. The skin binds to the texts and the offset
// below and hands its children back through the view properties.
class OSTQUOTE_EXPORT OstQuoteView : public QQuickItem
{
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(OstQuote *quote READ quoteObject NOTIFY quoteChanged)
    Q_PROPERTY(qint64 itemIndex READ itemIndex WRITE setItemIndex NOTIFY itemIndexChanged)
    Q_PROPERTY(bool isShowing READ isShowing WRITE setIsShowing NOTIFY isShowingChanged)

    // What the skin shows.
    Q_PROPERTY(QString authorText READ authorText NOTIFY textsChanged)
    Q_PROPERTY(QString translationText READ translationText NOTIFY textsChanged)
    Q_PROPERTY(QString contentText READ contentText NOTIFY textsChanged)
    Q_PROPERTY(QString dayText READ dayText NOTIFY textsChanged)
    Q_PROPERTY(QString monthYearText READ monthYearText NOTIFY textsChanged)
    Q_PROPERTY(QUrl imageSource READ imageSource NOTIFY imageSourceChanged)
    // How far the bottom cover sits below its place: 0 in view, 250 out of view.
    Q_PROPERTY(qreal coverOffset READ coverOffset NOTIFY coverOffsetChanged)
    // The scale of the page's content about its centre (the gallery's depth effect).
    Q_PROPERTY(qreal contentScale READ contentScale WRITE setContentScale NOTIFY contentScaleChanged)

    // The skin's children.
    Q_PROPERTY(QQuickItem *backgroundImageView MEMBER m_backgroundImageView)
    Q_PROPERTY(QQuickItem *coverView MEMBER m_coverView)
    Q_PROPERTY(QQuickItem *topCoverView MEMBER m_topCoverView)
    Q_PROPERTY(QQuickItem *authorLabel MEMBER m_authorLabel)
    Q_PROPERTY(QQuickItem *dateDayLabel MEMBER m_dateDayLabel)
    Q_PROPERTY(QQuickItem *dateMonthYearLabel MEMBER m_dateMonthYearLabel)
    Q_PROPERTY(QQuickItem *contentLabel MEMBER m_contentLabel)
    Q_PROPERTY(QQuickItem *translationLabel MEMBER m_translationLabel)

public:
    // The distance the cover slides and how long it takes.
    static constexpr qreal CoverSlideDistance = 250.0;
    static constexpr int CoverSlideDuration = 250; // ms

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
    QUrl imageSource() const { return m_imageSource; }
    qreal coverOffset() const { return m_coverOffset; }
    qreal contentScale() const { return m_contentScale; }
    void setContentScale(qreal scale);

    QQuickItem *backgroundImageView() const { return m_backgroundImageView; }
    QQuickItem *coverView() const { return m_coverView; }
    QQuickItem *topCoverView() const { return m_topCoverView; }
    QQuickItem *authorLabel() const { return m_authorLabel; }
    QQuickItem *dateDayLabel() const { return m_dateDayLabel; }
    QQuickItem *dateMonthYearLabel() const { return m_dateMonthYearLabel; }
    QQuickItem *contentLabel() const { return m_contentLabel; }
    QQuickItem *translationLabel() const { return m_translationLabel; }

Q_SIGNALS:
    void quoteChanged();
    void itemIndexChanged();
    void isShowingChanged();
    void textsChanged();
    void imageSourceChanged();
    void coverOffsetChanged();
    void contentScaleChanged();

protected:
    void mousePressEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void touchEvent(QTouchEvent *event) override;

private:
    // A tap that ended on the bare page.
    void tapped();
    // Moves the cover to `offset` over `duration` ms; `completion` runs when that move ends,
    // also when a later move has taken over the cover in the meantime.
    void moveCover(qreal offset, int duration, std::function<void()> completion);
    void setCoverOffset(qreal offset);

    OstQuotePtr m_quote;
    qint64 m_itemIndex = 0;
    bool m_isShowing = true;
    QString m_authorText;
    QString m_translationText;
    QString m_contentText;
    QString m_dayText;
    QString m_monthYearText;
    QUrl m_imageSource;
    qreal m_coverOffset = 0;
    qreal m_contentScale = 1;
    QPointer<QVariantAnimation> m_coverAnimation; // the move that drives the cover now

    QQuickItem *m_backgroundImageView = nullptr;
    QQuickItem *m_coverView = nullptr;
    QQuickItem *m_topCoverView = nullptr;
    QQuickItem *m_authorLabel = nullptr;
    QQuickItem *m_dateDayLabel = nullptr;
    QQuickItem *m_dateMonthYearLabel = nullptr;
    QQuickItem *m_contentLabel = nullptr;
    QQuickItem *m_translationLabel = nullptr;
};
