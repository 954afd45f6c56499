#include <Global.h>
#include <OTClock.h>
#include <OTCommonsViewController.h>
#include <OTImage.h>
#include <OTNotificationCenter.h>
#include <OTResourceHelper.h>
#include "RecordingSocialServiceBackend.h"
#include <OTSocialService.h>

#include <QClipboard>
#include <QDesktopServices>
#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QImageReader>
#include <QMimeData>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <QUrlQuery>

namespace {

// Stands in for the browser and the mail program: keeps every URL it is asked to open.
class UrlRecorder : public QObject
{
    Q_OBJECT
public:
    QList<QUrl> opened;
public Q_SLOTS:
    void open(const QUrl &url) { opened.append(url); }
};

QString decodedItem(const QUrl &url, const QString &key)
{
    return QUrlQuery(url).queryItemValue(key, QUrl::FullyDecoded);
}

QStringList queryKeys(const QUrl &url)
{
    QStringList keys;
    for (const auto &item : QUrlQuery(url).queryItems())
        keys.append(item.first);
    return keys;
}

QImage testPicture()
{
    QImage image(30, 20, QImage::Format_ARGB32);
    image.fill(QColor(0x3C, 0xB3, 0x71));
    image.setPixelColor(3, 4, QColor(200, 10, 20));
    return image;
}

// The image behind a resource URL (its @3x file when `scale` is 3).
QImage resourceImage(const QUrl &url, int scale = 1)
{
    QString path = QStringLiteral(":") + url.path();
    if (scale > 1)
        path.replace(QStringLiteral(".png"), QStringLiteral("@%1x.png").arg(scale));
    QImageReader reader(path);
    return reader.read();
}

// Text with everything a query string could take apart.
const QString kContent = QStringLiteral("C++ & friends: 1 + 1 = 2 #true? 100% 生活");
const QString kTopic = QStringLiteral("#每日一句#");
const QString kLink = QStringLiteral("https://quotes.example.com/share/quotes/2017-03-01/?from=app&lang=zh");
const QString kPicture = QStringLiteral("https://quotes.example.com/media/quotes/2017-03-01-share.jpg");

OTShareRequest request(int platform, const QString &imageUrl = kPicture)
{
    OTShareRequest r;
    r.content = kContent;
    r.topic = kTopic;
    r.url = kLink;
    r.logUrl = QStringLiteral("https://quotes.example.com/log");
    r.imageUrl = imageUrl;
    r.platform = platform;
    return r;
}

} // namespace

class TestOTSocialService : public QObject
{
    Q_OBJECT

    UrlRecorder m_browser;
    UrlRecorder m_mail;

    OTRecordingSocialServiceBackend *useRecordingBackend(bool succeed = true)
    {
        auto backend = std::make_unique<OTRecordingSocialServiceBackend>();
        backend->succeed = succeed;
        OTRecordingSocialServiceBackend *raw = backend.get();
        OTSocialService::defaultService()->setBackend(std::move(backend));
        return raw;
    }

private Q_SLOTS:
    void initTestCase()
    {
        QStandardPaths::setTestModeEnabled(true);
        OTClock::setTimeZone(QTimeZone("Asia/Shanghai"));
        OTClock::setNow(QDateTime(QDate(2017, 3, 1), QTime(10, 0, 5), QTimeZone("Asia/Shanghai")));
        QDesktopServices::setUrlHandler(QStringLiteral("http"), &m_browser, "open");
        QDesktopServices::setUrlHandler(QStringLiteral("https"), &m_browser, "open");
        QDesktopServices::setUrlHandler(QStringLiteral("mailto"), &m_mail, "open");
    }

    void cleanupTestCase()
    {
        QDesktopServices::unsetUrlHandler(QStringLiteral("http"));
        QDesktopServices::unsetUrlHandler(QStringLiteral("https"));
        QDesktopServices::unsetUrlHandler(QStringLiteral("mailto"));
        OTSocialService::defaultService()->setBackend(nullptr);
        OTDesktopSocialServiceBackend::setPicturesDirectory(QString());
    }

    void init()
    {
        m_browser.opened.clear();
        m_mail.opened.clear();
        OTSocialService::defaultService()->setBackend(nullptr);
    }

