#include "AccessLog.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace {

constexpr std::size_t BufferCapacity = 64 * 1024;

} // namespace

struct AccessLog::Buffer
{
    std::mutex mutex;
    std::string lines;
};

AccessLog::AccessLog() = default;

AccessLog::~AccessLog()
{
    flush();
    if (m_ownsFd)
        ::close(m_fd);
}

bool AccessLog::open(const QString &target, QString *error)
{
    if (target.isEmpty() || target == QLatin1String("-"))
        return true;
    const int fd = ::open(target.toLocal8Bit().constData(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
    if (fd < 0) {
        *error = QStringLiteral("cannot open the access log %1: %2").arg(target, QString::fromLocal8Bit(std::strerror(errno)));
        return false;
    }
    m_fd = fd;
    m_ownsFd = true;
    return true;
}

AccessLog::Buffer &AccessLog::threadBuffer()
{
    // One buffer per thread and log; a thread meets few logs, so a short list will do.
    thread_local std::vector<std::pair<AccessLog *, Buffer *>> buffers;
    for (const auto &[log, buffer] : buffers) {
        if (log == this)
            return *buffer;
    }
    std::lock_guard lock(m_buffersMutex);
    m_buffers.push_back(std::make_unique<Buffer>());
    Buffer *buffer = m_buffers.back().get();
    buffer->lines.reserve(BufferCapacity + 1024);
    buffers.emplace_back(this, buffer);
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
    if (m_buffer.lines.size() >= BufferCapacity) {
        m_log.write(m_buffer.lines);
        m_buffer.lines.clear();
    }
}

std::string &AccessLog::Line::text()
{
    return m_buffer.lines;
}

void AccessLog::flush()
{
    std::lock_guard lock(m_buffersMutex);
    for (const auto &buffer : m_buffers) {
        std::lock_guard bufferLock(buffer->mutex);
        if (!buffer->lines.empty()) {
            write(buffer->lines);
            buffer->lines.clear();
        }
    }
}

void AccessLog::write(std::string_view lines)
{
    std::lock_guard lock(m_writeMutex);
    while (!lines.empty()) {
        const ssize_t written = ::write(m_fd, lines.data(), lines.size());
        if (written < 0) {
            if (errno == EINTR)
                continue;
            return;   // a closed stdout or a full disk costs log lines, never requests
        }
        lines.remove_prefix(std::size_t(written));
    }
}
