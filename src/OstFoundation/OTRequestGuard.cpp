#include "OTRequestGuard.h"

#include "OTFile.h"

#include <QNetworkAccessManager>
#include <QNetworkReply>

/*!
    \class OTRequestGuard::Limits
    \inmodule OstFoundation
    \brief The deadline and the size cap of one request.
*/

/*!
    Sends \a request through \a manager with \a verb and watches the reply within \a limits,
    keeping or discarding the body as \a mode says; \a finished is called once at the end. GET
    and HEAD go through their own operations, so that a cache can answer them; \a body goes with
    any other verb. Returns the reply.
*/
QNetworkReply *OTRequestGuard::send(QNetworkAccessManager *manager, QNetworkRequest request, const QByteArray &verb,
                                    const QByteArray &body, const Limits &limits, BodyMode mode, Finished finished)
{
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::NoLessSafeRedirectPolicy);
    request.setMaximumRedirectsAllowed(MaximumRedirects);
    // Qt's own check against compression bombs starts at the cap (the count below sees the
    // decoded bytes too, but only as fast as Qt hands them over).
    request.setDecompressedSafetyCheckThreshold(limits.maximumSize);
    QNetworkReply *reply = verb == "GET"    ? manager->get(request)
                           : verb == "HEAD" ? manager->head(request)
                                            : manager->sendCustomRequest(request, verb, body);
    // Owned by the reply, so gone with it.
    new OTRequestGuard(reply, request.url(), verb != "HEAD", limits, mode, std::move(finished));
    return reply;
}

/*!
    Keeps the deadline and the size cap of \a limits for a \a reply that its maker reads itself
    (Qt Quick's Image does): a limit hit aborts the reply, whose reader then sees it fail
    (QNetworkReply::OperationCanceledError). The size is checked as the download progresses.
*/
void OTRequestGuard::watch(QNetworkReply *reply, const Limits &limits)
{
    auto *deadline = new QTimer(reply);
    deadline->setSingleShot(true);
    deadline->setTimerType(Qt::PreciseTimer);
    connect(deadline, &QTimer::timeout, reply, &QNetworkReply::abort);
    connect(reply, &QNetworkReply::finished, deadline, &QTimer::stop);
    deadline->start(limits.timeout);
    const qint64 maximumSize = limits.maximumSize;
    connect(reply, &QNetworkReply::downloadProgress, reply, [reply, maximumSize](qint64 received, qint64 total) {
        if (received > maximumSize || total > maximumSize)
            reply->abort();
    });
}

/*!
    Returns \a milliseconds as the errors write a deadline: "15 s", "1.5 s".
*/
QString OTRequestGuard::describeTimeout(int milliseconds)
{
    return QStringLiteral("%1 s").arg(QString::number(milliseconds / 1000.0));
}

/*!
    Returns \a bytes as the errors write a size: "4 MiB", "64 KiB", "1000 bytes".
*/
QString OTRequestGuard::describeSize(qint64 bytes)
{
    return ot_byteCountDescription(bytes);
}

/*!
    \class OTRequestGuard
    \inmodule OstFoundation
    \brief The limits every request of the foundation keeps.

    No server, however slow, silent, endless or circular, holds a request open for ever or fills
    the process's memory:

    \list
    \li one deadline from send to the last byte, redirects and body included (not Qt's transfer
        timeout, which a server sending one byte now and then resets for ever);
    \li a cap on the answer's size, counted as the body arrives (the reply's read buffer is kept
        small, so nothing piles up unread behind it); a Content-Length above the cap ends the
        request before the body is read at all;
    \li at most MaximumRedirects redirects, never from https down to http.
    \endlist

    Whichever limit is hit ends the request with an OTError::Network error whose description
    names the cause; the deadline's error is also marked as a timeout (OTError::isTimeout()).

    OstAPIClient sends every request through send(); the picture loader watches Qt Quick's own
    replies with watch().
*/
OTRequestGuard::OTRequestGuard(QNetworkReply *reply, const QUrl &url, bool expectsBody, const Limits &limits,
                               BodyMode mode, Finished finished)
    : QObject(reply)
    , m_reply(reply)
    , m_url(url)
    , m_limits(limits)
    , m_mode(mode)
    , m_finished(std::move(finished))
{
    // Past this the reply stops reading from the socket until the guard has read: the
    // server's pace cannot outrun the count.
    reply->setReadBufferSize(ReadBufferSize);

    m_deadline.setSingleShot(true);
    // A coarse timer may fire a little early; the deadline is the one promised.
    m_deadline.setTimerType(Qt::PreciseTimer);
    connect(&m_deadline, &QTimer::timeout, this, [this]() {
        stop(OTError(OTError::Network, QStringLiteral("%1: timed out after %2")
                                           .arg(m_url.toString(), describeTimeout(m_limits.timeout)))
                 .markTimeout());
    });
    m_deadline.start(m_limits.timeout);

    if (expectsBody) {
        // An answer that announces itself as too large is not read at all.
        connect(reply, &QNetworkReply::metaDataChanged, this, [this]() {
            bool known = false;
            const qint64 length = m_reply->header(QNetworkRequest::ContentLengthHeader).toLongLong(&known);
            if (known && length > m_limits.maximumSize)
                stop(tooLarge());
        });
    }
    connect(reply, &QIODevice::readyRead, this, [this]() {
        if (!m_done && !consume())
            stop(tooLarge());
    });
    connect(reply, &QNetworkReply::finished, this, &OTRequestGuard::finish);
    // A failure ends the request as soon as it is known: with a read buffer, Qt may hold the
    // reply's finished() back for the rest of the deadline (a body that fails to decompress).
    // The body of an HTTP error status has arrived whole by the time its error is raised.
    connect(reply, &QNetworkReply::errorOccurred, this, [this](QNetworkReply::NetworkError error) {
        if (error != QNetworkReply::OperationCanceledError)
            finish();
    });
}