    // --- Links --------------------------------------------------------------------------------

    void pickingTheLinkForATarget_data()
    {
        QTest::addColumn<QVariantMap>("links");
        QTest::addColumn<int>("platform");
        QTest::addColumn<QString>("expected");
        const QVariantMap all{{"default", "https://q.example/d"}, {"weibo", "https://q.example/w"},
                              {"qq", "https://q.example/q"},     {"qzone", "https://q.example/z"},
                              {"mail", "https://q.example/m"},   {"douban", "https://q.example/b"},
                              {"twitter", "https://q.example/t"}, {"save_image", "https://q.example/s"},
                              {"copy_image", "https://q.example/c"}};
        const char *keys[] = {"weibo", "qq", "qzone", "mail", "douban", "twitter", "save_image", "copy_image"};
        for (int type = 0; type < 8; ++type)
            QTest::addRow("%s", keys[type]) << all << type << all.value(keys[type]).toString();
        QVariantMap onlyDefault{{"default", "https://q.example/d"}};
        QTest::newRow("missing: the default") << onlyDefault << 1 << "https://q.example/d";
        QTest::newRow("unknown type: the default") << all << 42 << "https://q.example/d";
        QTest::newRow("negative type: the default") << all << -1 << "https://q.example/d";
        QVariantMap blank = onlyDefault;
        blank.insert("weibo", "   ");
        QTest::newRow("blank: the default") << blank << 0 << "https://q.example/d";
        QVariantMap number = onlyDefault;
        number.insert("qq", 12);
        QTest::newRow("not text: the default") << number << 1 << "https://q.example/d";
        QVariantMap nested = onlyDefault;
        nested.insert("mail", QVariantMap{{"href", "x"}});
        QTest::newRow("a map: the default") << nested << 3 << "https://q.example/d";
        QVariantMap url{{"twitter", QUrl("https://q.example/u")}};
        QTest::newRow("a QUrl counts") << url << 5 << "https://q.example/u";
        QVariantMap padded{{"douban", " https://q.example/p \n"}};
        QTest::newRow("trimmed") << padded << 4 << "https://q.example/p";
        QTest::newRow("neither: null") << QVariantMap{{"qq", "https://q.example/q"}} << 0 << QString();
        QTest::newRow("blank default: null") << QVariantMap{{"default", ""}} << 2 << QString();
        QTest::newRow("empty map: null") << QVariantMap() << 0 << QString();
    }

    void pickingTheLinkForATarget()
    {
        QFETCH(QVariantMap, links);
        QFETCH(int, platform);
        QFETCH(QString, expected);
        const QString link = OTSocialService::getShareUrlForType(platform, links);
        QCOMPARE(link, expected);
        QCOMPARE(link.isNull(), expected.isNull());
    }

    void theDefaultLink()
    {
        QCOMPARE(OTSocialService::getDefaultShareUrl({{"default", "https://q.example/d"}}), QStringLiteral("https://q.example/d"));
        QVERIFY(OTSocialService::getDefaultShareUrl({{"weibo", "https://q.example/w"}}).isNull());
        QVERIFY(OTSocialService::getDefaultShareUrl({{"default", 3}}).isNull());
        QVERIFY(OTSocialService::getDefaultShareUrl({}).isNull());
    }

    // --- Targets and images -------------------------------------------------------------------

    void theTargetsInPanelOrder()
    {
        const QVariantList platforms = OTSocialService::platforms();
        QStringList titles;
        for (int i = 0; i < platforms.size(); ++i) {
            const QVariantMap p = platforms.at(i).toMap();
            QCOMPARE(p.value("type").toInt(), i);
            titles << p.value("title").toString();
            // Its icons are the foundation's own, one for the pressed button.
            const QUrl icon = p.value("icon").toUrl();
            QVERIFY(icon.path().startsWith(QStringLiteral("/OstFoundation/images/")));
            QVERIFY(!resourceImage(icon).isNull() && !resourceImage(p.value("iconHighlighted").toUrl()).isNull());
            QVERIFY(p.value("iconHighlighted") != icon);
        }
        QCOMPARE(titles, (QStringList{"Weibo", "QQ", "QZone", "Mail", "Douban", "Twitter", "Save image", "Copy image"}));
    }

