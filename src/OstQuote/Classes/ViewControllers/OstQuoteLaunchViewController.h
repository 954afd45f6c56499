#pragma once

#include "OstQuoteGlobal.h"
#include "OstQuote.h"

#include <OTCommonsViewController.h>

#include <QColor>
#include <QFont>
#include <QList>
#include <QPointer>
#include <QStringList>
#include <QTimer>
#include <QUrl>
#include <QtQml/qqmlregistration.h>

class OstQuoteLaunchViewController;
class QQmlEngine;

// The host's side of the launch screen: told when the screen may be taken away. It may be
// told more than once (see OstQuoteLaunchViewController) and must not mind.
class OSTQUOTE_EXPORT OstQuoteLaunchViewControllerDelegate
{
public:
    virtual ~OstQuoteLaunchViewControllerDelegate() = default;
    virtual void willDismissLaunchViewController(OstQuoteLaunchViewController *controller)
    {
        Q_UNUSED(controller);
    }
};

#define OstQuoteLaunchViewControllerDelegate_iid "org.ostrel.OstQuote.OstQuoteLaunchViewControllerDelegate"
Q_DECLARE_INTERFACE(OstQuoteLaunchViewControllerDelegate, OstQuoteLaunchViewControllerDelegate_iid)

// The splash a host shows while it starts: today's sentence under a large picture, the logo in
// the bottom right corner and a framed button at the top right that opens the quote viewer.
// The reference (scripts/docs) documents it in full.
class OSTQUOTE_EXPORT OstQuoteLaunchViewController : public OTCommonsViewController
{
    Q_OBJECT
    // In QML, OstQuoteLaunchViewController is this type with its skin; the bare type is OstQuoteLaunchViewControllerTemplate.
    QML_NAMED_ELEMENT(OstQuoteLaunchViewControllerTemplate)

    Q_PROPERTY(QObject *delegate READ delegate WRITE setDelegate NOTIFY delegateChanged)
    Q_PROPERTY(bool popFromQuote READ popFromQuote WRITE setPopFromQuote NOTIFY popFromQuoteChanged)

    // What renderQuote() drew.
    Q_PROPERTY(QString quoteText READ quoteText NOTIFY quoteRendered)
    Q_PROPERTY(QFont quoteFont READ quoteFont NOTIFY quoteRendered)
    Q_PROPERTY(QColor quoteColor READ quoteColor NOTIFY quoteRendered)
    Q_PROPERTY(qreal quoteLineSpacing READ quoteLineSpacing NOTIFY quoteRendered)
    Q_PROPERTY(QUrl imageSource READ imageSource NOTIFY quoteRendered)

    Q_PROPERTY(QUrl logoImage READ logoImage CONSTANT)
    Q_PROPERTY(QString buttonTitle READ buttonTitle CONSTANT)

public:
    // Shown when there is no quote for today.
    static constexpr const char *DefaultQuote = "Success is falling nine times and getting up ten.";
    // From an appearance to telling the delegate.
    static constexpr int DismissInterval = 2500; // ms

    explicit OstQuoteLaunchViewController(QQuickItem *parent = nullptr);
    // Waits for batch writes still under way (they tell this screen).
    ~OstQuoteLaunchViewController() override;

    // A new launch screen with its skin, made in `engine`; push it onto an
    // OTNavigationController.
    static OstQuoteLaunchViewController *create(QQmlEngine *engine);

    QObject *delegate() const { return m_delegate; }
    void setDelegate(QObject *delegate);
    bool popFromQuote() const { return m_popFromQuote; }
    void setPopFromQuote(bool popFromQuote);
    // The pending countdown, or null.
    QTimer *timer() const { return m_timer; }

    // Views.
    // Draws `quote` (null: the fixed sentence and the default picture).
    void renderQuote(const OstQuotePtr &quote);

    // The launch cache.
    // The launch cache (OstQuoteLaunchCache, which outlives the screen).
    // "<CacheLocation>/launch_quotes", created (with its parents) on every call.
    QString quotesCachePath();
    // Draws today's cached quote, or the fixed sentence (also for a damaged or odd file).
    void loadCachedQuote();
    // Asks for the batch; the answer is filed on the thread pool, whether or not this screen
    // is still there.
    void fetchQuotes();
    // Files `quotes`, one file per assign_date (later ones win), then prefetches each quote's
    // first picture. Runs on any thread; every batch goes through here on the pool.
    void cacheQuotes(const QList<OstQuotePtr> &quotes);
    // Removes every file whose day began before now, today's included; names that are no
    // day key stay.
    void clearEarlyQuotes();

    // Countdown and exit.
    void timerFired(QTimer *timer);
    void resetTimer();

    void viewWillAppear(bool animated) override;
    void viewDidAppear(bool animated) override;


    QString quoteText() const { return m_quoteText; }
    QFont quoteFont() const { return m_quoteFont; }
    QColor quoteColor() const { return m_quoteColor; }
    qreal quoteLineSpacing() const { return m_quoteLineSpacing; }
    QUrl imageSource() const { return m_imageSource; }
    QUrl logoImage() const;
    QString buttonTitle() const;

public Q_SLOTS:
    // The button's action: stops the countdown and pushes a new quote viewer.
    void buttonPressed();

Q_SIGNALS:
    // The host may remove the screen (emitted whenever the delegate is asked, with or without
    // one).
    void willDismiss();
    // A batch has been filed; `dayKeys` are the files written, in order. Emitted on the thread
    // that wrote them, for every batch the cache files while this screen exists.
    void quotesCached(const QStringList &dayKeys);
    void quoteRendered();
    void delegateChanged();
    void popFromQuoteChanged();

protected:
    void viewDidLoad() override;

private:
    OstQuoteLaunchViewControllerDelegate *launchDelegate() const;
    void tellDelegate();
    void pushWantedViewer();


    QPointer<QObject> m_delegate;
    QPointer<QTimer> m_timer;
    bool m_popFromQuote = false;
    bool m_viewerWanted = false; // the button was pressed before the screen stood on a stack

    QString m_quoteText;
    QFont m_quoteFont;
    QColor m_quoteColor;
    qreal m_quoteLineSpacing = 0;
    QUrl m_imageSource;
};