bool OTRequestGuard::consume()
{
    while (m_reply->bytesAvailable() > 0) {
        const QByteArray chunk = m_reply->read(ReadBufferSize);
        if (chunk.isEmpty())
            break;
        m_received += chunk.size();
        if (m_received > m_limits.maximumSize)
            return false;
        if (m_mode == KeepBody)
            m_body += chunk;
    }
    return true;
}

OTError OTRequestGuard::tooLarge() const
{
    return OTError(OTError::Network, QStringLiteral("%1: answer larger than %2")
                                         .arg(m_url.toString(), describeSize(m_limits.maximumSize)));
}

void OTRequestGuard::stop(const OTError &error)
{
    if (m_done)
        return;
    m_error = error;
    // Aborting finishes the reply at once, which calls finish(); the call below only makes
    // sure of it.
    m_reply->abort();
    finish();
}

void OTRequestGuard::finish()
{
    if (m_done)
        return;
    m_done = true;
    m_deadline.stop();
    if (!m_error && m_reply->isOpen() && !consume())
        m_error = tooLarge();
    if (!m_error) {
        switch (m_reply->error()) {
        case QNetworkReply::TooManyRedirectsError:
            m_error = OTError(OTError::Network, QStringLiteral("%1: too many redirects (more than %2)")
                                                    .arg(m_url.toString())
                                                    .arg(MaximumRedirects));
            break;
        case QNetworkReply::UnknownContentError:
            if (!m_reply->rawHeader("Content-Encoding").isEmpty()) {
                m_error = OTError(OTError::Network, QStringLiteral("%1: compressed answer that does not decode within %2 (%3)")
                                                        .arg(m_url.toString(), describeSize(m_limits.maximumSize),
                                                             m_reply->errorString()));
            }
            break;
        case QNetworkReply::InsecureRedirectError:
            m_error = OTError(OTError::Network, QStringLiteral("%1: refused a redirect from https to http (%2)")
                                                    .arg(m_url.toString(), m_reply->errorString()));
            break;
        default:
            break;
        }
    }
    if (m_error)
        m_body.clear();
    m_reply->deleteLater();
    const Finished finished = std::move(m_finished);
    if (finished)
        finished(m_reply, m_body, m_error);
}

/*!
    \variable OTRequestGuard::DefaultTimeout

    The default deadline, in milliseconds: 15000.
*/

/*!
    \variable OTRequestGuard::DefaultMaximumSize

    The default cap on an answer's body, in bytes: 4 MiB.
*/

/*!
    \variable OTRequestGuard::MaximumRedirects

    The most redirects a request follows: 5.
*/

/*!
    \variable OTRequestGuard::ReadBufferSize

    How much of the answer the reply holds before the guard has read it: 64 KiB.
*/

/*!
    \variable OTRequestGuard::Limits::timeout

    The deadline in milliseconds, from send to completion.
*/

/*!
    \variable OTRequestGuard::Limits::maximumSize

    The largest (decoded) body accepted, in bytes.
*/

/*!
    \enum OTRequestGuard::BodyMode

    What becomes of the answer's body.

    \value KeepBody The body is handed to the completion.
    \value DiscardBody The body is only counted (it goes to a cache, say).
*/

/*!
    \typealias OTRequestGuard::Finished

    The completion of send(): \c{void(QNetworkReply *reply, const QByteArray &body, const
    OTError &limitError)}. It is called exactly once, on the manager's thread, when the request
    has ended. \c limitError is set when a limit ended it; otherwise the reply's own status and
    error tell how it went. The reply is deleted later; do not keep it.
*/
