#include "OTSocialService.h"

#include "Global.h"
#include "OTClock.h"
#include "OTCommonsViewController.h"
#include "OTNotificationCenter.h"
#include "OTResourceHelper.h"

#include <QClipboard>
#include <QDesktopServices>
#include <QDir>
#include <QFileInfo>
#include <QGuiApplication>
#include <QSaveFile>
#include <QStandardPaths>
#include <QUrlQuery>

namespace {

struct PlatformInfo
{
    int type;
    const char *key;      // in a quote's share links
    const char *titleId;  // in the strings table
    const char *icon;     // image name
};

// Panel order.
const PlatformInfo kPlatforms[] = {
    {OTSharePlatformWeibo, "weibo", "share_platform_weibo", "share_weibo"},
    {OTSharePlatformQQ, "qq", "share_platform_qq", "share_qq"},
    {OTSharePlatformQZone, "qzone", "share_platform_qzone", "share_qzone"},
    {OTSharePlatformMail, "mail", "share_platform_mail", "share_mail"},
    {OTSharePlatformDouban, "douban", "share_platform_douban", "share_douban"},
    {OTSharePlatformTwitter, "twitter", "share_platform_twitter", "share_twitter"},
    {OTSharePlatformSaveImage, "save_image", "share_platform_save_image", "share_save_image"},
    {OTSharePlatformCopyImage, "copy_image", "share_platform_copy_image", "share_copy_image"},
};

const PlatformInfo *platformInfo(int type)
{
    for (const PlatformInfo &info : kPlatforms) {
        if (info.type == type)
            return &info;
    }
    return nullptr;
}

// A link from a share-links map: a non-blank string or URL, else null.
QString linkValue(const QVariantMap &shareUrls, const QString &key)
{
    const QVariant value = shareUrls.value(key);
    QString text;
    switch (value.typeId()) {
    case QMetaType::QString:
        text = value.toString();
        break;
    case QMetaType::QUrl:
        text = value.toUrl().toString();
        break;
    case QMetaType::QByteArray:
        text = QString::fromUtf8(value.toByteArray());
        break;
    default:
        return {};
    }
    text = text.trimmed();
    return text.isEmpty() ? QString() : text;
}

// Query items percent-encoded in full (also '+', '&', '=' and '#', which a form decoder or
// the URL itself would otherwise take apart), so that they decode to exactly what went in.
void addEncodedItem(QUrlQuery &query, const QString &key, const QString &value)
{
    query.addQueryItem(key, QString::fromLatin1(QUrl::toPercentEncoding(value)));
}

// The parameters that have a value, in the order given.
QUrl withQuery(const QString &base, const QList<QPair<QString, QString>> &items)
{
    QUrl url(base);
    QUrlQuery query;
    for (const auto &item : items) {
        if (!item.second.isEmpty())
            addEncodedItem(query, item.first, item.second);
    }
    url.setQuery(query);
    return url;
}

// A picture address the web share pages can fetch, or null.
QString webPicture(const OTShareRequest &request)
{
    const QUrl url(request.imageUrl, QUrl::StrictMode);
    const QString scheme = url.scheme().toLower();
    if (url.isValid() && (scheme == QLatin1String("http") || scheme == QLatin1String("https")) && !url.host().isEmpty())
        return request.imageUrl;
    return {};
}

QString joined(const QString &first, const QString &second, const QString &separator)
{
    if (first.isEmpty())
        return second;
    if (second.isEmpty())
        return first;
    return first + separator + second;
}

QUrl mailtoUrl(const QString &subject, const QString &body)
{
    return withQuery(QStringLiteral("mailto:"), {{QStringLiteral("subject"), subject}, {QStringLiteral("body"), body}});
}

QString itemText(const QVariant &item)
{
    if (item.typeId() == QMetaType::QUrl)
        return item.toUrl().toString();
    return item.toString();
}

// A target's name as the panel shows it, or null.
QString platformTitle(int type)
{
    const PlatformInfo *info = platformInfo(type);
    return info ? OTResourceHelper::LocalizedString(QString::fromLatin1(info->titleId)) : QString();
}

// `text`, with the system's reason on a line of its own when there is one.
QString withReason(const QString &text, const QString &reason)
{
    return reason.isEmpty() ? text : text + QLatin1Char('\n') + reason;
}

QString localized(const char *key)
{
    return OTResourceHelper::LocalizedString(QString::fromLatin1(key));
}

OTShareResult makeResult(OTShareResult::Status status, const QString &path = {}, const QString &reason = {})
{
    OTShareResult r;
    r.status = status;
    r.path = path;
    r.reason = reason;
    return r;
}

QString &picturesDirectoryOverride()
{
    static QString directory;
    return directory;
}

QString &lastSavedPath()
{
    static QString path;
    return path;
}

} // namespace

