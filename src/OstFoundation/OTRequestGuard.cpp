#include "OTRequestGuard.h"

#include "OTFile.h"

#include <QNetworkAccessManager>
#include <QNetworkReply>

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

QString OTRequestGuard::describeTimeout(int milliseconds)
{
    return QStringLiteral("%1 s").arg(QString::number(milliseconds / 1000.0));
}

QString OTRequestGuard::describeSize(qint64 bytes)
{
    return ot_byteCountDescription(bytes);
}

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
