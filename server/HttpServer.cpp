#include "HttpServer.h"

#include "HttpConnection.h"
#include "HttpServerImpl.h"

#include <boost/asio/post.hpp>

#include <algorithm>

HttpServer::Impl::~Impl()
{
    // Completions still queued (aborted reads, late pictures) run here, on closed
    // connections, so that every connection is gone before the loop is.
    io.restart();
    io.poll();
}

const std::shared_ptr<const SnapshotPtr> &HttpServer::Impl::snapshot()
{
    struct Held
    {
        const Impl *server = nullptr;
        std::uint64_t generation = 0;
        std::shared_ptr<const SnapshotPtr> snapshot;
    };
    thread_local Held held;
    const std::uint64_t generation = snapshots.generation();
    if (held.server != this || held.generation != generation || !held.snapshot) {
        held.snapshot = std::make_shared<const SnapshotPtr>(snapshots.current());
        held.generation = generation;
        held.server = this;
    }
    return held.snapshot;
}

void HttpServer::Impl::attach(HttpConnection *connection)
{
    std::lock_guard lock(connectionsMutex);
    connection->next = connections;
    if (connections)
        connections->previous = connection;
    connections = connection;
}

void HttpServer::Impl::detach(HttpConnection *connection)
{
    std::lock_guard lock(connectionsMutex);
    if (connection->previous)
        connection->previous->next = connection->next;
    else if (connections == connection)
        connections = connection->next;
    if (connection->next)
        connection->next->previous = connection->previous;
    connection->previous = connection->next = nullptr;
}

void HttpServer::Impl::accept()
{
    acceptor.async_accept([this](const error_code &ec, tcp::socket socket) {
        if (stopping || ec == asio::error::operation_aborted)
            return;
        if (ec) {
            // Out of descriptors, most likely: try again in a moment rather than spin.
            auto retry = std::make_shared<asio::steady_timer>(io, std::chrono::milliseconds(50));
            retry->async_wait([this, retry](const error_code &) {
                if (!stopping)
                    accept();
            });
            return;
        }
        accept();   // let another thread take the next connection meanwhile
        error_code ignored;
        socket.set_option(tcp::no_delay(true), ignored);
        auto connection = std::make_shared<HttpConnection>(*this, std::move(socket));
        attach(connection.get());
        connection->start();
    });
}

// Every so often: close connections past their deadline.
void HttpServer::Impl::housekeep()
{
    const auto period = std::clamp<std::chrono::milliseconds>(settings.idleTimeout / 4, std::chrono::milliseconds(20),
                                                               std::chrono::milliseconds(200));
    housekeeping.expires_after(period);
    housekeeping.async_wait([this](const error_code &ec) {
        if (ec || stopping)
            return;
        const SteadyClock::time_point now = clock().tick();
        {
            std::lock_guard lock(connectionsMutex);
            for (HttpConnection *c = connections; c; c = c->next)
                c->closeIfExpired(now);
        }
        housekeep();
    });
}

void HttpServer::Impl::shutDown()
{
    stopping = true;
    error_code ignored;
    acceptor.close(ignored);
    housekeeping.cancel();
    std::lock_guard lock(connectionsMutex);
    for (HttpConnection *c = connections; c; c = c->next)
        c->closeNow();
}

HttpServer::HttpServer(const Settings &settings, SnapshotHolder &snapshots, PictureService &pictures, AccessLog &log)
{
    Settings resolved = settings;
    if (resolved.threads <= 0)
        resolved.threads = int(std::max(1u, std::thread::hardware_concurrency()));
    d = std::make_unique<Impl>(resolved, snapshots, pictures, log);
}

HttpServer::~HttpServer()
{
    stop();
}

bool HttpServer::listen(QString *error)
{
    const std::string host = d->settings.host.toStdString();
    error_code ec;
    asio::ip::address address = asio::ip::make_address(host, ec);
    if (ec) {
        tcp::resolver resolver(d->io);
        const auto results = resolver.resolve(host, std::to_string(d->settings.port), ec);
        if (ec || results.empty()) {
            *error = QStringLiteral("cannot resolve the host %1: %2")
                         .arg(d->settings.host, QString::fromStdString(ec.message()));
            return false;
        }
        address = results.begin()->endpoint().address();
    }
    tcp::acceptor &acceptor = d->acceptor;
    const tcp::endpoint endpoint(address, d->settings.port);
    acceptor.open(endpoint.protocol(), ec);
    if (!ec)
        acceptor.set_option(tcp::acceptor::reuse_address(true), ec);
    if (!ec)
        acceptor.bind(endpoint, ec);
    if (!ec)
        acceptor.listen(asio::socket_base::max_listen_connections, ec);
    if (ec) {
        *error = QStringLiteral("cannot listen on %1:%2: %3")
                     .arg(QString::fromStdString(address.to_string()))
                     .arg(endpoint.port())
                     .arg(QString::fromStdString(ec.message()));
        return false;
    }
    d->endpoint = acceptor.local_endpoint();
    return true;
}

QString HttpServer::url() const
{
    const asio::ip::address address = d->endpoint.address();
    const QString host = QString::fromStdString(address.to_string());
    return QStringLiteral("http://%1:%2").arg(address.is_v6() ? u'[' + host + u']' : host).arg(d->endpoint.port());
}

quint16 HttpServer::port() const
{
    return d->endpoint.port();
}

void HttpServer::start()
{
    d->running = true;
    d->accept();
    d->housekeep();
    for (int i = 0; i < d->settings.threads; ++i)
        d->threads.emplace_back([this]() { d->io.run(); });
}

void HttpServer::stop()
{
    if (!d->running)
        return;
    d->running = false;
    asio::post(d->io, [this]() { d->shutDown(); });
    for (std::thread &thread : d->threads)
        thread.join();
    d->threads.clear();
}
