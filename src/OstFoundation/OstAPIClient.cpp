#include "OstAPIClient.h"

#include <QBuffer>
#include <QCoreApplication>
#include <QDir>
#include <QDirIterator>
#include <QFileInfo>
#include <QJSEngine>
#include <QLocale>
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
#include <QTimeZone>
#include <QUrlQuery>

#include <memory>

/*!
    \qmltype OstAPIClient
    \inqmlmodule OstFoundation
    \instantiates OstAPIClient
    \brief The shared API client (a singleton).

    The C++ OstAPIClient::sharedClient(): setting its base URL points every screen of the
    process at a server.

    \qml
    import OstFoundation

    Component.onCompleted: OstAPIClient.baseURL = "https://quotes.example.com"
    \endqml
*/

/*!
    \class OstAPIClient::AnswerRule
    \inmodule OstFoundation
    \brief What the disk cache may keep and give back for some requests.

    Both functions get the request's URL and the answer's JSON document.

    Set with OstAPIClient::setAnswerRule().
*/

/*!
    \class OstAPIClientForeign
    \inmodule OstFoundation
    \brief Registers the QML singleton OstAPIClient as the shared client.

    QML would otherwise make a singleton of its own with the client's default constructor; this
    wrapper hands it OstAPIClient::sharedClient(), which stays C++'s.
*/

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

// The disk cache of answers. It keeps a 200 JSON answer only when the client's rule for its
// URL agrees, hands a kept answer back only while the rule still lets it answer, and never
// lets a failed or refused answer take a kept one with it: Qt removes the entry of a request
// that failed, which here only cancels that request's own pending insertion.
class AnswerCache : public QNetworkDiskCache
{
public:
    AnswerCache(OstAPIClient *client, QObject *parent)
        : QNetworkDiskCache(parent)
        , m_client(client)
    {
    }

    // While the network is asked for `url`, Qt sees no kept answer for it: it would hand one
    // out in place of a 5xx answer, mixed with that answer's body, and hold the reply open
    // until the deadline.
    void beginNetwork(const QUrl &url) { ++m_asking[url]; }
    void endNetwork(const QUrl &url)
    {
        if (--m_asking[url] <= 0)
            m_asking.remove(url);
    }

    QNetworkCacheMetaData metaData(const QUrl &url) override
    {
        if (m_asking.contains(url))
            return {};
        removeOddFiles();
        QNetworkCacheMetaData meta = QNetworkDiskCache::metaData(url);
        if (!meta.isValid())
            return meta;
        const OstAPIClient::AnswerRule rule = m_client->answerRule(url);
        std::unique_ptr<QIODevice> device(QNetworkDiskCache::data(url));
        const QByteArray body = device ? device->read(m_client->maximumAnswerSize() + 1) : QByteArray();
        QJsonParseError parseError;
        const QJsonDocument answer = QJsonDocument::fromJson(body, &parseError);
        const bool fresh = meta.expirationDate().isValid() && meta.expirationDate() > QDateTime::currentDateTimeUtc();
        if (!device || body.size() > m_client->maximumAnswerSize() || parseError.error != QJsonParseError::NoError
            || answer.isNull() || (rule.use && !rule.use(url, answer, fresh)))
            return {};
        return meta;
    }

    QIODevice *data(const QUrl &url) override
    {
        return metaData(url).isValid() ? QNetworkDiskCache::data(url) : nullptr;
    }

    QIODevice *prepare(const QNetworkCacheMetaData &meta) override
    {
        // Held here until the answer is complete and has been checked.
        auto *buffer = new QBuffer(this);
        buffer->open(QIODevice::WriteOnly);
        m_pending.insert(buffer, meta);
        return buffer;
    }

    void insert(QIODevice *device) override
    {
        const auto pending = m_pending.find(device);
        if (pending == m_pending.end())
            return;
        const QNetworkCacheMetaData meta = pending.value();
        m_pending.erase(pending);
        const QByteArray body = static_cast<QBuffer *>(device)->data();
        delete device;
        if (meta.attributes().value(QNetworkRequest::HttpStatusCodeAttribute).toInt() != 200
            || body.size() > m_client->maximumAnswerSize())
            return;
        QJsonParseError parseError;
        const QJsonDocument answer = QJsonDocument::fromJson(body, &parseError);
        if (parseError.error != QJsonParseError::NoError || answer.isNull())
            return;
        const OstAPIClient::AnswerRule rule = m_client->answerRule(meta.url());
        if (rule.keep && !rule.keep(meta.url(), answer))
            return;
        if (QIODevice *out = QNetworkDiskCache::prepare(meta)) {
            out->write(body);
            QNetworkDiskCache::insert(out);
        }
    }

