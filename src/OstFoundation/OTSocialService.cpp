#include "OTSocialService.h"

#include "Global.h"
#include "OTCommonsViewController.h"
#include "OTNotificationCenter.h"
#include "OTResourceHelper.h"

#include <QDir>

/*!
    \headerfile <OTSocialService.h>
    \inmodule OstFoundation
    \title Sharing
    \brief The share targets, a share request and its result, the backends and the social
    service.
*/

/*!
    \class OTShareRequest
    \inmodule OstFoundation
    \brief One share, as the service was asked for it.

    Strings may be null, the image may be null.
*/

/*!
    \class OTShareResult
    \inmodule OstFoundation
    \brief What became of a share: what the user is told after it.
*/

/*!
    \class OTSocialServiceBackend
    \inmodule OstFoundation
    \brief Carries a share out.

    The service hands every share to its backend. A host can put its own in with
    OTSocialService::setBackend(), for instance one that calls the phone's native share SDKs.
*/

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

/*!
    Carries \a request out and says what became of it. By default it calls share(), a share that
    went out counting as posted (OTShareResult::Shared); a backend that only opens a page or
    writes a file says so here.
*/
OTShareResult OTSocialServiceBackend::shareWithResult(const OTShareRequest &request)
{
    OTShareResult result;
    result.status = share(request) ? OTShareResult::Shared : OTShareResult::Failed;
    return result;
}

// --- The service ----------------------------------------------------------------------------

/*!
    \class OTSocialService
    \inmodule OstFoundation
    \brief The social sharing service.

    It hands each share to its backend (OTDesktopSocialServiceBackend unless setBackend() says
    otherwise) and tells the user what became of it with a transient message.
*/
OTSocialService::OTSocialService(QObject *parent)
    : QObject(parent)
    , m_backend(std::make_unique<OTDesktopSocialServiceBackend>())
{
}

/*!
    Returns the service of the process.
*/
OTSocialService *OTSocialService::defaultService()
{
    static OTSocialService *service = new OTSocialService;
    return service;
}

/*!
    Returns the link for \a platformType in a quote's share links \a shareUrls (keys \c weibo,
    \c qq, \c qzone, \c mail, \c douban, \c twitter, \c save_image, \c copy_image), falling back
    to the \c default link; null when there is neither or \a shareUrls is empty.
*/
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

/*!
    Returns the \c default link of \a shareUrls; null when there is none.
*/
QString OTSocialService::getDefaultShareUrl(const QVariantMap &shareUrls)
{
    return linkValue(shareUrls, QStringLiteral("default"));
}

/*!
    Returns the share targets in panel order: maps with \c type (int), \c title (the localised
    name), \c icon and \c iconHighlighted (image URLs).
*/
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

/*!
    Returns the share bar's icon, as an image source for Qt Quick.
*/
QUrl OTSocialService::shareIconImageForBar()
{
    return OTResourceHelper::imageURL(QStringLiteral("ostrel_share_bar"));
}

/*!
    Returns the share bar's icon's pressed look.
*/
QUrl OTSocialService::highlightedShareIconImageForBar()
{
    return OTResourceHelper::imageURL(QStringLiteral("ostrel_share_bar_highlight"));
}

/*!
    Shares \a content, \a topic, \a url, \a logUrl and \a image to \a platform, asked from
    \a controller, through the backend. Any argument but \a platform and \a controller may be
    null.

    A share to Weibo that was posted posts OTSharedToWeiboSuccessNotification (the screens that
    listen say so); every other outcome is told to the user here with a transient message: where
    the picture was saved, that it was copied, that a share page or a mail draft was opened, or
    that it could not be.
*/
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

/*!
    Returns the message that tells the user what became of a share to \a platform, given its
    \a result; null when the Weibo announcement speaks for it.
*/
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

/*!
    Returns the message box's status for \a result: 0 information, 1 success, 2 failure.
*/
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

/*!
    Carries out the system share route's action \a activity for \a items through the backend,
    followed by a transient message: the link copied, a draft or the browser opened, or that it
    could not be. Returns whether it went out.
*/
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

/*!
    Puts \a backend in; the service owns it.
*/
void OTSocialService::setBackend(std::unique_ptr<OTSocialServiceBackend> backend)
{
    // Never without one: no backend means the desktop's.
    m_backend = backend ? std::move(backend) : std::make_unique<OTDesktopSocialServiceBackend>();
}

/*!
    \enum OTSharePlatformType
    \relates <OTSocialService.h>

    The share targets. Mail takes text and a link; save image and copy image take only a picture.

    \value OTSharePlatformWeibo Weibo's share page.
    \value OTSharePlatformQQ QQ's share page.
    \value OTSharePlatformQZone QZone's share page.
    \value OTSharePlatformMail A mail draft.
    \value OTSharePlatformDouban Douban's share page.
    \value OTSharePlatformTwitter Twitter's share page.
    \value OTSharePlatformSaveImage The picture, saved to a file.
    \value OTSharePlatformCopyImage The picture, on the clipboard.
*/

/*!
    \variable OTShareRequest::content

    The text to share.
*/

/*!
    \variable OTShareRequest::topic

    The topic (a hashtag on the web targets).
*/

/*!
    \variable OTShareRequest::url

    The link to share.
*/

/*!
    \variable OTShareRequest::logUrl

    The link shared when \l url is empty.
*/

/*!
    \variable OTShareRequest::image

    The picture to share.
*/

/*!
    \variable OTShareRequest::imageUrl

    A web address of the picture, when the picture is online (the web share pages take a picture
    only that way). Null unless the caller knows one.
*/

/*!
    \variable OTShareRequest::platform

    The target: an OTSharePlatformType.
*/

/*!
    \variable OTShareRequest::controller

    The screen the share was asked from.
*/

/*!
    \enum OTShareResult::Status

    \value Failed Nothing went out: the page, the draft or the file could not be made.
    \value Shared Posted to the target (a backend that hears back from it).
    \value PageOpened The target's share page is open in the browser; posting is up to the
           user.
    \value DraftOpened A mail draft is open in the mail program.
    \value Saved The picture is in the file \l path.
    \value Copied The picture is on the clipboard.
*/

/*!
    \variable OTShareResult::status

    What became of the share.
*/

/*!
    \variable OTShareResult::path

    For Saved, the file written; for a failed save, where it was to go.
*/

/*!
    \variable OTShareResult::reason

    For Failed, why, when known (the system's words).
*/

/*!
    \fn bool OTShareResult::succeeded() const

    Returns \c true unless the share failed.
*/

/*!
    \fn OTSocialServiceBackend::~OTSocialServiceBackend()

    Destroys the backend.
*/

/*!
    \fn bool OTSocialServiceBackend::share(const OTShareRequest &request)

    Carries \a request out. Returns \c true when the share went out (the browser or mail program
    was asked to open, the file written, the clipboard set).
*/

/*!
    \fn bool OTSocialServiceBackend::performActivity(const QString &activity, const QVariantList &items)

    Carries out the system share route's \a activity (\c copy, \c mail or \c browser) for the
    link in \a items. Returns \c true when it went out.
*/

/*!
    \fn OTSocialServiceBackend *OTSocialService::backend() const

    Returns the backend in use: the desktop one unless set. The service owns it.
*/

/*!
    \fn void OTSocialService::shared(int platform, bool succeeded)

    This signal is emitted after a share to \a platform; \a succeeded says whether it went out.
*/

/*!
    \fn void OTSocialService::shareFinished(int platform, const OTShareResult &result)

    This signal is emitted after a share to \a platform, with its \a result.
*/