    void theBarImages()
    {
        for (const QUrl &image : {ostrelNavigationBackImage(), ostrelNavigationBackHighlightImage(),
                                  OTSocialService::shareIconImageForBar(), OTSocialService::highlightedShareIconImageForBar()}) {
            for (int scale : {1, 2, 3})
                QVERIFY2(!resourceImage(image, scale).isNull(), qPrintable(image.toString()));
        }
        // Only the foundation's own images are found, and nothing outside them.
        QVERIFY(OTResourceHelper::imageURL(QStringLiteral("no_such_image")).isEmpty());
        QVERIFY(OTResourceHelper::imageURL(QStringLiteral("../images/share_qq")).isEmpty());
    }

    // --- The service --------------------------------------------------------------------------

    void theServiceHandsEverythingToItsBackend()
    {
        OTRecordingSocialServiceBackend *backend = useRecordingBackend();
        QCOMPARE(OTSocialService::defaultService()->backend(), backend);
        OTCommonsViewController screen;
        QSignalSpy shared(OTSocialService::defaultService(), &OTSocialService::shared);
        const QImage picture = testPicture();
        OTSocialService::defaultService()->shareContent(kContent, kTopic, kLink, QStringLiteral("https://l.example/"),
                                                        picture, OTSharePlatformDouban, &screen);
        QCOMPARE(backend->shares.size(), 1);
        const OTShareRequest &r = backend->shares.first();
        QCOMPARE(r.content, kContent);
        QCOMPARE(r.topic, kTopic);
        QCOMPARE(r.url, kLink);
        QCOMPARE(r.logUrl, QStringLiteral("https://l.example/"));
        QCOMPARE(r.image, picture);
        QCOMPARE(r.platform, int(OTSharePlatformDouban));
        QCOMPARE(r.controller.data(), &screen);
        QCOMPARE(shared.count(), 1);
        QCOMPARE(shared.first(), (QVariantList{int(OTSharePlatformDouban), true}));

        // Null stays null.
        OTSocialService::defaultService()->shareContent({}, {}, {}, {}, {}, OTSharePlatformCopyImage, nullptr);
        const OTShareRequest &bare = backend->shares.last();
        QVERIFY(bare.content.isNull() && bare.topic.isNull() && bare.url.isNull() && bare.logUrl.isNull());
        QVERIFY(bare.image.isNull());
        QVERIFY(!bare.controller);

        QVERIFY(OTSocialService::defaultService()->performActivity(QStringLiteral("copy"), {kLink}));
        QCOMPARE(backend->activities.size(), 1);
        QCOMPARE(backend->activities.first().first, QStringLiteral("copy"));
        QCOMPARE(backend->activities.first().second, QVariantList{kLink});
        backend->succeed = false;
        QVERIFY(!OTSocialService::defaultService()->performActivity(QStringLiteral("mail"), {kLink}));

        // No backend means the desktop's.
        OTSocialService::defaultService()->setBackend(nullptr);
        QVERIFY(dynamic_cast<OTDesktopSocialServiceBackend *>(OTSocialService::defaultService()->backend()));
    }

