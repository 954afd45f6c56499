#include "OstAPIClient.h"

#include <QCoreApplication>
#include <QDir>
#include <QJSEngine>
#include <QMutex>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QNetworkDiskCache>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QStandardPaths>
#include <QThread>
#include <QUrlQuery>

namespace {

constexpr auto kDefaultBase = "http://127.0.0.1:8080";

OTError errorForReply(QNetworkReply *reply, const QByteArray &body)
{
    const QVariant status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute);
    const QString url = reply->request().url().toString();
    if (status.isValid() && (status.toInt() < 200 || status.toInt() > 299)) {
        QString reason = reply->attribute(QNetworkRequest::HttpReasonPhraseAttribute).toString();
        // The server explains itself in a JSON body {"error": "..."} where it can.
        const QJsonValue detail = QJsonDocument::fromJson(body).object().value(QLatin1String("error"));
        if (detail.isString())
            reason = detail.toString();
        return OTError(OTError::HTTPStatus,
                       QStringLiteral("HTTP %1 %2 for %3").arg(status.toInt()).arg(reason, url),
                       status.toInt());
    }
    if (reply->error() != QNetworkReply::NoError)
        return OTError(OTError::Network, QStringLiteral("%1: %2").arg(url, reply->errorString()));
    return {};
}

// Failures of the network itself, after which the last answer the server gave may stand in.
bool networkFailed(QNetworkReply *reply, const OTError &limitError)
{
    if (limitError)
        return limitError.isTimeout();
    switch (reply->error()) {
    case QNetworkReply::ConnectionRefusedError:
    case QNetworkReply::RemoteHostClosedError:
    case QNetworkReply::HostNotFoundError:
    case QNetworkReply::TimeoutError:
    case QNetworkReply::TemporaryNetworkFailureError:
    case QNetworkReply::NetworkSessionFailedError:
    case QNetworkReply::UnknownNetworkError:
    case QNetworkReply::ProxyConnectionRefusedError:
    case QNetworkReply::ProxyConnectionClosedError:
    case QNetworkReply::ProxyNotFoundError:
    case QNetworkReply::ProxyTimeoutError:
        return true;
    default:
        return false;
    }
}

OTError undecodable(const QString &what, const QString &api)
{
    return OTError(OTError::Undecodable, QStringLiteral("%1 from %2").arg(what, api));
}

} // namespace

OstAPIClient::OstAPIClient(QObject *parent)
    : QObject(parent)
    , m_network(new QNetworkAccessManager(this))
    , m_baseURL(defaultBaseURL())
{
}

void OstAPIClient::useCacheDirectory(const QString &directory)
{
    // Made on first use, so that a client that never caches leaves no folder behind; it
    // follows the caches directory of the moment. A cache the host has set stays as it is.
    if (!m_cache && !m_network->cache()) {
        m_cache = new QNetworkDiskCache(m_network);
        m_cache->setCacheDirectory(directory);
        m_cache->setMaximumCacheSize(MaximumCacheSize);
        m_network->setCache(m_cache);
    }
    if (m_cache && m_network->cache() == m_cache && QDir(m_cache->cacheDirectory()) != QDir(directory))
        m_cache->setCacheDirectory(directory);
}

QString OstAPIClient::cacheDirectory()
{
    return QStandardPaths::writableLocation(QStandardPaths::CacheLocation) + QStringLiteral("/api");
}

OstAPIClient::~OstAPIClient() = default;

OstAPIClient *OstAPIClientForeign::create(QQmlEngine *qmlEngine, QJSEngine *jsEngine)
{
    Q_UNUSED(qmlEngine);
    OstAPIClient *client = OstAPIClient::sharedClient();
    // The engine must not delete the process's client when it goes.
    jsEngine->setObjectOwnership(client, QJSEngine::CppOwnership);
    return client;
}

OstAPIClient *OstAPIClient::sharedClient()
{
    static QPointer<OstAPIClient> client;
    static QMutex mutex;
    QMutexLocker lock(&mutex);
    if (!client) {
        client = new OstAPIClient;
        if (QCoreApplication *app = QCoreApplication::instance()) {
            client->moveToThread(app->thread());
            // Gone with the application, so that nothing outlives its event loop.
            QObject::connect(app, &QObject::destroyed, client, &QObject::deleteLater);
        }
    }
    return client;
}

QUrl OstAPIClient::defaultBaseURL()
{
    const QByteArray fromEnvironment = qgetenv("OSTQUOTE_API_BASE");
    const QUrl url(QString::fromUtf8(fromEnvironment.isEmpty() ? QByteArray(kDefaultBase) : fromEnvironment));
    return url.isValid() ? url : QUrl(QString::fromLatin1(kDefaultBase));
}

void OstAPIClient::setBaseURL(const QUrl &url)
{
    if (url == m_baseURL)
        return;
    m_baseURL = url;
    Q_EMIT baseURLChanged();
}

void OstAPIClient::setTransferTimeout(int milliseconds)
{
    m_transferTimeout = milliseconds > 0 ? milliseconds : DefaultTransferTimeout;
}

void OstAPIClient::setMaximumAnswerSize(qint64 bytes)
{
    m_maximumAnswerSize = bytes > 0 ? bytes : DefaultMaximumAnswerSize;
}

QUrl OstAPIClient::URLForAPI(const QString &api, const QVariantMap &parameters) const
{
    // The API path goes below whatever path the base already has, so that a server mounted
    // under a prefix (a CDN folder, say) works as well.
    QString base = m_baseURL.toString(QUrl::StripTrailingSlash | QUrl::RemoveQuery | QUrl::RemoveFragment);
    if (!api.startsWith(u'/'))
        base += u'/';
    QUrl url(base + api);
    if (!parameters.isEmpty()) {
        QUrlQuery query;
        for (auto it = parameters.cbegin(); it != parameters.cend(); ++it)
            query.addQueryItem(it.key(), it.value().toString());
        url.setQuery(query);
    }
    return url;
}

