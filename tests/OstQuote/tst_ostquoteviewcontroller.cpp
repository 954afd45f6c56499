#include "ViewerFixture.h"

#include <numeric>
#include "OstAPIClient+Quote.h"

#include <Global.h>
#include <OTNotificationCenter.h>

#include <QChildEvent>
#include <QClipboard>
#include <QDesktopServices>
#include <QDir>
#include <QGuiApplication>
#include <QImageReader>
#include <QMimeData>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QRegularExpression>
#include <QScopeGuard>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QThread>

// The days the shared client asks for, in the order the requests are made: the replies its
// network access manager creates, read back once each is built. (The server sees and logs
// requests on parallel connections in no fixed order.)
class RequestRecorder : public QObject
{
public:
    explicit RequestRecorder(QNetworkAccessManager *network) { network->installEventFilter(this); }

    QStringList days() const { return m_days; }

protected:
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (event->type() == QEvent::ChildAdded) {
            // Told while the reply is being made: it is read when it is complete.
            const QPointer<QObject> child = static_cast<QChildEvent *>(event)->child();
            const qsizetype slot = m_days.size();
            m_days.append(QString());
            QMetaObject::invokeMethod(
                this,
                [this, child, slot]() {
                    static const QRegularExpression day(QStringLiteral("/api/v2/quote/quotes/([^/]+)/"));
                    auto *reply = qobject_cast<QNetworkReply *>(child.data());
                    m_days[slot] = reply ? day.match(reply->url().path()).captured(1) : QString();
                },
                Qt::QueuedConnection);
        }
        return QObject::eventFilter(watched, event);
    }

private:
    QStringList m_days;
};

// Stands in for the browser: keeps every URL it is asked to open.
class BrowserRecorder : public QObject
{
    Q_OBJECT
public:
    QList<QUrl> opened;
public Q_SLOTS:
    void open(const QUrl &url) { opened.append(url); }
};

// Stands between the gallery and the viewer, counting how often the gallery asks for its
// number of pages: once per reload.
class CountingDataSource : public QObject, public OstQuoteGalleryViewDataSource
{
    Q_OBJECT
    Q_INTERFACES(OstQuoteGalleryViewDataSource)
public:
    explicit CountingDataSource(OstQuoteGalleryViewDataSource *target) : m_target(target) {}
    qint64 numberOfQuotesInGalleryView(OstQuoteGalleryView *galleryView) override
    {
        ++reloads;
        return m_target->numberOfQuotesInGalleryView(galleryView);
    }
    OstQuoteView *galleryViewQuoteAtIndex(OstQuoteGalleryView *galleryView, qint64 index) override
    {
        return m_target->galleryViewQuoteAtIndex(galleryView, index);
    }
    int reloads = 0;

private:
    OstQuoteGalleryViewDataSource *m_target;
};

// The viewer against the real server: the server's access log tells which days were asked
// for; the social service records shares.
class TestOstQuoteViewController : public ViewerFixture
{
    Q_OBJECT

    // What the server was asked for, in order: "today", "batch" or a day key.
    QStringList requestedDays() const { return m_server.requestedQuotes(); }

    bool chromeIsNormal() const
    {
        return item("backButton")->isVisible() && item("shareButton")->isVisible() && !item("ostrelLogo")->isVisible();
    }

    bool chromeIsScreenshot() const
    {
        return !item("backButton")->isVisible() && !item("shareButton")->isVisible() && item("ostrelLogo")->isVisible();
    }

    OstQuotePtr todaysQuote() const { return m_viewer->quotes().value(QStringLiteral("2017-03-01")); }

    // The share of pixels of `rect` (all when empty) that differ visibly between two pictures
    // of one size.
    static double differingPixels(const QImage &a, const QImage &b, QRect rect = {})
    {
        if (a.size() != b.size())
            return 1.0;
        if (rect.isEmpty())
            rect = a.rect();
        rect &= a.rect();
        int differing = 0;
        for (int y = rect.top(); y <= rect.bottom(); ++y) {
            for (int x = rect.left(); x <= rect.right(); ++x) {
                const QRgb p = a.pixel(x, y);
                const QRgb q = b.pixel(x, y);
                if (qAbs(qRed(p) - qRed(q)) > 24 || qAbs(qGreen(p) - qGreen(q)) > 24 || qAbs(qBlue(p) - qBlue(q)) > 24)
                    ++differing;
            }
        }
        return double(differing) / double(rect.width() * rect.height());
    }

    // The content shared to the panel's first target: the quote in view's.
    QString sharedContent()
    {
        m_viewer->shareViewShareToPlatform(m_viewer->shareView(), 0);
        return m_shares->shares.size() == 1 ? m_shares->shares.first().content : QStringLiteral("<%1 shares>").arg(m_shares->shares.size());
    }

    // At rest on today's page, whole and in its place, and today's quote is the one shared.
    void verifyRestingOnToday()
    {
        waitForRest();
        OTScrollView *scroll = gallery()->scrollView();
        QCOMPARE(scroll->contentOffset().x(), scroll->contentSize().width() - scroll->width());
        QCOMPARE(gallery()->currentIndex(), 0);
        OstQuoteView *page = gallery()->currentQuoteView();
        QCOMPARE(page->quote()->assign_date(), QStringLiteral("2017-03-01"));
        QCOMPARE(page->position().x(), scroll->contentOffset().x());
        QCOMPARE(page->opacity(), 1.0);
        QCOMPARE(shownScale(page), 1.0);
        QCOMPARE(sharedContent(), todaysQuote()->content());
    }

    // The panel's copy button `clicked`, with nothing to copy: the clipboard keeps what it
    // had and nothing is said.
    template<typename Slot>
    void verifyNothingCopied(Slot clicked)
    {
        QSignalSpy messages(Global::sharedGlobal(), &Global::hubShown);
        QGuiApplication::clipboard()->setText(QStringLiteral("before"));
        (m_viewer->*clicked)(m_viewer->shareView(), nullptr);
        QCOMPARE(QGuiApplication::clipboard()->text(), QStringLiteral("before"));
        QCOMPARE(messages.count(), 0);
    }

private Q_SLOTS:
    void init() { setUpViewer(); }

    void cleanup()
    {
        OTDesktopSocialServiceBackend::setPicturesDirectory(QString());
        tearDownViewer();
    }

    // --- Requests and the gallery ---------------------------------------------------------

