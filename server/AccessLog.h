#pragma once

#include <QString>

#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

// The access log: one line per request, written to stdout or appended to a file by a
// thread of its own, so that a reader that falls behind (a pipe nobody drains, a stalled
// disk) never holds up a request.
//
// Each network thread collects its lines in a buffer of its own, so logging costs no system
// call per request, and hands the buffer to the writer through a bounded queue when it
// fills; the writer also collects what the buffers hold every ~200 ms. When the queue is
// full the lines are dropped and counted, and the count goes to stderr, at most once a
// minute. On close the writer writes out what is queued, waiting a bounded time for a slow
// reader.
class AccessLog
{
    struct Buffer;
    struct Shared;

public:
    AccessLog();
    ~AccessLog();
    AccessLog(const AccessLog &) = delete;
    AccessLog &operator=(const AccessLog &) = delete;

    // "-" (or empty) for stdout, else a file opened for appending, and starts the writer.
    // False, with the reason in *error, when the file cannot be opened.
    bool open(const QString &target, QString *error);

    // Appends one line to the calling thread's buffer: write the text (newline included)
    // into text() while the Line lives. Never waits for the writer.
    class Line
    {
    public:
        explicit Line(AccessLog &log);
        ~Line();
        Line(const Line &) = delete;
        Line &operator=(const Line &) = delete;
        std::string &text();

    private:
        AccessLog &m_log;
        Buffer &m_buffer;
        std::unique_lock<std::mutex> m_lock;
    };

    // Hands every thread's buffered lines to the writer, lets it write out everything
    // queued and stops it. A reader that takes
    // longer than `timeout` costs the lines it has not taken (counted and reported); close()
    // itself returns soon after `timeout` whatever the reader does. Lines logged afterwards
    // are dropped. The destructor closes with the default timeout.
    void close(std::chrono::milliseconds timeout = std::chrono::seconds(3));

    // Lines dropped so far.
    std::uint64_t droppedLines() const;

private:
    Buffer &threadBuffer();

    std::shared_ptr<Shared> d;   // shared with the writer thread, which may outlive the log
    std::thread m_writer;
};
