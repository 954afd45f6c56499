#include "OstQuote.h"

OT_REGISTER_MODEL(OstQuote)

OstQuote::OstQuote(QObject *parent)
    : OTModel(parent)
{
}

QHash<QString, QString> OstQuote::JSONKeyPathsByPropertyKey() const
{
    // The server's keys, one for one.
    static const QHash<QString, QString> map = {
        {QStringLiteral("author"), QStringLiteral("author")},
        {QStringLiteral("content"), QStringLiteral("content")},
        {QStringLiteral("assign_date"), QStringLiteral("assign_date")},
        {QStringLiteral("translation"), QStringLiteral("translation")},
        {QStringLiteral("share_urls"), QStringLiteral("share_urls")},
        {QStringLiteral("origin_img_urls"), QStringLiteral("origin_img_urls")},
        {QStringLiteral("share_img_urls"), QStringLiteral("share_img_urls")},
        {QStringLiteral("share_img_url"), QStringLiteral("share_img_url")},
    };
    return map;
}

namespace {
template <class T>
bool assign(T &field, const T &value)
{
    // A null string and an empty one are different values here: absent versus "".
    if constexpr (std::is_same_v<T, QString>) {
        if (field.isNull() == value.isNull() && field == value)
            return false;
    } else if (field == value) {
        return false;
    }
    field = value;
    return true;
}
} // namespace

void OstQuote::setAuthor(const QString &author) { if (assign(m_author, author)) Q_EMIT changed(); }
void OstQuote::setContent(const QString &content) { if (assign(m_content, content)) Q_EMIT changed(); }
void OstQuote::setAssign_date(const QString &assign_date) { if (assign(m_assign_date, assign_date)) Q_EMIT changed(); }
void OstQuote::setTranslation(const QString &translation) { if (assign(m_translation, translation)) Q_EMIT changed(); }
void OstQuote::setShare_urls(const QVariantMap &share_urls) { if (assign(m_share_urls, share_urls)) Q_EMIT changed(); }
void OstQuote::setOrigin_img_urls(const QStringList &origin_img_urls) { if (assign(m_origin_img_urls, origin_img_urls)) Q_EMIT changed(); }
void OstQuote::setShare_img_urls(const QVariantList &share_img_urls) { if (assign(m_share_img_urls, share_img_urls)) Q_EMIT changed(); }
void OstQuote::setShare_img_url(const QVariantMap &share_img_url) { if (assign(m_share_img_url, share_img_url)) Q_EMIT changed(); }
