#pragma once

// Internal to the HTTP front: the server's shared state, its network threads and each
// thread's clock.

#include "HttpServer.h"
#include "HttpMessages.h"
#include "Snapshot.h"

#include <OTClock.h>

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/steady_timer.hpp>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <ctime>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace asio = boost::asio;
using boost::system::error_code;
using tcp = asio::ip::tcp;
using SteadyClock = std::chrono::steady_clock;
using Settings = HttpServer::Settings;

class HttpConnection;

// "Now" for one network thread, read from the foundation's clock once a second: the Date
// line, the seconds used for max-age, and the access log's time stamp.
class ThreadClock
{
public:
    // The steady time, refreshing the rest when the clock's second has moved on.
    SteadyClock::time_point tick()
    {
        const SteadyClock::time_point now = SteadyClock::now();
        if (now >= m_validUntil)
            refresh(now);
        return now;
    }

    std::int64_t seconds() const { return m_seconds; }
    const std::string &dateLine() const { return m_dateLine; }
    const std::string &logTime() const { return m_logTime; }

private:
    void refresh(SteadyClock::time_point now)
    {
        const std::int64_t msecs = OTClock::now().toMSecsSinceEpoch();
        m_seconds = msecs >= 0 ? msecs / 1000 : (msecs - 999) / 1000;
        m_validUntil = now + std::chrono::milliseconds(1000 - (msecs - m_seconds * 1000));
        m_dateLine = "Date: " + Http::imfDate(m_seconds) + "\r\n";
        const std::time_t t = std::time_t(m_seconds);
        std::tm utc{};
        gmtime_r(&t, &utc);
        char text[32];
        std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &utc);
        m_logTime = text;
    }

    SteadyClock::time_point m_validUntil{};
    std::int64_t m_seconds = 0;
    std::string m_dateLine;
    std::string m_logTime;
};

// One network thread: its event loop, its listening socket and the connections it accepted,
// which only this thread touches.
class HttpWorker
{
public:
    HttpWorker(HttpServer::Impl &server, int index);

    HttpServer::Impl &server;
    const Settings &settings;
    const int index;
    asio::io_context io{1};
    tcp::acceptor acceptor{io};
    asio::steady_timer housekeeping{io};
    asio::steady_timer acceptRetry{io};
    std::thread thread;

    void start();
    void attach(HttpConnection *connection);
    void detach(HttpConnection *connection);

    // From stop(), on this thread.
    void beginStop();
    void cutRest();

    // From another thread that ran out of descriptors: closes idle connections here.
    void makeRoom(std::size_t count);

    bool stopping = false;
    HttpServer::StopReport counts;   // this thread's share, read once the thread has ended

private:
    void accept();
    void onAcceptError(const error_code &ec);
    void housekeep();
    void finishStop();
    // Closes up to `count` idle connections that can make room, the longest idle first; how
    // many it closed.
    std::size_t closeOldestIdle(std::size_t count);

    std::optional<asio::executor_work_guard<asio::io_context::executor_type>> m_work;
    HttpConnection *m_connections = nullptr;   // intrusive list
    std::size_t m_connectionCount = 0;
    bool m_stopFinished = false;
    SteadyClock::time_point m_lastShortageReport{};
};

class HttpServer::Impl
{
public:
    Impl(const Settings &s, SnapshotHolder &h, PictureService &p, AccessLog &l)
        : settings(s)
        , snapshots(h)
        , pictures(p)
        , log(l)
    {
        for (int i = 0; i < std::max(1, s.threads); ++i)
            workers.push_back(std::make_unique<HttpWorker>(*this, i));
    }
    ~Impl();

    // The snapshot in service, through a reference this thread keeps, so that serving a
    // request does not touch a count that every thread shares.
    const std::shared_ptr<const SnapshotPtr> &snapshot();
    // The calling thread's view of the clock.
    static ThreadClock &clock()
    {
        thread_local ThreadClock threadClock;
        return threadClock;
    }

    // A worker that has nothing left to finish.
    void workerStopped();

    Settings settings;
    SnapshotHolder &snapshots;
    PictureService &pictures;
    AccessLog &log;
    std::vector<std::unique_ptr<HttpWorker>> workers;
    tcp::endpoint endpoint;
    bool running = false;
    bool stopped = false;

    std::mutex stopMutex;
    std::condition_variable stopChanged;
    int workersStopped = 0;
    bool stopNow = false;
};
