#pragma once

#include "OstQuoteGlobal.h"
#include "OstQuote.h"
#include "OstQuoteGalleryView.h"

#include <OTCommonsViewController.h>
#include <OstCustomShareView.h>

#include <QDateTime>
#include <QHash>
#include <QImage>
#include <QPointer>
#include <QUrl>
#include <QtQml/qqmlregistration.h>

class QQmlEngine;

// The quote viewer: a full-screen gallery with one page per day from today back to 1 October
// 2016, a back button and a share button over its top corners, and the app's logo, which only
// share pictures show.
// The reference (scripts/docs) documents it in full.
class OSTQUOTE_EXPORT OstQuoteViewController : public OTCommonsViewController,
                                               public OstQuoteGalleryViewDataSource,
                                               public OstQuoteGalleryViewDelegate,
                                               public OstCustomShareViewDelegate
{
    Q_OBJECT
    // In QML, OstQuoteViewController is this type with its skin; the bare type is OstQuoteViewControllerTemplate.
    QML_NAMED_ELEMENT(OstQuoteViewControllerTemplate)
    Q_INTERFACES(OstQuoteGalleryViewDataSource OstQuoteGalleryViewDelegate OstCustomShareViewDelegate)

    Q_PROPERTY(OstQuoteGalleryView *galleryView MEMBER m_galleryView)
    Q_PROPERTY(Chrome chrome READ chrome NOTIFY chromeChanged)

    // The images the skin shows.
    Q_PROPERTY(QUrl backImage READ backImage CONSTANT)
    Q_PROPERTY(QUrl backHighlightImage READ backHighlightImage CONSTANT)
    Q_PROPERTY(QUrl shareImage READ shareImage CONSTANT)
    Q_PROPERTY(QUrl shareHighlightImage READ shareHighlightImage CONSTANT)
    Q_PROPERTY(QUrl logoImage READ logoImage CONSTANT)

    // What screen readers say for the two buttons.
    Q_PROPERTY(QString backTitle READ backTitle CONSTANT)
    Q_PROPERTY(QString shareTitle READ shareTitle CONSTANT)
    // The day of the page in view in full ("Wednesday, 1 March 2017"); empty until the
    // gallery has pages. It changes when the gallery comes to rest on another day.
    Q_PROPERTY(QString dayInView READ dayInView NOTIFY dayInViewChanged)
    Q_PROPERTY(bool sharePanelShowing READ isSharePanelShowing NOTIFY sharePanelShowingChanged)
    // The day to open at ("yyyy-MM-dd"); empty, the default, for today. Set it before the
    // screen appears; set later, it turns to the day as showDay() does.
    Q_PROPERTY(QString initialDay READ initialDay WRITE setInitialDay NOTIFY initialDayChanged)

public:
    // What lies over the gallery. Normal: the back and share buttons, no logo. Screenshot (the
    // length of one capture for sharing): the logo, no buttons.
    enum Chrome { Normal, Screenshot };
    Q_ENUM(Chrome)

    // The first day that has a quote.
    static constexpr const char *StartDayKey = "2016-10-01";

    explicit OstQuoteViewController(QQuickItem *parent = nullptr);
    ~OstQuoteViewController() override;

    // A new viewer with its skin, made in `engine`; push it onto an OTNavigationController.
    static OstQuoteViewController *create(QQmlEngine *engine);

    // Calendar: page index 0 is today, each further index one day (86400 s) earlier.
    QDateTime dateToday();
    void setDateToday(const QDateTime &date);
    QString convertToDateStringWithIndex(qint64 index);
    // The page index of the day key `dayKey`, or -1 when the calendar does not hold that day.
    // A day between the first day and today that no page is labelled with (the fixed step
    // passes over a day when the clocks go forward) gets its neighbour's page.
    qint64 indexOfDay(const QString &dayKey);

    QString initialDay() const { return m_initialDay; }
    void setInitialDay(const QString &dayKey);
    // Turns to the page of `dayKey` as a swipe that lands there would, or, before today's
    // answer, makes it the day to open at. False, with a warning, for what is not a day key or
    // a day outside the calendar; false too while a finger holds the gallery.
    Q_INVOKABLE bool showDay(const QString &dayKey);

    // The quotes received so far, by their own assign_date.
    QHash<QString, OstQuotePtr> quotes() const { return m_quotes; }
    void setQuotes(const QHash<QString, OstQuotePtr> &quotes) { m_quotes = quotes; }

    // Asks the server for the day `date` ("yyyy-MM-dd" or "today"); the answer is kept and,
    // with `shouldReload`, reloads the gallery.
    void requestQuoteWithDate(const QString &date, bool shouldReload);

    // The gallery's data source and delegate.
    qint64 numberOfQuotesInGalleryView(OstQuoteGalleryView *galleryView) override;
    OstQuoteView *galleryViewQuoteAtIndex(OstQuoteGalleryView *galleryView, qint64 index) override;
    void galleryViewDidScrollToIndex(OstQuoteGalleryView *galleryView, qint64 index) override;

    // Sharing.
    Q_INVOKABLE void shareAction();
    void shareViewShareToPlatform(OstCustomShareView *shareView, int platformType) override;
    void shareViewCopyLinkClicked(OstCustomShareView *shareView, QObject *sender) override;
    void shareViewCopyTextClicked(OstCustomShareView *shareView, QObject *sender) override;
    void shareViewMoreButtonClicked(OstCustomShareView *shareView, QObject *sender) override;
    // The quote as plain text for the clipboard: the sentence, its translation, "— author"
    // and the day's link, a line each (a piece the quote lacks is left out).
    static QString plainText(const OstQuote &quote);
    void shareQuoteViewWithPlatform(int platformType);
    // The whole screen with the text cover of the page in view, as share pictures show it:
    // the Screenshot chrome, share panel away. Restores nothing (see initNavigationBar).
    QImage screenShotOfCurrentQuoteView();
    // The chrome as in normal use (Normal): logo hidden, back and share buttons shown.
    void initNavigationBar();
    Chrome chrome() const { return m_chrome; }
    // Made on first use, with this screen as its delegate.
    OstCustomShareView *shareView();
    void setShareView(OstCustomShareView *shareView);

    // A Weibo share went out (anywhere in the app): says so.
    void didShareToWeibo();

    Qt::ScreenOrientations supportedInterfaceOrientations() const override;
    void viewWillAppear(bool animated) override;
    void viewWillDisappear(bool animated) override;

    OstQuoteGalleryView *galleryView() const { return m_galleryView; }

    QUrl backImage() const;
    QUrl backHighlightImage() const;
    QUrl shareImage() const;
    QUrl shareHighlightImage() const;
    QUrl logoImage() const;
    QString backTitle() const;
    QString shareTitle() const;
    QString dayInView();
    bool isSharePanelShowing() const { return m_shareView && m_shareView->isShowing(); }

Q_SIGNALS:
    void chromeChanged();
    void dayInViewChanged();
    void sharePanelShowingChanged();
    void initialDayChanged();

protected:
    void viewDidLoad() override;
    void keyPressEvent(QKeyEvent *event) override;

private:
    void commonInit();
    void setupSubviews();
    // The quote of the page in view, or null.
    OstQuotePtr currentQuote();
    void setChrome(Chrome chrome);
    void fillPageInView(const OstQuotePtr &quote);
    void warnOutsideCalendar(const QString &dayKey, const QString &consequence);

    Chrome m_chrome = Normal;
    OstQuoteGalleryView *m_galleryView = nullptr;
    QPointer<OstCustomShareView> m_shareView;
    QHash<QString, OstQuotePtr> m_quotes;
    QDateTime m_dateToday;
    QString m_initialDay;
    // The day to show once today's answer has come.
    QString m_pendingDay;
    // The day opened or turned to from afar while its answer is awaited.
    QString m_awaitedDay;
};
