#pragma once

#include "OstFoundationGlobal.h"
#include "OTError.h"
#include "OTModel.h"
#include "OTRequestGuard.h"

#include <QHash>
#include <QList>
#include <QMutex>
#include <QObject>
#include <QPointer>
#include <QUrl>
#include <QVariantMap>
#include <QtQml/qqml.h>
#include <QtQml/qqmlregistration.h>

#include <functional>

class QJSEngine;
class QJsonDocument;
class QNetworkAccessManager;
class QNetworkDiskCache;
class QQmlEngine;
class QNetworkReply;

// The HTTP client of the apps: JSON requests against one server, answers mapped onto OTModel
// subclasses.
// The reference (scripts/docs) documents it in full.
class OSTFOUNDATION_EXPORT OstAPIClient : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QUrl baseURL READ baseURL WRITE setBaseURL NOTIFY baseURLChanged)
    Q_PROPERTY(int transferTimeout READ transferTimeout WRITE setTransferTimeout)
    Q_PROPERTY(qint64 maximumAnswerSize READ maximumAnswerSize WRITE setMaximumAnswerSize)
public:
    using ModelCompletion = std::function<void(OTModelPtr model, const OTError &error)>;
    using ModelsCompletion = std::function<void(const QList<OTModelPtr> &models, const OTError &error)>;

    static constexpr int DefaultTransferTimeout = OTRequestGuard::DefaultTimeout;        // ms
    static constexpr qint64 DefaultMaximumAnswerSize = OTRequestGuard::DefaultMaximumSize; // bytes
    static constexpr qint64 MaximumCacheSize = 10 * 1024 * 1024;                         // bytes

    explicit OstAPIClient(QObject *parent = nullptr);
    ~OstAPIClient() override;

    // The client of the process, created on first use on the application's thread. Its base
    // URL starts as $OSTQUOTE_API_BASE, else http://127.0.0.1:8080.
    static OstAPIClient *sharedClient();
    static QUrl defaultBaseURL();

    QUrl baseURL() const { return m_baseURL; }
    void setBaseURL(const QUrl &url);

    // The deadline of every request, in milliseconds from send to completion (not a pause
    // between bytes). Zero or less restores the default.
    int transferTimeout() const { return m_transferTimeout; }
    void setTransferTimeout(int milliseconds);

    // The largest answer body accepted, in bytes. Zero or less restores the default.
    qint64 maximumAnswerSize() const { return m_maximumAnswerSize; }
    void setMaximumAnswerSize(qint64 bytes);

    QNetworkAccessManager *networkAccessManager() const { return m_network; }
    // Where answers are kept: "<QStandardPaths::CacheLocation>/api", read at every request.
    static QString cacheDirectory();

    // What the disk cache may keep and give back for the GET requests whose URL path holds
    // `pathPart` (the longest matching part wins). Both functions get the request's URL and
    // the answer's JSON document. `keep` sees a 200 JSON answer before it is kept: false and
    // it is dropped, and whatever was kept before stays. `use` sees a kept answer each time
    // it could answer (online before the request is sent, offline after the network failed);
    // `fresh` says whether the server's cache headers still call it fresh: false and it is
    // no answer at all. Without a rule every 200 JSON answer is kept and used as HTTP
    // caching says. May be called from any thread.
    struct AnswerRule
    {
        std::function<bool(const QUrl &url, const QJsonDocument &answer)> keep;
        std::function<bool(const QUrl &url, const QJsonDocument &answer, bool fresh)> use;
    };
    void setAnswerRule(const QString &pathPart, const AnswerRule &rule);
    // The rule for `url` (an empty rule when none matches).
    AnswerRule answerRule(const QUrl &url) const;

    // The absolute URL of `api` (a path such as "/api/v2/…") on the server, with `parameters`
    // as the query.
    QUrl URLForAPI(const QString &api, const QVariantMap &parameters = {}) const;

    // One object: sends `method` to `api` and builds an instance of `onClass` from the JSON
    // object that answers. GET and HEAD send `parameters` as the query, other methods as a
    // JSON body.
    void modelWithMethod(const QString &method, const QString &api, const QVariantMap &parameters,
                         const QMetaObject *onClass, ModelCompletion completion, QObject *context = nullptr);

    // A JSON array of objects, each built as an instance of `modelClass`. With
    // `networkRequired` the answer comes from the server, never from a cache.
    void modelWithAPI(const QString &api, const QVariantMap &parameters, const QMetaObject *modelClass,
                      bool networkRequired, ModelsCompletion block, QObject *context = nullptr);

Q_SIGNALS:
    void baseURLChanged();

private:
    using BodyHandler = std::function<void(const QByteArray &body, const OTError &error)>;
    void useCacheDirectory(const QString &directory);
    void send(const QString &method, const QString &api, const QVariantMap &parameters, bool networkRequired,
              BodyHandler handler);

    QNetworkAccessManager *m_network = nullptr;
    QUrl m_baseURL;
    QPointer<QNetworkDiskCache> m_cache;
    mutable QMutex m_rulesMutex;
    QHash<QString, AnswerRule> m_rules;
    int m_transferTimeout = DefaultTransferTimeout;
    qint64 m_maximumAnswerSize = DefaultMaximumAnswerSize;
};

// The QML singleton OstAPIClient: sharedClient(), which stays C++'s. (A wrapper, because QML
// would make a singleton of its own with the client's default constructor.)
struct OSTFOUNDATION_EXPORT OstAPIClientForeign
{
    Q_GADGET
    QML_FOREIGN(OstAPIClient)
    QML_NAMED_ELEMENT(OstAPIClient)
    QML_SINGLETON
public:
    static OstAPIClient *create(QQmlEngine *qmlEngine, QJSEngine *jsEngine);
};
