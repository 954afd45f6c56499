#include "OTUserInfoStore+OstQuote.h"
#include "OstQuote.h"
#include "OstQuoteLink.h"

#include <OstAPIClient.h>
#include "OstQuoteResourceHelper.h"

#include <QFile>
#include <QScopeGuard>
#include <QProcess>
#include <QGuiApplication>
#include <QJsonDocument>
#include <QTemporaryDir>
#include <QTest>
#include <QTranslator>
#include <QQmlComponent>
#include <QQmlEngine>

namespace {

const char *kWireQuote = "{\n"
    "    \"author\": \"Marcus Aurelius\",\n"
    "    \"content\": \"The happiness of your life depends upon the quality of your thoughts.\",\n"
    "    \"assign_date\": \"2016-10-01\",\n"
    "    \"translation\": \"你生活的幸福取决于你思想的品质。\",\n"
    "    \"share_urls\": {\"default\": \"http://q/share/quotes/2016-10-01/\", \"weibo\": \"http://q/share/quotes/2016-10-01/?via=weibo\"},\n"
    "    \"origin_img_urls\": [\"http://q/media/quotes/2016-10-01.jpg\"],\n"
    "    \"share_img_urls\": [\"http://q/media/quotes/2016-10-01-share.jpg\"],\n"
    "    \"share_img_url\": {\"default\": \"http://q/media/quotes/2016-10-01-share.jpg\"}\n"
    "}";

OstQuotePtr quoteFrom(const char *json)
{
    return OstQuote::fromJSON(QJsonDocument::fromJson(json).object());
}

const QStringList kFields = {"author", "content", "assign_date", "translation",
                             "share_urls", "origin_img_urls", "share_img_urls", "share_img_url"};

} // namespace

