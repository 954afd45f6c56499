#include "AccessLog.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <climits>
#include <condition_variable>
#include <cstdio>
#include <cstring>
#include <deque>
#include <fcntl.h>
#include <optional>
#include <poll.h>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace {

using SteadyClock = std::chrono::steady_clock;

constexpr std::size_t BufferCapacity = 64 * 1024;
// Lines handed to the writer and not yet written, at most: about half a second of lines
// at full speed.
constexpr std::size_t QueueCapacity = 4 * 1024 * 1024;
constexpr auto CollectInterval = std::chrono::milliseconds(200);
constexpr auto WarningInterval = std::chrono::minutes(1);
// How long the writer waits for a reader to make room before it looks up (warnings, the
// closing deadline).
constexpr auto WaitSlice = std::chrono::milliseconds(500);
// How long close() waits past its timeout for a writer stuck in a system call.
constexpr auto CloseGrace = std::chrono::seconds(1);

std::uint64_t countLines(std::string_view text)
{
    return std::uint64_t(std::count(text.begin(), text.end(), '\n'));
}

std::uint64_t nextLogId()
{
    static std::atomic<std::uint64_t> last{0};
    return ++last;
}

} // namespace

struct AccessLog::Buffer
{
    std::mutex mutex;
    std::string lines;
};

struct AccessLog::Shared
{
    ~Shared()
    {
        if (ownsFd)
            ::close(fd);
    }

    // Queues `lines` for the writer, or drops (and counts) them when the queue is full (and
    // not `force`) or the writer has stopped. Leaves `lines` empty.
    void handOver(std::string &lines, bool force);
    // Hands every thread's buffer over.
    void collect(bool force);

    // The writer thread.
    void run();
    // Writes `chunk`; false when the closing deadline passed first (the rest is counted).
    bool writeOut(std::string_view chunk);
    // Reports the lines dropped since the last report: once a warning interval at most,
    // unless `last`.
    void warn(bool last);

    const std::uint64_t id = nextLogId();
    int fd = STDOUT_FILENO;
    bool ownsFd = false;
    bool waitsForReader = true;   // a pipe, terminal or socket rather than a regular file

    std::mutex buffersMutex;
    std::vector<std::unique_ptr<Buffer>> buffers;

    std::mutex mutex;
    std::condition_variable wake;       // to the writer: lines queued, or closing
    std::condition_variable finished;   // from the writer: stopped
    std::deque<std::string> queue;
    std::size_t queuedBytes = 0;        // queued or being written
    bool closing = false;
    bool stopped = false;               // takes no more lines
    bool done = false;                  // and has said its last
    std::atomic<SteadyClock::rep> deadline{SteadyClock::time_point::max().time_since_epoch().count()};
    std::atomic<std::uint64_t> dropped{0};

    // The writer's own.
    std::uint64_t reported = 0;
    std::optional<SteadyClock::time_point> lastWarning;
};

void AccessLog::Shared::handOver(std::string &lines, bool force)
{
    if (lines.empty())
        return;
    // A short batch (the periodic collection) is copied, so that the queue holds no more
    // memory than it counts and the thread keeps its buffer; a full one changes hands.
    const bool copy = lines.size() < BufferCapacity / 2;
    std::string batch;
    if (copy)
        batch = lines;
    else
        batch.swap(lines);
    lines.clear();
    {
        std::lock_guard lock(mutex);
        if (stopped || (!force && queuedBytes + batch.size() > QueueCapacity)) {
            dropped.fetch_add(countLines(batch), std::memory_order_relaxed);
            if (!copy) {
                lines.swap(batch);   // the thread keeps its buffer
                lines.clear();
            }
            return;
        }
        queuedBytes += batch.size();
        queue.push_back(std::move(batch));
    }
    wake.notify_one();
    if (!copy)
        lines.reserve(BufferCapacity + 1024);
}

void AccessLog::Shared::collect(bool force)
{
    std::lock_guard lock(buffersMutex);
    for (const auto &buffer : buffers) {
        std::lock_guard bufferLock(buffer->mutex);
        handOver(buffer->lines, force);
    }
}

void AccessLog::Shared::run()
{
    SteadyClock::time_point nextCollect = SteadyClock::now() + CollectInterval;
    std::unique_lock lock(mutex);
    for (;;) {
        if (queue.empty()) {
            if (closing)
                break;
            wake.wait_until(lock, nextCollect, [this]() { return !queue.empty() || closing; });
        }
        const SteadyClock::time_point now = SteadyClock::now();
        if (!closing && now >= nextCollect) {
            lock.unlock();
            collect(false);
            warn(false);
            lock.lock();
            nextCollect = now + CollectInterval;
            continue;
        }
        if (queue.empty())
            continue;
        const std::string chunk = std::move(queue.front());
        queue.pop_front();
        lock.unlock();
        const bool inTime = writeOut(chunk);
        lock.lock();
        queuedBytes -= chunk.size();
        if (!inTime) {
            for (const std::string &lines : queue)
                dropped.fetch_add(countLines(lines), std::memory_order_relaxed);
            queue.clear();
            queuedBytes = 0;
            break;
        }
    }
    stopped = true;
    lock.unlock();
    warn(true);
    lock.lock();
    done = true;
    finished.notify_all();
}

