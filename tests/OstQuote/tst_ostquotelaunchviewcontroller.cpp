#include "SceneItems.h"
#include "TestWindow.h"
#include "Warnings.h"
#include "OstQuoteLaunchViewController.h"
#include "OstQuoteLaunchCache.h"
#include "OstAPIClient+Quote.h"
#include "OstQuoteResourceHelper.h"
#include "OstQuoteViewController.h"
#include "HttpFixture.h"
#include "OddFiles.h"
#include "Processes.h"
#include "ServerHarness.h"
#include "TextChecks.h"

#include <OTClock.h>
#include <OTDevice.h>
#include <OTImagePrefetcher.h>
#include <OTNavigationController.h>
#include <OTRequestGuard.h>
#include <OTWebImage.h>
#include <OstAPIClient.h>

#include <QDir>
#include <QDirIterator>
#include <QElapsedTimer>
#include <QFile>
#include <QNetworkAccessManager>
#include <QNetworkDiskCache>
#include <QNetworkReply>
#include <QFileInfo>
#include <QQmlEngine>
#include <QQuickView>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include <cmath>
#include <QBuffer>
#include <QDataStream>
#include <QScopeGuard>
#include <fcntl.h>
#include <unistd.h>
#include <zlib.h>
#include <QThread>


namespace {

// The server's and the app's "now": 1 March 2017, 10:00 UTC.
const QDateTime kNow(QDate(2017, 3, 1), QTime(10, 0), Qt::UTC);
// The batch of that day: today and the seven days after it.
const QStringList kBatchDays = {"2017-03-01", "2017-03-02", "2017-03-03", "2017-03-04",
                                "2017-03-05", "2017-03-06", "2017-03-07", "2017-03-08"};

OstQuotePtr makeQuote(const QString &day, const QString &content, const QStringList &pictures)
{
    auto quote = OstQuotePtr::create();
    if (!day.isNull())
        quote->setAssign_date(day);
    if (!content.isNull())
        quote->setContent(content);
    quote->setOrigin_img_urls(pictures);
    return quote;
}

// A PNG of `size` whose pixels are all transparent (RGBA, 8 bits a channel), made without
// holding its pixels: the rows are compressed as they are produced, so even a picture of
// 20000 x 20000 costs a few kilobytes here and the header tells the truth.
QByteArray transparentPng(const QSize &size)
{
    auto chunk = [](const char *type, const QByteArray &data) {
        QByteArray out;
        QDataStream stream(&out, QIODevice::WriteOnly);
        stream << quint32(data.size());
        const QByteArray body = QByteArray(type, 4) + data;
        stream.writeRawData(body.constData(), int(body.size()));
        stream << quint32(crc32(0, reinterpret_cast<const Bytef *>(body.constData()), uInt(body.size())));
        return out;
    };
    QByteArray header;
    QDataStream stream(&header, QIODevice::WriteOnly);
    stream << quint32(size.width()) << quint32(size.height()) << quint8(8) << quint8(6) << quint8(0) << quint8(0)
           << quint8(0);

    z_stream zip{};
    deflateInit(&zip, Z_BEST_COMPRESSION);
    const QByteArray row(1 + 4 * qsizetype(size.width()), '\0');
    QByteArray compressed;
    char out[64 * 1024];
    for (int y = 0; y <= size.height(); ++y) {
        const bool last = y == size.height();
        zip.next_in = reinterpret_cast<Bytef *>(const_cast<char *>(row.constData()));
        zip.avail_in = last ? 0 : uInt(row.size());
        do {
            zip.next_out = reinterpret_cast<Bytef *>(out);
            zip.avail_out = sizeof out;
            deflate(&zip, last ? Z_FINISH : Z_NO_FLUSH);
            compressed.append(out, qsizetype(sizeof out - zip.avail_out));
        } while (zip.avail_out == 0);
    }
    deflateEnd(&zip);
    return QByteArray("\x89PNG\r\n\x1a\n", 8) + chunk("IHDR", header) + chunk("IDAT", compressed) + chunk("IEND", {});
}

// A picture in PNG whose detail shows at a glance: squares of 8 pixels, black and white.
QImage checkerboard(const QSize &size)
{
    QImage image(size, QImage::Format_RGB32);
    for (int y = 0; y < size.height(); ++y) {
        auto *line = reinterpret_cast<QRgb *>(image.scanLine(y));
        for (int x = 0; x < size.width(); ++x)
            line[x] = ((x / 8 + y / 8) % 2) ? qRgb(255, 255, 255) : qRgb(0, 0, 0);
    }
    return image;
}

QByteArray pngOf(const QImage &image)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    return bytes;
}

// The peak resident size of this process since the last resetPeakMemory(), in bytes.
qint64 peakMemory()
{
    return processMemory("VmHWM");
}

// The peak goes back to what is resident now.
bool resetPeakMemory()
{
    QFile clear(QStringLiteral("/proc/self/clear_refs"));
    return clear.open(QIODevice::WriteOnly) && clear.write("5") == 1;
}

} // namespace

// A host's delegate that notes when it is told.
class RecordingLaunchDelegate : public QObject, public OstQuoteLaunchViewControllerDelegate
{
    Q_OBJECT
    Q_INTERFACES(OstQuoteLaunchViewControllerDelegate)
public:
    RecordingLaunchDelegate() { clock.start(); }
    void willDismissLaunchViewController(OstQuoteLaunchViewController *controller) override
    {
        calls.append(clock.elapsed());
        senders.append(controller);
    }

    QElapsedTimer clock;
    QList<qint64> calls;                               // ms since the delegate was made
    QList<OstQuoteLaunchViewController *> senders;
};

// The launch screen on a navigation host in a real offscreen window, against the real server on
// loopback, with its cache location in a fresh temporary directory for every test.
class TestOstQuoteLaunchViewController : public QObject
{
    Q_OBJECT

    TestServer m_server;
    std::unique_ptr<QTemporaryDir> m_cacheHome;
    std::unique_ptr<QQuickView> m_view;
    OTNavigationController *m_navigation = nullptr;
    QPointer<OstQuoteLaunchViewController> m_launch;
    // Every batch filed by the screens of a test, with the thread that wrote it, noted on the
    // GUI thread.
    QList<QStringList> m_cached;
    QList<QThread *> m_writingThreads;

    static QString launchQuotesPath()
    {
        return QStandardPaths::writableLocation(QStandardPaths::CacheLocation) + QStringLiteral("/launch_quotes");
    }

