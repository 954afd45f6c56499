#include "FixtureQuotes.h"

#include "FixturePictures.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

bool FixtureQuotes::load(const QString &path, QString *error)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        *error = QStringLiteral("cannot read the quotes file %1: %2").arg(path, file.errorString());
        return false;
    }
    QJsonParseError parseError;
    const QJsonDocument document = QJsonDocument::fromJson(file.readAll(), &parseError);
    if (parseError.error != QJsonParseError::NoError) {
        *error = QStringLiteral("the quotes file %1 is not JSON: %2").arg(path, parseError.errorString());
        return false;
    }
    if (!document.isArray()) {
        *error = QStringLiteral("the quotes file %1 is not a JSON array").arg(path);
        return false;
    }
    QList<Entry> entries;
    const QJsonArray array = document.array();
    for (qsizetype i = 0; i < array.size(); ++i) {
        const QJsonObject object = array.at(i).toObject();
        Entry entry{object.value(QLatin1String("author")).toString().trimmed(),
                    object.value(QLatin1String("content")).toString().trimmed(),
                    object.value(QLatin1String("translation")).toString().trimmed()};
        if (entry.author.isEmpty() || entry.content.isEmpty() || entry.translation.isEmpty()) {
            *error = QStringLiteral("entry %1 of the quotes file %2 needs an author, a content and a translation")
                         .arg(i)
                         .arg(path);
            return false;
        }
        entries.append(std::move(entry));
    }
    if (entries.isEmpty()) {
        *error = QStringLiteral("the quotes file %1 has no quotes").arg(path);
        return false;
    }
    m_entries = std::move(entries);
    return true;
}

OstQuotePtr FixtureQuotes::quoteAt(qint64 index) const
{
    if (m_entries.isEmpty())
        return {};
    const QDate day = dayAt(index);
    // Stable per calendar day, so neighbouring days differ and a day keeps its quote.
    const qint64 julian = day.toJulianDay();
    const Entry &entry = m_entries.at(qsizetype(((julian % m_entries.size()) + m_entries.size()) % m_entries.size()));
    auto quote = OstQuotePtr::create();
    quote->setAuthor(entry.author);
    quote->setContent(entry.content);
    quote->setTranslation(entry.translation);
    quote->setAssign_date(day.toString(Qt::ISODate));
    quote->setOrigin_img_urls({FixturePictures::urlForDay(day).toString()});
    return quote;
}