    // A backend that hears back from the target: posted is "Shared", except for Weibo, whose
    // post is announced for the screens to answer themselves; a share that did not go out is
    // not announced and says so.
    void theServiceSaysWhatBecameOfEachShare()
    {
        OTRecordingSocialServiceBackend *backend = useRecordingBackend();
        OTSocialService *service = OTSocialService::defaultService();
        QSignalSpy announced(OTNotificationCenter::defaultCenter(), &OTNotificationCenter::sharedToWeiboSuccess);
        QSignalSpy shared(service, &OTSocialService::shared);
        QSignalSpy messages(Global::sharedGlobal(), &Global::hubShown);
        service->shareContent(kContent, kTopic, kLink, kLink, testPicture(), OTSharePlatformWeibo, nullptr);
        QCOMPARE(announced.count(), 1);
        QCOMPARE(announced.first().at(0).value<QObject *>(), service);
        QCOMPARE(messages.count(), 0);
        service->shareContent(kContent, kTopic, kLink, kLink, testPicture(), OTSharePlatformQQ, nullptr);
        QCOMPARE(messages.count(), 1);
        QCOMPARE(messages.last(), (QVariantList{QStringLiteral("Shared"), 1}));
        backend->succeed = false;
        service->shareContent(kContent, kTopic, kLink, kLink, testPicture(), OTSharePlatformWeibo, nullptr);
        QCOMPARE(messages.count(), 2);
        QCOMPARE(messages.last(), (QVariantList{QStringLiteral("Could not open the Weibo share page"), 2}));
        QCOMPARE(announced.count(), 1);
        QCOMPARE(shared.count(), 3);
        QCOMPARE(shared.last(), (QVariantList{int(OTSharePlatformWeibo), false}));
        service->shareContent({}, {}, {}, {}, testPicture(), OTSharePlatformCopyImage, nullptr);
        QCOMPARE(messages.last(), (QVariantList{QStringLiteral("Could not copy the image"), 2}));
        // The system share route too.
        QVERIFY(!service->performActivity(QStringLiteral("browser"), {kLink}));
        QCOMPARE(messages.last(), (QVariantList{QStringLiteral("Could not open the browser"), 2}));
        backend->succeed = true;
        QVERIFY(service->performActivity(QStringLiteral("copy"), {kLink}));
        QCOMPARE(messages.last(), (QVariantList{QStringLiteral("Link copied"), 0}));
        QVERIFY(service->performActivity(QStringLiteral("mail"), {kLink}));
        QCOMPARE(messages.last(), (QVariantList{QStringLiteral("Opened a mail draft"), 0}));
        QVERIFY(service->performActivity(QStringLiteral("browser"), {kLink}));
        QCOMPARE(messages.last(), (QVariantList{QStringLiteral("Opened the link in your browser"), 0}));
        QCOMPARE(messages.count(), 7);
    }

    // --- The desktop backend: web pages and mail -----------------------------------------------

    void theWebShareUrls_data()
    {
        QTest::addColumn<int>("platform");
        QTest::addColumn<QString>("page");  // scheme, host and path
        QTest::addColumn<QStringList>("keys");
        QTest::addColumn<QStringList>("values");
        const QString joined = kTopic + QLatin1Char(' ') + kContent;
        QTest::newRow("weibo") << 0 << "https://service.weibo.com/share/share.php"
                               << QStringList{"url", "title", "pic"} << QStringList{kLink, joined, kPicture};
        QTest::newRow("qq") << 1 << "https://connect.qq.com/widget/shareqq/index.html"
                            << QStringList{"url", "title", "summary", "pics"} << QStringList{kLink, kTopic, kContent, kPicture};
        QTest::newRow("qzone") << 2 << "https://sns.qzone.qq.com/cgi-bin/qzshare/cgi_qzshare_onekey"
                               << QStringList{"url", "title", "summary", "pics"} << QStringList{kLink, kTopic, kContent, kPicture};
        QTest::newRow("douban") << 4 << "https://www.douban.com/share/service"
                                << QStringList{"href", "name", "text", "image"} << QStringList{kLink, kTopic, kContent, kPicture};
        QTest::newRow("twitter") << 5 << "https://twitter.com/intent/tweet"
                                 << QStringList{"text", "url"} << QStringList{joined, kLink};
    }

    void theWebShareUrls()
    {
        QFETCH(int, platform);
        QFETCH(QString, page);
        QFETCH(QStringList, keys);
        QFETCH(QStringList, values);
        const QUrl url = OTDesktopSocialServiceBackend::webShareUrl(request(platform));
        QVERIFY(url.isValid());
        QCOMPARE(url.adjusted(QUrl::RemoveQuery).toString(), page);
        QCOMPARE(queryKeys(url), keys);
        for (int i = 0; i < keys.size(); ++i)
            QCOMPARE(decodedItem(url, keys.at(i)), values.at(i));
        // Nothing in the values can break the query apart, also not for a form decoder.
        const QByteArray encoded = url.toEncoded();
        QCOMPARE(encoded.count('&'), keys.size() - 1);
        QVERIFY(!encoded.contains('+') && !encoded.contains('#') && !encoded.contains(' '));

        // The share page goes out through the browser.
        QVERIFY(OTDesktopSocialServiceBackend().share(request(platform)));
        QCOMPARE(m_browser.opened, QList<QUrl>{url});
        QVERIFY(m_mail.opened.isEmpty());
    }