    // Keeps the answer that `reply` brought for `url` when the rules allow, with the freshness
    // its cache headers give it (none: asked again whenever the network is there).
    void keep(const QUrl &url, QNetworkReply *reply, const QByteArray &body)
    {
        QNetworkCacheMetaData meta;
        meta.setUrl(url);
        meta.setSaveToDisk(true);
        QNetworkCacheMetaData::RawHeaderList headers;
        static const QList<QByteArray> kept{"content-type", "cache-control", "date", "expires", "last-modified",
                                            "etag"};
        for (const auto &header : reply->rawHeaderPairs()) {
            if (kept.contains(header.first.toLower()))
                headers.append(header);
        }
        meta.setRawHeaders(headers);
        meta.setAttributes({{QNetworkRequest::HttpStatusCodeAttribute,
                             reply->attribute(QNetworkRequest::HttpStatusCodeAttribute)},
                            {QNetworkRequest::HttpReasonPhraseAttribute,
                             reply->attribute(QNetworkRequest::HttpReasonPhraseAttribute)}});
        meta.setLastModified(reply->header(QNetworkRequest::LastModifiedHeader).toDateTime());
        QDateTime expires;
        bool revalidate = false;
        for (const QByteArray &directive : reply->rawHeader("Cache-Control").toLower().split(',')) {
            const QByteArray token = directive.trimmed();
            if (token == "no-store")
                return;
            revalidate = revalidate || token == "no-cache";
            if (token.startsWith("max-age=")) {
                bool valid = false;
                const qint64 seconds = token.mid(8).toLongLong(&valid);
                // A year at most: the rules decide what is believed, not the server alone.
                if (valid && seconds >= 0)
                    expires = QDateTime::currentDateTimeUtc().addSecs(qMin(seconds, qint64(366) * 86400));
            }
        }
        if (revalidate) {
            expires = {};
        } else if (!expires.isValid()) {
            expires = QLocale::c().toDateTime(QString::fromLatin1(reply->rawHeader("Expires").trimmed()),
                                              QStringLiteral("ddd, dd MMM yyyy hh:mm:ss 'GMT'"));
            expires.setTimeZone(QTimeZone::utc());
        }
        meta.setExpirationDate(expires);
        QIODevice *device = prepare(meta);
        device->write(body);
        insert(device);
    }

    bool remove(const QUrl &url) override
    {
        for (auto it = m_pending.begin(); it != m_pending.end(); ++it) {
            if (it.value().url() == url) {
                delete it.key();
                m_pending.erase(it);
                return true;
            }
        }
        return false;
    }

private:
    // Only regular files are ever opened: a FIFO would block the reader for good, a device or a
    // link could feed it without end.
    void removeOddFiles()
    {
        QDirIterator it(cacheDirectory(), QDir::AllEntries | QDir::System | QDir::Hidden | QDir::NoDotAndDotDot,
                        QDirIterator::Subdirectories);
        while (it.hasNext()) {
            it.next();
            const QFileInfo info = it.fileInfo();
            if (info.isSymLink() || (!info.isDir() && !info.isFile()))
                QFile::remove(info.filePath());
        }
    }

    OstAPIClient *m_client;
    QHash<QIODevice *, QNetworkCacheMetaData> m_pending;
    QHash<QUrl, int> m_asking;
};

} // namespace

/*!
    \class OstAPIClient
    \inmodule OstFoundation
    \brief The HTTP client of the apps: JSON requests against one server, answers mapped onto
    OTModel subclasses.

    Every completion is called exactly once, on the thread the client lives on (the GUI thread
    for sharedClient()), with a result and no error, or no result and an error. When a
    \c context object is given and has been destroyed by the time the answer arrives, the
    completion is dropped instead.

    \section1 Limits

    No request hangs or grows without bound (OTRequestGuard): each must end within
    transferTimeout() from send to the last byte, redirects included; an answer larger than
    maximumAnswerSize() is cut off as it arrives; at most OTRequestGuard::MaximumRedirects
    redirects are followed. Each of these ends the request with an OTError::Network error that
    says which (the deadline's is also a timeout).

    \section1 Days already seen, offline

    The answers of GET requests are kept in a disk cache under cacheDirectory(). A kept answer
    answers without the network while the server's Cache-Control (max-age, at most a year;
    no-cache; no-store) or Expires calls it fresh; after that the request goes to the server
    again. When the network fails (refused, unreachable, timed out), a GET is answered from that
    cache if it holds the server's last answer to the same request. A network-required request
    never reads or fills the cache.

    Nothing the network says is kept on trust: only a 200 answer whose body is a JSON object or
    array is kept, and only when the AnswerRule for its path (setAnswerRule()) agrees; an error,
    a cut answer or a refused one never replaces or removes an answer already kept. The rule also
    decides, each time, whether a kept answer may still answer. The cache reads regular files
    only: anything else found in its folder (a FIFO, a device, a link) is removed unread.

    \section1 Pointing the apps at a server

    \code
    OstAPIClient::sharedClient()->setBaseURL(QUrl("https://quotes.example.com"));
    \endcode

    In QML the singleton \l {OstFoundation::OstAPIClient}{OstAPIClient} is the shared client:
    \c{OstAPIClient.baseURL = "https://quotes.example.com"}.
*/
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
        m_cache = new AnswerCache(this, m_network);
        m_cache->setCacheDirectory(directory);
        m_cache->setMaximumCacheSize(MaximumCacheSize);
        m_network->setCache(m_cache);
    }
    if (m_cache && m_network->cache() == m_cache && QDir(m_cache->cacheDirectory()) != QDir(directory))
        m_cache->setCacheDirectory(directory);
}