// --- The desktop backend --------------------------------------------------------------------

QUrl OTDesktopSocialServiceBackend::webShareUrl(const OTShareRequest &request)
{
    // The page a share links to: the platform's own link, else the one kept for the log.
    const QString link = request.url.isEmpty() ? request.logUrl : request.url;
    const QString picture = webPicture(request);
    switch (request.platform) {
    case OTSharePlatformWeibo:
        // One line of text: the topic (a hashtag) leads the sentence.
        return withQuery(QStringLiteral("https://service.weibo.com/share/share.php"),
                         {{QStringLiteral("url"), link},
                          {QStringLiteral("title"), joined(request.topic, request.content, QStringLiteral(" "))},
                          {QStringLiteral("pic"), picture}});
    case OTSharePlatformQQ:
        return withQuery(QStringLiteral("https://connect.qq.com/widget/shareqq/index.html"),
                         {{QStringLiteral("url"), link},
                          {QStringLiteral("title"), request.topic},
                          {QStringLiteral("summary"), request.content},
                          {QStringLiteral("pics"), picture}});
    case OTSharePlatformQZone:
        return withQuery(QStringLiteral("https://sns.qzone.qq.com/cgi-bin/qzshare/cgi_qzshare_onekey"),
                         {{QStringLiteral("url"), link},
                          {QStringLiteral("title"), request.topic},
                          {QStringLiteral("summary"), request.content},
                          {QStringLiteral("pics"), picture}});
    case OTSharePlatformDouban:
        return withQuery(QStringLiteral("https://www.douban.com/share/service"),
                         {{QStringLiteral("href"), link},
                          {QStringLiteral("name"), request.topic},
                          {QStringLiteral("text"), request.content},
                          {QStringLiteral("image"), picture}});
    case OTSharePlatformTwitter:
        return withQuery(QStringLiteral("https://twitter.com/intent/tweet"),
                         {{QStringLiteral("text"), joined(request.topic, request.content, QStringLiteral(" "))},
                          {QStringLiteral("url"), link}});
    default:
        return {};
    }
}

void OTDesktopSocialServiceBackend::setPicturesDirectory(const QString &directory)
{
    picturesDirectoryOverride() = directory;
}

QString OTDesktopSocialServiceBackend::picturesDirectory()
{
    if (!picturesDirectoryOverride().isEmpty())
        return picturesDirectoryOverride();
    const QString pictures = QStandardPaths::writableLocation(QStandardPaths::PicturesLocation);
    return pictures.isEmpty() ? QDir::home().filePath(QStringLiteral("Pictures")) : pictures;
}

QString OTDesktopSocialServiceBackend::lastSavedImagePath()
{
    return lastSavedPath();
}

bool OTDesktopSocialServiceBackend::share(const OTShareRequest &request)
{
    return shareWithResult(request).succeeded();
}