    void theWebPagesTakeOnlyAWebPicture_data()
    {
        QTest::addColumn<QString>("imageUrl");
        QTest::newRow("none") << QString();
        QTest::newRow("a file") << "file:///tmp/OstQuote.png";
        QTest::newRow("data") << "data:image/png;base64,AAAA";
        QTest::newRow("relative") << "media/share.jpg";
        QTest::newRow("no host") << "https:///share.jpg";
    }

    void theWebPagesTakeOnlyAWebPicture()
    {
        QFETCH(QString, imageUrl);
        const QList<QPair<int, QString>> pictureKeys{{0, "pic"}, {1, "pics"}, {2, "pics"}, {4, "image"}};
        for (const auto &[platform, key] : pictureKeys) {
            const QUrl url = OTDesktopSocialServiceBackend::webShareUrl(request(platform, imageUrl));
            QVERIFY2(!QUrlQuery(url).hasQueryItem(key), qPrintable(url.toString()));
            QVERIFY(QUrlQuery(url).hasQueryItem(platform == 4 ? "href" : "url"));
        }
        QCOMPARE(decodedItem(OTDesktopSocialServiceBackend::webShareUrl(request(0, QStringLiteral("http://p.example/a.jpg"))),
                             QStringLiteral("pic")),
                 QStringLiteral("http://p.example/a.jpg"));
    }

    void theWebPagesFallBackAndLeaveOutWhatIsMissing()
    {
        // No link of its own: the one kept for the log.
        OTShareRequest r = request(OTSharePlatformQQ);
        r.url.clear();
        QCOMPARE(decodedItem(OTDesktopSocialServiceBackend::webShareUrl(r), "url"), r.logUrl);
        // No topic: the text alone, and no empty title.
        r = request(OTSharePlatformWeibo);
        r.topic.clear();
        QCOMPARE(decodedItem(OTDesktopSocialServiceBackend::webShareUrl(r), "title"), kContent);
        r = request(OTSharePlatformDouban);
        r.topic.clear();
        QCOMPARE(queryKeys(OTDesktopSocialServiceBackend::webShareUrl(r)), (QStringList{"href", "text", "image"}));
        // Mail and the picture targets have no page.
        for (int platform : {3, 6, 7, 8, -1})
            QVERIFY(OTDesktopSocialServiceBackend::webShareUrl(request(platform)).isEmpty());
        // Nothing to say: nothing opens.
        OTShareRequest empty;
        empty.platform = OTSharePlatformTwitter;
        QVERIFY(!OTDesktopSocialServiceBackend().share(empty));
        empty.platform = 99;
        QVERIFY(!OTDesktopSocialServiceBackend().share(empty));
        QVERIFY(m_browser.opened.isEmpty());
    }

    void mailOpensADraft()
    {
        OTShareRequest r = request(OTSharePlatformMail);
        r.image = testPicture();
        QVERIFY(OTDesktopSocialServiceBackend().share(r));
        QCOMPARE(m_mail.opened.size(), 1);
        const QUrl draft = m_mail.opened.first();
        QCOMPARE(draft.scheme(), QStringLiteral("mailto"));
        QVERIFY(draft.path().isEmpty());
        QCOMPARE(decodedItem(draft, "subject"), kTopic);
        QCOMPARE(decodedItem(draft, "body"), kContent + QStringLiteral("\n\n") + kLink);
        QVERIFY(m_browser.opened.isEmpty());

        // Through the service, with the desktop backend in place.
        QSignalSpy shared(OTSocialService::defaultService(), &OTSocialService::shared);
        OTSocialService::defaultService()->shareContent(QStringLiteral("Only words."), QString(), QString(), QString(),
                                                        QImage(), OTSharePlatformMail, nullptr);
        QCOMPARE(shared.first(), (QVariantList{3, true}));
        QCOMPARE(Global::sharedGlobal()->lastHUBText(), QStringLiteral("Opened a mail draft"));
        QCOMPARE(decodedItem(m_mail.opened.last(), "body"), QStringLiteral("Only words."));
        QVERIFY(!QUrlQuery(m_mail.opened.last()).hasQueryItem("subject"));
        OTShareRequest nothing;
        nothing.platform = OTSharePlatformMail;
        QVERIFY(!OTDesktopSocialServiceBackend().share(nothing));
        QCOMPARE(m_mail.opened.size(), 2);
    }