    void onlyTodayIsAskedBeforeItsAnswer()
    {
        openViewer();
        // Until the answer the gallery has no pages and nothing else is asked.
        QCOMPARE(gallery()->numberOfQuotes(), 0);
        QVERIFY(gallery()->scrollView()->subviews().isEmpty());
        QSignalSpy reloads(gallery(), &OstQuoteGalleryView::numberOfQuotesChanged);
        QTRY_COMPARE(reloads.count(), 1);
        // 2016-10-01 through 2017-03-01.
        QCOMPARE(gallery()->numberOfQuotes(), 152);
        waitForRest();
        QTRY_COMPARE(requestedDays(), (QStringList{"today", "2017-02-28"}));

        // Page 0 shows today, its text and date in place.
        OstQuoteView *page = gallery()->currentQuoteView();
        QCOMPARE(gallery()->currentIndex(), 0);
        QCOMPARE(page->quote()->assign_date(), QStringLiteral("2017-03-01"));
        QVERIFY(!page->contentText().isEmpty());
        QCOMPARE(page->dayText(), QStringLiteral("01"));
        QCOMPARE(m_viewer->dateToday(), QDateTime(QDate(2017, 3, 1), QTime(0, 0), Qt::UTC));
        QTRY_COMPARE(page->findChild<QQuickItem *>(QStringLiteral("backgroundImageView"))->property("status").toInt(), 1); // Image.Ready
        QTRY_COMPARE(m_navigation->navigationBarHiddenProgress(), 1.0);
        saveScreenshot(m_view.get(), QStringLiteral("viewer.png"));
        QCOMPARE(reloads.count(), 1);
    }

    // One download per picture: thirty swipes over fifteen days and back, each page showing
    // its picture, ask the server for each picture once (the server lets them be kept); the
    // pages, their prefetch and the pages made again on the way back share it.
    void eachPictureIsDownloadedOnceInThirtySwipes()
    {
        openViewerOnToday();
        for (int i = 0; i < 30; ++i) {
            swipe(i < 15 ? 200 : -200);
            QTRY_COMPARE_WITH_TIMEOUT(gallery()->currentQuoteView()->findChild<QQuickItem *>(QStringLiteral("backgroundImageView"))->property("status").toInt(), 1,
                                      10000); // Image.Ready
        }
        QCOMPARE(gallery()->currentIndex(), 0);
        QTest::qWait(400); // the access log is flushed every ~200 ms
        QFile log(m_server.accessLogPath());
        QVERIFY(log.open(QIODevice::ReadOnly));
        QHash<QByteArray, int> requests;
        for (const QByteArray &line : log.readAll().split('\n')) {
            const qsizetype at = line.indexOf("GET /media/quotes/");
            if (at >= 0)
                ++requests[line.mid(at + 4).split(' ').value(0)];
        }
        qInfo("%d pictures, %d requests for them", int(requests.size()), int(std::accumulate(requests.cbegin(), requests.cend(), 0)));
        QVERIFY2(requests.size() >= 15, qPrintable(QString::number(requests.size())));
        for (auto it = requests.cbegin(); it != requests.cend(); ++it)
            QVERIFY2(it.value() == 1, qPrintable(QStringLiteral("%1 asked %2 times").arg(QString::fromLatin1(it.key())).arg(it.value())));
    }

    void swipingAsksOneDayAhead()
    {
        openViewerOnToday();
        QTRY_COMPARE(requestedDays(), (QStringList{"today", "2017-02-28"}));

        swipe(200);         // towards the older day on the left
        QCOMPARE(gallery()->currentIndex(), 1);
        // Its own day was there already: only the next older one is asked.
        QTRY_COMPARE(requestedDays(), (QStringList{"today", "2017-02-28", "2017-02-27"}));
        QTRY_VERIFY(m_viewer->quotes().contains(QStringLiteral("2017-02-27")));
        QCOMPARE(gallery()->currentQuoteView()->quote()->assign_date(), QStringLiteral("2017-02-28"));

        swipe(200, false);  // a slow drag, far enough to land on the next page
        QCOMPARE(gallery()->currentIndex(), 2);
        QTRY_COMPARE(requestedDays().size(), 4);
        QCOMPARE(requestedDays().last(), QStringLiteral("2017-02-26"));
        QCOMPARE(gallery()->currentQuoteView()->quote()->assign_date(), QStringLiteral("2017-02-27"));

        // Back to today: every day on the way is known, nothing more is asked.
        swipe(-200);
        swipe(-200);
        QCOMPARE(gallery()->currentIndex(), 0);
        QTest::qWait(300);  // the access log is flushed every ~200 ms
        QCOMPARE(requestedDays().size(), 4);
    }

    void aMissingDayIsAskedAgainAtEachRest()
    {
        // Second day of all: page 1 is 1 October 2016, and the day before it never exists.
        QVERIFY(startServer(QDateTime(QDate(2016, 10, 2), QTime(10, 0), Qt::UTC)));
        openViewerOnToday();
        QCOMPARE(gallery()->numberOfQuotes(), 2);
        QTRY_COMPARE(requestedDays(), (QStringList{"today", "2016-10-01"}));

        swipe(200);
        QCOMPARE(gallery()->currentIndex(), 1);
        QTRY_COMPARE(requestedDays(), (QStringList{"today", "2016-10-01", "2016-09-30"}));
        // Past the end and back: the gallery rests on page 1 again and asks again.
        swipe(120, false);
        QCOMPARE(gallery()->currentIndex(), 1);
        QTRY_COMPARE(requestedDays(), (QStringList{"today", "2016-10-01", "2016-09-30", "2016-09-30"}));
        QVERIFY(!m_viewer->quotes().contains(QStringLiteral("2016-09-30")));

        // A swipe towards today stopped at once: the gallery settles back on the oldest page
        // and asks again, as after any swipe that comes to rest there.
        OTScrollView *scroll = gallery()->scrollView();
        touchDrag(m_view.get(), QPoint(335, 400), QPoint(-60, 0), 2, 4);
        QVERIFY(scroll->decelerating());
        touchPress(m_view.get(), QPoint(187, 300));
        QVERIFY(scroll->contentOffset().x() < 0.5 * scroll->width());
        touchLift(m_view.get(), QPoint(187, 300));
        waitForRest();
        QCOMPARE(scroll->contentOffset().x(), 0.0);
        QCOMPARE(gallery()->currentIndex(), 1);
        QCOMPARE(gallery()->currentQuoteView()->quote()->assign_date(), QStringLiteral("2016-10-01"));
        QTRY_COMPARE(requestedDays().mid(4), QStringList{"2016-09-30"});
        QCOMPARE(sharedContent(), m_viewer->quotes().value(QStringLiteral("2016-10-01"))->content());
    }

