#pragma once

#include "OstFoundationGlobal.h"
#include "OTError.h"
#include "OTModel.h"

#include <QList>
#include <QObject>
#include <QPointer>
#include <QUrl>
#include <QVariantMap>

#include <functional>

class QNetworkAccessManager;
class QNetworkReply;

// The HTTP client of the apps: JSON requests against one server, answers mapped onto
// OTModel subclasses.
//
// Every completion is called exactly once, on the thread the client lives on (the GUI
// thread for sharedClient()), with (result, no error) or (no result, error). When a
// `context` object is given and has been destroyed by the time the answer arrives, the
// completion is dropped instead. No request hangs: each has a transfer timeout.
class OSTFOUNDATION_EXPORT OstAPIClient : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QUrl baseURL READ baseURL WRITE setBaseURL NOTIFY baseURLChanged)
    Q_PROPERTY(int transferTimeout READ transferTimeout WRITE setTransferTimeout)
public:
    using ModelCompletion = std::function<void(OTModelPtr model, const OTError &error)>;
    using ModelsCompletion = std::function<void(const QList<OTModelPtr> &models, const OTError &error)>;

    static constexpr int DefaultTransferTimeout = 15000; // ms

    explicit OstAPIClient(QObject *parent = nullptr);
    ~OstAPIClient() override;

    // The client of the process, created on first use on the application's thread. Its base
    // URL starts as $OSTQUOTE_API_BASE, else http://127.0.0.1:8080.
    static OstAPIClient *sharedClient();
    static QUrl defaultBaseURL();

    QUrl baseURL() const { return m_baseURL; }
    void setBaseURL(const QUrl &url);

    int transferTimeout() const { return m_transferTimeout; }
    void setTransferTimeout(int milliseconds);

    QNetworkAccessManager *networkAccessManager() const { return m_network; }

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
    void send(const QString &method, const QString &api, const QVariantMap &parameters, bool networkRequired,
              BodyHandler handler);

    QNetworkAccessManager *m_network = nullptr;
    QUrl m_baseURL;
    int m_transferTimeout = DefaultTransferTimeout;
};
