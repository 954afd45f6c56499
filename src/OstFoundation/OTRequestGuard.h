#pragma once

#include "OstFoundationGlobal.h"
#include "OTError.h"

#include <QByteArray>
#include <QNetworkRequest>
#include <QObject>
#include <QTimer>
#include <QUrl>

#include <functional>

class QNetworkAccessManager;
class QNetworkReply;

// The limits every request of the foundation keeps: one deadline, a size cap, few redirects.
// The reference (scripts/docs) documents it in full.
class OSTFOUNDATION_EXPORT OTRequestGuard : public QObject
{
    Q_OBJECT
public:
    static constexpr int DefaultTimeout = 15000;                     // ms
    static constexpr qint64 DefaultMaximumSize = 4 * 1024 * 1024;    // bytes
    static constexpr int MaximumRedirects = 5;
    // How much of the answer the reply holds before the guard has read it.
    static constexpr qint64 ReadBufferSize = 64 * 1024;

    struct Limits
    {
        int timeout = DefaultTimeout;            // ms, from send to completion
        qint64 maximumSize = DefaultMaximumSize; // bytes of the (decoded) body
    };

    enum BodyMode {
        KeepBody,    // hand the body to the completion
        DiscardBody, // only count it (it goes to a cache, say)
    };

    // Called exactly once, on the manager's thread, when the request has ended. `limitError`
    // is set when a limit ended it; otherwise the reply's own status and error tell how it
    // went. The reply is deleted later; do not keep it.
    using Finished = std::function<void(QNetworkReply *reply, const QByteArray &body, const OTError &limitError)>;

    // Sends `request` with `verb` (GET and HEAD through their own operations, so that a
    // cache can answer them; `body` goes with any other verb) and watches the reply.
    static QNetworkReply *send(QNetworkAccessManager *manager, QNetworkRequest request, const QByteArray &verb,
                               const QByteArray &body, const Limits &limits, BodyMode mode, Finished finished);

    // The deadline and the size cap for a reply that its maker reads itself (Qt Quick's Image
    // does): a limit hit aborts the reply, whose reader then sees it fail
    // (OperationCanceledError); the size is checked as the download progresses.
    static void watch(QNetworkReply *reply, const Limits &limits);

    // "15 s", "1.5 s"; "4 MiB", "64 KiB", "1000 bytes".
    static QString describeTimeout(int milliseconds);
    static QString describeSize(qint64 bytes);

private:
    OTRequestGuard(QNetworkReply *reply, const QUrl &url, bool expectsBody, const Limits &limits, BodyMode mode,
                   Finished finished);

    // Reads what has arrived; false once the body has gone past the cap.
    bool consume();
    void stop(const OTError &error);
    void finish();
    OTError tooLarge() const;

    QNetworkReply *m_reply;
    QUrl m_url;
    Limits m_limits;
    BodyMode m_mode;
    Finished m_finished;
    QTimer m_deadline;
    QByteArray m_body;
    qint64 m_received = 0;
    OTError m_error;
    bool m_done = false;
};
