#include "Snapshot.h"

#include "QuoteCatalog.h"

#include <OTDate.h>

const DayQuote *Snapshot::day(const QDate &date) const
{
    if (days.empty() || date < firstDay || date > lastDay)
        return nullptr;
    const qint64 index = firstDay.daysTo(date);
    return index < qint64(days.size()) ? &days[std::size_t(index)] : nullptr;
}

namespace {

bool startsWith(std::string_view s, std::string_view prefix)
{
    return s.substr(0, prefix.size()) == prefix;
}

// A day key as far as it can be told apart from other path text; the reason quotes it
// only when it is short printable ASCII.
QString quotedIfPrintable(std::string_view text)
{
    if (text.empty() || text.size() > 32)
        return {};
    for (const char c : text) {
        if (c < 0x21 || c > 0x7e || c == '"' || c == '\\')
            return {};
    }
    return QStringLiteral("\"%1\" ").arg(QString::fromLatin1(text.data(), qsizetype(text.size())));
}

} // namespace

QString Snapshot::missReason(std::string_view path) const
{
    using namespace QuoteCatalog;
    std::string_view segment;
    QString what;
    if (startsWith(path, ApiPrefix) && path.size() > ApiPrefix.size() && path.back() == '/') {
        segment = path.substr(ApiPrefix.size(), path.size() - ApiPrefix.size() - 1);
        what = QStringLiteral("quote");
    } else if (startsWith(path, SharePrefix) && path.size() > SharePrefix.size() && path.back() == '/') {
        segment = path.substr(SharePrefix.size(), path.size() - SharePrefix.size() - 1);
        what = QStringLiteral("share page");
    } else if (startsWith(path, MediaPrefix) && path.substr(path.size() - 4) == ".jpg") {
        segment = path.substr(MediaPrefix.size(), path.size() - MediaPrefix.size() - 4);
        if (segment.size() > 6 && segment.substr(segment.size() - 6) == "-share")
            segment.remove_suffix(6);
        what = QStringLiteral("picture");
    } else {
        return QStringLiteral("there is nothing at this address");
    }
    if (segment.find('/') != std::string_view::npos)
        return QStringLiteral("there is nothing at this address");

    const QString key = QString::fromLatin1(segment.data(), qsizetype(segment.size()));
    // The form alone, whatever the zone: a day the zone skipped is still a day.
    const QDate date = ot_dayFromKey(key);
    if (!date.isValid())
        return QStringLiteral("%1is not a day: days are written yyyy-MM-dd").arg(quotedIfPrintable(segment));
    if (date < ostFirstQuoteDay())
        return QStringLiteral("there is no %1 before %2").arg(what, ostFirstQuoteDay().toString(Qt::ISODate));
    if (lastDay.isValid() && date > lastDay)
        return QStringLiteral("the %1 for %2 is not out yet: days up to %3 are served")
            .arg(what, key, lastDay.toString(Qt::ISODate));
    return QStringLiteral("there is no %1 for %2").arg(what, key);
}