    // What the user is told after each kind of share, in both languages.
    void theMessageAfterEachShare_data()
    {
        QTest::addColumn<int>("platform");
        QTest::addColumn<int>("status");
        QTest::addColumn<QString>("path");
        QTest::addColumn<QString>("reason");
        QTest::addColumn<QString>("english");
        QTest::addColumn<QString>("chinese");
        QTest::addColumn<int>("box");
        QTest::newRow("posted") << 1 << int(OTShareResult::Shared) << "" << "" << "Shared" << "分享成功" << 1;
        QTest::newRow("posted to weibo: the announcement speaks") << 0 << int(OTShareResult::Shared) << "" << "" << "" << "" << 1;
        QTest::newRow("page opened") << 4 << int(OTShareResult::PageOpened) << "" << ""
                                     << "Opened the Douban share page in your browser" << "已在浏览器中打开豆瓣分享页面" << 0;
        QTest::newRow("page failed") << 2 << int(OTShareResult::Failed) << "" << ""
                                     << "Could not open the QZone share page" << "无法打开QQ空间分享页面" << 2;
        QTest::newRow("draft opened") << 3 << int(OTShareResult::DraftOpened) << "" << "" << "Opened a mail draft"
                                      << "已打开邮件草稿" << 0;
        QTest::newRow("draft failed") << 3 << int(OTShareResult::Failed) << "" << "" << "Could not open a mail draft"
                                      << "无法打开邮件草稿" << 2;
        QTest::newRow("saved") << 6 << int(OTShareResult::Saved) << "/home/u/Pictures/OstQuote-1.png" << ""
                               << "Image saved to /home/u/Pictures/OstQuote-1.png"
                               << "图片已保存到 /home/u/Pictures/OstQuote-1.png" << 1;
        QTest::newRow("save failed, with the reason") << 6 << int(OTShareResult::Failed) << "/mnt/ro" << "Permission denied"
                                                      << "Could not save the image to /mnt/ro\nPermission denied"
                                                      << "无法将图片保存到 /mnt/ro\nPermission denied" << 2;
        QTest::newRow("save failed, nowhere") << 6 << int(OTShareResult::Failed) << "" << "" << "Could not save the image"
                                              << "无法保存图片" << 2;
        QTest::newRow("copied") << 7 << int(OTShareResult::Copied) << "" << "" << "Image copied" << "图片已复制" << 1;
        QTest::newRow("copy failed") << 7 << int(OTShareResult::Failed) << "" << "" << "Could not copy the image"
                                     << "无法复制图片" << 2;
        QTest::newRow("unknown target failed") << 42 << int(OTShareResult::Failed) << "" << "" << "Could not share"
                                               << "分享失败" << 2;
    }

    void theMessageAfterEachShare()
    {
        QFETCH(int, platform);
        QFETCH(int, status);
        QFETCH(QString, path);
        QFETCH(QString, reason);
        QFETCH(QString, english);
        QFETCH(QString, chinese);
        QFETCH(int, box);
        OTShareResult result;
        result.status = OTShareResult::Status(status);
        result.path = path;
        result.reason = reason;
        QCOMPARE(OTSocialService::feedbackText(platform, result), english);
        QCOMPARE(OTSocialService::feedbackStatus(result), box);
        QLocale::setDefault(QLocale(QLocale::Chinese, QLocale::China));
        const QString inChinese = OTSocialService::feedbackText(platform, result);
        QLocale::setDefault(QLocale::c());
        QCOMPARE(inChinese, chinese);
    }

    // --- The desktop backend: pictures --------------------------------------------------------

