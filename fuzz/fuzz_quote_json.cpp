// JSON to record: any JSON text that is an object builds a quote (and a record with every
// property type); the record's JSON builds an equal record, and its archive gives it back.

#include "FuzzRecord.h"
#include "ModelChecks.h"

#include <OstQuote.h>

#include <QJsonArray>

#include <cstddef>
#include <cstdint>

OT_REGISTER_MODEL(FuzzRecord)

namespace {

// What the quote's string fields must hold: the JSON string at the key, else nothing.
void checkStringField(const QJsonObject &json, const char *key, const QString &field)
{
    const QJsonValue value = json.value(QLatin1String(key));
    if (value.isString())
        FUZZ_CHECK(!field.isNull() && field == value.toString(), QString::fromLatin1(key));
    else
        FUZZ_CHECK(field.isNull(), QString::fromLatin1(key));
}

void checkQuote(const QJsonObject &json)
{
    const OstQuotePtr quote = OstQuote::fromJSON(json);
    FUZZ_CHECK(quote, QStringLiteral("a JSON object always builds a quote"));

    checkStringField(json, "author", quote->author());
    checkStringField(json, "content", quote->content());
    checkStringField(json, "assign_date", quote->assign_date());
    checkStringField(json, "translation", quote->translation());

    const QJsonValue urls = json.value(QLatin1String("origin_img_urls"));
    QStringList expected;
    bool allStrings = urls.isArray();
    for (const QJsonValue &v : urls.toArray())
        allStrings = allStrings && v.isString();
    if (allStrings) {
        for (const QJsonValue &v : urls.toArray())
            expected.append(v.toString());
    }
    FUZZ_CHECK(quote->origin_img_urls() == expected, describe(*quote));

    const QJsonValue shareUrls = json.value(QLatin1String("share_urls"));
    FUZZ_CHECK(quote->share_urls() == (shareUrls.isObject() ? shareUrls.toObject().toVariantMap() : QVariantMap()),
               describe(*quote));

    checkJSONRoundTrip(*quote);
    checkArchiveRoundTrip(*quote);
}

void checkRecord(const QJsonObject &json)
{
    const OTModelPtr record = OTModel::modelOfClass(&FuzzRecord::staticMetaObject, json);
    FUZZ_CHECK(record, QStringLiteral("a JSON object always builds a record"));
    checkJSONRoundTrip(*record);
    checkArchiveRoundTrip(*record);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const QByteArray bytes = QByteArray::fromRawData(reinterpret_cast<const char *>(data), qsizetype(size));
    const QJsonDocument document = QJsonDocument::fromJson(bytes);
    if (!document.isObject())
        return 0;
    checkQuote(document.object());
    checkRecord(document.object());
    return 0;
}