OTShareResult OTDesktopSocialServiceBackend::shareWithResult(const OTShareRequest &request)
{
    switch (request.platform) {
    case OTSharePlatformMail: {
        const QString link = request.url.isEmpty() ? request.logUrl : request.url;
        if (request.content.isEmpty() && link.isEmpty())
            return makeResult(OTShareResult::Failed);
        const bool opened = QDesktopServices::openUrl(mailtoUrl(request.topic, joined(request.content, link, QStringLiteral("\n\n"))));
        return makeResult(opened ? OTShareResult::DraftOpened : OTShareResult::Failed);
    }
    case OTSharePlatformSaveImage: {
        const QString folder = picturesDirectory();
        if (request.image.isNull())
            return makeResult(OTShareResult::Failed, folder);
        QDir directory(folder);
        if (!directory.exists() && !directory.mkpath(QStringLiteral(".")))
            return makeResult(OTShareResult::Failed, folder);
        // One file per save: a second save within the same second gets a number.
        const QString stem = QStringLiteral("OstQuote-") + OTClock::now().toString(QStringLiteral("yyyyMMdd-hhmmss"));
        QString path = directory.filePath(stem + QStringLiteral(".png"));
        for (int n = 2; QFileInfo::exists(path); ++n)
            path = directory.filePath(QStringLiteral("%1-%2.png").arg(stem).arg(n));
        QSaveFile file(path);
        if (!file.open(QIODevice::WriteOnly))
            return makeResult(OTShareResult::Failed, folder, file.errorString());
        if (!request.image.save(&file, "PNG") || !file.commit())
            return makeResult(OTShareResult::Failed, folder, file.errorString());
        lastSavedPath() = path;
        return makeResult(OTShareResult::Saved, path);
    }
    case OTSharePlatformCopyImage:
        if (request.image.isNull())
            return makeResult(OTShareResult::Failed);
        QGuiApplication::clipboard()->setImage(request.image);
        return makeResult(OTShareResult::Copied);
    default: {
        const QString link = request.url.isEmpty() ? request.logUrl : request.url;
        const QUrl page = webShareUrl(request);
        // Nothing to say: no page to open.
        if (!page.isValid() || (link.isEmpty() && request.content.isEmpty()))
            return makeResult(OTShareResult::Failed);
        // The page is open; whether the user posts there, nobody hears.
        return makeResult(QDesktopServices::openUrl(page) ? OTShareResult::PageOpened : OTShareResult::Failed);
    }
    }
}

bool OTDesktopSocialServiceBackend::performActivity(const QString &activity, const QVariantList &items)
{
    QStringList texts;
    for (const QVariant &item : items) {
        const QString text = itemText(item);
        if (!text.isEmpty())
            texts.append(text);
    }
    if (activity == QLatin1String("copy")) {
        if (texts.isEmpty())
            return false;
        QGuiApplication::clipboard()->setText(texts.first());
        return true;
    }
    if (activity == QLatin1String("mail")) {
        if (texts.isEmpty())
            return false;
        return QDesktopServices::openUrl(mailtoUrl(QString(), texts.join(QStringLiteral("\n\n"))));
    }
    if (activity == QLatin1String("browser")) {
        for (const QString &text : std::as_const(texts)) {
            const QUrl url(text, QUrl::StrictMode);
            const QString scheme = url.scheme().toLower();
            if (url.isValid() && (scheme == QLatin1String("http") || scheme == QLatin1String("https"))
                && !url.host().isEmpty())
                return QDesktopServices::openUrl(url);
        }
        return false;
    }
    return false;
}

// --- Any backend ---------------------------------------------------------------------------

OTShareResult OTSocialServiceBackend::shareWithResult(const OTShareRequest &request)
{
    return makeResult(share(request) ? OTShareResult::Shared : OTShareResult::Failed);
}

// --- The recording backend ------------------------------------------------------------------

bool OTRecordingSocialServiceBackend::share(const OTShareRequest &request)
{
    shares.append(request);
    return succeed;
}

bool OTRecordingSocialServiceBackend::performActivity(const QString &activity, const QVariantList &items)
{
    activities.append({activity, items});
    return succeed;
}

// --- The service ----------------------------------------------------------------------------

OTSocialService::OTSocialService(QObject *parent)
    : QObject(parent)
    , m_backend(std::make_unique<OTDesktopSocialServiceBackend>())
{
}

OTSocialService *OTSocialService::defaultService()
{
    static OTSocialService *service = new OTSocialService;
    return service;
}

QString OTSocialService::getShareUrlForType(int platformType, const QVariantMap &shareUrls)
{
    if (shareUrls.isEmpty())
        return {};
    if (const PlatformInfo *info = platformInfo(platformType)) {
        const QString link = linkValue(shareUrls, QString::fromLatin1(info->key));
        if (!link.isNull())
            return link;
    }
    return getDefaultShareUrl(shareUrls);
}

QString OTSocialService::getDefaultShareUrl(const QVariantMap &shareUrls)
{
    return linkValue(shareUrls, QStringLiteral("default"));
}

QVariantList OTSocialService::platforms()
{
    QVariantList list;
    for (const PlatformInfo &info : kPlatforms) {
        const QString icon = QString::fromLatin1(info.icon);
        list.append(QVariantMap{
            {QStringLiteral("type"), info.type},
            {QStringLiteral("title"), OTResourceHelper::LocalizedString(QString::fromLatin1(info.titleId))},
            {QStringLiteral("icon"), OTResourceHelper::imageURL(icon)},
            {QStringLiteral("iconHighlighted"), OTResourceHelper::imageURL(icon + QStringLiteral("_highlight"))},
        });
    }
    return list;
}

