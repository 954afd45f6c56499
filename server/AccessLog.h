#pragma once

#include <QString>

#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

// The access log: one line per request, written to stdout or appended to a file. Each
// thread collects its lines in a buffer of its own and hands them over in large writes:
// when the buffer fills, and whenever flush() is called (every ~200 ms by the server, and
// on shutdown), so logging costs no system call per request.
class AccessLog
{
    struct Buffer;

public:
    AccessLog();
    ~AccessLog();
    AccessLog(const AccessLog &) = delete;
    AccessLog &operator=(const AccessLog &) = delete;

    // "-" (or empty) for stdout, else a file opened for appending. False, with the reason
    // in *error, when the file cannot be opened.
    bool open(const QString &target, QString *error);

    // Appends one line to the calling thread's buffer: write the text (newline included)
    // into text() while the Line lives.
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

    // Writes out every thread's buffered lines.
    void flush();

private:
    Buffer &threadBuffer();
    void write(std::string_view lines);

    std::mutex m_writeMutex;
    int m_fd = 1;
    bool m_ownsFd = false;
    std::mutex m_buffersMutex;
    std::vector<std::unique_ptr<Buffer>> m_buffers;
};
