#include "QuoteDataset.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace QuoteDataset {

std::optional<QList<DatasetQuote>> load(const QString &path, QString *error)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        *error = QStringLiteral("cannot read the dataset %1: %2").arg(path, file.errorString());
        return std::nullopt;
    }
    QJsonParseError parseError;
    const QJsonDocument document = QJsonDocument::fromJson(file.readAll(), &parseError);
    if (parseError.error != QJsonParseError::NoError || !document.isArray()) {
        *error = QStringLiteral("the dataset %1 is not a JSON array: %2")
                     .arg(path, parseError.error != QJsonParseError::NoError ? parseError.errorString()
                                                                           : QStringLiteral("top level is not an array"));
        return std::nullopt;
    }
    QList<DatasetQuote> quotes;
    const QJsonArray entries = document.array();
    quotes.reserve(entries.size());
    for (qsizetype i = 0; i < entries.size(); ++i) {
        const QJsonObject entry = entries.at(i).toObject();
        DatasetQuote quote{entry.value(QLatin1String("author")).toString().trimmed(),
                           entry.value(QLatin1String("content")).toString().trimmed(),
                           entry.value(QLatin1String("translation")).toString().trimmed()};
        if (quote.author.isEmpty() || quote.content.isEmpty() || quote.translation.isEmpty()) {
            *error = QStringLiteral("entry %1 of the dataset %2 needs a non-empty author, content and translation")
                         .arg(i)
                         .arg(path);
            return std::nullopt;
        }
        quotes.append(std::move(quote));
    }
    if (quotes.isEmpty()) {
        *error = QStringLiteral("the dataset %1 has no quotes").arg(path);
        return std::nullopt;
    }
    return quotes;
}

} // namespace QuoteDataset
