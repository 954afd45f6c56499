#include "HttpServer.h"

#include "HttpConnection.h"
#include "HttpServerImpl.h"

#include <boost/asio/post.hpp>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <sys/resource.h>

namespace {

// SO_REUSEPORT: every network thread listens on the same port with a socket of its own, and
// the kernel spreads new connections over them.
using ReusePort = asio::detail::socket_option::boolean<SOL_SOCKET, SO_REUSEPORT>;

// How many idle connections a thread closes at a time when it runs out of descriptors:
// room for a burst of new connections without emptying the pool of kept-alive ones.
constexpr std::size_t RoomPerShortage = 16;

bool outOfDescriptors(const error_code &ec)
{
    return ec == asio::error::no_descriptors || ec == error_code(ENFILE, boost::system::system_category());
}

} // namespace

HttpServer::Impl::~Impl()
{
    // Completions still queued (aborted reads, late pictures) run here, on closed
    // connections, so that every connection is gone before its loop is.
    for (const auto &worker : workers) {
        worker->io.restart();
        worker->io.poll();
    }
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

void HttpServer::Impl::workerStopped()
{
    std::lock_guard lock(stopMutex);
    ++workersStopped;
    stopChanged.notify_all();
}

HttpWorker::HttpWorker(HttpServer::Impl &s, int i)
    : server(s)
    , settings(s.settings)
    , index(i)
{
}

void HttpWorker::start()
{
    m_work.emplace(io.get_executor());
    accept();
    housekeep();
    thread = std::thread([this]() { io.run(); });
}

void HttpWorker::attach(HttpConnection *connection)
{
    connection->next = m_connections;
    if (m_connections)
        m_connections->previous = connection;
    m_connections = connection;
    ++m_connectionCount;
}

void HttpWorker::detach(HttpConnection *connection)
{
    if (connection->previous)
        connection->previous->next = connection->next;
    else if (m_connections == connection)
        m_connections = connection->next;
    if (connection->next)
        connection->next->previous = connection->previous;
    connection->previous = connection->next = nullptr;
    --m_connectionCount;
    if (stopping && m_connectionCount == 0)
        finishStop();
}

void HttpWorker::accept()
{
    acceptor.async_accept([this](const error_code &ec, tcp::socket socket) {
        if (stopping || ec == asio::error::operation_aborted)
            return;
        if (ec) {
            onAcceptError(ec);
            return;
        }
        error_code ignored;
        socket.set_option(tcp::no_delay(true), ignored);
        auto connection = std::make_shared<HttpConnection>(*this, std::move(socket));
        attach(connection.get());
        connection->start();
        accept();
    });
}

void HttpWorker::onAcceptError(const error_code &ec)
{
    std::size_t closed = 0;
    if (outOfDescriptors(ec)) {
        // The connection waits in the backlog. Idle keep-alive connections make way for it:
        // this thread's first, else the other threads are asked for theirs.
        closed = closeOldestIdle(RoomPerShortage);
        if (closed == 0) {
            for (const auto &other : server.workers) {
                if (other.get() != this)
                    asio::post(other->io, [worker = other.get()]() { worker->makeRoom(RoomPerShortage); });
            }
        }
        const SteadyClock::time_point now = SteadyClock::now();
        if (now - m_lastShortageReport > std::chrono::seconds(10)) {
            m_lastShortageReport = now;
            rlimit limit{};
            ::getrlimit(RLIMIT_NOFILE, &limit);
            std::fprintf(stderr,
                         "ostquote-server: out of file descriptors (limit %llu): closing idle connections "
                         "to accept new ones\n",
                         static_cast<unsigned long long>(limit.rlim_cur));
        }
    }
    if (closed > 0) {
        accept();
        return;
    }
    // Nothing to close here (yet): try again in a moment rather than spin.
    acceptRetry.expires_after(std::chrono::milliseconds(outOfDescriptors(ec) ? 5 : 50));
    acceptRetry.async_wait([this](const error_code &waited) {
        if (!waited && !stopping)
            accept();
    });
}

void HttpWorker::makeRoom(std::size_t count)
{
    if (!stopping)
        closeOldestIdle(count);
}

std::size_t HttpWorker::closeOldestIdle(std::size_t count)
{
    const SteadyClock::time_point now = SteadyClock::now();
    std::vector<HttpConnection *> idle;
    for (HttpConnection *c = m_connections; c; c = c->next) {
        if (c->canMakeRoom(now))
            idle.push_back(c);
    }
    count = std::min(count, idle.size());
    const auto older = [](HttpConnection *a, HttpConnection *b) { return a->deadline() < b->deadline(); };
    std::nth_element(idle.begin(), idle.begin() + std::ptrdiff_t(count), idle.end(), older);
    for (std::size_t i = 0; i < count; ++i)
        idle[i]->closeNow();
    return count;
}

// Every so often: close connections past their deadline.
void HttpWorker::housekeep()
{
    const auto period = std::clamp<std::chrono::milliseconds>(settings.idleTimeout / 4, std::chrono::milliseconds(20),
                                                               std::chrono::milliseconds(200));
    housekeeping.expires_after(period);
    housekeeping.async_wait([this](const error_code &ec) {
        if (ec)
            return;
        const SteadyClock::time_point now = HttpServer::Impl::clock().tick();
        for (HttpConnection *c = m_connections; c;) {
            HttpConnection *next = c->next;   // closing never detaches at once, but stay safe
            c->closeIfExpired(now);
            c = next;
        }
        housekeep();
    });
}

void HttpWorker::beginStop()
{
    stopping = true;
    error_code ignored;
    acceptor.close(ignored);
    acceptRetry.cancel();
    for (HttpConnection *c = m_connections; c; c = c->next) {
        // The others answer what they have received and then close (HttpConnection looks
        // at `stopping` each time it would wait for another request).
        if (c->isIdle()) {
            c->closeNow();
            ++counts.idleClosed;
        }
    }
    if (m_connectionCount == 0)
        finishStop();
}

void HttpWorker::cutRest()
{
    for (HttpConnection *c = m_connections; c; c = c->next) {
        if (c->isBusy())
            ++counts.cut;
        c->closeNow();
    }
    finishStop();
}

void HttpWorker::finishStop()
{
    if (m_stopFinished)
        return;
    m_stopFinished = true;
    housekeeping.cancel();
    acceptRetry.cancel();
    m_work.reset();
    server.workerStopped();
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
    HttpWorker &first = *d->workers.front();
    error_code ec;
    asio::ip::address address = asio::ip::make_address(host, ec);
    if (ec) {
        tcp::resolver resolver(first.io);
        const auto results = resolver.resolve(host, std::to_string(d->settings.port), ec);
        if (ec || results.empty()) {
            *error = QStringLiteral("cannot resolve the host %1: %2")
                         .arg(d->settings.host, QString::fromStdString(ec.message()));
            return false;
        }
        address = results.begin()->endpoint().address();
    }
    tcp::endpoint endpoint(address, d->settings.port);
    const auto refuse = [&](const error_code &reason) {
        *error = QStringLiteral("cannot listen on %1:%2: %3")
                     .arg(QString::fromStdString(address.to_string()))
                     .arg(endpoint.port())
                     .arg(QString::fromStdString(reason.message()));
        return false;
    };
    // SO_REUSEPORT would let this server share a port with another that set it too (a second
    // instance started by mistake): a plain socket must be able to take the port first.
    if (endpoint.port() != 0) {
        tcp::acceptor probe(first.io);
        probe.open(endpoint.protocol(), ec);
        if (!ec)
            probe.set_option(tcp::acceptor::reuse_address(true), ec);
        if (!ec)
            probe.bind(endpoint, ec);
        if (ec)
            return refuse(ec);
    }
    for (const auto &worker : d->workers) {
        tcp::acceptor &acceptor = worker->acceptor;
        acceptor.open(endpoint.protocol(), ec);
        if (!ec)
            acceptor.set_option(tcp::acceptor::reuse_address(true), ec);
        if (!ec)
            acceptor.set_option(ReusePort(true), ec);
        if (!ec)
            acceptor.bind(endpoint, ec);
        if (!ec)
            acceptor.listen(asio::socket_base::max_listen_connections, ec);
        if (ec)
            return refuse(ec);
        endpoint = acceptor.local_endpoint();   // the port the first one was given, for the rest
    }
    d->endpoint = endpoint;
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
    for (const auto &worker : d->workers)
        worker->start();
}

HttpServer::StopReport HttpServer::stop(std::chrono::milliseconds grace)
{
    StopReport report;
    if (!d->running || d->stopped)
        return report;
    d->stopped = true;
    const auto deadline = SteadyClock::now() + grace;
    for (const auto &worker : d->workers)
        asio::post(worker->io, [worker = worker.get()]() { worker->beginStop(); });
    const int workers = int(d->workers.size());
    {
        std::unique_lock lock(d->stopMutex);
        d->stopChanged.wait_until(lock, deadline, [&]() { return d->workersStopped == workers || d->stopNow; });
        report.aborted = d->workersStopped < workers && d->stopNow;
        report.timedOut = d->workersStopped < workers && !d->stopNow;
    }
    for (const auto &worker : d->workers)
        asio::post(worker->io, [worker = worker.get()]() { worker->cutRest(); });
    for (const auto &worker : d->workers) {
        worker->thread.join();
        report.answered += worker->counts.answered;
        report.idleClosed += worker->counts.idleClosed;
        report.cut += worker->counts.cut;
    }
    return report;
}

void HttpServer::stopNow()
{
    std::lock_guard lock(d->stopMutex);
    d->stopNow = true;
    d->stopChanged.notify_all();
}