    void aFailedTodayLeavesTheGalleryEmpty()
    {
        OstAPIClient::sharedClient()->setBaseURL(QUrl(QStringLiteral("http://127.0.0.1:%1").arg(ot_unusedLoopbackPort())));
        openViewer();
        // A second request to the same refused port, sent after the viewer's: once it has
        // failed, so has the viewer's.
        bool failed = false;
        getQuoteWithDate(OstAPIClient::sharedClient(), QStringLiteral("today"),
                         [&failed](OstQuotePtr quote, const OTError &error) { failed = !quote && error; });
        QTRY_VERIFY_WITH_TIMEOUT(failed, 15000);
        QCoreApplication::processEvents();
        QCOMPARE(gallery()->numberOfQuotes(), 0);
        QVERIFY(gallery()->scrollView()->subviews().isEmpty());
        QVERIFY(m_viewer->quotes().isEmpty());
        QVERIFY(chromeIsNormal());
    }

    void theTodayAnswerReloadsOnceAndLaterAnswersNever()
    {
        openViewer();
        CountingDataSource counting(m_viewer.data());
        gallery()->setDataSource(&counting);
        QTRY_VERIFY(gallery()->numberOfQuotes() > 0);
        QCOMPARE(counting.reloads, 1);
        // The day before arrives, then a swipe brings two more answers: no reload for any.
        QTRY_VERIFY(m_viewer->quotes().contains(QStringLiteral("2017-02-28")));
        waitForRest();
        swipe(200);
        QTRY_VERIFY(m_viewer->quotes().contains(QStringLiteral("2017-02-27")));
        QTest::qWait(200);
        QCOMPARE(counting.reloads, 1);
        gallery()->setDataSource(m_viewer.data());
    }

    void aDayAndTheDayBeforeItBothMissingAreAskedOlderFirst()
    {
        openViewerOnToday();
        // Forget the day before: landing on it, both it and its older neighbour are missing.
        m_viewer->setQuotes({{QStringLiteral("2017-03-01"), todaysQuote()}});
        RequestRecorder recorder(OstAPIClient::sharedClient()->networkAccessManager());
        swipe(200);
        QCOMPARE(gallery()->currentIndex(), 1);
        QTRY_COMPARE(recorder.days(), (QStringList{"2017-02-27", "2017-02-28"}));
        QTRY_VERIFY(m_viewer->quotes().contains(QStringLiteral("2017-02-28")));
    }

    // Opened at a day, the viewer rests on it once today's answer has come, and asks for the
    // days as at any rest (the older neighbour first); a day the calendar does not hold is
    // refused aloud and the viewer opens at today.
    void theViewerOpensAtTheDayItIsGiven_data()
    {
        QTest::addColumn<QString>("day");
        QTest::addColumn<qint64>("index");
        QTest::addColumn<QStringList>("requested");
        QTest::addColumn<QString>("warning");
        const QStringList atToday{"today", "2017-02-28"};
        QTest::newRow("a day in the calendar") << "2017-02-14" << qint64(15) << QStringList{"today", "2017-02-13", "2017-02-14"} << "";
        QTest::newRow("the first day") << "2016-10-01" << qint64(151) << QStringList{"today", "2016-09-30", "2016-10-01"} << "";
        QTest::newRow("today") << "2017-03-01" << qint64(0) << atToday << "";
        QTest::newRow("the day before the first") << "2016-09-30" << qint64(0) << atToday << "outside the days";
        QTest::newRow("tomorrow") << "2017-03-02" << qint64(0) << atToday << "outside the days";
        QTest::newRow("no such day") << "2017-02-30" << qint64(0) << atToday << "not a day";
    }

