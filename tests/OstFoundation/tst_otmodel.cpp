#include <OTModel.h>

#include <QCborArray>
#include <QCborMap>
#include <QCborValue>
#include <QJsonDocument>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QTest>

// A record with one property of every kind the mapping knows, and a nested key path.
class Sample : public OTModel
{
    Q_OBJECT
    Q_PROPERTY(QString name MEMBER name NOTIFY changed)
    Q_PROPERTY(int count MEMBER count NOTIFY changed)
    Q_PROPERTY(qint64 big MEMBER big NOTIFY changed)
    Q_PROPERTY(double ratio MEMBER ratio NOTIFY changed)
    Q_PROPERTY(bool flag MEMBER flag NOTIFY changed)
    Q_PROPERTY(QVariantMap links MEMBER links NOTIFY changed)
    Q_PROPERTY(QStringList tags MEMBER tags NOTIFY changed)
    Q_PROPERTY(QVariantList items MEMBER items NOTIFY changed)
    Q_PROPERTY(QString city MEMBER city NOTIFY changed)
    Q_PROPERTY(QString unmapped MEMBER unmapped NOTIFY changed)
public:
    Q_INVOKABLE explicit Sample(QObject *parent = nullptr) : OTModel(parent) {}
    QHash<QString, QString> JSONKeyPathsByPropertyKey() const override
    {
        return {{"name", "name"}, {"count", "count"}, {"big", "big"}, {"ratio", "ratio"}, {"flag", "flag"},
                {"links", "links"}, {"tags", "tags"}, {"items", "items"}, {"city", "address.city"}};
    }
    QString name;
    int count = 0;
    qint64 big = 0;
    double ratio = 0;
    bool flag = false;
    QVariantMap links;
    QStringList tags;
    QVariantList items;
    QString city;
    QString unmapped;
};

// Another class, to check that an archive is not read back as the wrong class.
class Other : public OTModel
{
    Q_OBJECT
    Q_PROPERTY(QString name MEMBER name NOTIFY changed)
public:
    Q_INVOKABLE explicit Other(QObject *parent = nullptr) : OTModel(parent) {}
    QHash<QString, QString> JSONKeyPathsByPropertyKey() const override { return {{"name", "name"}}; }
    QString name;
};

OT_REGISTER_MODEL(Sample)
OT_REGISTER_MODEL(Other)

namespace {

QSharedPointer<Sample> sampleFrom(const char *json)
{
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(json, &error);
    Q_ASSERT(error.error == QJsonParseError::NoError);
    return OTModel::modelFromJSON<Sample>(document.object());
}

const char *kFullSample = "{\n"
    "    \"name\": \"Ada\", \"count\": 3, \"big\": 9007199254740000, \"ratio\": 0.25, \"flag\": true,\n"
    "    \"links\": {\"default\": \"http://x/1\", \"nested\": {\"a\": [1, 2]}}, \"tags\": [\"a\", \"\", \"c\"],\n"
    "    \"items\": [1, \"two\", null, {\"three\": 3}], \"address\": {\"city\": \"Leeds\"}, \"extra\": \"ignored\",\n"
    "    \"unmapped\": \"also ignored\"\n"
    "}";

} // namespace

