#pragma once

#include "FuzzCheck.h"

#include <OTModel.h>

#include <QJsonDocument>
#include <QJsonObject>

// Properties every record must have, whatever it was built from.

inline QString describe(const OTModel &model)
{
    return QString::fromUtf8(QJsonDocument(model.JSONObject()).toJson(QJsonDocument::Compact));
}

// The archive of a record unarchives to an equal record, whose archive is the same bytes.
inline void checkArchiveRoundTrip(const OTModel &model)
{
    const QByteArray archive = model.archivedData();
    FUZZ_CHECK(!archive.isEmpty(), describe(model));
    OTError error;
    const OTModelPtr back = OTModel::unarchiveObjectWithData(archive, &error);
    FUZZ_CHECK(back, QStringLiteral("%1\nerror: %2").arg(describe(model), error.description()));
    FUZZ_CHECK(!error, error.description());
    FUZZ_CHECK(model.isEqualToModel(back.data()),
               QStringLiteral("before: %1\nafter:  %2").arg(describe(model), describe(*back)));
    FUZZ_CHECK(back->archivedData() == archive, describe(model));
}

// A record's JSON names every mapped key path, is valid JSON text, and builds an equal
// record whose JSON is the same.
inline void checkJSONRoundTrip(const OTModel &model)
{
    const QJsonObject json = model.JSONObject();
    const QHash<QString, QString> map = model.JSONKeyPathsByPropertyKey();
    for (auto it = map.cbegin(); it != map.cend(); ++it) {
        QJsonValue value(json);
        for (const QString &part : it.value().split(u'.'))
            value = value.toObject().value(part);
        FUZZ_CHECK(!value.isUndefined(), QStringLiteral("%1 missing in %2").arg(it.value(), describe(model)));
    }

    const QByteArray text = QJsonDocument(json).toJson(QJsonDocument::Compact);
    QJsonParseError parseError;
    const QJsonDocument reread = QJsonDocument::fromJson(text, &parseError);
    FUZZ_CHECK(reread.isObject() && reread.object() == json,
               QStringLiteral("%1: %2").arg(parseError.errorString(), QString::fromUtf8(text)));

    const OTModelPtr again = OTModel::modelOfClass(model.metaObject(), json);
    FUZZ_CHECK(again, describe(model));
    FUZZ_CHECK(model.isEqualToModel(again.data()),
               QStringLiteral("first:  %1\nsecond: %2").arg(describe(model), describe(*again)));
    FUZZ_CHECK(again->JSONObject() == json,
               QStringLiteral("first:  %1\nsecond: %2").arg(describe(model), describe(*again)));
}
