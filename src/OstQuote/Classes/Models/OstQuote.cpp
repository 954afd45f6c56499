#include "OstQuote.h"

OT_REGISTER_MODEL(OstQuote)

/*!
    \class OstQuote
    \inmodule OstQuote
    \brief The quote of one day, as the server sends it and as the module keeps it.

    An OTModel mapped from the server's JSON (each property under its own name) and archived as
    keyed CBOR. Every field may be absent: a null string or an empty container.

    \code
    if (OstQuotePtr quote = OstQuote::fromJSON(json))
        qDebug() << quote->assign_date() << quote->content() << "—" << quote->author();
    \endcode
*/
OstQuote::OstQuote(QObject *parent)
    : OTModel(parent)
{
}

/*!
    Returns the map of every property to the JSON key of the same name.
*/
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

/*!
    \typedef OstQuotePtr
    \relates OstQuote

    A shared pointer to an OstQuote: QSharedPointer<OstQuote>.
*/

/*!
    \property OstQuote::author
    \brief The author of the sentence.
*/

/*!
    \property OstQuote::content
    \brief The sentence, in English.
*/

/*!
    \property OstQuote::assign_date
    \brief The day the quote belongs to, as a day key (\c yyyy-MM-dd).
*/

/*!
    \property OstQuote::translation
    \brief The sentence's Chinese translation.
*/

/*!
    \property OstQuote::share_urls
    \brief The share links by target (\c weibo, \c qq, \c qzone, \c mail, \c douban,
    \c twitter, \c save_image, \c copy_image) and the \c default one.

    \sa OTSocialService::getShareUrlForType()
*/

/*!
    \property OstQuote::origin_img_urls
    \brief The addresses of the day's background picture; the first is shown.
*/

/*!
    \property OstQuote::share_img_urls
    \brief The addresses of the pictures made for sharing.
*/

/*!
    \property OstQuote::share_img_url
    \brief The picture made for sharing, by target.
*/

/*!
    \fn OstQuote::OstQuote(QObject *parent)

    Constructs an empty quote with \a parent.
*/

/*!
    \fn OstQuotePtr OstQuote::fromJSON(const QJsonObject &json)

    Returns a quote filled from \a json (see OTModel for how values are taken).
*/
