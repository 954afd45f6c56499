#pragma once

#include "OstQuoteGlobal.h"

#include <OTModel.h>

#include <QStringList>
#include <QVariantList>
#include <QVariantMap>

class OstQuote;
using OstQuotePtr = QSharedPointer<OstQuote>;

// The quote of one day, as the server sends it and as the module keeps it. Every field may
// be absent: a null string or an empty container.
class OSTQUOTE_EXPORT OstQuote : public OTModel
{
    Q_OBJECT
    Q_PROPERTY(QString author READ author WRITE setAuthor NOTIFY changed)
    Q_PROPERTY(QString content READ content WRITE setContent NOTIFY changed)
    Q_PROPERTY(QString assign_date READ assign_date WRITE setAssign_date NOTIFY changed)
    Q_PROPERTY(QString translation READ translation WRITE setTranslation NOTIFY changed)
    Q_PROPERTY(QVariantMap share_urls READ share_urls WRITE setShare_urls NOTIFY changed)
    Q_PROPERTY(QStringList origin_img_urls READ origin_img_urls WRITE setOrigin_img_urls NOTIFY changed)
    Q_PROPERTY(QVariantList share_img_urls READ share_img_urls WRITE setShare_img_urls NOTIFY changed)
    Q_PROPERTY(QVariantMap share_img_url READ share_img_url WRITE setShare_img_url NOTIFY changed)
public:
    Q_INVOKABLE explicit OstQuote(QObject *parent = nullptr);

    QHash<QString, QString> JSONKeyPathsByPropertyKey() const override;

    static OstQuotePtr fromJSON(const QJsonObject &json) { return modelFromJSON<OstQuote>(json); }

    QString author() const { return m_author; }
    void setAuthor(const QString &author);
    QString content() const { return m_content; }
    void setContent(const QString &content);
    QString assign_date() const { return m_assign_date; }
    void setAssign_date(const QString &assign_date);
    QString translation() const { return m_translation; }
    void setTranslation(const QString &translation);
    QVariantMap share_urls() const { return m_share_urls; }
    void setShare_urls(const QVariantMap &share_urls);
    QStringList origin_img_urls() const { return m_origin_img_urls; }
    void setOrigin_img_urls(const QStringList &origin_img_urls);
    QVariantList share_img_urls() const { return m_share_img_urls; }
    void setShare_img_urls(const QVariantList &share_img_urls);
    QVariantMap share_img_url() const { return m_share_img_url; }
    void setShare_img_url(const QVariantMap &share_img_url);

private:
    QString m_author;
    QString m_content;
    QString m_assign_date;
    QString m_translation;
    QVariantMap m_share_urls;
    QStringList m_origin_img_urls;
    QVariantList m_share_img_urls;
    QVariantMap m_share_img_url;
};
