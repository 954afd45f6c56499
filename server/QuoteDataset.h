#pragma once

#include <QList>
#include <QString>

#include <optional>

// A quote as the dataset gives it, before it has an id.
struct DatasetQuote
{
    QString author;
    QString content;
    QString translation;
};

namespace QuoteDataset {

// The dataset compiled into the server.
inline const QString embeddedPath = QStringLiteral(":/ostquote-server/quotes.json");

// Reads a JSON array of {"author", "content", "translation"} objects. Nullopt, with the
// reason in *error, when the file is missing, is not such an array, or an entry lacks a field.
std::optional<QList<DatasetQuote>> load(const QString &path, QString *error);

} // namespace QuoteDataset