bool AccessLog::Shared::writeOut(std::string_view rest)
{
    while (!rest.empty()) {
        std::size_t piece = rest.size();
        if (waitsForReader) {
            // Only as much as the reader has room for, so that the writer is never stuck in
            // write(): a pipe with room takes up to PIPE_BUF bytes without waiting.
            const SteadyClock::time_point now = SteadyClock::now();
            const SteadyClock::time_point until{SteadyClock::duration(deadline.load(std::memory_order_relaxed))};
            if (now >= until) {
                dropped.fetch_add(countLines(rest), std::memory_order_relaxed);
                return false;
            }
            const auto wait =
                std::chrono::ceil<std::chrono::milliseconds>(std::min<SteadyClock::duration>(WaitSlice, until - now));
            pollfd writable{fd, POLLOUT, 0};
            const int ready = ::poll(&writable, 1, int(wait.count()));
            if (ready <= 0) {
                if (ready < 0 && errno != EINTR)
                    break;
                warn(false);
                continue;
            }
            piece = std::min<std::size_t>(rest.size(), PIPE_BUF);
            if (piece < rest.size()) {
                const std::size_t newline = rest.rfind('\n', piece - 1);
                if (newline != std::string_view::npos)
                    piece = newline + 1;
            }
        }
        const ssize_t written = ::write(fd, rest.data(), piece);
        if (written < 0) {
            if (errno == EINTR || errno == EAGAIN)
                continue;
            break;
        }
        rest.remove_prefix(std::size_t(written));
    }
    // A closed stdout or a full disk costs log lines, never requests.
    dropped.fetch_add(countLines(rest), std::memory_order_relaxed);
    return true;
}

void AccessLog::Shared::warn(bool last)
{
    const std::uint64_t total = dropped.load(std::memory_order_relaxed);
    if (total == reported)
        return;
    const SteadyClock::time_point now = SteadyClock::now();
    if (!last && lastWarning && now - *lastWarning < WarningInterval)
        return;
    const std::uint64_t count = total - reported;
    char text[160];
    const int length = std::snprintf(text, sizeof text,
                                     "ostquote-server: access log: %llu %s dropped, the log is not keeping up\n",
                                     static_cast<unsigned long long>(count), count == 1 ? "line" : "lines");
    reported = total;
    lastWarning = now;
    if (::write(STDERR_FILENO, text, std::size_t(length)) < 0) {
        // nowhere left to complain
    }
}

AccessLog::AccessLog()
    : d(std::make_shared<Shared>())
{
}

AccessLog::~AccessLog()
{
    close();
}

bool AccessLog::open(const QString &target, QString *error)
{
    if (m_writer.joinable()) {
        *error = QStringLiteral("the access log is already open");
        return false;
    }
    if (!target.isEmpty() && target != QLatin1String("-")) {
        const int fd = ::open(target.toLocal8Bit().constData(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
        if (fd < 0) {
            *error = QStringLiteral("cannot open the access log %1: %2")
                         .arg(target, QString::fromLocal8Bit(std::strerror(errno)));
            return false;
        }
        d->fd = fd;
        d->ownsFd = true;
    }
    struct stat status{};
    d->waitsForReader = ::fstat(d->fd, &status) != 0 || !S_ISREG(status.st_mode);
    m_writer = std::thread([shared = d]() { shared->run(); });
    return true;
}

AccessLog::Buffer &AccessLog::threadBuffer()
{
    // One buffer per thread and log; a thread meets few logs, so a short list will do.
    thread_local std::vector<std::pair<std::uint64_t, Buffer *>> buffers;
    for (const auto &[log, buffer] : buffers) {
        if (log == d->id)
            return *buffer;
    }
    std::lock_guard lock(d->buffersMutex);
    d->buffers.push_back(std::make_unique<Buffer>());
    Buffer *buffer = d->buffers.back().get();
    buffer->lines.reserve(BufferCapacity + 1024);
    buffers.emplace_back(d->id, buffer);
    return *buffer;
}

AccessLog::Line::Line(AccessLog &log)
    : m_log(log)
    , m_buffer(log.threadBuffer())
    , m_lock(m_buffer.mutex)
{
}

AccessLog::Line::~Line()
{
    if (m_buffer.lines.size() >= BufferCapacity)
        m_log.d->handOver(m_buffer.lines, false);
}

std::string &AccessLog::Line::text()
{
    return m_buffer.lines;
}

void AccessLog::close(std::chrono::milliseconds timeout)
{
    if (!m_writer.joinable())
        return;
    // What the threads still hold goes to the writer whatever the queue's bound: it is a
    // buffer per thread at most.
    d->collect(true);
    const SteadyClock::time_point deadline = SteadyClock::now() + timeout;
    {
        std::lock_guard lock(d->mutex);
        d->closing = true;
        d->deadline.store(deadline.time_since_epoch().count(), std::memory_order_relaxed);
    }
    d->wake.notify_one();
    std::unique_lock lock(d->mutex);
    const bool done = d->finished.wait_until(lock, deadline + CloseGrace, [this]() { return d->done; });
    lock.unlock();
    if (done)
        m_writer.join();
    else
        m_writer.detach();   // stuck in a system call: it keeps what it uses, and the exit ends it
}

std::uint64_t AccessLog::droppedLines() const
{
    return d->dropped.load(std::memory_order_relaxed);
}
