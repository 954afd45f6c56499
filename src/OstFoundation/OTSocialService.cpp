#include "OTSocialService.h"

#include "Global.h"
#include "OTCommonsViewController.h"
#include "OTNotificationCenter.h"
#include "OTResourceHelper.h"

#include <QDir>

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

} // namespace

// --- Any backend ---------------------------------------------------------------------------

OTShareResult OTSocialServiceBackend::shareWithResult(const OTShareRequest &request)
{
    OTShareResult result;
    result.status = share(request) ? OTShareResult::Shared : OTShareResult::Failed;
    return result;
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