    void theViewerOpensAtTheDayItIsGiven()
    {
        QFETCH(QString, day);
        QFETCH(qint64, index);
        QFETCH(QStringList, requested);
        QFETCH(QString, warning);
        if (!warning.isEmpty())
            QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QRegularExpression::escape(warning)));
        openViewer(day);
        QTRY_VERIFY(gallery()->numberOfQuotes() > 0);
        waitForRest();
        QCOMPARE(gallery()->currentIndex(), index);
        QTRY_COMPARE(requestedDays(), requested);
        const QString shown = m_viewer->convertToDateStringWithIndex(index);
        QTRY_VERIFY(gallery()->currentQuoteView() && gallery()->currentQuoteView()->quote());
        QCOMPARE(gallery()->currentQuoteView()->quote()->assign_date(), shown);
        QCOMPARE(m_viewer->dayInView(), OstQuoteView::spokenDate(shown));
        QTest::qWait(300); // the access log is flushed every ~200 ms: nothing more was asked
        QCOMPARE(requestedDays(), requested);
    }

    // Seen from summer time, the fixed step passes over the day the clocks went forward: no
    // page is labelled with it, and its neighbour's page opens instead of none.
    void aDayWithoutAPageOpensItsNeighbour()
    {
        OTClock::setTimeZone(QTimeZone("Europe/London"));
        QVERIFY(startServer(QDateTime(QDate(2019, 4, 15), QTime(10, 0), Qt::UTC)));
        openViewer(QStringLiteral("2019-03-31"));
        QTRY_VERIFY(gallery()->numberOfQuotes() > 0);
        waitForRest();
        const QString shown = m_viewer->convertToDateStringWithIndex(gallery()->currentIndex());
        QVERIFY2(shown == QLatin1String("2019-03-30") || shown == QLatin1String("2019-04-01"), qPrintable(shown));
    }

    // Later on, showDay() turns to a day as a swipe would; a day outside the calendar leaves
    // the viewer where it is.
    void showDayTurnsToTheDay()
    {
        openViewerOnToday();
        QVERIFY(m_viewer->showDay(QStringLiteral("2017-01-01")));
        waitForRest();
        QCOMPARE(gallery()->currentIndex(), 59);
        QTRY_VERIFY(gallery()->currentQuoteView()->quote());
        QCOMPARE(gallery()->currentQuoteView()->quote()->assign_date(), QStringLiteral("2017-01-01"));
        QTRY_VERIFY(m_viewer->quotes().contains(QStringLiteral("2016-12-31")));

        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("2016-01-01 is outside .*stays where it is")));
        QVERIFY(!m_viewer->showDay(QStringLiteral("2016-01-01")));
        QVERIFY(m_viewer->showDay(QStringLiteral("2017-01-01")));
        QCOMPARE(gallery()->currentIndex(), 59);
    }

    // Days the device has shown come back with the server gone: today from the last answer
    // the server gave while that is fresh and still today, the day before from its own. Past
    // midnight the kept "today" is no answer: the viewer stays empty rather than show
    // yesterday as today.
    void daysAlreadySeenAreShownOffline()
    {
        // Noon: today's answer is fresh until midnight.
        QVERIFY(startServer(QDateTime(QDate(2017, 3, 1), QTime(12, 0), Qt::UTC)));
        openViewerOnToday();
        const OstQuotePtr today = todaysQuote();
        const OstQuotePtr yesterday = m_viewer->quotes().value(QStringLiteral("2017-02-28"));
        m_navigation->popViewControllerAnimated(false);
        QTRY_VERIFY(!m_viewer);
        m_server.stop();

        // Some networks drop a connection to a closed port instead of refusing it: then only
        // the deadline ends the request, and the cache answers after it.
        OstAPIClient *client = OstAPIClient::sharedClient();
        const int timeout = client->transferTimeout();
        client->setTransferTimeout(2000);
        const auto restore = qScopeGuard([client, timeout] { client->setTransferTimeout(timeout); });
        openViewer();
        QTRY_VERIFY_WITH_TIMEOUT(gallery()->numberOfQuotes() > 0, 10000);
        QTRY_VERIFY_WITH_TIMEOUT(gallery()->currentQuoteView() && gallery()->currentQuoteView()->quote(), 10000);
        QVERIFY(gallery()->currentQuoteView()->quote()->isEqualToModel(today.data()));
        QTRY_VERIFY_WITH_TIMEOUT(m_viewer->quotes().contains(QStringLiteral("2017-02-28")), 10000);
        waitForRest();
        swipe(200);
        QCOMPARE(gallery()->currentIndex(), 1);
        QTRY_VERIFY(gallery()->currentQuoteView()->quote());
        QVERIFY(gallery()->currentQuoteView()->quote()->isEqualToModel(yesterday.data()));

        m_navigation->popViewControllerAnimated(false);
        QTRY_VERIFY(!m_viewer);
        OTClock::setNow(QDateTime(QDate(2017, 3, 2), QTime(0, 0, 1), Qt::UTC));
        openViewer();
        // Longer than the deadline and the cache's answer after it.
        QTest::qWait(4000);
        QCOMPARE(gallery()->numberOfQuotes(), 0);
        QVERIFY(m_viewer->quotes().isEmpty());
    }

    void calendarCountsFromTheStartDay()
    {
        openViewer();
        // Before today's answer, "today" is the app's clock.
        OTClock::setNow(QDateTime(QDate(2016, 10, 1), QTime(23, 59, 59), Qt::UTC));
        QCOMPARE(m_viewer->numberOfQuotesInGalleryView(nullptr), 1);
        OTClock::setNow(QDateTime(QDate(2016, 10, 2), QTime(0, 0, 1), Qt::UTC));
        QCOMPARE(m_viewer->numberOfQuotesInGalleryView(nullptr), 2);
        // Before the start: truncated toward zero, then negative, never clamped.
        OTClock::setNow(QDateTime(QDate(2016, 9, 29), QTime(12, 0), Qt::UTC));
        QCOMPARE(m_viewer->numberOfQuotesInGalleryView(nullptr), 0);
        OTClock::setNow(QDateTime(QDate(2016, 9, 28), QTime(12, 0), Qt::UTC));
        QCOMPARE(m_viewer->numberOfQuotesInGalleryView(nullptr), -1);

        m_viewer->setDateToday(QDateTime(QDate(2016, 10, 3), QTime(9, 0), Qt::UTC));
        QCOMPARE(m_viewer->convertToDateStringWithIndex(0), QStringLiteral("2016-10-03"));
        QCOMPARE(m_viewer->convertToDateStringWithIndex(2), QStringLiteral("2016-10-01"));
        QCOMPARE(m_viewer->convertToDateStringWithIndex(-1), QStringLiteral("2016-10-04"));
        // A null reference counts from the clock again.
        m_viewer->setDateToday(QDateTime());
        QCOMPARE(m_viewer->convertToDateStringWithIndex(0), QStringLiteral("2016-09-28"));
    }

    void dayKeysKeepTheFixedStepAcrossDaylightSaving()
    {
        // Steps are 86400 s, never calendar days: near midnight, a 25-hour day gives two
        // pages the same day and a 23-hour day skips one.
        const QTimeZone london("Europe/London");
        OTClock::setTimeZone(london);
        openViewer();
        m_viewer->setDateToday(QDateTime(QDate(2016, 10, 30), QTime(23, 30), london));
        QCOMPARE(m_viewer->convertToDateStringWithIndex(0), QStringLiteral("2016-10-30"));
        QCOMPARE(m_viewer->convertToDateStringWithIndex(1), QStringLiteral("2016-10-30"));
        QCOMPARE(m_viewer->convertToDateStringWithIndex(2), QStringLiteral("2016-10-29"));
        m_viewer->setDateToday(QDateTime(QDate(2017, 3, 27), QTime(0, 30), london));
        QCOMPARE(m_viewer->convertToDateStringWithIndex(0), QStringLiteral("2017-03-27"));
        QCOMPARE(m_viewer->convertToDateStringWithIndex(1), QStringLiteral("2017-03-25"));
    }

    // --- Navigation -----------------------------------------------------------------------

    void theBarHidesInTheViewerAndComesBackAfterIt()
    {
        QVERIFY(!m_navigation->isNavigationBarHidden());
        openViewerOnToday();
        QVERIFY(m_navigation->isNavigationBarHidden());
        QTRY_COMPARE(m_navigation->navigationBarHiddenProgress(), 1.0);
        QCOMPARE(item("backButton")->size(), QSizeF(60, 40));
        QCOMPARE(item("backButton")->mapToScene(QPointF(0, 0)), QPointF(15, 25));
        QCOMPARE(item("shareButton")->mapToScene(QPointF(60, 0)), QPointF(375 - 15, 25));
        QVERIFY(chromeIsNormal());

        QTest::mouseClick(m_view.get(), Qt::LeftButton, {}, centreOf(item("backButton")));
        QTRY_COMPARE(m_navigation->depth(), 1);
        QVERIFY(!m_navigation->isNavigationBarHidden());
        QTRY_VERIFY(!m_viewer);   // popped screens go away
    }

    // Pushed with the slide, the viewer comes in where it will stay: in every frame of the
    // push its gallery fills the window's height, and its chrome and its page's text stand
    // as far below the window's top as at rest, while the host's bar slides away above it.
    void theViewerComesInWhereItStays()
    {
        openViewerOnToday();   // today's answer is known: the page has its text from the start
        m_navigation->popViewControllerAnimated(false);
        QTRY_VERIFY(!m_viewer);
        QTRY_COMPARE(m_navigation->navigationBarHiddenProgress(), 0.0);

        m_viewer = OstQuoteViewController::create(m_view->engine());
        QVERIFY(m_viewer);
        QList<QRectF> galleryFrames;
        QList<qreal> backTops;
        QList<qreal> textTops;
        connect(m_view.get(), &QQuickWindow::afterAnimating, this, [&]() {
            if (!m_viewer || !m_navigation->isBusy())
                return;
            galleryFrames.append(sceneRect(gallery()));
            backTops.append(item("backButton")->mapToScene(QPointF(0, 0)).y());
            // The page's text, where the page stands whole in its place (the gallery's own
            // first scroll to today may still be on its way).
            OstQuoteView *page = gallery()->currentQuoteView();
            if (page && shownScale(page) == 1 && page->opacity() == 1)
                textTops.append(findItem(page, QStringLiteral("contentLabel"))->mapToScene(QPointF(0, 0)).y());
            if (galleryFrames.size() == 6)
                saveScreenshot(m_view.get(), QStringLiteral("viewer-push.png"));
        });
        m_navigation->pushViewController(m_viewer, true);
        QTRY_COMPARE(m_navigation->isBusy(), false);
        disconnect(m_view.get(), &QQuickWindow::afterAnimating, this, nullptr);
        waitForRest();

        QVERIFY2(galleryFrames.size() >= 3, "the push is seen mid-slide");
        for (const QRectF &frame : galleryFrames) {
            QCOMPARE(frame.top(), 0.0);
            QCOMPARE(frame.height(), 667.0);
        }
        for (qreal top : backTops)
            QCOMPARE(top, 25.0);
        const qreal textAtRest = findItem(gallery()->currentQuoteView(), QStringLiteral("contentLabel"))->mapToScene(QPointF(0, 0)).y();
        for (qreal top : textTops)
            QCOMPARE(top, textAtRest);
    }

    // The bar's change animates whatever the screen was told: pushed and popped without
    // animation, the bar still slides.
    void theBarAlwaysAnimates()
    {
        QList<qreal> progress;
        connect(m_navigation, &OTNavigationController::navigationBarHiddenProgressChanged, this,
                [this, &progress]() { progress.append(m_navigation->navigationBarHiddenProgress()); });
        openViewer();
        QVERIFY(m_navigation->isNavigationBarHidden());
        QVERIFY(m_navigation->navigationBarHiddenProgress() < 1.0);
        QTRY_COMPARE(m_navigation->navigationBarHiddenProgress(), 1.0);
        QVERIFY(std::any_of(progress.cbegin(), progress.cend(), [](qreal p) { return p > 0.0 && p < 1.0; }));

        progress.clear();
        m_navigation->popViewControllerAnimated(false);
        QVERIFY(!m_navigation->isNavigationBarHidden());
        QVERIFY(m_navigation->navigationBarHiddenProgress() > 0.0);
        QTRY_COMPARE(m_navigation->navigationBarHiddenProgress(), 0.0);
        QVERIFY(std::any_of(progress.cbegin(), progress.cend(), [](qreal p) { return p > 0.0 && p < 1.0; }));
        disconnect(m_navigation, &OTNavigationController::navigationBarHiddenProgressChanged, this, nullptr);
    }

    // --- Sharing --------------------------------------------------------------------------

    void theShareButtonOpensThePanel()
    {
        openViewerOnToday();
        QTest::mouseClick(m_view.get(), Qt::LeftButton, {}, centreOf(item("shareButton")));
        QVERIFY(m_viewer->shareView()->isShowing());
        QCOMPARE(m_viewer->shareView()->parentItem(), m_viewer.data());
        QTRY_COMPARE(m_viewer->shareView()->presentation(), 1.0);
        saveScreenshot(m_view.get(), QStringLiteral("viewer-share-panel.png"));
    }

    void sharingToEachKindOfTarget_data()
    {
        QTest::addColumn<int>("platform");
        QTest::addColumn<QString>("linkKey");
        QTest::addColumn<bool>("withText");
        QTest::addColumn<bool>("withImage");
        QTest::newRow("mail: text and link") << 3 << "mail" << true << false;
        QTest::newRow("save image: picture only") << 6 << "save_image" << false << true;
        QTest::newRow("copy image: picture only") << 7 << "copy_image" << false << true;
        QTest::newRow("weibo: everything") << 0 << "weibo" << true << true;
        QTest::newRow("qzone: everything") << 2 << "qzone" << true << true;
        QTest::newRow("twitter: everything") << 5 << "twitter" << true << true;
    }

    void sharingToEachKindOfTarget()
    {
        QFETCH(int, platform);
        QFETCH(QString, linkKey);
        QFETCH(bool, withText);
        QFETCH(bool, withImage);
        openViewerOnToday();
        // The reader has slid the text away: the share picture shows it anyway.
        OstQuoteView *page = gallery()->currentQuoteView();
        QTest::mouseClick(m_view.get(), Qt::LeftButton, {}, QPoint(187, 160));
        QTRY_VERIFY(!page->isShowing());
        m_viewer->shareAction();

        m_viewer->shareViewShareToPlatform(m_viewer->shareView(), platform);

        QCOMPARE(m_shares->shares.size(), 1);
        const OTShareRequest &share = m_shares->shares.first();
        const OstQuotePtr quote = todaysQuote();
        const QString link = quote->share_urls().value(linkKey).toString();
        QVERIFY(link.startsWith(m_server.baseURL().toString()));
        QCOMPARE(share.platform, platform);
        QCOMPARE(share.controller.data(), m_viewer.data());
        QCOMPARE(share.logUrl, link);
        QCOMPARE(share.content, withText ? quote->content() : QString());
        QCOMPARE(share.topic, withText ? QStringLiteral("#Quote of the Day#") : QString());
        QCOMPARE(share.url, withText ? link : QString());
        QCOMPARE(share.image.isNull(), !withImage);
        if (withImage) {
            QCOMPARE(share.image.deviceIndependentSize(), QSizeF(375, 667));
            // The logo is in the picture, over the top right corner.
            const qreal ratio = share.image.devicePixelRatio();
            bool logoSeen = false;
            for (int x = 280; x < 357 && !logoSeen; ++x)
                logoSeen = share.image.pixelColor(int(x * ratio), int(44 * ratio)).lightness() > 200;
            QVERIFY(logoSeen);
        }
        // Afterwards: the chrome is back, the text cover stays, the panel is away.
        QVERIFY(chromeIsNormal());
        QCOMPARE(page->coverOffset(), 0.0);
        QTRY_VERIFY(page->isShowing());
        QVERIFY(!m_viewer->shareView()->isShowing());
    }

    void sharingWithoutAStoredQuote()
    {
        openViewerOnToday();
        m_viewer->setQuotes({});

        // The picture-only targets go ahead with whatever link there is for nothing.
        m_viewer->shareQuoteViewWithPlatform(6);
        QCOMPARE(m_shares->shares.size(), 1);
        QVERIFY(m_shares->shares.first().logUrl.isNull());
        QVERIFY(!m_shares->shares.first().image.isNull());
        QVERIFY(chromeIsNormal());

        // Any other target shares nothing and leaves the chrome as the screenshot set it.
        m_viewer->shareQuoteViewWithPlatform(3);
        QCOMPARE(m_shares->shares.size(), 1);
        QVERIFY(chromeIsScreenshot());
    }

    void copyLinkPutsTheLinkOnTheClipboard()
    {
        openViewerOnToday();
        QGuiApplication::clipboard()->setText(QStringLiteral("before"));
        m_viewer->shareViewCopyLinkClicked(m_viewer->shareView(), nullptr);
        QCOMPARE(QGuiApplication::clipboard()->text(), todaysQuote()->share_urls().value("default").toString());
        QCOMPARE(Global::sharedGlobal()->lastHUBText(), QStringLiteral("Link copied"));
        QCOMPARE(messagesIn(m_view.get()).size(), 1);

        // A quote without a default link: nothing copied, nothing said.
        auto bare = OstQuotePtr::create();
        bare->setAssign_date(QStringLiteral("2017-03-01"));
        bare->setShare_urls({{QStringLiteral("weibo"), QStringLiteral("http://example.org/w")}});
        m_viewer->setQuotes({{QStringLiteral("2017-03-01"), bare}});
        verifyNothingCopied(&OstQuoteViewController::shareViewCopyLinkClicked);
    }

    // "Copy text" from the panel: the quote in view as text, said with its own message;
    // without a quote in view nothing is copied or said.
    void copyTextPutsTheQuoteOnTheClipboard()
    {
        openViewerOnToday();
        const OstQuotePtr today = todaysQuote();
        QGuiApplication::clipboard()->setText(QStringLiteral("before"));
        m_viewer->shareAction();
        QTRY_COMPARE(m_viewer->shareView()->presentation(), 1.0);
        QQuickItem *button = panelItem(QStringLiteral("shareCopyTextButton"));
        QVERIFY(button);
        QTest::mouseClick(m_view.get(), Qt::LeftButton, {}, centreOf(button));
        const QString expected = today->content() + u'\n' + today->translation() + QStringLiteral("\n— ")
                                 + today->author() + u'\n' + today->share_urls().value("default").toString();
        QCOMPARE(QGuiApplication::clipboard()->text(), expected);
        QCOMPARE(Global::sharedGlobal()->lastHUBText(), QStringLiteral("Text copied"));
        QTRY_VERIFY(!m_viewer->shareView()->isShowing());
        QTRY_COMPARE(m_viewer->shareView()->presentation(), 0.0);
        QCOMPARE(messagesIn(m_view.get()).size(), 1);
        QTest::qWait(300); // the message fades in
        saveScreenshot(m_view.get(), QStringLiteral("viewer-text-copied.png"));

        m_viewer->setQuotes({});
        verifyNothingCopied(&OstQuoteViewController::shareViewCopyTextClicked);
    }

    void moreOffersTheLinkToTheSystemShareRoute()
    {
        openViewerOnToday();
        OstCustomShareView *panel = m_viewer->shareView();
        m_viewer->shareViewMoreButtonClicked(panel, nullptr);
        QVERIFY(panel->isSystemShareShowing());
        QCOMPARE(panel->activityItems(), QVariantList{todaysQuote()->share_urls().value("default")});
    }

    void aWeiboShareIsAnnounced_data()
    {
        QTest::addColumn<bool>("fromWorker");
        QTest::newRow("from the GUI thread") << false;
        QTest::newRow("from a worker thread") << true;
    }

    void aWeiboShareIsAnnounced()
    {
        QFETCH(bool, fromWorker);
        openViewerOnToday();
        QSignalSpy messages(Global::sharedGlobal(), &Global::hubShown);
        const auto announce = []() { OTNotificationCenter::defaultCenter()->postNotificationName(OTSharedToWeiboSuccessNotification); };
        if (fromWorker) {
            std::unique_ptr<QThread> worker(QThread::create(announce));
            worker->start();
            QVERIFY(worker->wait(10000));
        } else {
            announce();
            QCOMPARE(messages.count(), 1);
        }
        QTRY_COMPARE(messages.count(), 1);
        QCOMPARE(messages.first(), (QVariantList{QStringLiteral("Shared"), 0}));
        QCOMPARE(messagesIn(m_view.get()).size(), 1);

        // A gone screen says nothing.
        m_navigation->popViewControllerAnimated(false);
        QTRY_VERIFY(!m_viewer);
        announce();
        QCOMPARE(messages.count(), 1);
    }

    // --- What the user is told after a share ---------------------------------------------

    void eachShareSaysWhatBecameOfIt_data()
    {
        QTest::addColumn<int>("platform");
        QTest::addColumn<QString>("picturesFolder"); // "temp": a fresh folder; else that path
        QTest::addColumn<bool>("browserOpens");       // with the desktop's backend
        QTest::addColumn<bool>("desktop");            // else a backend that fails
        QTest::addColumn<QString>("expected");        // the message; "<path>" the file saved
        QTest::addColumn<int>("status");
        QTest::newRow("save image: where it went") << 6 << "temp" << true << true << "Image saved to <path>" << 1;
        QTest::newRow("save image: a folder nobody may write to")
            << 6 << "/proc/self/fdinfo" << true << true << "Could not save the image to /proc/self/fdinfo" << 2;
        QTest::newRow("copy image") << 7 << "temp" << true << true << "Image copied" << 1;
        QTest::newRow("weibo: the page opened, nothing posted yet")
            << 0 << "temp" << true << true << "Opened the Weibo share page in your browser" << 0;
        QTest::newRow("twitter: the page opened") << 5 << "temp" << true << true
                                                  << "Opened the Twitter share page in your browser" << 0;
        QTest::newRow("weibo: no browser") << 0 << "temp" << false << false << "Could not open the Weibo share page" << 2;
    }

    // Through the real panel with real touches: the share button, then a target's button.
    void eachShareSaysWhatBecameOfIt()
    {
        QFETCH(int, platform);
        QFETCH(QString, picturesFolder);
        QFETCH(bool, browserOpens);
        QFETCH(bool, desktop);
        QFETCH(QString, expected);
        QFETCH(int, status);

        QTemporaryDir temp;
        QVERIFY(temp.isValid());
        const QString folder = picturesFolder == QLatin1String("temp") ? temp.filePath(QStringLiteral("Pictures"))
                                                                       : picturesFolder;
        OTDesktopSocialServiceBackend::setPicturesDirectory(folder);
        BrowserRecorder browser;
        const auto forgetBrowser = qScopeGuard([]() {
            QDesktopServices::unsetUrlHandler(QStringLiteral("http"));
            QDesktopServices::unsetUrlHandler(QStringLiteral("https"));
        });
        if (browserOpens) {
            QDesktopServices::setUrlHandler(QStringLiteral("http"), &browser, "open");
            QDesktopServices::setUrlHandler(QStringLiteral("https"), &browser, "open");
        }
        if (desktop) {
            OTSocialService::defaultService()->setBackend(nullptr);
            m_shares = nullptr;
        } else {
            m_shares->succeed = false;
        }
        QGuiApplication::clipboard()->setText(QStringLiteral("before"));
        QSignalSpy announced(OTNotificationCenter::defaultCenter(), &OTNotificationCenter::sharedToWeiboSuccess);
        QSignalSpy messages(Global::sharedGlobal(), &Global::hubShown);

        openViewerOnToday();
        touchTap(m_view.get(), centreOf(item("shareButton")));
        OstCustomShareView *panel = m_viewer->shareView();
        QTRY_COMPARE(panel->presentation(), 1.0);
        QQuickItem *target = panelItem(QStringLiteral("sharePlatformButton_%1").arg(platform));
        QVERIFY(target);
        touchTap(m_view.get(), centreOf(target));
        if (m_shares)
            m_shares->succeed = true;

        QTRY_COMPARE(messages.count(), 1);
        QString text = expected;
        if (platform == OTSharePlatformSaveImage && status == 1) {
            const QStringList files = QDir(folder).entryList(QDir::Files);
            QCOMPARE(files.size(), 1);
            const QString path = QDir(folder).filePath(files.first());
            QCOMPARE(OTDesktopSocialServiceBackend::lastSavedImagePath(), path);
            text.replace(QStringLiteral("<path>"), path);
            // The picture there is the screen, at the window's pixel ratio.
            QImageReader reader(path);
            QCOMPARE(reader.format(), QByteArray("png"));
            QCOMPARE(reader.size(), (QSizeF(375, 667) * m_view->effectiveDevicePixelRatio()).toSize());
        }
        const QString said = messages.first().at(0).toString();
        QVERIFY2(status == 2 ? said.startsWith(text) : said == text, qPrintable(said));
        QCOMPARE(messages.first().at(1).toInt(), status);
        // Nothing claims the quote was posted.
        QVERIFY(!said.contains(QLatin1String("Shared")));
        QCOMPARE(announced.count(), 0);

        // The message is in the window, over the viewer, readable in full.
        QCOMPARE(messagesIn(m_view.get()).size(), 1);
        QQuickItem *hud = messagesIn(m_view.get()).first();
        QQuickItem *label = findItem(hud, QStringLiteral("OTHUDLabel"));
        QVERIFY(hud->isVisible() && label);
        QCOMPARE(label->property("text").toString(), said);
        QVERIFY(!label->property("truncated").toBool());
        QVERIFY(QRectF(0, 0, 375, 667).contains(sceneRect(findItem(hud, QStringLiteral("OTHUDBox")))));

        if (platform == OTSharePlatformCopyImage) {
            QVERIFY(QGuiApplication::clipboard()->mimeData()->hasImage());
            QCOMPARE(QGuiApplication::clipboard()->image().size(),
                     (QSizeF(375, 667) * m_view->effectiveDevicePixelRatio()).toSize());
        } else {
            QCOMPARE(QGuiApplication::clipboard()->text(), QStringLiteral("before"));
        }
        if (platform == OTSharePlatformWeibo || platform == OTSharePlatformTwitter)
            QCOMPARE(browser.opened.size(), browserOpens && desktop ? 1 : 0);
        if (status == 2 && platform == OTSharePlatformSaveImage)
            QVERIFY(OTDesktopSocialServiceBackend::lastSavedImagePath().isEmpty()
                    || !OTDesktopSocialServiceBackend::lastSavedImagePath().startsWith(folder));
        // The chrome is back for the next share.
        QVERIFY(chromeIsNormal());
    }

    // The share picture is the screen's own view at the window's pixel ratio, in the share
    // chrome: logo in, buttons out, the text cover in place, and nothing that lies over the
    // screen (a message still in view). Run at ratio 1 and, as its own test, at ratio 2.
    void theSharePictureIsTheScreenAndNothingElse()
    {
        openViewerOnToday();
        OstQuoteView *page = gallery()->currentQuoteView();
        QTRY_COMPARE(page->findChild<QQuickItem *>(QStringLiteral("backgroundImageView"))->property("status").toInt(), 1); // Image.Ready
        const qreal ratio = m_view->effectiveDevicePixelRatio();
        const QSize pixels = (QSizeF(375, 667) * ratio).toSize();
        // The reader has slid the text away and copied the link: "Link copied" is in view.
        QTest::mouseClick(m_view.get(), Qt::LeftButton, {}, QPoint(187, 160));
        QTRY_VERIFY(!page->isShowing());
        m_viewer->shareViewCopyLinkClicked(m_viewer->shareView(), nullptr);
        QCOMPARE(messagesIn(m_view.get()).size(), 1);
        const QImage withMessage = m_view->grabWindow();

        m_viewer->shareViewShareToPlatform(m_viewer->shareView(), 6);
        QCOMPARE(m_shares->shares.size(), 1);
        const QImage picture = m_shares->shares.first().image.convertToFormat(QImage::Format_RGB32);
        QCOMPARE(picture.size(), pixels);
        QCOMPARE(picture.devicePixelRatio(), ratio);

        // What the screen looks like in the share chrome once the message has gone.
        QTRY_VERIFY_WITH_TIMEOUT(messagesIn(m_view.get()).isEmpty(), 5000);
        item("backButton")->setVisible(false);
        item("shareButton")->setVisible(false);
        item("ostrelLogo")->setVisible(true);
        const QImage expected = m_view->grabWindow().convertToFormat(QImage::Format_RGB32);
        item("backButton")->setVisible(true);
        item("shareButton")->setVisible(true);
        item("ostrelLogo")->setVisible(false);
        m_viewer->initNavigationBar();
        const QImage normal = m_view->grabWindow().convertToFormat(QImage::Format_RGB32);
        QCOMPARE(expected.size(), pixels);

        QCOMPARE(differingPixels(picture, expected), 0.0);
        // The comparison sees what it is meant to: the chrome and the message show up in it.
        const auto in = [ratio](QQuickItem *item) {
            const QRectF r = sceneRect(item);
            return QRectF(r.topLeft() * ratio, r.size() * ratio).toAlignedRect();
        };
        QVERIFY(differingPixels(expected, normal, in(item("ostrelLogo"))) > 0.01);
        QVERIFY(differingPixels(expected, normal, in(item("backButton"))) > 0.01);
        const QRect centre(pixels.width() / 3, pixels.height() / 3, pixels.width() / 3, pixels.height() / 3);
        QVERIFY(differingPixels(expected, withMessage.convertToFormat(QImage::Format_RGB32), centre) > 0.05);
        // The text cover is in the picture although the reader had slid it away.
        QCOMPARE(page->coverOffset(), 0.0);
    }

    void midSwipeScreenshot()
    {
        openViewerOnToday();
        swipe(200);
        QTRY_COMPARE(gallery()->currentQuoteView()->findChild<QQuickItem *>(QStringLiteral("backgroundImageView"))->property("status").toInt(), 1);
        OTScrollView *scroll = gallery()->scrollView();
        gallery()->scrollViewWillBeginDragging(scroll);
        scroll->setContentOffset(scroll->contentOffset() + QPointF(140, 0));
        QTest::qWait(100);
        saveScreenshot(m_view.get(), QStringLiteral("viewer-mid-swipe.png"));
        // The newer page comes in small from the right, pinned behind the sliding one: black
        // shows round it.
        const QImage frame = m_view->grabWindow();
        QCOMPARE(frame.pixelColor(370, 5), QColor(Qt::black));
        QVERIFY(frame.pixelColor(5, 5) != QColor(Qt::black));
    }

    // --- A swipe whose glide a press stops ----------------------------------------------

    void aStoppedGlideSharesTheQuoteInView_data()
    {
        QTest::addColumn<bool>("touch");
        QTest::newRow("touch") << true;
        QTest::newRow("mouse") << false;
    }

    // Towards the older day, stopped at once and lifted without a drag: the content goes
    // back to today, and today's quote is the one shared.
    void aStoppedGlideSharesTheQuoteInView()
    {
        QFETCH(bool, touch);
        openViewerOnToday();
        OTScrollView *scroll = gallery()->scrollView();
        const QPoint from(40, 400);
        pointerPress(m_view.get(), touch, from);
        pointerMove(m_view.get(), touch, from + QPoint(30, 0), touch ? 4 : 8);
        pointerMove(m_view.get(), touch, from + QPoint(60, 0), touch ? 4 : 8);
        pointerLift(m_view.get(), touch, from + QPoint(60, 0));
        QVERIFY(scroll->decelerating());
        const QPoint at(187, 300);
        pointerPress(m_view.get(), touch, at);
        QVERIFY(!scroll->decelerating());
        QVERIFY(scroll->contentOffset().x() > scroll->contentSize().width() - 1.5 * scroll->width());
        pointerLift(m_view.get(), touch, at);
        verifyRestingOnToday();
        // The press did not reach the page as a tap.
        QVERIFY(gallery()->currentQuoteView()->isShowing());
        const OstQuotePtr today = todaysQuote();
        QCOMPARE(m_shares->shares.first().url, today->share_urls().value(QStringLiteral("weibo")).toString());
        m_viewer->shareViewCopyLinkClicked(m_viewer->shareView(), nullptr);
        QCOMPARE(QGuiApplication::clipboard()->text(), today->share_urls().value(QStringLiteral("default")).toString());
    }

    // A long drag towards the older day, then a quick flick back: the turn is undone, the
    // gallery rests on today, and today's quote is the one shared.
    void aFlickBackKeepsTodayInViewAndShared()
    {
        openViewerOnToday();
        touchPress(m_view.get(), QPoint(40, 400));
        const QPoint turned = touchMoves(m_view.get(), QPoint(40, 400), QPoint(300, 0), 10, 16);
        touchLift(m_view.get(), touchMoves(m_view.get(), turned, QPoint(-40, 0), 2, 5));
        verifyRestingOnToday();
    }

    // The window changes size in the middle of a swipe (a bar appears, the phone turns):
    // once at rest the content, the pages and the page in view match the new size, and no
    // band of another size is left.
    void aResizeDuringASwipeLeavesNoBand()
    {
        openViewerOnToday();
        touchPress(m_view.get(), QPoint(40, 300));
        const QPoint halfWay = touchMoves(m_view.get(), QPoint(40, 300), QPoint(150, 0), 5, 16);
        m_navigation->setHeight(623);
        touchLift(m_view.get(), touchMoves(m_view.get(), halfWay, QPoint(150, 0), 5, 16));
        waitForRest();

        OTScrollView *scroll = gallery()->scrollView();
        QCOMPARE(gallery()->height(), 623.0);
        QCOMPARE(scroll->contentSize().height(), 623.0);
        QCOMPARE(gallery()->currentIndex(), 1);
        OstQuoteView *page = gallery()->currentQuoteView();
        QCOMPARE(page->size(), QSizeF(375, 623));
        QCOMPARE(page->position().x(), scroll->contentOffset().x());
        const QImage frame = m_view->grabWindow();
        const qreal ratio = frame.devicePixelRatio();
        QVERIFY(frame.pixelColor(int(187 * ratio), int(620 * ratio)) != QColor(Qt::black));
    }
};

QTEST_MAIN(TestOstQuoteViewController)
#include "tst_ostquoteviewcontroller.moc"
