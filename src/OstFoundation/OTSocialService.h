#pragma once

#include "OstFoundationGlobal.h"

#include <QImage>
#include <QList>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QUrl>
#include <QVariantMap>
#include <memory>

class OTCommonsViewController;

// The share targets. 3 (mail) takes text and a link; 6 and 7 take only a picture.
enum OTSharePlatformType : int {
    OTSharePlatformWeibo = 0,
    OTSharePlatformQQ = 1,
    OTSharePlatformQZone = 2,
    OTSharePlatformMail = 3,
    OTSharePlatformDouban = 4,
    OTSharePlatformTwitter = 5,
    OTSharePlatformSaveImage = 6,
    OTSharePlatformCopyImage = 7,
};

// One share, as the service was asked for it. Strings may be null, the image may be null.
struct OSTFOUNDATION_EXPORT OTShareRequest
{
    QString content;
    QString topic;
    QString url;
    QString logUrl;
    QImage image;
    // A web address of the picture, when the picture is online (the web share pages take a
    // picture only that way). Null unless the caller knows one.
    QString imageUrl;
    int platform = -1;
    QPointer<OTCommonsViewController> controller;
};

// What became of a share: what the user is told after it.
struct OSTFOUNDATION_EXPORT OTShareResult
{
    enum Status {
        Failed,      // nothing went out (the page, the draft or the file could not be made)
        Shared,      // posted to the target (a backend that hears back from it)
        PageOpened,  // the target's share page is open in the browser; posting is up to the user
        DraftOpened, // a mail draft is open in the mail program
        Saved,       // the picture is in the file `path`
        Copied,      // the picture is on the clipboard
    };
    Status status = Failed;
    QString path;    // Saved: the file written; a failed save: where it was to go
    QString reason;  // Failed: why, when known (the system's words)

    bool succeeded() const { return status != Failed; }
};

// Carries a share out. The service hands every share to its backend; true when the share
// went out (the browser or mail program was asked to open, the file written, the clipboard
// set).
class OSTFOUNDATION_EXPORT OTSocialServiceBackend
{
public:
    virtual ~OTSocialServiceBackend() = default;
    virtual bool share(const OTShareRequest &request) = 0;
    // The share and what became of it. By default share(), a share that went out counting as
    // posted; a backend that only opens a page or writes a file says so here.
    virtual OTShareResult shareWithResult(const OTShareRequest &request);
    // The system share route's actions for a link: "copy", "mail", "browser".
    virtual bool performActivity(const QString &activity, const QVariantList &items) = 0;
};

// The desktop's way: a web target opens its share page in the browser with the text, the
// link and the picture's address; mail opens a draft (mailto:); save image writes a PNG to
// the Pictures folder; copy image puts the picture on the clipboard.
class OSTFOUNDATION_EXPORT OTDesktopSocialServiceBackend : public OTSocialServiceBackend
{
public:
    bool share(const OTShareRequest &request) override;
    // A web target opens its page (PageOpened: nothing is posted yet), mail a draft
    // (DraftOpened), save image writes a file (Saved, with its path), copy image the clipboard
    // (Copied); Failed with the reason when the browser, the mail program or the folder would
    // not.
    OTShareResult shareWithResult(const OTShareRequest &request) override;
    bool performActivity(const QString &activity, const QVariantList &items) override;
    // The web page that shares to `platform` (null for mail and the image targets).
    static QUrl webShareUrl(const OTShareRequest &request);
    // Where save image writes (default: the Pictures folder); tests point it elsewhere.
    static void setPicturesDirectory(const QString &directory);
    static QString picturesDirectory();
    // The file the last save image wrote.
    static QString lastSavedImagePath();
};

// The social sharing service.
class OSTFOUNDATION_EXPORT OTSocialService : public QObject
{
    Q_OBJECT
public:
    static OTSocialService *defaultService();

    // The link for `platformType` in a quote's share links (keys "weibo", "qq", "qzone",
    // "mail", "douban", "twitter", "save_image", "copy_image"), falling back to the "default"
    // link; null when there is neither or `shareUrls` is empty.
    static QString getShareUrlForType(int platformType, const QVariantMap &shareUrls);
    // The "default" link; null when there is none.
    static QString getDefaultShareUrl(const QVariantMap &shareUrls);

    // The share targets in panel order: maps with "type" (int), "title" (localised name),
    // "icon" and "iconHighlighted" (image URLs).
    static QVariantList platforms();

    // The share bar's icon and its pressed look (image sources for Qt Quick).
    static QUrl shareIconImageForBar();
    static QUrl highlightedShareIconImageForBar();

    // Shares through the backend. Any argument but `platform` and `controller` may be null.
    // A share to Weibo that was posted posts OTSharedToWeiboSuccessNotification (the screens
    // that listen say so); every other outcome is told to the user here with a transient
    // message: where the picture was saved, that it was copied, that a share page or a mail
    // draft was opened, or that it could not be.
    void shareContent(const QString &content, const QString &topic, const QString &url,
                      const QString &logUrl, const QImage &image, int platform,
                      OTCommonsViewController *controller);

    // The system share route's action `activity` for `items`, followed by a transient
    // message: the link copied, a draft or the browser opened, or that it could not be.
    bool performActivity(const QString &activity, const QVariantList &items);

    // The message that tells the user what became of a share to `platform` (null when the
    // Weibo announcement speaks for it), and the message box's status: 0 information,
    // 1 success, 2 failure.
    static QString feedbackText(int platform, const OTShareResult &result);
    static int feedbackStatus(const OTShareResult &result);

    // The backend in use (the desktop one unless set); the service owns it.
    OTSocialServiceBackend *backend() const { return m_backend.get(); }
    void setBackend(std::unique_ptr<OTSocialServiceBackend> backend);

Q_SIGNALS:
    void shared(int platform, bool succeeded);
    // The same share, with what became of it.
    void shareFinished(int platform, const OTShareResult &result);

private:
    explicit OTSocialService(QObject *parent = nullptr);
    std::unique_ptr<OTSocialServiceBackend> m_backend;
};