class TestOstQuote : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init()
    {
        m_dir = std::make_unique<QTemporaryDir>();
        OTUserInfoStore::setStorePath(m_dir->filePath(QStringLiteral("defaults.cbor")));
    }

    // The record

    void mapsTheWireForm()
    {
        OstQuotePtr q = quoteFrom(kWireQuote);
        QVERIFY(q);
        for (const QString &field : kFields)
            QVERIFY2(q->hasValueForKey(field), qPrintable(field));
        QCOMPARE(q->author(), QStringLiteral("Marcus Aurelius"));
        QCOMPARE(q->translation(), QStringLiteral("你生活的幸福取决于你思想的品质。"));
        QCOMPARE(q->origin_img_urls().value(0), QStringLiteral("http://q/media/quotes/2016-10-01.jpg"));
        QCOMPARE(q->share_urls().value("weibo").toString(), QStringLiteral("http://q/share/quotes/2016-10-01/?via=weibo"));
        // The JSON written back has the eight keys and the same values.
        QCOMPARE(q->JSONObject(), QJsonDocument::fromJson(kWireQuote).object());
    }

    // A value of the wrong kind is left out; "" is a value, null is none.
    void wrongKindsAreAbsentAndEmptyTextIsPresent()
    {
        OstQuotePtr q = quoteFrom("{\"content\": \"\", \"assign_date\": null, \"origin_img_urls\": \"x\"}");
        for (const QString &field : kFields)
            QCOMPARE(q->hasValueForKey(field), field == "content");
        QVERIFY(!q->content().isNull() && q->content().isEmpty());
        QVERIFY(q->author().isNull());
    }

    // Every field, a present empty one and an absent one included, comes back from the archive
    // as it went in.
    void theArchiveKeepsTheRecordAsItWas()
    {
        for (const char *json : {kWireQuote, "{\"content\": \"\", \"author\": null}"}) {
            OstQuotePtr q = quoteFrom(json);
            auto back = OTModel::unarchiveObjectWithData(q->archivedData()).objectCast<OstQuote>();
            QVERIFY(back);
            for (const QString &field : kFields)
                QCOMPARE(back->property(field.toLatin1()), q->property(field.toLatin1()));
            QCOMPARE(back->content().isNull(), q->content().isNull());
            QCOMPARE(back->author().isNull(), q->author().isNull());
            QVERIFY(back->isEqualToModel(q.data()));
            back->setContent(QStringLiteral("changed"));
            QVERIFY(!back->isEqualToModel(q.data()));
        }
    }

    // Setting the value a field already has is no change.
    void onlyARealChangeIsAnnounced()
    {
        OstQuote q;
        q.setContent(QStringLiteral("Be brief."));
        int changes = 0;
        connect(&q, &OTModel::changed, this, [&]() { ++changes; });
        q.setContent(QStringLiteral("Be brief."));
        QCOMPARE(changes, 0);
        q.setContent(QStringLiteral(""));
        QCOMPARE(changes, 1);
        q.setContent(QString());
        QCOMPARE(changes, 2);
    }

    // The latest-quote store

    void freshStoreHasNoLatestQuoteAndLogsNothing()
    {
        QTest::failOnWarning(QRegularExpression(".*"));
        QVERIFY(!latestQuote());
    }

    void updatesReplaceTheLatestQuoteAndKeepOtherSettings()
    {
        QVERIFY(OTUserInfoStore::synchronizeOstrelDefaults({{"theme", "dark"}, {"launches", 7}}));
        OstQuotePtr first = quoteFrom(kWireQuote);
        OstQuotePtr second = quoteFrom("{\"content\": \"Second.\", \"assign_date\": \"2016-10-02\"}");
        QVERIFY(updateQuote(first.data()));
        QVERIFY(updateQuote(second.data()));
        auto latest = latestQuote().objectCast<OstQuote>();
        QVERIFY(latest);
        QVERIFY(latest->isEqualToModel(second.data()));
        QVERIFY(latest->author().isNull());

        const QVariantMap settings = OTUserInfoStore::ostrelDefaults();
        QCOMPARE(settings.value("theme").toString(), QStringLiteral("dark"));
        QCOMPARE(settings.value("launches").toInt(), 7);
        QCOMPARE(settings.size(), 3);

        QVERIFY(!updateQuote(nullptr));
        QVERIFY(latestQuote()->isEqualToModel(second.data()));
    }

    void damagedEntryLogsAndStaysUntilTheNextUpdate()
    {
        QVERIFY(OTUserInfoStore::synchronizeOstrelDefaults({{OstQuoteLatestQuoteKey, QByteArray("not an archive")}}));
        for (int i = 0; i < 2; ++i) {
            QTest::ignoreMessage(QtWarningMsg, QRegularExpression("damaged archive|not a keyed archive"));
            QVERIFY(!latestQuote());
        }
        QVERIFY(OTUserInfoStore::ostrelDefaults().contains(OstQuoteLatestQuoteKey));
        OstQuotePtr q = quoteFrom(kWireQuote);
        QVERIFY(updateQuote(q.data()));
        QVERIFY(latestQuote()->isEqualToModel(q.data()));
    }

    void failedWriteKeepsThePreviousQuote()
    {
        OstQuotePtr q = quoteFrom(kWireQuote);
        QVERIFY(updateQuote(q.data()));
        // Put a directory where the save file's temporary sibling cannot be made: point the
        // store at a file inside a regular file.
        QFile blocker(m_dir->filePath("blocker"));
        QVERIFY(blocker.open(QIODevice::WriteOnly));
        blocker.close();
        const QString good = OTUserInfoStore::storePath();
        OTUserInfoStore::setStorePath(m_dir->filePath("blocker/defaults.cbor"));
        QVERIFY(!updateQuote(quoteFrom("{\"content\": \"lost\"}").data()));
        OTUserInfoStore::setStorePath(good);
        QVERIFY(latestQuote()->isEqualToModel(q.data()));
    }

    // Resources

    void imagesComeFromTheModuleAtEveryScale_data()
    {
        QTest::addColumn<QString>("name");
        QTest::newRow("launch logo") << "launch_ostrel_logo";
        QTest::newRow("viewer logo") << "ostrel_logo_quote";
        QTest::newRow("default picture") << "default_launch_image";
    }
    void imagesComeFromTheModuleAtEveryScale()
    {
        QFETCH(QString, name);
        const QImage image = OstQuoteResourceHelper::imageName(name);
        QVERIFY2(!image.isNull(), qPrintable(name));
        QVERIFY(OstQuoteResourceHelper::imageURL(name).toString().startsWith("qrc:/OstQuote/images/" + name));
        // On a 1x screen the 1x file is chosen; the helper's image has the screen's ratio.
        const QString base = OstQuoteResourceHelper::imageURL(name).toString().mid(3);
        QCOMPARE(image.deviceIndependentSize().toSize(), QImage(base).size());
    }

    void missingOrEmptyImageNamesGiveNothing()
    {
        QVERIFY(OstQuoteResourceHelper::imageName(QString()).isNull());
        QVERIFY(OstQuoteResourceHelper::imageName("").isNull());
        QVERIFY(OstQuoteResourceHelper::imageName("no_such_image").isNull());
        QVERIFY(OstQuoteResourceHelper::imageName("../images/ostrel_logo_quote").isNull());
        QVERIFY(OstQuoteResourceHelper::imageURL("no_such_image").isEmpty());
        // The host's own resources are never looked at.
        QVERIFY(QFile::exists(":/images/host_only_image.png"));
        QVERIFY(OstQuoteResourceHelper::imageName("host_only_image").isNull());
    }

    void textsComeFromTheModulesTable()
    {
        QLocale::setDefault(QLocale(QLocale::Chinese, QLocale::China));
        QCOMPARE(OstQuoteResourceHelper::LocalizedString("home_item_quote_share_topic"), QStringLiteral("#每日一句#"));
        // A language the table lacks falls back to English.
        QLocale::setDefault(QLocale(QLocale::Swahili, QLocale::Kenya));
        QCOMPARE(OstQuoteResourceHelper::LocalizedString("share_success", "分享成功"), QStringLiteral("Shared"));
        QLocale::setDefault(QLocale::c());
    }

    void missingKeysComeBackAsThemselvesAndTheHostTableIsIgnored()
    {
        QCOMPARE(OstQuoteResourceHelper::LocalizedString("no_such_key", "whatever"), QStringLiteral("no_such_key"));
        QCOMPARE(OstQuoteResourceHelper::LocalizedString("", ""), QString());
        // A host translator that knows the module's keys (and one of its own) changes nothing.
        QTemporaryDir dir;
        const QString ts = dir.filePath("host.ts");
        QFile file(ts);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("<?xml version=\"1.0\" encoding=\"utf-8\"?><!DOCTYPE TS><TS version=\"2.1\" language=\"en\"><context><name></name>\n"
    "<message id=\"share_success\"><source>x</source><translation>HOST TEXT</translation></message>\n"
    "<message id=\"host_only_key\"><source>x</source><translation>HOST ONLY</translation></message></context></TS>");
        file.close();
        QProcess lrelease;
        lrelease.start(QStringLiteral(QT_LRELEASE), {"-idbased", ts, "-qm", dir.filePath("host.qm")});
        QVERIFY(lrelease.waitForFinished() && lrelease.exitCode() == 0);
        QTranslator host;
        QVERIFY(host.load(dir.filePath("host.qm")));
        QCoreApplication::installTranslator(&host);
        QCOMPARE(qtTrId("host_only_key"), QStringLiteral("HOST ONLY"));
        QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates));
        QCOMPARE(OstQuoteResourceHelper::LocalizedString("share_success"), QStringLiteral("Shared"));
        QCOMPARE(OstQuoteResourceHelper::LocalizedString("host_only_key"), QStringLiteral("host_only_key"));
        QCoreApplication::removeTranslator(&host);
        QLocale::setDefault(QLocale::c());
    }

    // The module's own links give their day; everything else, however close, gives none.
    void linksGiveTheirDay_data()
    {
        QTest::addColumn<QString>("link");
        QTest::addColumn<QString>("day");
        const QString share = QStringLiteral("http://quotes.example:8080/daily/share/quotes/");
        QTest::newRow("share page") << share + "2019-02-14/" << "2019-02-14";
        QTest::newRow("share page, shared to a target") << share + "2019-02-14/?via=weibo" << "2019-02-14";
        QTest::newRow("share page, no last slash") << share + "2019-02-14" << "2019-02-14";
        QTest::newRow("share page, host in capitals, spaces around") << "  HTTP://Quotes.Example:8080/daily/share/quotes/2019-02-14/ " << "2019-02-14";
        QTest::newRow("app link") << "ostquote://day/2019-02-14" << "2019-02-14";
        QTest::newRow("app link, last slash") << "ostquote://day/2019-02-14/" << "2019-02-14";
        QTest::newRow("the first day") << "ostquote://day/2016-10-01" << "2016-10-01";
        // Whether the quotes reach a day is the viewer's to say.
        QTest::newRow("a day before the quotes") << "ostquote://day/1999-12-31" << "1999-12-31";

        QTest::newRow("foreign host") << "http://elsewhere.example:8080/daily/share/quotes/2019-02-14/" << "";
        QTest::newRow("a host that ends like it") << "http://evilquotes.example:8080/daily/share/quotes/2019-02-14/" << "";
        QTest::newRow("another port") << "http://quotes.example:8081/daily/share/quotes/2019-02-14/" << "";
        QTest::newRow("default port") << "http://quotes.example/daily/share/quotes/2019-02-14/" << "";
        QTest::newRow("with a user") << "http://me@quotes.example:8080/daily/share/quotes/2019-02-14/" << "";
        QTest::newRow("not the server's path") << "http://quotes.example:8080/share/quotes/2019-02-14/" << "";
        QTest::newRow("a path below the day") << share + "2019-02-14/edit" << "";
        QTest::newRow("a path back up") << share + "../quotes/2019-02-14/" << "";
        QTest::newRow("two slashes") << share + "2019-02-14//" << "";
        QTest::newRow("another query") << share + "2019-02-14/?next=/admin" << "";
        QTest::newRow("via and more") << share + "2019-02-14/?via=qq&x=1" << "";
        QTest::newRow("a fragment") << share + "2019-02-14/#top" << "";
        QTest::newRow("https to an http server") << "https://quotes.example:8080/daily/share/quotes/2019-02-14/" << "";
        QTest::newRow("an encoded slash") << "http://quotes.example:8080/daily%2Fshare%2Fquotes%2F2019-02-14" << "";
        QTest::newRow("an encoded last slash") << share + "2019-02-14%2F" << "";
        QTest::newRow("ftp") << "ftp://quotes.example:8080/daily/share/quotes/2019-02-14/" << "";
        QTest::newRow("a picture, not a page") << "http://quotes.example:8080/daily/media/quotes/2019-02-14.jpg" << "";
        QTest::newRow("30 February") << share + "2019-02-30/" << "";
        QTest::newRow("one-digit month") << "ostquote://day/2019-2-14" << "";
        QTest::newRow("a day with a time") << "ostquote://day/2019-02-14T10:00" << "";
        QTest::newRow("app link, other host") << "ostquote://quote/2019-02-14" << "";
        QTest::newRow("app link with a port") << "ostquote://day:80/2019-02-14" << "";
        QTest::newRow("app link with a query") << "ostquote://day/2019-02-14?via=x" << "";
        QTest::newRow("a bare day") << "2019-02-14" << "";
        QTest::newRow("empty") << "" << "";
        QTest::newRow("not a URL") << "http://[::1" << "";
    }

    void linksGiveTheirDay()
    {
        QFETCH(QString, link);
        QFETCH(QString, day);
        OstAPIClient::sharedClient()->setBaseURL(QUrl(QStringLiteral("http://quotes.example:8080/daily/")));
        auto restore = qScopeGuard([]() { OstAPIClient::sharedClient()->setBaseURL(OstAPIClient::defaultBaseURL()); });
        QCOMPARE(OstQuoteLink::dayOfLink(link), day);
        if (!day.isEmpty())
            QCOMPARE(OstQuoteLink::dayOfLink(OstQuoteLink::appLink(day)), day);
    }

    void bothLibrariesAreQmlModules()
    {
        QQmlEngine engine;
        engine.addImportPath(QStringLiteral(OST_QML_DIR));
        QQmlComponent component(&engine);
        component.setData("import QtQml\nimport OstFoundation\nimport OstQuote\n"
                          "QtObject { property string day: OstQuoteLink.dayOf('ostquote://day/2019-02-14') }",
                          QUrl());
        std::unique_ptr<QObject> object(component.create());
        QVERIFY2(object, qPrintable(component.errorString()));
        QCOMPARE(object->property("day").toString(), QStringLiteral("2019-02-14"));
    }

private:
    std::unique_ptr<QTemporaryDir> m_dir;
};

QTEST_MAIN(TestOstQuote)
#include "tst_ostquote.moc"