void OstAPIClient::send(const QString &method, const QString &api, const QVariantMap &parameters,
                        bool networkRequired, BodyHandler handler)
{
    // Requests may be made from any thread; the network work and the completion happen on
    // the client's own thread.
    if (QThread::currentThread() != thread()) {
        QMetaObject::invokeMethod(this, [=, this]() { send(method, api, parameters, networkRequired, handler); },
                                  Qt::QueuedConnection);
        return;
    }

    const QByteArray verb = method.toUpper().toLatin1();
    const bool queryParameters = verb == "GET" || verb == "HEAD";
    QNetworkRequest request(URLForAPI(api, queryParameters ? parameters : QVariantMap()));
    request.setRawHeader("Accept", "application/json");
    request.setHeader(QNetworkRequest::UserAgentHeader, QStringLiteral("OstQuote/1.0"));
    const bool cacheable = verb == "GET" && !networkRequired;
    if (!cacheable) {
        request.setAttribute(QNetworkRequest::CacheLoadControlAttribute, QNetworkRequest::AlwaysNetwork);
        request.setAttribute(QNetworkRequest::CacheSaveControlAttribute, false);
    } else {
        useCacheDirectory(cacheDirectory());
    }

    QByteArray body;
    if (!queryParameters) {
        request.setHeader(QNetworkRequest::ContentTypeHeader, QStringLiteral("application/json"));
        body = QJsonDocument(QJsonObject::fromVariantMap(parameters)).toJson(QJsonDocument::Compact);
    }
    const OTRequestGuard::Limits limits{m_transferTimeout, m_maximumAnswerSize};
    OTRequestGuard::send(
        m_network, request, verb, body, limits, OTRequestGuard::KeepBody,
        [this, request, limits, cacheable, handler](QNetworkReply *reply, const QByteArray &data,
                                                    const OTError &limitError) {
            const OTError error = limitError ? limitError : errorForReply(reply, data);
            if (!cacheable || !networkFailed(reply, limitError)) {
                handler(data, error);
                return;
            }
            // Offline: the server's last answer to the same request, if the cache holds one.
            QNetworkRequest offline(request);
            offline.setAttribute(QNetworkRequest::CacheLoadControlAttribute, QNetworkRequest::AlwaysCache);
            OTRequestGuard::send(m_network, offline, "GET", {}, limits, OTRequestGuard::KeepBody,
                                 [error, handler](QNetworkReply *cached, const QByteArray &cachedData,
                                                  const OTError &cachedLimitError) {
                                     const bool fromCache = !cachedLimitError && cached->error() == QNetworkReply::NoError;
                                     handler(fromCache ? cachedData : QByteArray(), fromCache ? OTError() : error);
                                 });
        });
}

void OstAPIClient::modelWithMethod(const QString &method, const QString &api, const QVariantMap &parameters,
                                   const QMetaObject *onClass, ModelCompletion completion, QObject *context)
{
    const bool hasContext = context != nullptr;
    QPointer<QObject> guard(context);
    send(method, api, parameters, false, [=](const QByteArray &body, const OTError &error) {
        if ((hasContext && !guard) || !completion)
            return;
        if (error) {
            completion({}, error);
            return;
        }
        QJsonParseError parseError;
        const QJsonDocument document = QJsonDocument::fromJson(body, &parseError);
        if (parseError.error != QJsonParseError::NoError) {
            completion({}, undecodable(QStringLiteral("invalid JSON (%1)").arg(parseError.errorString()), api));
            return;
        }
        if (!document.isObject()) {
            completion({}, undecodable(QStringLiteral("a JSON value that is not an object"), api));
            return;
        }
        OTModelPtr model = OTModel::modelOfClass(onClass, document.object());
        if (!model) {
            completion({}, undecodable(QStringLiteral("an object that cannot be built as %1")
                                           .arg(onClass ? QString::fromLatin1(onClass->className()) : QString()),
                                       api));
            return;
        }
        completion(model, {});
    });
}

void OstAPIClient::modelWithAPI(const QString &api, const QVariantMap &parameters, const QMetaObject *modelClass,
                                bool networkRequired, ModelsCompletion block, QObject *context)
{
    const bool hasContext = context != nullptr;
    QPointer<QObject> guard(context);
    send(QStringLiteral("GET"), api, parameters, networkRequired, [=](const QByteArray &body, const OTError &error) {
        if ((hasContext && !guard) || !block)
            return;
        if (error) {
            block({}, error);
            return;
        }
        QJsonParseError parseError;
        const QJsonDocument document = QJsonDocument::fromJson(body, &parseError);
        if (parseError.error != QJsonParseError::NoError) {
            block({}, undecodable(QStringLiteral("invalid JSON (%1)").arg(parseError.errorString()), api));
            return;
        }
        if (!document.isArray()) {
            block({}, undecodable(QStringLiteral("a JSON value that is not an array"), api));
            return;
        }
        QList<OTModelPtr> models;
        const QJsonArray array = document.array();
        models.reserve(array.size());
        for (const QJsonValue &element : array) {
            OTModelPtr model = element.isObject() ? OTModel::modelOfClass(modelClass, element.toObject()) : OTModelPtr();
            if (!model) {
                block({}, undecodable(QStringLiteral("an array element that is not an object of %1")
                                          .arg(modelClass ? QString::fromLatin1(modelClass->className()) : QString()),
                                      api));
                return;
            }
            models.append(model);
        }
        block(models, {});
    });
}
