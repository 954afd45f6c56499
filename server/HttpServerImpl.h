#pragma once

// Internal to the HTTP front: the server's shared state and each network thread's clock.

#include "HttpServer.h"
#include "HttpMessages.h"
#include "Snapshot.h"

#include <OTClock.h>

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/steady_timer.hpp>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <ctime>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace asio = boost::asio;
using boost::system::error_code;
using tcp = asio::ip::tcp;
using SteadyClock = std::chrono::steady_clock;

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

class HttpServer::Impl
{
public:
    Impl(const Settings &s, SnapshotHolder &h, PictureService &p, AccessLog &l)
        : settings(s)
        , snapshots(h)
        , pictures(p)
        , log(l)
        , io(std::max(1, s.threads))
    {
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

    void accept();
    void housekeep();
    void shutDown();
    void attach(HttpConnection *connection);
    void detach(HttpConnection *connection);

    Settings settings;
    SnapshotHolder &snapshots;
    PictureService &pictures;
    AccessLog &log;
    asio::io_context io;
    tcp::acceptor acceptor{io};
    asio::steady_timer housekeeping{io};
    tcp::endpoint endpoint;
    std::vector<std::thread> threads;
    bool running = false;
    std::atomic<bool> stopping{false};

    std::mutex connectionsMutex;
    HttpConnection *connections = nullptr;   // intrusive list, for the idle sweep and shutdown
};