    void saveImageWritesAPng()
    {
        QTemporaryDir temp;
        QVERIFY(temp.isValid());
        const QString folder = temp.filePath(QStringLiteral("nested/Pictures"));
        OTDesktopSocialServiceBackend::setPicturesDirectory(folder);
        QCOMPARE(OTDesktopSocialServiceBackend::picturesDirectory(), folder);
        OTShareRequest r;
        r.platform = OTSharePlatformSaveImage;
        r.image = testPicture();

        QSignalSpy shared(OTSocialService::defaultService(), &OTSocialService::shared);
        OTSocialService::defaultService()->shareContent({}, {}, {}, {}, r.image, OTSharePlatformSaveImage, nullptr);
        QCOMPARE(shared.first(), (QVariantList{6, true}));
        const QString first = QDir(folder).filePath(QStringLiteral("OstQuote-20170301-100005.png"));
        QCOMPARE(OTDesktopSocialServiceBackend::lastSavedImagePath(), first);
        // The user is told where it went.
        QCOMPARE(Global::sharedGlobal()->lastHUBText(), QStringLiteral("Image saved to ") + first);
        QCOMPARE(Global::sharedGlobal()->lastHUBStatus(), 1);
        QImageReader reader(first);
        QCOMPARE(reader.format(), QByteArray("png"));
        const QImage back = reader.read();
        QCOMPARE(back.size(), r.image.size());
        QCOMPARE(back.pixelColor(3, 4), QColor(200, 10, 20));
        QCOMPARE(back.pixelColor(10, 10), QColor(0x3C, 0xB3, 0x71));

        // A second picture in the same second does not overwrite the first.
        r.image.fill(Qt::black);
        QVERIFY(OTDesktopSocialServiceBackend().share(r));
        const QString second = QDir(folder).filePath(QStringLiteral("OstQuote-20170301-100005-2.png"));
        QCOMPARE(OTDesktopSocialServiceBackend::lastSavedImagePath(), second);
        QCOMPARE(QImage(second).pixelColor(3, 4), QColor(Qt::black));
        QCOMPARE(QImage(first).pixelColor(3, 4), QColor(200, 10, 20));
        QCOMPARE(QDir(folder).entryList(QDir::Files).size(), 2);
        QVERIFY(m_browser.opened.isEmpty() && m_mail.opened.isEmpty());

        // Nothing to save.
        r.image = QImage();
        QVERIFY(!OTDesktopSocialServiceBackend().share(r));
        QCOMPARE(OTDesktopSocialServiceBackend::lastSavedImagePath(), second);

        // By default: the Pictures folder.
        OTDesktopSocialServiceBackend::setPicturesDirectory(QString());
        QCOMPARE(OTDesktopSocialServiceBackend::picturesDirectory(),
                 QStandardPaths::writableLocation(QStandardPaths::PicturesLocation));
    }

    void copyImagePutsThePictureOnTheClipboard()
    {
        QClipboard *clipboard = QGuiApplication::clipboard();
        clipboard->setText(QStringLiteral("before"));
        OTShareRequest r;
        r.platform = OTSharePlatformCopyImage;
        QVERIFY(!OTDesktopSocialServiceBackend().share(r));
        QCOMPARE(clipboard->text(), QStringLiteral("before"));

        r.image = testPicture();
        QVERIFY(OTDesktopSocialServiceBackend().share(r));
        QVERIFY(clipboard->mimeData()->hasImage());
        const QImage copied = clipboard->image();
        QCOMPARE(copied.size(), r.image.size());
        QCOMPARE(copied.pixelColor(3, 4), QColor(200, 10, 20));

        // Through the service, which says so.
        clipboard->setText(QStringLiteral("before"));
        OTSocialService::defaultService()->shareContent({}, {}, {}, {}, testPicture(), OTSharePlatformCopyImage, nullptr);
        QVERIFY(clipboard->mimeData()->hasImage());
        QCOMPARE(Global::sharedGlobal()->lastHUBText(), QStringLiteral("Image copied"));
    }

    // A folder that cannot take the picture: the user is told where it was to go (and why,
    // when the system says), and nothing is left behind.
    void savingWhereItCannotSaysSo_data()
    {
        QTest::addColumn<QString>("folder");   // relative: inside the temporary folder
        QTest::addColumn<bool>("withReason");
        QTest::newRow("a file in the folder's place") << "a-file" << false;
        QTest::newRow("below a file") << "a-file/Pictures" << false;
        QTest::newRow("a folder nobody may write to") << "/proc/self/fdinfo" << true;
    }

