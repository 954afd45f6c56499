#include "ServerHarness.h"

#include <QImage>
#include <QJsonArray>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QTest>

#include <thread>

using namespace Qt::StringLiterals;

// The day pictures, share cards and share pages, served by the real server from a small
// dataset whose first quote needs escaping in HTML.
class TestServerMedia : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;
    std::unique_ptr<ServerProcess> m_server;
    QString m_trickyDay;     // a day whose quote is the tricky one

    static QList<QStringList> quotes()
    {
        return {
            {u"Ada \"Countess\" Lovelace & Co"_s, u"Less <b>is</b> more & \"that's\" that."_s, u"少即是多 <i>&</i>"_s},
            {u"Marcus Aurelius"_s, u"The happiness of your life depends upon the quality of your thoughts."_s,
             u"你生活的幸福取决于你思想的品质。"_s},
            {u"Seneca"_s, u"Luck is what happens when preparation meets opportunity."_s, u"运气是准备遇上机会。"_s},
        };
    }

    static bool isJpeg(const QByteArray &bytes) { return bytes.startsWith("\xff\xd8\xff"); }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(m_dir.isValid());
        m_server = std::make_unique<ServerProcess>(m_dir.path());
        QVERIFY2(m_server->start(QStringList{"--dataset", writeDataset(m_dir.filePath("quotes.json"), quotes())}),
                 qPrintable(m_server->errorString()));
        for (int day = 1; day <= 10 && m_trickyDay.isEmpty(); ++day) {
            const QString key = QDate(2016, 10, day).toString(Qt::ISODate);
            if (get(m_server->port(), ("/api/v2/quote/quotes/" + key + "/").toUtf8()).json()["author"].toString()
                == quotes().first().first())
                m_trickyDay = key;
        }
        QVERIFY(!m_trickyDay.isEmpty());
    }

    void cleanupTestCase() { QVERIFY(m_server->stop()); }

    void pictureIsAPortraitJPEGDrawnForItsDay()
    {
        const HttpResponse first = get(m_server->port(), "/media/quotes/2016-10-01.jpg");
        QCOMPARE(first.status, 200);
        QCOMPARE(first.header("Content-Type"), QByteArray("image/jpeg"));
        QCOMPARE(first.header("Cache-Control"), QByteArray("public, max-age=31536000, immutable"));
        QVERIFY(isJpeg(first.body));
        QCOMPARE(first.header("Content-Length").toInt(), first.body.size());
        const QImage picture = QImage::fromData(first.body, "JPEG");
        QCOMPARE(picture.size(), QSize(750, 1334));
        // A scene, not a flat fill: the sky differs from the ground.
        QVERIFY(picture.pixelColor(375, 20) != picture.pixelColor(375, 1300));

        const HttpResponse again = get(m_server->port(), "/media/quotes/2016-10-01.jpg");
        QCOMPARE(again.body, first.body);
        QCOMPARE(again.header("ETag"), first.header("ETag"));

        const HttpResponse otherDay = get(m_server->port(), "/media/quotes/2016-10-02.jpg");
        QCOMPARE(otherDay.status, 200);
        QVERIFY(otherDay.body != first.body);
        QVERIFY(otherDay.header("ETag") != first.header("ETag"));
    }

    void shareCardIsASquareJPEG()
    {
        const HttpResponse card = get(m_server->port(), ("/media/quotes/" + m_trickyDay + "-share.jpg").toUtf8());
        QCOMPARE(card.status, 200);
        QCOMPARE(card.header("Content-Type"), QByteArray("image/jpeg"));
        QVERIFY(isJpeg(card.body));
        QCOMPARE(QImage::fromData(card.body, "JPEG").size(), QSize(750, 750));
        QCOMPARE(get(m_server->port(), ("/media/quotes/" + m_trickyDay + "-share.jpg").toUtf8()).body, card.body);
    }

    void headOfAPictureHasItsLengthAndNoBody()
    {
        const HttpResponse full = get(m_server->port(), "/media/quotes/2016-10-03.jpg");
        RawClient client;
        QVERIFY(client.connectTo(m_server->port()));
        client.send("HEAD /media/quotes/2016-10-03.jpg HTTP/1.1\r\nHost: x\r\n\r\n"
                    "GET /api/v2/quote/quotes/today/ HTTP/1.1\r\nHost: x\r\n\r\n");
        const std::optional<HttpResponse> head = client.read(true);
        QVERIFY(head);
        QCOMPARE(head->header("Content-Length").toInt(), full.body.size());
        QCOMPARE(client.read()->status, 200);
    }

    void concurrentRequestsForANewPictureGetTheSameBytes()
    {
        QList<HttpResponse> answers(4);
        std::vector<std::thread> clients;
        for (HttpResponse &answer : answers)
            clients.emplace_back([&answer, port = m_server->port()]() { answer = get(port, "/media/quotes/2016-10-08.jpg"); });
        for (std::thread &client : clients)
            client.join();
        for (const HttpResponse &answer : answers) {
            QCOMPARE(answer.status, 200);
            QCOMPARE(answer.body, answers.first().body);
        }
    }

    void picturesDependOnTheDayAndCardsOnTheQuoteToo()
    {
        // Another database, dealt other quotes: the same picture for a day, a card of its own.
        QTemporaryDir dir;
        ServerProcess other(dir.path());
        QList<QStringList> reversed = quotes();
        std::reverse(reversed.begin(), reversed.end());
        reversed.append({u"Confucius"_s, u"It does not matter how slowly you go as long as you do not stop."_s,
                         u"只要不停下脚步，走得多慢都没关系。"_s});
        QVERIFY2(other.start(QStringList{"--dataset", writeDataset(dir.filePath("quotes.json"), reversed)}),
                 qPrintable(other.errorString()));

        const QByteArray picture = ("/media/quotes/" + m_trickyDay + ".jpg").toUtf8();
        const QByteArray card = ("/media/quotes/" + m_trickyDay + "-share.jpg").toUtf8();
        const QByteArray quote = ("/api/v2/quote/quotes/" + m_trickyDay + "/").toUtf8();
        QCOMPARE(get(other.port(), picture).body, get(m_server->port(), picture).body);
        QVERIFY(get(other.port(), quote).json()["content"] != get(m_server->port(), quote).json()["content"]);
        QVERIFY(get(other.port(), card).body != get(m_server->port(), card).body);
    }

    void picturesAreTheSameAfterARestart()
    {
        const QByteArray picture = get(m_server->port(), "/media/quotes/2016-10-05.jpg").body;
        const QByteArray card = get(m_server->port(), ("/media/quotes/" + m_trickyDay + "-share.jpg").toUtf8()).body;
        QVERIFY(m_server->stop());
        QVERIFY2(m_server->start(QStringList{"--dataset", m_dir.filePath("quotes.json")}),
                 qPrintable(m_server->errorString()));
        QCOMPARE(get(m_server->port(), "/media/quotes/2016-10-05.jpg").body, picture);
        QCOMPARE(get(m_server->port(), ("/media/quotes/" + m_trickyDay + "-share.jpg").toUtf8()).body, card);
    }

    void sharePageShowsTheQuoteEscaped()
    {
        const QByteArray path = ("/share/quotes/" + m_trickyDay + "/").toUtf8();
        const HttpResponse page = get(m_server->port(), path + "?via=weibo");
        QCOMPARE(page.status, 200);
        QCOMPARE(page.header("Content-Type"), QByteArray("text/html; charset=utf-8"));
        const QString html = QString::fromUtf8(page.body);
        QVERIFY(html.startsWith("<!DOCTYPE html>"));
        QVERIFY2(html.contains("Less &lt;b&gt;is&lt;/b&gt; more &amp; &quot;that&#39;s&quot; that."), qPrintable(html));
        QVERIFY(html.contains("Ada &quot;Countess&quot; Lovelace &amp; Co"));
        QVERIFY(html.contains(u"少即是多 &lt;i&gt;&amp;&lt;/i&gt;"_s));
        QVERIFY(!html.contains("<b>is</b>"));
        QVERIFY(!html.contains("<i>&</i>"));

        const QString base = m_server->baseURL();
        QVERIFY(html.contains(u"<meta property=\"og:image\" content=\"%1/media/quotes/%2-share.jpg\">"_s.arg(base, m_trickyDay)));
        QVERIFY(html.contains(u"<meta property=\"og:url\" content=\"%1/share/quotes/%2/\">"_s.arg(base, m_trickyDay)));
        QVERIFY(html.contains(u"og:title"_s));
        QVERIFY(html.contains(u"src=\"%1/media/quotes/%2.jpg\""_s.arg(base, m_trickyDay)));

        // The share target does not change the page.
        QCOMPARE(get(m_server->port(), path).body, page.body);
    }
};

QTEST_GUILESS_MAIN(TestServerMedia)
#include "tst_server_media.moc"