/*!
    Returns where answers are kept: \c{<QStandardPaths::CacheLocation>/api}, read at every
    request.
*/
QString OstAPIClient::cacheDirectory()
{
    return QStandardPaths::writableLocation(QStandardPaths::CacheLocation) + QStringLiteral("/api");
}

OstAPIClient::~OstAPIClient() = default;

/*!
    Returns OstAPIClient::sharedClient() for \a qmlEngine and \a jsEngine.
*/
OstAPIClient *OstAPIClientForeign::create(QQmlEngine *qmlEngine, QJSEngine *jsEngine)
{
    Q_UNUSED(qmlEngine);
    OstAPIClient *client = OstAPIClient::sharedClient();
    // The engine must not delete the process's client when it goes.
    jsEngine->setObjectOwnership(client, QJSEngine::CppOwnership);
    return client;
}

/*!
    Returns the client of the process, created on first use on the application's thread.
*/
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

/*!
    Returns the environment variable \c OSTQUOTE_API_BASE as a URL, else
    \c{http://127.0.0.1:8080}.
*/
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

/*!
    Sets the \a rule for the GET requests whose URL path holds \a pathPart (the longest matching
    part wins). Without a rule every 200 JSON answer is kept and used as HTTP caching says. May
    be called from any thread.
*/
void OstAPIClient::setAnswerRule(const QString &pathPart, const AnswerRule &rule)
{
    QMutexLocker lock(&m_rulesMutex);
    m_rules.insert(pathPart, rule);
}

/*!
    Returns the rule for \a url: an empty rule when none matches.
*/
OstAPIClient::AnswerRule OstAPIClient::answerRule(const QUrl &url) const
{
    QMutexLocker lock(&m_rulesMutex);
    const QString path = url.path();
    AnswerRule found;
    qsizetype longest = -1;
    for (auto it = m_rules.cbegin(); it != m_rules.cend(); ++it) {
        if (it.key().size() > longest && path.contains(it.key())) {
            found = it.value();
            longest = it.key().size();
        }
    }
    return found;
}