    void savingWhereItCannotSaysSo()
    {
        QFETCH(QString, folder);
        QFETCH(bool, withReason);
        QTemporaryDir temp;
        QVERIFY(temp.isValid());
        QFile blocker(temp.filePath(QStringLiteral("a-file")));
        QVERIFY(blocker.open(QIODevice::WriteOnly));
        blocker.write("not a folder");
        blocker.close();
        const QString target = QDir::isAbsolutePath(folder) ? folder : temp.filePath(folder);
        OTDesktopSocialServiceBackend::setPicturesDirectory(target);
        const QString before = OTDesktopSocialServiceBackend::lastSavedImagePath();

        QSignalSpy messages(Global::sharedGlobal(), &Global::hubShown);
        QSignalSpy finished(OTSocialService::defaultService(), &OTSocialService::shareFinished);
        OTSocialService::defaultService()->shareContent({}, {}, {}, {}, testPicture(), OTSharePlatformSaveImage, nullptr);
        OTDesktopSocialServiceBackend::setPicturesDirectory(QString());

        QCOMPARE(finished.count(), 1);
        const auto result = finished.first().at(1).value<OTShareResult>();
        QCOMPARE(result.status, OTShareResult::Failed);
        QCOMPARE(result.path, target);
        QCOMPARE(messages.count(), 1);
        const QString message = messages.first().at(0).toString();
        QVERIFY2(message.startsWith(QStringLiteral("Could not save the image to ") + target), qPrintable(message));
        QCOMPARE(message.contains(u'\n'), withReason);
        QCOMPARE(messages.first().at(1).toInt(), 2);
        QCOMPARE(OTDesktopSocialServiceBackend::lastSavedImagePath(), before);
        QFile kept(temp.filePath(QStringLiteral("a-file")));
        QVERIFY(kept.open(QIODevice::ReadOnly));
        QCOMPARE(kept.readAll(), QByteArray("not a folder"));
        QCOMPARE(QDir(temp.path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot), QStringList{"a-file"});
    }

    // --- The desktop backend: the system share route -------------------------------------------

    void theSystemShareActivities()
    {
        OTDesktopSocialServiceBackend backend;
        QClipboard *clipboard = QGuiApplication::clipboard();
        const QVariantList items{QUrl(kLink), QStringLiteral("Words to go with it")};

        QVERIFY(backend.performActivity(QStringLiteral("copy"), items));
        QCOMPARE(clipboard->text(), kLink);

        QVERIFY(backend.performActivity(QStringLiteral("mail"), items));
        QCOMPARE(m_mail.opened.size(), 1);
        QCOMPARE(decodedItem(m_mail.opened.first(), "body"), kLink + QStringLiteral("\n\nWords to go with it"));

        // The browser opens the first web address among the items.
        QVERIFY(backend.performActivity(QStringLiteral("browser"),
                                        {QStringLiteral("not a link"), QStringLiteral("mailto:a@example.com"),
                                         QStringLiteral("https://second.example/"), QUrl(kLink)}));
        QCOMPARE(m_browser.opened, QList<QUrl>{QUrl(QStringLiteral("https://second.example/"))});
        QVERIFY(!backend.performActivity(QStringLiteral("browser"), {QStringLiteral("just words")}));

        // Nothing to work with, or an activity there is none of.
        clipboard->setText(QStringLiteral("kept"));
        QVERIFY(!backend.performActivity(QStringLiteral("copy"), {}));
        QVERIFY(!backend.performActivity(QStringLiteral("copy"), {QString()}));
        QVERIFY(!backend.performActivity(QStringLiteral("mail"), {}));
        QVERIFY(!backend.performActivity(QStringLiteral("print"), items));
        QCOMPARE(clipboard->text(), QStringLiteral("kept"));
        QCOMPARE(m_mail.opened.size(), 1);
        QCOMPARE(m_browser.opened.size(), 1);

        // Through the service.
        QVERIFY(OTSocialService::defaultService()->performActivity(QStringLiteral("copy"), {QStringLiteral("via service")}));
        QCOMPARE(clipboard->text(), QStringLiteral("via service"));
    }
};

QTEST_MAIN(TestOTSocialService)
#include "tst_otsocialservice.moc"