    static QStringList cachedDays()
    {
        return QDir(launchQuotesPath()).entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot, QDir::Name);
    }

    static OstQuotePtr cachedQuote(const QString &day)
    {
        OTError error;
        const OTModelPtr model = OTModel::unarchiveObjectWithFile(launchQuotesPath() + u'/' + day, &error);
        return model.objectCast<OstQuote>();
    }

    // The day's batch on disk, one file per day, each a whole quote of its day.
    void verifyBatchOnDisk()
    {
        QCOMPARE(cachedDays(), kBatchDays);
        for (const QString &day : kBatchDays) {
            const OstQuotePtr quote = cachedQuote(day);
            QVERIFY2(quote && quote->assign_date() == day, qPrintable(day));
            QVERIFY(!quote->content().isEmpty() && !quote->origin_img_urls().isEmpty());
        }
    }

    void openWindow()
    {
        m_view = openTestWindow();
        QVERIFY(m_view);
        m_navigation = OTNavigationController::create(m_view->engine(), m_view->rootObject());
        QVERIFY(m_navigation);
        m_navigation->setSize(QSizeF(375, 667));
    }

    void closeWindow()
    {
        delete m_navigation;
        m_navigation = nullptr;
        m_view.reset();
    }

    // A launch screen with its skin, not shown yet; it notes the thread that files its batch.
    OstQuoteLaunchViewController *makeLaunch()
    {
        auto *launch = OstQuoteLaunchViewController::create(m_view->engine());
        if (!launch)
            return nullptr;
        connect(
            launch, &OstQuoteLaunchViewController::quotesCached, this,
            [this](const QStringList &days) {
                QThread *writer = QThread::currentThread();
                QMetaObject::invokeMethod(
                    this, [this, days, writer]() { m_cached.append(days); m_writingThreads.append(writer); },
                    Qt::QueuedConnection);
            },
            Qt::DirectConnection);
        return launch;
    }

    // The host starts: the launch screen is the first screen of its navigation stack.
    void launch(QObject *delegate = nullptr)
    {
        m_launch = makeLaunch();
        QVERIFY(m_launch);
        m_launch->setDelegate(delegate);
        m_navigation->pushViewController(m_launch, false);
        QVERIFY(m_launch->isViewLoaded());
        QVERIFY(m_launch->isVisibleOnScreen());
    }

    int pictureRequests() const { return m_server.accessLogLines(QStringLiteral("GET /media/quotes/")); }
    int batchRequests() const { return m_server.accessLogLines(QStringLiteral("GET /api/v2/quote/quotes/batch/")); }

    static QRectF frameOf(QQuickItem *item, QQuickItem *root)
    {
        return item->mapRectToItem(root, QRectF(0, 0, item->width(), item->height()));
    }

    // The layout table, checked on the screen as it stands.
    void checkLayout()
    {
        QQuickItem *root = m_launch;
        const qreal width = root->width();
        const qreal height = root->height();
        QCOMPARE(QSizeF(width, height), QSizeF(375, 667));
        const QRectF picture = frameOf(m_launch->findChild<QQuickItem *>(QStringLiteral("imageView")), root);
        const QRectF label = frameOf(m_launch->findChild<QQuickItem *>(QStringLiteral("quoteLabel")), root);
        const QRectF logo = frameOf(m_launch->findChild<QQuickItem *>(QStringLiteral("ostrelLogo")), root);
        const QRectF button = frameOf(m_launch->findChild<QQuickItem *>(QStringLiteral("button")), root);

        // The logo at its image's own size, 16 from the right, 20 above the bottom.
        QVERIFY(logo.width() > 0 && logo.height() > 0);
        QCOMPARE(logo.size(), QSizeF(m_launch->findChild<QQuickItem *>(QStringLiteral("ostrelLogo"))->implicitWidth(), m_launch->findChild<QQuickItem *>(QStringLiteral("ostrelLogo"))->implicitHeight()));
        QCOMPARE(logo.right(), width - 16);
        QCOMPARE(logo.bottom(), height - 20);
        // The sentence 16 above the logo, 26 in from the picture's sides, as tall as its text.
        QCOMPARE(label.bottom(), logo.top() - 16);
        QCOMPARE(label.left(), picture.left() + 26);
        QCOMPARE(label.right(), picture.right() - 26);
        QVERIFY(label.height() > 0);
        QCOMPARE(label.height(), m_launch->findChild<QQuickItem *>(QStringLiteral("quoteLabel"))->implicitHeight());
        // The picture: full width from the top, 22 above the sentence.
        QCOMPARE(picture.topLeft(), QPointF(0, 0));
        QCOMPARE(picture.width(), width);
        QCOMPARE(picture.bottom(), label.top() - 22);
        // The button: 20 below the top, right-aligned with the logo, 80 wide, its own height.
        QCOMPARE(button.top(), 20.0);
        QCOMPARE(button.right(), logo.right());
        QCOMPARE(button.width(), 80.0);
        QVERIFY(button.height() > 0);
        QCOMPARE(button.height(), m_launch->findChild<QQuickItem *>(QStringLiteral("button"))->implicitHeight());
        // Back to front: picture, logo, sentence, button.
        const QList<QQuickItem *> order = root->childItems();
        QVERIFY(order.indexOf(m_launch->findChild<QQuickItem *>(QStringLiteral("imageView"))) < order.indexOf(m_launch->findChild<QQuickItem *>(QStringLiteral("ostrelLogo"))));
        QVERIFY(order.indexOf(m_launch->findChild<QQuickItem *>(QStringLiteral("ostrelLogo"))) < order.indexOf(m_launch->findChild<QQuickItem *>(QStringLiteral("quoteLabel"))));
        QVERIFY(order.indexOf(m_launch->findChild<QQuickItem *>(QStringLiteral("quoteLabel"))) < order.indexOf(m_launch->findChild<QQuickItem *>(QStringLiteral("button"))));
    }

    void checkFixedSentence()
    {
        QCOMPARE(m_launch->quoteText(), QString::fromLatin1(OstQuoteLaunchViewController::DefaultQuote));
        QCOMPARE(m_launch->findChild<QQuickItem *>(QStringLiteral("quoteLabel"))->property("text").toString(), m_launch->quoteText());
        QCOMPARE(m_launch->imageSource(), OstQuoteResourceHelper::imageURL(QStringLiteral("default_launch_image")));
        QCOMPARE(m_launch->findChild<QQuickItem *>(QStringLiteral("imageView"))->property("source").toUrl(), m_launch->imageSource());
    }

    // WCAG 2 relative luminance and contrast ratio of two opaque colours.
    static double relativeLuminance(const QColor &colour)
    {
        const auto linear = [](double v) { return v <= 0.04045 ? v / 12.92 : std::pow((v + 0.055) / 1.055, 2.4); };
        return 0.2126 * linear(colour.redF()) + 0.7152 * linear(colour.greenF()) + 0.0722 * linear(colour.blueF());
    }
    static double contrastRatio(const QColor &a, const QColor &b)
    {
        const double la = relativeLuminance(a);
        const double lb = relativeLuminance(b);
        return (std::max(la, lb) + 0.05) / (std::min(la, lb) + 0.05);
    }

    // Until `batches` batches have been filed since the test began.
    void waitForBatchFiled(int batches = 1)
    {
        QTRY_COMPARE_WITH_TIMEOUT(m_cached.size(), batches, 15000);
    }