/*!
    Returns the absolute URL of \a api (a path such as \c{/api/v2/…}) on the server, with
    \a parameters as the query.
*/
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
    QPointer<AnswerCache> answers;
    bool asking = false;
    if (!cacheable) {
        request.setAttribute(QNetworkRequest::CacheLoadControlAttribute, QNetworkRequest::AlwaysNetwork);
        request.setAttribute(QNetworkRequest::CacheSaveControlAttribute, false);
    } else {
        useCacheDirectory(cacheDirectory());
        // A kept answer that is still fresh answers without the network. Otherwise the request
        // goes to the server alone: Qt, left to revalidate a kept answer, hands a failed answer
        // out mixed with the kept one and holds the reply open until the deadline.
        const QNetworkCacheMetaData kept = m_network->cache()->metaData(request.url());
        const bool fresh = kept.isValid() && kept.expirationDate().isValid()
                           && kept.expirationDate() > QDateTime::currentDateTimeUtc();
        request.setAttribute(QNetworkRequest::CacheLoadControlAttribute,
                             fresh ? QNetworkRequest::PreferCache : QNetworkRequest::AlwaysNetwork);
        // What the network answers is kept below, once checked, never by Qt as it arrives.
        if (m_cache && m_network->cache() == m_cache) {
            answers = static_cast<AnswerCache *>(m_cache.data());
            request.setAttribute(QNetworkRequest::CacheSaveControlAttribute, false);
            asking = !fresh;
            if (asking)
                answers->beginNetwork(request.url());
        }
    }

    QByteArray body;
    if (!queryParameters) {
        request.setHeader(QNetworkRequest::ContentTypeHeader, QStringLiteral("application/json"));
        body = QJsonDocument(QJsonObject::fromVariantMap(parameters)).toJson(QJsonDocument::Compact);
    }
    const OTRequestGuard::Limits limits{m_transferTimeout, m_maximumAnswerSize};
    OTRequestGuard::send(
        m_network, request, verb, body, limits, OTRequestGuard::KeepBody,
        [this, request, limits, cacheable, answers, asking, handler](QNetworkReply *reply, const QByteArray &data,
                                                    const OTError &limitError) {
            const OTError error = limitError ? limitError : errorForReply(reply, data);
            if (answers) {
                if (asking)
                    answers->endNetwork(request.url());
                if (!error && !reply->attribute(QNetworkRequest::SourceIsFromCacheAttribute).toBool())
                    answers->keep(request.url(), reply, data);
            }
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

/*!
    Sends \a method to \a api and builds an instance of \a onClass from the JSON object that
    answers, handing it to \a completion. GET and HEAD send \a parameters as the query, other
    methods as a JSON body. An answer that arrives after \a context is destroyed is dropped.
*/
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

/*!
    GETs \a api with \a parameters as the query and builds an instance of \a modelClass from each
    object of the JSON array that answers, handing the list to \a block. With
    \a networkRequired the answer comes from the server, never from the cache. An answer that
    arrives after \a context is destroyed is dropped.
*/
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

/*!
    \qmlproperty url OstAPIClient::baseURL

    The server the API paths are resolved against. It starts as the environment variable
    \c OSTQUOTE_API_BASE, else \c{http://127.0.0.1:8080}. A base URL with a path puts the API
    paths below it.
*/

/*!
    \qmlproperty int OstAPIClient::transferTimeout

    The deadline of every request, in milliseconds from send to completion. Zero or less
    restores the default (15000).
*/

/*!
    \qmlproperty int OstAPIClient::maximumAnswerSize

    The largest answer body accepted, in bytes. Zero or less restores the default (4 MiB).
*/

/*!
    \typealias OstAPIClient::ModelCompletion

    The completion of modelWithMethod(): \c{void(OTModelPtr model, const OTError &error)}.
*/

/*!
    \typealias OstAPIClient::ModelsCompletion

    The completion of modelWithAPI(): \c{void(const QList<OTModelPtr> &models, const OTError
    &error)}.
*/

/*!
    \variable OstAPIClient::DefaultTransferTimeout

    The default deadline of a request, in milliseconds: OTRequestGuard::DefaultTimeout.
*/

/*!
    \variable OstAPIClient::DefaultMaximumAnswerSize

    The default cap on an answer's body, in bytes: OTRequestGuard::DefaultMaximumSize.
*/

/*!
    \variable OstAPIClient::MaximumCacheSize

    The size of the answers' disk cache, in bytes: 10 MiB.
*/

/*!
    \property OstAPIClient::baseURL
    \brief The server the API paths are resolved against.

    It starts as defaultBaseURL(). A base URL with a path (\c{https://cdn.example.com/quotes})
    puts the API paths below it.
*/

/*!
    \property OstAPIClient::transferTimeout
    \brief The deadline of every request, in milliseconds from send to completion.

    It is not a pause between bytes. Zero or less restores DefaultTransferTimeout.
*/

/*!
    \property OstAPIClient::maximumAnswerSize
    \brief The largest answer body accepted, in bytes.

    Zero or less restores DefaultMaximumAnswerSize.
*/

/*!
    \fn OstAPIClient::OstAPIClient(QObject *parent)

    Constructs a client with \a parent, on defaultBaseURL(). Most code uses sharedClient().
*/

/*!
    \fn OstAPIClient::~OstAPIClient()

    Destroys the client, with its network access manager and the requests under way.
*/

/*!
    \fn QNetworkAccessManager *OstAPIClient::networkAccessManager() const

    Returns the network access manager the client sends through.
*/

/*!
    \variable OstAPIClient::AnswerRule::keep

    Sees a 200 JSON answer before it is kept: \c false and it is dropped, and whatever was kept
    before stays.
*/

/*!
    \variable OstAPIClient::AnswerRule::use

    Sees a kept answer each time it could answer (online before the request is sent, offline
    after the network failed); its \c fresh argument says whether the server's cache headers
    still call it fresh. \c false and it is no answer at all.
*/