QUrl OTSocialService::shareIconImageForBar()
{
    return OTResourceHelper::imageURL(QStringLiteral("ostrel_share_bar"));
}

QUrl OTSocialService::highlightedShareIconImageForBar()
{
    return OTResourceHelper::imageURL(QStringLiteral("ostrel_share_bar_highlight"));
}

void OTSocialService::shareContent(const QString &content, const QString &topic, const QString &url,
                                   const QString &logUrl, const QImage &image, int platform,
                                   OTCommonsViewController *controller)
{
    OTShareRequest request;
    request.content = content;
    request.topic = topic;
    request.url = url;
    request.logUrl = logUrl;
    request.image = image;
    request.platform = platform;
    request.controller = controller;
    const OTShareResult outcome = m_backend->shareWithResult(request);
    if (outcome.status == OTShareResult::Shared && platform == OTSharePlatformWeibo)
        OTNotificationCenter::defaultCenter()->postNotificationName(OTSharedToWeiboSuccessNotification, this);
    const QString message = feedbackText(platform, outcome);
    if (!message.isEmpty())
        Global::sharedGlobal()->showHUB(message, feedbackStatus(outcome));
    Q_EMIT shared(platform, outcome.succeeded());
    Q_EMIT shareFinished(platform, outcome);
}

QString OTSocialService::feedbackText(int platform, const OTShareResult &result)
{
    switch (result.status) {
    case OTShareResult::Shared:
        // A post to Weibo is announced; the screens that listen say so.
        return platform == OTSharePlatformWeibo ? QString() : localized("share_result_shared");
    case OTShareResult::PageOpened: {
        const QString title = platformTitle(platform);
        return title.isEmpty() ? localized("share_result_link_opened")
                               : localized("share_result_page_opened").arg(title);
    }
    case OTShareResult::DraftOpened:
        return localized("share_result_draft_opened");
    case OTShareResult::Saved:
        return localized("share_result_image_saved").arg(QDir::toNativeSeparators(result.path));
    case OTShareResult::Copied:
        return localized("share_result_image_copied");
    case OTShareResult::Failed:
        break;
    }
    switch (platform) {
    case OTSharePlatformMail:
        return withReason(localized("share_result_draft_failed"), result.reason);
    case OTSharePlatformSaveImage:
        return withReason(result.path.isEmpty()
                              ? localized("share_result_save_failed_nowhere")
                              : localized("share_result_save_failed").arg(QDir::toNativeSeparators(result.path)),
                          result.reason);
    case OTSharePlatformCopyImage:
        return withReason(localized("share_result_copy_image_failed"), result.reason);
    default: {
        const QString title = platformTitle(platform);
        return withReason(title.isEmpty() ? localized("share_result_failed")
                                          : localized("share_result_page_failed").arg(title),
                          result.reason);
    }
    }
}

int OTSocialService::feedbackStatus(const OTShareResult &result)
{
    switch (result.status) {
    case OTShareResult::Failed:
        return 2;
    case OTShareResult::Shared:
    case OTShareResult::Saved:
    case OTShareResult::Copied:
        return 1;
    case OTShareResult::PageOpened:
    case OTShareResult::DraftOpened:
        break;
    }
    return 0;
}

bool OTSocialService::performActivity(const QString &activity, const QVariantList &items)
{
    const bool done = m_backend->performActivity(activity, items);
    QString message;
    if (activity == QLatin1String("copy"))
        message = localized(done ? "share_result_link_copied" : "share_result_copy_link_failed");
    else if (activity == QLatin1String("mail"))
        message = localized(done ? "share_result_draft_opened" : "share_result_draft_failed");
    else if (activity == QLatin1String("browser"))
        message = localized(done ? "share_result_link_opened" : "share_result_browser_failed");
    else if (!done)
        message = localized("share_result_failed");
    if (!message.isEmpty())
        Global::sharedGlobal()->showHUB(message, done ? 0 : 2);
    return done;
}

void OTSocialService::setBackend(std::unique_ptr<OTSocialServiceBackend> backend)
{
    // Never without one: no backend means the desktop's.
    m_backend = backend ? std::move(backend) : std::make_unique<OTDesktopSocialServiceBackend>();
}