class TestOTModel : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void mapsEveryKindOfValue()
    {
        auto s = sampleFrom(kFullSample);
        QVERIFY(s);
        QCOMPARE(s->name, QStringLiteral("Ada"));
        QCOMPARE(s->count, 3);
        QCOMPARE(s->big, Q_INT64_C(9007199254740000));
        QCOMPARE(s->ratio, 0.25);
        QCOMPARE(s->flag, true);
        QCOMPARE(s->links.value("default").toString(), QStringLiteral("http://x/1"));
        QCOMPARE(s->links.value("nested").toMap().value("a").toList().size(), 2);
        QCOMPARE(s->tags, QStringList({"a", "", "c"}));
        QCOMPARE(s->items.size(), 4);
        QCOMPARE(s->city, QStringLiteral("Leeds"));
        QVERIFY2(s->unmapped.isNull(), "a key the map does not name is ignored");
    }

    void wrongTypesAndNullsLeavePropertiesAbsent_data()
    {
        QTest::addColumn<QByteArray>("json");
        QTest::addColumn<QString>("property");
        QTest::newRow("string as number") << QByteArray("{\"name\": 5}") << QStringLiteral("name");
        QTest::newRow("string as null") << QByteArray("{\"name\": null}") << QStringLiteral("name");
        QTest::newRow("string as object") << QByteArray("{\"name\": {}}") << QStringLiteral("name");
        QTest::newRow("int as string") << QByteArray("{\"count\": \"3\"}") << QStringLiteral("count");
        QTest::newRow("int as fraction") << QByteArray("{\"count\": 2.5}") << QStringLiteral("count");
        QTest::newRow("int out of range") << QByteArray("{\"count\": 214955000000}") << QStringLiteral("count");
        QTest::newRow("int far out of range") << QByteArray("{\"count\": 1e300}") << QStringLiteral("count");
        QTest::newRow("bool as number") << QByteArray("{\"flag\": 1}") << QStringLiteral("flag");
        QTest::newRow("map as array") << QByteArray("{\"links\": [\"x\"]}") << QStringLiteral("links");
        QTest::newRow("map as string") << QByteArray("{\"links\": \"x\"}") << QStringLiteral("links");
        QTest::newRow("string list with a number") << QByteArray("{\"tags\": [\"a\", 1]}") << QStringLiteral("tags");
        QTest::newRow("string list as object") << QByteArray("{\"tags\": {\"a\": \"b\"}}") << QStringLiteral("tags");
        QTest::newRow("list as null") << QByteArray("{\"items\": null}") << QStringLiteral("items");
        QTest::newRow("key path through a string") << QByteArray("{\"address\": \"Leeds\"}") << QStringLiteral("city");
        QTest::newRow("key path leaf missing") << QByteArray("{\"address\": {}}") << QStringLiteral("city");
        QTest::newRow("missing") << QByteArray("{}") << QStringLiteral("name");
    }
    void wrongTypesAndNullsLeavePropertiesAbsent()
    {
        QFETCH(QByteArray, json);
        QFETCH(QString, property);
        auto s = sampleFrom(json.constData());
        QVERIFY(s);
        // The property keeps the value a fresh record has: null, empty, zero or false.
        Sample fresh;
        QCOMPARE(s->property(property.toLatin1()), fresh.property(property.toLatin1()));
        if (property != QLatin1String("count") && property != QLatin1String("flag"))
            QVERIFY(!s->hasValueForKey(property));
        // Absent strings are null (not merely empty), so readers can tell "" from nothing.
        QVERIFY(s->name.isNull());
        QVERIFY(s->JSONObject().contains(s->JSONKeyPathsByPropertyKey().value(property).section('.', 0, 0)));
    }

    // A record's JSON, written as text and read back, is the same JSON object and the same
    // record, whatever shape its numbers have: QJsonObject's == tells an integer from a
    // double of the same value, and the parser reads every whole number that fits 64 bits as
    // an integer.
    void numbersReadBackAsWritten_data()
    {
        QTest::addColumn<double>("number");
        QTest::newRow("whole double past 2^53") << 1e16;
        QTest::newRow("whole double under 2^53") << 3.0;
        QTest::newRow("minus zero") << -0.0;
        QTest::newRow("2^53 + 2") << 9007199254740994.0;
        QTest::newRow("-2^63") << -9223372036854775808.0;
        QTest::newRow("2^63, past 64 bits") << 9223372036854775808.0;
        QTest::newRow("1e300") << 1e300;
        QTest::newRow("fraction") << 0.1;
        QTest::newRow("negative fraction") << -2.5e-7;
    }
    void numbersReadBackAsWritten()
    {
        QFETCH(double, number);
        Sample record;
        record.ratio = number;
        record.big = Q_INT64_C(-9007199254740993);   // no double holds it
        record.links = {{"nested", QVariantMap{{"n", number}}}, {"list", QVariantList{number, 4954740993.0}}};
        record.items = {number, QVariantMap{{"n", number}}, Q_INT64_C(-9223372036854775807) - 1};

        const QJsonObject json = record.JSONObject();
        const QJsonDocument reread = QJsonDocument::fromJson(QJsonDocument(json).toJson(QJsonDocument::Compact));
        QCOMPARE(reread.object(), json);
        QCOMPARE(json.value("ratio").toDouble(), number);

        const auto again = OTModel::modelFromJSON<Sample>(reread.object());
        QVERIFY(again->isEqualToModel(&record));
        QCOMPARE(again->JSONObject(), json);
    }

    void refusesClassesThatAreNotModels()
    {
        QVERIFY(!OTModel::modelOfClass(&QObject::staticMetaObject, {}));
        QVERIFY(!OTModel::modelOfClass(nullptr, {}));
    }

    void archiveRoundTripKeepsEveryField()
    {
        auto original = sampleFrom(kFullSample);
        const QByteArray data = original->archivedData();
        OTError error;
        auto copy = OTModel::unarchiveObjectWithData(data, &error);
        QVERIFY2(copy, qPrintable(error.description()));
        QCOMPARE(copy->metaObject(), &Sample::staticMetaObject);
        QVERIFY(copy->isEqualToModel(original.data()));
        QCOMPARE(copy->JSONObject(), original->JSONObject());

        // A record with nothing in it survives too.
        Sample empty;
        auto emptyCopy = OTModel::unarchiveObjectWithData(empty.archivedData());
        QVERIFY(emptyCopy);
        QVERIFY(emptyCopy->isEqualToModel(&empty));
        QVERIFY(!emptyCopy->isEqualToModel(original.data()));
    }

    void archiveToFileIsAtomicAndReadable()
    {
        QTemporaryDir dir;
        const QString path = dir.filePath("record");
        auto original = sampleFrom(kFullSample);
        QVERIFY(original->archiveRootObjectToFile(path));
        auto copy = OTModel::unarchiveObjectWithFile(path);
        QVERIFY(copy && copy->isEqualToModel(original.data()));

        OTError error;
        QVERIFY(!OTModel::unarchiveObjectWithFile(dir.filePath("missing"), &error));
        QCOMPARE(error.kind(), OTError::FileSystem);
        QVERIFY(!original->archiveRootObjectToFile(dir.filePath("no/such/folder/record"), &error));
        QCOMPARE(error.kind(), OTError::FileSystem);
    }

    void foreignArchivesAreErrors_data()
    {
        QTest::addColumn<QByteArray>("data");
        QCborMap goodProperties;
        goodProperties.insert(QStringLiteral("name"), QStringLiteral("x"));
        auto archive = [](const QCborValue &cls, const QCborValue &version, const QCborValue &properties) {
            QCborMap root;
            root.insert(QStringLiteral("class"), cls);
            root.insert(QStringLiteral("version"), version);
            root.insert(QStringLiteral("properties"), properties);
            return QCborValue(root).toCbor();
        };
        QTest::newRow("empty") << QByteArray();
        QTest::newRow("text") << QByteArray("hello, world");
        QTest::newRow("json") << QByteArray("{\"class\":\"Sample\"}");
        QTest::newRow("cbor array") << QCborValue(QCborArray{1, 2}).toCbor();
        QTest::newRow("unknown class") << archive(QStringLiteral("Nope"), 1, goodProperties);
        QTest::newRow("not a model class") << archive(QStringLiteral("QObject"), 1, goodProperties);
        QTest::newRow("future version") << archive(QStringLiteral("Sample"), 99, goodProperties);
        QTest::newRow("version as text") << archive(QStringLiteral("Sample"), QStringLiteral("1"), goodProperties);
        QTest::newRow("properties not a map") << archive(QStringLiteral("Sample"), 1, QCborArray{});
        QCborMap wrongType;
        wrongType.insert(QStringLiteral("count"), QStringLiteral("three"));
        QTest::newRow("property of the wrong type") << archive(QStringLiteral("Sample"), 1, wrongType);
        QCborMap wrongList;
        wrongList.insert(QStringLiteral("tags"), QCborArray{QStringLiteral("a"), 2});
        QTest::newRow("string list holding a number") << archive(QStringLiteral("Sample"), 1, wrongList);
        QCborMap tooLarge;
        tooLarge.insert(QStringLiteral("count"), qint64(1) << 40);
        QTest::newRow("int beyond its range") << archive(QStringLiteral("Sample"), 1, tooLarge);
        // No record holds a NaN or an infinity: one would keep it from equalling its own copy.
        QCborMap notANumber;
        notANumber.insert(QStringLiteral("items"), QCborArray{1, qQNaN()});
        QTest::newRow("NaN inside a list") << archive(QStringLiteral("Sample"), 1, notANumber);
        // A map written by hand may hold a key twice; the archiver never does.
        QByteArray twice = archive(QStringLiteral("Sample"), 1, goodProperties);
        const QByteArray once = QCborValue(QStringLiteral("name")).toCbor() + QCborValue(QStringLiteral("x")).toCbor();
        twice.replace(once, once + once);
        twice.replace(QByteArray(1, char(0xa1)) + once + once, QByteArray(1, char(0xa2)) + once + once);
        QTest::newRow("a property twice") << twice;
        QTest::newRow("bytes after the archive") << archive(QStringLiteral("Sample"), 1, goodProperties) + QByteArray("\x01", 1);
    }
    void foreignArchivesAreErrors()
    {
        QFETCH(QByteArray, data);
        OTError error;
        QVERIFY(!OTModel::unarchiveObjectWithData(data, &error));
        QCOMPARE(error.kind(), OTError::Undecodable);
        QVERIFY(!error.description().isEmpty());
    }

    void archiveOfOneClassIsNotReadAsAnother()
    {
        Other other;
        other.name = QStringLiteral("x");
        auto back = OTModel::unarchiveObjectWithData(other.archivedData());
        QVERIFY(back);
        QVERIFY(!back.objectCast<Sample>());
        QVERIFY(back.objectCast<Other>());
    }

    void damagedArchivesNeverCrash()
    {
        // Every truncation and a few thousand random corruptions of a real archive: each is
        // either an error or a record of the archived class, never a crash.
        const QByteArray data = sampleFrom(kFullSample)->archivedData();
        int decoded = 0, refused = 0;
        auto check = [&](const QByteArray &bytes) {
            OTError error;
            OTModelPtr model = OTModel::unarchiveObjectWithData(bytes, &error);
            if (model) {
                QVERIFY(model.objectCast<Sample>());
                ++decoded;
            } else {
                QVERIFY(error.isError());
                ++refused;
            }
        };
        for (int length = 0; length < data.size(); ++length)
            check(data.left(length));
        QRandomGenerator random(2016);
        for (int round = 0; round < 3000; ++round) {
            QByteArray bytes = data;
            const int flips = 1 + random.bounded(4);
            for (int i = 0; i < flips; ++i)
                bytes[random.bounded(int(bytes.size()))] = char(random.bounded(256));
            check(bytes);
        }
        QVERIFY(refused > data.size() - 1); // every truncation is refused
        QVERIFY(decoded + refused == data.size() + 3000);
    }
};

QTEST_GUILESS_MAIN(TestOTModel)
#include "tst_otmodel.moc"
