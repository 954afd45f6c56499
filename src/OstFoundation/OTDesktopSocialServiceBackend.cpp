#include "OTSocialService.h"

#include "OTClock.h"

#include <QClipboard>
#include <QDesktopServices>
#include <QDir>
#include <QFileInfo>
#include <QGuiApplication>
#include <QSaveFile>
#include <QStandardPaths>
#include <QUrlQuery>

/*!
    \class OTDesktopSocialServiceBackend
    \inmodule OstFoundation
    \brief The desktop's way to share.

    A web target opens its share page in the browser with the text, the link and the picture's
    address; mail opens a draft (\c{mailto:}); save image writes a PNG to the Pictures folder;
    copy image puts the picture on the clipboard. The system share route copies the link, opens
    a mail draft or the browser.
*/

// The desktop's share backend: web share pages in the browser, mail drafts, pictures saved
// or copied, and the system share sheet's activities.

namespace {

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

/*!
    Returns the web page that shares \a request to its platform; null for mail and the image
    targets.
*/
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

/*!
    Makes save image write into \a directory (by default the Pictures folder); tests point it
    elsewhere.
*/
void OTDesktopSocialServiceBackend::setPicturesDirectory(const QString &directory)
{
    picturesDirectoryOverride() = directory;
}

/*!
    Returns where save image writes.
*/
QString OTDesktopSocialServiceBackend::picturesDirectory()
{
    if (!picturesDirectoryOverride().isEmpty())
        return picturesDirectoryOverride();
    const QString pictures = QStandardPaths::writableLocation(QStandardPaths::PicturesLocation);
    return pictures.isEmpty() ? QDir::home().filePath(QStringLiteral("Pictures")) : pictures;
}

/*!
    Returns the file the last save image wrote.
*/
QString OTDesktopSocialServiceBackend::lastSavedImagePath()
{
    return lastSavedPath();
}

/*!
    Returns whether shareWithResult() of \a request succeeded.
*/
bool OTDesktopSocialServiceBackend::share(const OTShareRequest &request)
{
    return shareWithResult(request).succeeded();
}

/*!
    Carries \a request out: a web target opens its page (OTShareResult::PageOpened: nothing is
    posted yet), mail a draft (DraftOpened), save image writes a file (Saved, with its path),
    copy image sets the clipboard (Copied); Failed with the reason when the browser, the mail
    program or the folder would not.
*/
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

/*!
    Copies the link in \a items to the clipboard (\c copy), opens a mail draft with it (\c mail)
    or opens it in the browser (\c browser), as \a activity says. Returns whether it went out.
*/
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