private Q_SLOTS:
    void init()
    {
        m_cacheHome = std::make_unique<QTemporaryDir>();
        QVERIFY(m_cacheHome->isValid());
        qputenv("XDG_CACHE_HOME", m_cacheHome->path().toLocal8Bit());
        OTClock::setTimeZone(QTimeZone("UTC"));
        OTClock::setNow(kNow);
        QVERIFY2(m_server.start(kNow), qPrintable(m_server.errorString()));
        OstAPIClient::sharedClient()->setBaseURL(m_server.baseURL());
        m_cached.clear();
        m_writingThreads.clear();
        openWindow();
    }

    void cleanup()
    {
        closeWindow();
        OTDevice::currentDevice()->resetUserInterfaceIdiom();
        // Prefetches of this test end before its server goes.
        QTRY_COMPARE(OTImagePrefetcher::sharedImagePrefetcher()->pendingCount(), 0);
        m_server.stop();
        OstQuoteLaunchCache::sharedCache()->waitForPendingWrites();
        // A filing noted late is this test's, not the next one's.
        QCoreApplication::sendPostedEvents(this, QEvent::MetaCall);
        m_cacheHome.reset();
    }

    // --- The launch cache --------------------------------------------------------------------

    void aFirstLaunchShowsTheFixedSentenceAndFilesTheBatch()
    {
        QVERIFY(!QFileInfo::exists(launchQuotesPath()));
        launch();
        // The directory is there at once; the screen has its fixed sentence and picture.
        QVERIFY(QFileInfo(launchQuotesPath()).isDir());
        checkFixedSentence();
        QTRY_COMPARE(m_launch->findChild<QQuickItem *>(QStringLiteral("imageView"))->property("status").toInt(), 1); // Image.Ready
        QVERIFY(m_navigation->isNavigationBarHidden());
        checkLayout();

        // The batch arrives and is filed away from the GUI thread, one file per day.
        waitForBatchFiled();
        QVERIFY(m_writingThreads.first());
        QVERIFY(m_writingThreads.first() != QThread::currentThread());
        QCOMPARE(m_cached.first(), kBatchDays);
        verifyBatchOnDisk();
        // What this launch fetched is not shown by it.
        checkFixedSentence();
        QTRY_COMPARE(batchRequests(), 1);
        saveScreenshot(m_view.get(), QStringLiteral("launch-first-run.png"));
    }

    // A navigation stack loads the screen before it is in a window: the batch waits for the
    // first frame the screen is in (here, the window being hidden, for the limit), rather than
    // going at once, and goes all the same.
    void theBatchWaitsForTheScreensFirstFrame()
    {
        m_view->hide();
        m_launch = makeLaunch();
        QVERIFY(m_launch);
        QElapsedTimer sincePush;
        sincePush.start();
        m_navigation->pushViewController(m_launch, false);
        QVERIFY(m_launch->isViewLoaded());
        waitForBatchFiled();
        QVERIFY2(sincePush.elapsed() >= OstQuoteLaunchCache::FetchDelayLimit, qPrintable(QString::number(sincePush.elapsed())));
        QTRY_COMPARE(batchRequests(), 1);
    }

    void aSecondLaunchShowsTodayFromDiskWithoutAskingForItsPicture()
    {
        OTImagePrefetcher *prefetcher = OTImagePrefetcher::sharedImagePrefetcher();
        QSignalSpy prefetched(prefetcher, &OTImagePrefetcher::urlPrefetched);
        launch();
        waitForBatchFiled();
        // Each day's first picture is fetched once, into the picture cache.
        QTRY_COMPARE_WITH_TIMEOUT(prefetched.count(), kBatchDays.size(), 30000);
        for (const QList<QVariant> &call : std::as_const(prefetched))
            QVERIFY(call.at(1).toBool());
        QTRY_COMPARE(pictureRequests(), int(kBatchDays.size()));
        const OstQuotePtr today = cachedQuote(QStringLiteral("2017-03-01"));
        QVERIFY(today);

        // The host starts again, in a new window and engine.
        closeWindow();
        openWindow();
        prefetched.clear();
        launch();
        QCOMPARE(m_launch->quoteText(), today->content());
        QCOMPARE(m_launch->imageSource(), QUrl(today->origin_img_urls().first()));
        // Read from the disk cache at once, as the quote is drawn: the first frame has it.
        QQuickItem *picture = m_launch->findChild<QQuickItem *>(QStringLiteral("imageView"));
        QCOMPARE(picture->property("status").toInt(), 1); // Image.Ready
        QVERIFY(picture->property("implicitWidth").toReal() > 0);
        // The second batch is filed and prefetched again: everything comes from the cache.
        waitForBatchFiled(2);
        QTRY_COMPARE_WITH_TIMEOUT(prefetched.count(), kBatchDays.size(), 30000);
        QTRY_COMPARE(batchRequests(), 2);
        QTest::qWait(400); // the access log is flushed every ~200 ms
        QCOMPARE(pictureRequests(), int(kBatchDays.size()));
        checkLayout();
        saveScreenshot(m_view.get(), QStringLiteral("launch.png"));

        // A third start with today's kept picture turned into a FIFO and the others cut in
        // half: the start does not hang on the FIFO, the sentence is shown and laid out, and
        // today's picture comes from the server again.
        const QUrl todaysPicture(today->origin_img_urls().first());
        QDirIterator kept(QStandardPaths::writableLocation(QStandardPaths::CacheLocation) + QStringLiteral("/images"),
                          {QStringLiteral("*.d")}, QDir::Files, QDirIterator::Subdirectories);
        QNetworkDiskCache reader;
        int cut = 0;
        bool fifo = false;
        while (kept.hasNext()) {
            const QString path = kept.next();
            if (reader.fileMetaData(path).url() == todaysPicture) {
                QVERIFY(QFile::remove(path));
                QVERIFY(makeOddFile(path, QStringLiteral("fifo"), 0));
                fifo = true;
                continue;
            }
            QFile file(path);
            QVERIFY(file.open(QIODevice::ReadWrite));
            QVERIFY(file.resize(file.size() / 2));
            ++cut;
        }
        QVERIFY(fifo);
        QCOMPARE(cut, int(kBatchDays.size()) - 1);
        closeWindow();
        openWindow();
        launch();
        QCOMPARE(m_launch->quoteText(), today->content());
        picture = m_launch->findChild<QQuickItem *>(QStringLiteral("imageView"));
        QTRY_COMPARE(picture->property("status").toInt(), 1); // Image.Ready
        QTRY_COMPARE(pictureRequests(), int(kBatchDays.size()) + 1);
        checkLayout();
    }

    // On a slow network the batch comes after the host has taken the screen away, as it
    // does when told: it is filed all the same, and its pictures prefetched.
    void aBatchHeldBackPastTheCountdownIsStillFiled()
    {
        // The real batch, served by a server that holds it back a second past the countdown.
        QNetworkAccessManager network;
        QNetworkReply *reply = network.get(QNetworkRequest(m_server.baseURL().resolved(QUrl("/api/v2/quote/quotes/batch/"))));
        QTRY_VERIFY(reply->isFinished());
        const QByteArray batch = reply->readAll();
        delete reply;
        QVERIFY(batch.startsWith('['));
        HttpFixture slow;
        QVERIFY(slow.listen());
        slow.respond(200, batch);
        slow.setResponseDelay(OstQuoteLaunchViewController::DismissInterval + 1000);
        OstAPIClient::sharedClient()->setBaseURL(QUrl(slow.baseURL()));
        QSignalSpy prefetchAsked(OTImagePrefetcher::sharedImagePrefetcher(), &OTImagePrefetcher::prefetchURLsRequested);

        // The host puts its own screen in the launch screen's place when told.
        QObject host;
        launch();
        connect(m_launch.data(), &OstQuoteLaunchViewController::willDismiss, &host,
                [this]() { m_navigation->setViewControllers({new OTCommonsViewController}); });
        QTRY_VERIFY_WITH_TIMEOUT(!m_launch, OstQuoteLaunchViewController::DismissInterval + 2000);
        QCOMPARE(slow.requestCount(), 1);
        QVERIFY(cachedDays().isEmpty());

        QTRY_COMPARE_WITH_TIMEOUT(cachedDays(), kBatchDays, 15000);
        verifyBatchOnDisk();
        QTRY_COMPARE(prefetchAsked.count(), 1);
        QCOMPARE(prefetchAsked.first().first().toStringList().size(), kBatchDays.size());

        // The next launch shows today from it.
        closeWindow();
        openWindow();
        launch();
        QCOMPARE(m_launch->quoteText(), cachedQuote(QStringLiteral("2017-03-01"))->content());
    }

    void batchFilingRules_data()
    {
        QTest::addColumn<QList<OstQuotePtr>>("batch");
        QTest::addColumn<QStringList>("files");           // day keys on disk afterwards
        QTest::addColumn<QStringList>("contents");        // their contents, in the same order
        QTest::addColumn<QVariantList>("prefetches");     // the prefetcher's lists, one per call

        QTest::newRow("two quotes of one day: the later wins")
            << QList<OstQuotePtr>{makeQuote("2017-03-02", "First.", {"http://127.0.0.1:9/a.jpg", "http://127.0.0.1:9/b.jpg"}),
                                  makeQuote("2017-03-02", "Second.", {"http://127.0.0.1:9/c.jpg"})}
            << QStringList{"2017-03-02"} << QStringList{"Second."}
            << QVariantList{QStringList{"http://127.0.0.1:9/a.jpg", "http://127.0.0.1:9/c.jpg"}};
        QTest::newRow("quotes without pictures")
            << QList<OstQuotePtr>{makeQuote("2017-03-02", "Two.", {}), makeQuote("2017-03-03", "Three.", {})}
            << QStringList{"2017-03-02", "2017-03-03"} << QStringList{"Two.", "Three."}
            << QVariantList{QStringList{}};
        QTest::newRow("a quote without its day: not filed, its picture still fetched")
            << QList<OstQuotePtr>{makeQuote(QString(), "Nowhen.", {"http://127.0.0.1:9/n.jpg"}),
                                  makeQuote("2017-03-04", "Four.", {})}
            << QStringList{"2017-03-04"} << QStringList{"Four."}
            << QVariantList{QStringList{"http://127.0.0.1:9/n.jpg"}};
        QTest::newRow("an empty batch") << QList<OstQuotePtr>{} << QStringList{} << QStringList{} << QVariantList{};
        // A day that names another place: nothing is written, inside the folder or out of it.
        QTest::newRow("days that leave the folder")
            << QList<OstQuotePtr>{makeQuote("../escaped", "Up.", {}), makeQuote("../../escaped", "Further up.", {}),
                                  makeQuote("launch_quotes/../escaped", "Round.", {}), makeQuote("..", "Parent.", {}),
                                  makeQuote("/tmp", "Absolute.", {}), makeQuote("2017-03-05", "Five.", {})}
            << QStringList{"2017-03-05"} << QStringList{"Five."} << QVariantList{QStringList{}};
    }

    void batchFilingRules()
    {
        QFETCH(QList<OstQuotePtr>, batch);
        QFETCH(QStringList, files);
        QFETCH(QStringList, contents);
        QFETCH(QVariantList, prefetches);

        // The screen is not shown: nothing but cacheQuotes() touches the directory.
        std::unique_ptr<OstQuoteLaunchViewController> screen(makeLaunch());
        QVERIFY(screen);
        QSignalSpy asked(OTImagePrefetcher::sharedImagePrefetcher(), &OTImagePrefetcher::prefetchURLsRequested);
        const QDir folder(launchQuotesPath());
        const QStringList outside{folder.filePath("../escaped"), folder.filePath("../../escaped")};
        screen->cacheQuotes(batch);

        for (const QString &path : outside)
            QVERIFY2(!QFileInfo::exists(path), qPrintable(path));
        QCOMPARE(cachedDays(), files);
        for (qsizetype i = 0; i < files.size(); ++i) {
            const OstQuotePtr quote = cachedQuote(files.at(i));
            QVERIFY(quote);
            QCOMPARE(quote->content(), contents.at(i));
        }
        QCOMPARE(asked.count(), prefetches.size());
        for (qsizetype i = 0; i < prefetches.size(); ++i)
            QCOMPARE(asked.at(i).first().toStringList(), prefetches.at(i).toStringList());
        // Filed right here, on the calling thread.
        QCoreApplication::processEvents();
        QCOMPARE(m_cached.size(), batch.isEmpty() ? 0 : 1);
        if (!batch.isEmpty())
            QCOMPARE(m_writingThreads.first(), QThread::currentThread());
    }

    // Whatever stands in place of today's file, the launch reads no more than a small regular
    // file would hold and never waits on it: a damaged archive, or anything but a regular
    // file, is reported once and left where it is; the batch failing too, nothing replaces it.
    void damagedFilesForTodayAreReportedAndKept_data()
    {
        addOddFileRows(2 * OstQuoteLaunchCache::MaximumFileSize);
        QTest::newRow("a damaged archive") << QStringLiteral("damaged");
    }

    void damagedFilesForTodayAreReportedAndKept()
    {
        QFETCH(QString, kind);
        OstAPIClient::sharedClient()->setBaseURL(QUrl(QStringLiteral("http://127.0.0.1:%1").arg(ot_unusedLoopbackPort())));
        const QString todayPath = launchQuotesPath() + QStringLiteral("/2017-03-01");
        const QByteArray damage("\xff\x00 not an archive", 17);
        if (kind == QLatin1String("damaged")) {
            QFile file(todayPath);
            QVERIFY(QDir().mkpath(launchQuotesPath()) && file.open(QIODevice::WriteOnly) && file.write(damage) == 17);
        } else {
            QVERIFY(makeOddFile(todayPath, kind, 2 * OstQuoteLaunchCache::MaximumFileSize));
        }
        const QFileInfo before(todayPath);

        const QStringList warnings = warningsDuring([this]() { launch(); });
        QCOMPARE(warnings.size(), 1);
        // (A damaged archive is named by what is wrong with it, anything else by its path.)
        QVERIFY2(warnings.first().contains(kind == QLatin1String("damaged") ? QStringLiteral("CBOR") : todayPath),
                 qPrintable(warnings.first()));
        checkFixedSentence();

        // A request sent after the screen's to the same refused port: once it has failed, so
        // has the screen's.
        bool failed = false;
        getQuotesWithBlock(OstAPIClient::sharedClient(),
                           [&failed](const QList<OstQuotePtr> &, const OTError &error) { failed = error.isError(); });
        QTRY_VERIFY(failed);
        QCoreApplication::processEvents();
        QCOMPARE(m_cached.size(), 0);
        QCOMPARE(cachedDays(), QStringList{"2017-03-01"});
        const QFileInfo after(todayPath);
        QCOMPARE(after.isSymLink(), before.isSymLink());
        QCOMPARE(after.isDir(), before.isDir());
        QCOMPARE(after.isFile(), before.isFile());
        if (before.isFile() && !before.isSymLink())
            QCOMPARE(after.size(), before.size());
        QFile file(todayPath);
        if (kind == QLatin1String("damaged"))
            QVERIFY(file.open(QIODevice::ReadOnly) && file.readAll() == damage);
    }

    void anUnwritableCacheDirectoryIsSurvived()
    {
        // A plain file stands where the directory should be: it cannot be made, read or written.
        const QString cacheLocation = QStandardPaths::writableLocation(QStandardPaths::CacheLocation);
        QVERIFY(QDir().mkpath(cacheLocation));
        {
            QFile blocker(launchQuotesPath());
            QVERIFY(blocker.open(QIODevice::WriteOnly));
            blocker.write("in the way");
        }
        launch();
        checkFixedSentence();
        waitForBatchFiled();
        QCOMPARE(m_cached.first(), QStringList());
        m_launch->clearEarlyQuotes();
        QFileInfo blocker(launchQuotesPath());
        QVERIFY(blocker.isFile());
        QCOMPARE(blocker.size(), qint64(10));
        // The pictures' disk cache is made by the batch's prefetch.
        QTRY_COMPARE(OTImagePrefetcher::sharedImagePrefetcher()->pendingCount(), 0);
        QCOMPARE(QDir(cacheLocation).entryList(QDir::AllEntries | QDir::NoDotAndDotDot),
                 (QStringList{"images", "launch_quotes"}));
    }

    void clearEarlyQuotesRemovesEveryDayBegunBeforeNow_data()
    {
        QTest::addColumn<QDateTime>("now");
        QTest::addColumn<QStringList>("left");
        // Today began before 10:00, so today's file goes as well.
        QTest::newRow("10:00") << kNow << QStringList{"2017-03-02", "notes.txt"};
        // At the very start of the day, today has not begun *before* now.
        QTest::newRow("midnight") << QDateTime(QDate(2017, 3, 1), QTime(0, 0), Qt::UTC)
                                  << QStringList{"2017-03-01", "2017-03-02", "notes.txt"};
    }

    void clearEarlyQuotesRemovesEveryDayBegunBeforeNow()
    {
        QFETCH(QDateTime, now);
        QFETCH(QStringList, left);
        OTClock::setNow(now);
        std::unique_ptr<OstQuoteLaunchViewController> screen(makeLaunch());
        QVERIFY(screen);
        screen->cacheQuotes({makeQuote("2017-02-28", "Yesterday.", {}), makeQuote("2017-03-01", "Today.", {}),
                             makeQuote("2017-03-02", "Tomorrow.", {})});
        QFile stray(launchQuotesPath() + QStringLiteral("/notes.txt"));
        QVERIFY(stray.open(QIODevice::WriteOnly));
        stray.close();
        QCOMPARE(cachedDays(), (QStringList{"2017-02-28", "2017-03-01", "2017-03-02", "notes.txt"}));

        screen->clearEarlyQuotes();
        QCOMPARE(cachedDays(), left);
    }

    void theSkinBringsThePictureCacheUnlessTheHostHasItsOwn()
    {
        // The window's engine had no factory: making a skin gave it the shared one.
        QCOMPARE(m_view->engine()->networkAccessManagerFactory(), OTWebImage::networkAccessManagerFactory());
        QNetworkAccessManager *manager = OTWebImage::networkAccessManagerFactory()->create(nullptr);
        auto *cache = qobject_cast<QNetworkDiskCache *>(manager->cache());
        QVERIFY(cache);
        QCOMPARE(QDir(cache->cacheDirectory()).absolutePath(),
                 QDir(m_cacheHome->path()).absoluteFilePath(QCoreApplication::applicationName() + QStringLiteral("/images")));
        delete manager;

        // A host's own factory stays.
        struct HostFactory : QQmlNetworkAccessManagerFactory
        {
            QNetworkAccessManager *create(QObject *parent) override { return new QNetworkAccessManager(parent); }
        } hostFactory;
        QQmlEngine engine;
        engine.addImportPath(QStringLiteral(OST_QML_DIR));
        engine.setNetworkAccessManagerFactory(&hostFactory);
        std::unique_ptr<OstQuoteLaunchViewController> screen(OstQuoteLaunchViewController::create(&engine));
        QVERIFY(screen);
        QCOMPARE(engine.networkAccessManagerFactory(), &hostFactory);
    }

    // --- Countdown and exit ------------------------------------------------------------------

    // The button's title against its ground, as the window shows them: the ground is the
    // colour most of the title's box has, the ink the colour of the title's glyphs that stands
    // out from it most. WCAG AA for normal text asks for 4.5:1. Run at ratio 1 and, as its
    // own test, at ratio 2.
    void theButtonTitleIsReadableOverThePicture()
    {
        launch();
        QTRY_COMPARE(m_launch->findChild<QQuickItem *>(QStringLiteral("imageView"))->property("status").toInt(), 1); // Image.Ready
        auto *title = m_launch->findChild<QQuickItem *>(QStringLiteral("button"))->property("contentItem").value<QQuickItem *>();
        QVERIFY(title);
        QVERIFY(!title->property("text").toString().isEmpty());
        const QImage frame = m_view->grabWindow().convertToFormat(QImage::Format_RGB32);
        const qreal ratio = m_view->effectiveDevicePixelRatio();
        const QRectF box = title->mapRectToScene(QRectF(0, 0, title->width(), title->height()));
        const QRect pixels = QRectF(box.topLeft() * ratio, box.size() * ratio).toAlignedRect() & frame.rect();
        QVERIFY(pixels.width() > 10 && pixels.height() > 5);

        QHash<QRgb, int> counts;
        for (int y = pixels.top(); y <= pixels.bottom(); ++y)
            for (int x = pixels.left(); x <= pixels.right(); ++x)
                ++counts[frame.pixel(x, y)];
        const QRgb ground = std::max_element(counts.cbegin(), counts.cend()).key();
        QColor ink = QColor(ground);
        int glyphPixels = 0;
        for (auto it = counts.cbegin(); it != counts.cend(); ++it) {
            const double c = contrastRatio(QColor(it.key()), QColor(ground));
            if (c > 1.5)
                glyphPixels += it.value();
            if (c > contrastRatio(ink, QColor(ground)))
                ink = QColor(it.key());
        }
        // The title is drawn (not a blank box), and reads.
        QVERIFY2(glyphPixels > 20 * ratio * ratio, qPrintable(QString::number(glyphPixels)));
        const double measured = contrastRatio(ink, QColor(ground));
        qInfo("launch button title %s on %s: %.2f:1", qPrintable(ink.name()), qPrintable(QColor(ground).name()), measured);
        QVERIFY2(measured >= 4.5, qPrintable(QStringLiteral("title %1 on %2: %3:1")
                                                 .arg(ink.name(), QColor(ground).name())
                                                 .arg(measured, 0, 'f', 2)));
    }

    // Left alone, the screen says once, 2.5 s after it appeared, that it may go: to QML hosts
    // always, and to its delegate where it has one that listens. It stays until the host
    // removes it.
    void leftAloneTheScreenSaysOnceThatItMayGo_data()
    {
        QTest::addColumn<QString>("delegate");
        QTest::newRow("a delegate") << "listening";
        QTest::newRow("no delegate") << "";
        QTest::newRow("a delegate without the method") << "stranger";
    }

    void leftAloneTheScreenSaysOnceThatItMayGo()
    {
        QFETCH(QString, delegate);
        RecordingLaunchDelegate listening;
        QObject stranger;
        launch(delegate == QLatin1String("listening") ? &listening : delegate.isEmpty() ? nullptr : &stranger);
        QSignalSpy dismiss(m_launch.data(), &OstQuoteLaunchViewController::willDismiss);
        const qint64 appeared = listening.clock.elapsed();
        QVERIFY(m_launch->timer());
        QTRY_COMPARE_WITH_TIMEOUT(dismiss.count(), 1, 10000);
        QVERIFY(!m_launch->timer());
        QCOMPARE(listening.calls.size(), delegate == QLatin1String("listening") ? 1 : 0);
        if (!listening.calls.isEmpty()) {
            QVERIFY2(listening.calls.first() - appeared >= OstQuoteLaunchViewController::DismissInterval - 10,
                     qPrintable(QString::number(listening.calls.first() - appeared)));
            QCOMPARE(listening.senders.first(), m_launch.data());
        }
        // Nothing more while the host takes its time.
        QTest::qWait(1000);
        QCOMPARE(dismiss.count(), 1);
        QCOMPARE(listening.calls.size(), delegate == QLatin1String("listening") ? 1 : 0);
        QCOMPARE(m_navigation->topViewController(), m_launch.data());
        QVERIFY(m_launch->isVisibleOnScreen());
    }

    void eachAppearanceStartsACountdownOfItsOwn()
    {
        RecordingLaunchDelegate delegate;
        launch(&delegate);
        const qint64 first = delegate.clock.elapsed();
        QTest::qWait(800);
        // Appearing again (say, after a screen over it is closed) without the button: the
        // earlier countdown runs on; when it ends it clears the countdown in hand, the later one.
        const qint64 second = delegate.clock.elapsed();
        m_launch->viewDidAppear(false);
        QTRY_COMPARE_WITH_TIMEOUT(delegate.calls.size(), 1, 10000);
        QVERIFY(delegate.calls.at(0) - first >= OstQuoteLaunchViewController::DismissInterval - 10);
        QVERIFY(!m_launch->timer());
        QTest::qWait(int(second + OstQuoteLaunchViewController::DismissInterval + 500 - delegate.clock.elapsed()));
        QCOMPARE(delegate.calls.size(), 1);

        // With no countdown pending, the next appearance tells the delegate again.
        const qint64 third = delegate.clock.elapsed();
        m_launch->viewDidAppear(false);
        QVERIFY(m_launch->timer());
        QTRY_COMPARE_WITH_TIMEOUT(delegate.calls.size(), 2, 10000);
        QVERIFY(delegate.calls.at(1) - third >= OstQuoteLaunchViewController::DismissInterval - 10);
        QVERIFY(!m_launch->timer());
    }

    void theButtonOpensTheViewerAndTheWayBackTellsTheDelegateTwice()
    {
        RecordingLaunchDelegate delegate;
        launch(&delegate);
        QSignalSpy dismiss(m_launch.data(), &OstQuoteLaunchViewController::willDismiss);
        QVERIFY(m_launch->timer());
        QVERIFY(!m_launch->popFromQuote());

        QTest::mouseClick(m_view.get(), Qt::LeftButton, {}, centreOf(m_launch->findChild<QQuickItem *>(QStringLiteral("button"))));
        QVERIFY(m_launch->popFromQuote());
        QVERIFY(!m_launch->timer());
        QCOMPARE(m_navigation->depth(), 2);
        auto *viewer = qobject_cast<OstQuoteViewController *>(m_navigation->topViewController());
        QVERIFY(viewer);
        QVERIFY(viewer->galleryView());
        QTRY_VERIFY(!m_navigation->isBusy());

        // However long the viewer is shown, the delegate is not told.
        QTest::qWait(OstQuoteLaunchViewController::DismissInterval + 1000);
        QVERIFY(delegate.calls.isEmpty());
        QCOMPARE(dismiss.count(), 0);

        // Back: told at once, as the screen is about to appear...
        QSignalSpy finished(m_navigation, &OTNavigationController::transitionFinished);
        qint64 reappeared = -1;
        connect(m_navigation, &OTNavigationController::transitionFinished, &delegate,
                [&]() { reappeared = delegate.clock.elapsed(); });
        QTest::mouseClick(m_view.get(), Qt::LeftButton, {}, centreOf(viewer->findChild<QQuickItem *>(QStringLiteral("backButton"))));
        QCOMPARE(delegate.calls.size(), 1);
        QCOMPARE(dismiss.count(), 1);
        // ...and again 2.5 s after it has reappeared.
        QTRY_COMPARE(finished.count(), 1);
        QCOMPARE(m_navigation->topViewController(), m_launch.data());
        QVERIFY(reappeared >= 0);
        QVERIFY(m_launch->timer());
        QTRY_COMPARE_WITH_TIMEOUT(delegate.calls.size(), 2, 10000);
        QVERIFY(delegate.calls.at(1) - reappeared >= OstQuoteLaunchViewController::DismissInterval - 10);
        QCOMPARE(dismiss.count(), 2);
        QVERIFY(m_launch->popFromQuote());
        QVERIFY(!m_launch->timer());
    }

    // --- Rendering ---------------------------------------------------------------------------

    // The sentence is set larger on a tablet than on a phone; the layout holds for both.
    void theSentenceIsLargerOnATablet()
    {
        qreal pixelSize[2] = {};
        for (int idiom : {int(OTDevice::Phone), int(OTDevice::Pad)}) {
            OTDevice::currentDevice()->setUserInterfaceIdiom(OTDevice::UserInterfaceIdiom(idiom));
            launch();
            pixelSize[idiom == OTDevice::Pad] = m_launch->findChild<QQuickItem *>(QStringLiteral("quoteLabel"))->property("font").value<QFont>().pixelSize();
            checkLayout();
            closeWindow();
            openWindow();
        }
        QVERIFY2(pixelSize[1] > pixelSize[0],
                 qPrintable(QStringLiteral("%1 on a tablet, %2 on a phone").arg(pixelSize[1]).arg(pixelSize[0])));
    }

    void aQuoteIsDrawnFromItsContentAndFirstPicture()
    {
        launch();
        const QString picture = m_server.baseURL().toString() + QStringLiteral("/media/quotes/2017-02-01.jpg");

        m_launch->renderQuote(makeQuote("2017-03-01", "Own words.", {}));
        QCOMPARE(m_launch->findChild<QQuickItem *>(QStringLiteral("quoteLabel"))->property("text").toString(), QStringLiteral("Own words."));
        QCOMPARE(m_launch->findChild<QQuickItem *>(QStringLiteral("imageView"))->property("source").toUrl(),
                 OstQuoteResourceHelper::imageURL(QStringLiteral("default_launch_image")));

        m_launch->renderQuote(makeQuote("2017-03-01", QString(), {picture, picture + QStringLiteral("?second")}));
        QCOMPARE(m_launch->findChild<QQuickItem *>(QStringLiteral("quoteLabel"))->property("text").toString(),
                 QString::fromLatin1(OstQuoteLaunchViewController::DefaultQuote));
        QCOMPARE(m_launch->findChild<QQuickItem *>(QStringLiteral("imageView"))->property("source").toUrl(), OTWebImage::pictureSource(QUrl(picture)));
        QTRY_COMPARE(m_launch->findChild<QQuickItem *>(QStringLiteral("imageView"))->property("status").toInt(), 1); // Image.Ready
    }

    // A sentence is shown as it was sent: markup in it is text, and a picture it names is
    // never fetched.
    void serverTextIsShownAsItWasSent()
    {
        HttpFixture pictures;
        QVERIFY(pictures.listen());
        launch();
        const QString sentence = QStringLiteral("<b>Bold</b> &amp; <img src=\"%1/named.png\">").arg(pictures.baseURL());
        m_launch->renderQuote(makeQuote("2017-03-01", sentence, {}));
        QCOMPARE(m_launch->findChild<QQuickItem *>(QStringLiteral("quoteLabel"))->property("text").toString(), sentence);
        QVERIFY(showsTextLiterally(m_launch->findChild<QQuickItem *>(QStringLiteral("quoteLabel"))));
        QVERIFY(QTest::qWaitForWindowExposed(m_view.get()));
        m_view->grabWindow();
        QTest::qWait(300);
        QCOMPARE(pictures.requestCount(), 0);
    }

    // The picture of the screen comes through Qt Quick's Image; a server that sends it without
    // end or redirects it in a circle makes it fail, and costs a bounded amount.
    void aHostilePictureServerEndsInAFailedPicture()
    {
        launch();
        HttpFixture endless;
        QVERIFY(endless.listen());
        endless.streamEndlessly();
        m_launch->renderQuote(makeQuote("2017-03-01", "Endless.", {endless.baseURL() + QStringLiteral("/p.jpg")}));
        QTRY_COMPARE_WITH_TIMEOUT(m_launch->findChild<QQuickItem *>(QStringLiteral("imageView"))->property("status").toInt(), 3, 20000); // Image.Error
        QVERIFY(endless.bodyBytesSent() > OTWebImage::MaximumPictureSize);
        QVERIFY(endless.bodyBytesSent() < OTWebImage::MaximumPictureSize + 16 * 1024 * 1024);

        HttpFixture circle;
        QVERIFY(circle.listen());
        circle.redirectTo({});
        const QStringList warnings = warningsDuring([&]() {
            m_launch->renderQuote(makeQuote("2017-03-01", "Round.", {circle.baseURL() + QStringLiteral("/r.jpg")}));
            QTRY_COMPARE_WITH_TIMEOUT(m_launch->findChild<QQuickItem *>(QStringLiteral("imageView"))->property("status").toInt(), 3, 20000);
        });
        QCOMPARE(m_launch->findChild<QQuickItem *>(QStringLiteral("imageView"))->property("status").toInt(), 3);
        // Followed under the picture's one deadline, five redirects at most: the loop ends for
        // that reason. A chain is the first request and five redirects; under load the server
        // has seen a second, partial one now and then (8 or 10 requests), so the bound is two.
        QVERIFY2(warnings.join(u'\n').contains(QStringLiteral("too many redirects")), qPrintable(warnings.join(u'\n')));
        QVERIFY2(circle.requestCount() >= 1 + OTRequestGuard::MaximumRedirects
                     && circle.requestCount() <= 2 * (1 + OTRequestGuard::MaximumRedirects),
                 qPrintable(QString::number(circle.requestCount())));
    }

    // Pictures come from the web only: a picture whose server redirects it to a local file, a
    // FIFO, /dev/zero or data fails, and nothing is opened (the FIFO never gets a reader, so
    // no thread waits on it and the process still exits). Qt Quick's Image and a host's own
    // Image through the pictures' network access manager alike.
    void aPictureRedirectedOffTheWebFails_data()
    {
        QTest::addColumn<QString>("target");
        QTest::newRow("a local PNG") << QStringLiteral("png");
        QTest::newRow("a FIFO") << QStringLiteral("fifo");
        QTest::newRow("/dev/zero") << QStringLiteral("zero");
        QTest::newRow("data") << QStringLiteral("data");
        QTest::newRow("a FIFO named by the quote itself") << QStringLiteral("fifo-named");
    }

    void aPictureRedirectedOffTheWebFails()
    {
        QFETCH(QString, target);
        QTemporaryDir files;
        const QByteArray png = pngOf(checkerboard(QSize(16, 16)));
        QString fifo;
        QUrl location;
        if (target == QLatin1String("png")) {
            QFile file(files.filePath(QStringLiteral("local.png")));
            QVERIFY(file.open(QIODevice::WriteOnly) && file.write(png) == png.size());
            location = QUrl::fromLocalFile(file.fileName());
        } else if (target.startsWith(QLatin1String("fifo"))) {
            fifo = files.filePath(QStringLiteral("fifo"));
            QVERIFY(makeOddFile(fifo, QStringLiteral("fifo"), 0));
            location = QUrl::fromLocalFile(fifo);
        } else if (target == QLatin1String("zero")) {
            location = QUrl::fromLocalFile(QStringLiteral("/dev/zero"));
        } else {
            location = QUrl(QStringLiteral("data:image/png;base64,") + QString::fromLatin1(png.toBase64()));
        }
        HttpFixture pictures;
        QVERIFY(pictures.listen());
        pictures.respond(302, {}, "Location: " + location.toEncoded() + "\r\n");
        const QUrl picture(pictures.baseURL() + QStringLiteral("/p.png"));
        const bool named = target == QLatin1String("fifo-named");

        launch();
        m_launch->renderQuote(makeQuote("2017-03-01", "Elsewhere.", {(named ? location : picture).toString()}));
        QTRY_COMPARE_WITH_TIMEOUT(m_launch->findChild<QQuickItem *>(QStringLiteral("imageView"))->property("status").toInt(), 3, 10000); // Image.Error
        QCOMPARE(pictures.requestCount(), named ? 0 : 1);

        // A host's Image follows the redirect itself, through the manager the engine was given.
        std::unique_ptr<QNetworkAccessManager> manager(OTWebImage::createNetworkAccessManager());
        std::unique_ptr<QNetworkReply> first(manager->get(QNetworkRequest(picture)));
        QTRY_VERIFY(first->isFinished());
        const QUrl next = first->url().resolved(first->attribute(QNetworkRequest::RedirectionTargetAttribute).toUrl());
        QCOMPARE(next, location);
        std::unique_ptr<QNetworkReply> second(manager->get(QNetworkRequest(next)));
        QTRY_VERIFY_WITH_TIMEOUT(second->isFinished(), 10000);
        QVERIFY(second->error() != QNetworkReply::NoError);
        QVERIFY(second->readAll().isEmpty());

        if (!fifo.isEmpty()) {
            // Nobody has it open for reading: a writer that does not wait is turned away.
            const int writer = ::open(QFile::encodeName(fifo).constData(), O_WRONLY | O_NONBLOCK);
            const int error = errno;
            if (writer >= 0)
                ::close(writer);
            QCOMPARE(writer, -1);
            QCOMPARE(error, ENXIO);
        }
    }

    // A picture server that takes the request and never answers ends as a failed picture
    // within the picture deadline, shown or loaded by a host's Image.
    void aSilentPictureServerFailsWithinThePictureDeadline()
    {
        OTWebImage::setPictureTimeout(400);
        const auto restore = qScopeGuard([]() { OTWebImage::setPictureTimeout(0); });
        HttpFixture silent;
        QVERIFY(silent.listen());
        silent.stayQuiet();
        const QUrl picture(silent.baseURL() + QStringLiteral("/p.jpg"));

        launch();
        m_launch->renderQuote(makeQuote("2017-03-01", "Silence.", {picture.toString()}));
        QTRY_COMPARE_WITH_TIMEOUT(m_launch->findChild<QQuickItem *>(QStringLiteral("imageView"))->property("status").toInt(), 3, 10000); // Image.Error

        std::unique_ptr<QNetworkAccessManager> manager(OTWebImage::createNetworkAccessManager());
        std::unique_ptr<QNetworkReply> reply(manager->get(QNetworkRequest(picture)));
        QTRY_VERIFY_WITH_TIMEOUT(reply->isFinished(), 10000);
        QCOMPARE(reply->error(), QNetworkReply::OperationCanceledError);
    }

    // A picture never costs more memory than the screen shows: its size is read from its
    // header and it is decoded at most at the size of the area it covers, never over the cap
    // (or refused). The peak resident size while it loads stays within 100 MB of a normal
    // picture's.
    void aPictureCostsNoMoreMemoryThanTheScreen_data()
    {
        QTest::addColumn<QSize>("size");
        QTest::addColumn<bool>("shown");
        QTest::newRow("1 x 4000") << QSize(1, 4000) << true;
        QTest::newRow("30000 x 1") << QSize(30000, 1) << false;
        QTest::newRow("20000 x 20000") << QSize(20000, 20000) << false;
        QTest::newRow("7900 x 7900") << QSize(7900, 7900) << false;
    }

    void aPictureCostsNoMoreMemoryThanTheScreen()
    {
        QFETCH(QSize, size);
        QFETCH(bool, shown);
        HttpFixture pictures;
        QVERIFY(pictures.listen());
        launch();
        QVERIFY(QTest::qWaitForWindowExposed(m_view.get()));

        // The peak of loading and drawing one picture, over what was resident before it.
        auto costOf = [&](const QByteArray &png, const QString &name) -> qint64 {
            pictures.respond(200, png, "Content-Type: image/png\r\n");
            if (!resetPeakMemory())
                return -1;
            const qint64 before = peakMemory();
            m_launch->renderQuote(makeQuote("2017-03-01", name, {pictures.baseURL() + u'/' + name}));
            const auto ended = [&]() {
                const int status = m_launch->findChild<QQuickItem *>(QStringLiteral("imageView"))->property("status").toInt();
                return status == 1 || status == 3; // Image.Ready, Image.Error
            };
            if (!QTest::qWaitFor(ended, 20000))
                return -1;
            m_view->grabWindow();
            return qMax<qint64>(0, peakMemory() - before);
        };
        const qint64 normal = costOf(pngOf(checkerboard(QSize(750, 1334))), QStringLiteral("normal.png"));
        QCOMPARE(m_launch->findChild<QQuickItem *>(QStringLiteral("imageView"))->property("status").toInt(), 1); // Image.Ready
        const qint64 cost = costOf(transparentPng(size), QStringLiteral("odd.png"));
        qInfo("peak resident growth: normal picture %lld KiB, %d x %d picture %lld KiB", normal / 1024,
              size.width(), size.height(), cost / 1024);
#if !defined(__SANITIZE_ADDRESS__)
        // (The sanitizer's quarantine keeps freed memory resident: its peaks say nothing.)
        QVERIFY2(normal >= 0 && cost >= 0, "no peak resident size to read (/proc/self/clear_refs)");
        QVERIFY2(cost < normal + 100 * 1024 * 1024,
                 qPrintable(QStringLiteral("%1 KiB over %2 KiB").arg(cost / 1024).arg(normal / 1024)));
#endif
        QCOMPARE(m_launch->findChild<QQuickItem *>(QStringLiteral("imageView"))->property("status").toInt(), shown ? 1 : 3);
        if (shown) {
            // Decoded no larger than it is, and no side over the cap.
            const QSizeF decoded(m_launch->findChild<QQuickItem *>(QStringLiteral("imageView"))->property("implicitWidth").toReal(),
                                 m_launch->findChild<QQuickItem *>(QStringLiteral("imageView"))->property("implicitHeight").toReal());
            QVERIFY2(decoded.width() <= size.width() && decoded.height() <= size.height(),
                     qPrintable(QStringLiteral("%1 x %2").arg(decoded.width()).arg(decoded.height())));
        }
    }

    // A picture wider than the screen's shape is decoded to cover the picture's area both ways,
    // so it is as sharp as the full picture scaled down to cover it: not decoded at the width
    // alone and enlarged to the height.
    void aLandscapePictureIsAsSharpAsAFullDecode()
    {
        const QImage full = checkerboard(QSize(1600, 900));
        HttpFixture pictures;
        QVERIFY(pictures.listen());
        pictures.respond(200, pngOf(full), "Content-Type: image/png\r\n");
        launch();
        m_launch->renderQuote(makeQuote("2017-03-01", "Wide.", {pictures.baseURL() + QStringLiteral("/wide.png")}));
        QTRY_COMPARE_WITH_TIMEOUT(m_launch->findChild<QQuickItem *>(QStringLiteral("imageView"))->property("status").toInt(), 1, 10000); // Image.Ready

        const QRect area = frameOf(m_launch->findChild<QQuickItem *>(QStringLiteral("imageView")), m_view->rootObject()).toAlignedRect();
        const qreal ratio = m_view->effectiveDevicePixelRatio();
        const QImage shown = m_view->grabWindow()
                                 .copy(QRectF(QPointF(area.topLeft()) * ratio, QSizeF(area.size()) * ratio).toRect())
                                 .convertToFormat(QImage::Format_RGB32);
        // The reference: the whole picture scaled to cover the area, its middle cropped out.
        const QImage covering = full.scaled(shown.size(), Qt::KeepAspectRatioByExpanding, Qt::SmoothTransformation);
        const QImage reference = covering
                                     .copy((covering.width() - shown.width()) / 2, (covering.height() - shown.height()) / 2,
                                           shown.width(), shown.height())
                                     .convertToFormat(QImage::Format_RGB32);
        // Sharpness as the mean step between neighbouring pixels: a picture decoded too small
        // and enlarged has soft edges and grey where the squares were.
        const auto sharpness = [](const QImage &image) {
            qint64 steps = 0;
            for (int y = 0; y < image.height(); ++y) {
                for (int x = 1; x < image.width(); ++x)
                    steps += qAbs(qGray(image.pixel(x, y)) - qGray(image.pixel(x - 1, y)));
            }
            return double(steps) / (qint64(image.width() - 1) * image.height());
        };
        const double shownSharpness = sharpness(shown);
        const double referenceSharpness = sharpness(reference);
        QVERIFY2(shownSharpness > 0.8 * referenceSharpness,
                 qPrintable(QStringLiteral("%1 against %2").arg(shownSharpness).arg(referenceSharpness)));
    }

    // One download per picture: while it is under way, the screen (asking again at each new
    // size), a second screen and the prefetcher wait for the same download, and afterwards a
    // picture the server lets be kept comes from the disk cache.
    void aPictureIsDownloadedOnce()
    {
        HttpFixture pictures;
        QVERIFY(pictures.listen());
        pictures.setResponseDelay(400);
        pictures.respond(200, pngOf(checkerboard(QSize(750, 1334))),
                         "Content-Type: image/png\r\nCache-Control: public, max-age=31536000\r\n");
        const QString picture = pictures.baseURL() + QStringLiteral("/once.png");
        const int downloads = OTWebImage::downloadCount();

        launch();
        m_launch->renderQuote(makeQuote("2017-03-01", "Once.", {picture}));
        OTImagePrefetcher::sharedImagePrefetcher()->prefetchURLs({picture, picture});
        for (int height = 660; height > 600; height -= 10) {
            m_navigation->setSize(QSizeF(375, height));
            QTest::qWait(20);
        }
        QTRY_COMPARE_WITH_TIMEOUT(m_launch->findChild<QQuickItem *>(QStringLiteral("imageView"))->property("status").toInt(), 1, 10000); // Image.Ready
        QTRY_COMPARE(OTImagePrefetcher::sharedImagePrefetcher()->pendingCount(), 0);
        QCOMPARE(pictures.requestCount(), 1);

        // Later, from the disk: another size, another screen, another prefetch.
        m_navigation->setSize(QSizeF(375, 667));
        OTImagePrefetcher::sharedImagePrefetcher()->prefetchURLs({picture});
        auto *second = makeLaunch();
        QVERIFY(second);
        m_navigation->pushViewController(second, false);
        second->renderQuote(makeQuote("2017-03-01", "Again.", {picture}));
        QTRY_COMPARE_WITH_TIMEOUT(second->findChild<QQuickItem *>(QStringLiteral("imageView"))->property("status").toInt(), 1, 10000);
        QTRY_COMPARE(OTImagePrefetcher::sharedImagePrefetcher()->pendingCount(), 0);
        QCOMPARE(pictures.requestCount(), 1);
        qInfo("picture requests seen by the server: %d (downloads started: %d)", pictures.requestCount(),
              OTWebImage::downloadCount() - downloads);
    }

    void aLongSentenceGrowsUpwardsAndKeepsItsGapAboveTheLogo()
    {
        launch();
        checkLayout();
        const qreal shortLabel = m_launch->findChild<QQuickItem *>(QStringLiteral("quoteLabel"))->height();
        QQuickItem *picture = m_launch->findChild<QQuickItem *>(QStringLiteral("imageView"));
        const qreal shortPicture = picture->height();
        // The picture is decoded for the screen, not for the height the sentence leaves it:
        // a sentence laid out anew does not decode it again.
        QSignalSpy decodeSize(picture, SIGNAL(sourceSizeChanged()));

        QString sentence;
        for (int i = 0; i < 12; ++i)
            sentence += QStringLiteral("A long sentence goes on and on across the screen. ");
        m_launch->renderQuote(makeQuote("2017-03-01", sentence.trimmed(), {}));
        QVERIFY(m_launch->findChild<QQuickItem *>(QStringLiteral("quoteLabel"))->property("lineCount").toInt() > 5);
        QVERIFY(m_launch->findChild<QQuickItem *>(QStringLiteral("quoteLabel"))->height() > shortLabel * 5);
        QCOMPARE(picture->height(), shortPicture - (m_launch->findChild<QQuickItem *>(QStringLiteral("quoteLabel"))->height() - shortLabel));
        QCOMPARE(decodeSize.count(), 0);
        checkLayout();
    }
};

QTEST_MAIN(TestOstQuoteLaunchViewController)
#include "tst_ostquotelaunchviewcontroller.moc"
