#pragma once

#include <OTModel.h>

#include <QJsonArray>
#include <QJsonObject>
#include <QStringList>
#include <QVariantList>
#include <QVariantMap>

// A record with one property of every type the mapping knows, some of them at nested key
// paths, so that the fuzz targets reach every conversion of OTModel and not only the ones
// OstQuote uses.
class FuzzRecord : public OTModel
{
    Q_OBJECT
    Q_PROPERTY(QString title MEMBER m_title NOTIFY changed)
    Q_PROPERTY(bool flag MEMBER m_flag NOTIFY changed)
    Q_PROPERTY(int count MEMBER m_count NOTIFY changed)
    Q_PROPERTY(qint64 total MEMBER m_total NOTIFY changed)
    Q_PROPERTY(double ratio MEMBER m_ratio NOTIFY changed)
    Q_PROPERTY(QVariantMap extra MEMBER m_extra NOTIFY changed)
    Q_PROPERTY(QJsonObject meta MEMBER m_meta NOTIFY changed)
    Q_PROPERTY(QVariantList items MEMBER m_items NOTIFY changed)
    Q_PROPERTY(QJsonArray tags MEMBER m_tags NOTIFY changed)
    Q_PROPERTY(QStringList names MEMBER m_names NOTIFY changed)
public:
    Q_INVOKABLE explicit FuzzRecord(QObject *parent = nullptr) : OTModel(parent) {}

    QHash<QString, QString> JSONKeyPathsByPropertyKey() const override
    {
        static const QHash<QString, QString> map = {
            {QStringLiteral("title"), QStringLiteral("title")},
            {QStringLiteral("flag"), QStringLiteral("flag")},
            {QStringLiteral("count"), QStringLiteral("stats.count")},
            {QStringLiteral("total"), QStringLiteral("stats.total")},
            {QStringLiteral("ratio"), QStringLiteral("stats.ratio")},
            {QStringLiteral("extra"), QStringLiteral("extra")},
            {QStringLiteral("meta"), QStringLiteral("a.b.meta")},
            {QStringLiteral("items"), QStringLiteral("items")},
            {QStringLiteral("tags"), QStringLiteral("tags")},
            {QStringLiteral("names"), QStringLiteral("names")},
        };
        return map;
    }

private:
    QString m_title;
    bool m_flag = false;
    int m_count = 0;
    qint64 m_total = 0;
    double m_ratio = 0;
    QVariantMap m_extra;
    QJsonObject m_meta;
    QVariantList m_items;
    QJsonArray m_tags;
    QStringList m_names;
};
