#include "ServerHarness.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonObject>
#include <QProcessEnvironment>
#include <QRegularExpression>
#include <QTcpServer>

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <unistd.h>

namespace {

QProcessEnvironment serverEnvironment(const QString &now, const QString &timeZone, const QString &dataHome)
{
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("OSTQUOTE_NOW"), now);
    env.insert(QStringLiteral("OSTQUOTE_TIME_ZONE"), timeZone);
    env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    if (!dataHome.isEmpty())
        env.insert(QStringLiteral("XDG_DATA_HOME"), dataHome);
    return env;
}

// A server outlives no test: should the test crash, the kernel stops the server too. With
// `standardOutput`, the child writes its standard output there instead; with `openFiles`,
// it starts with those open-file limits.
void stopWithParent(QProcess &process, int standardOutput = -1, rlimit openFiles = {})
{
    process.setChildProcessModifier([standardOutput, openFiles]() {
        ::prctl(PR_SET_PDEATHSIG, SIGTERM);
        if (standardOutput >= 0)
            ::dup2(standardOutput, STDOUT_FILENO);
        if (openFiles.rlim_cur > 0)
            ::setrlimit(RLIMIT_NOFILE, &openFiles);
    });
}

// Reads what `fd` holds into `out`, waiting up to `timeoutMs` for something to arrive.
// False at the end of the stream (or on an error).
bool readSome(int fd, QByteArray &out, int timeoutMs)
{
    pollfd readable{fd, POLLIN, 0};
    const int ready = ::poll(&readable, 1, std::max(0, timeoutMs));
    if (ready < 0)
        return errno == EINTR;
    if (ready == 0)
        return true;
    char buffer[64 * 1024];
    const ssize_t n = ::read(fd, buffer, sizeof buffer);
    if (n < 0)
        return errno == EINTR || errno == EAGAIN;
    out.append(buffer, n);
    return n > 0;
}

} // namespace

ServerProcess::ServerProcess(const QString &directory)
    : m_directory(directory)
{
}

ServerProcess::~ServerProcess()
{
    stop();
    if (m_outputFd >= 0)
        ::close(m_outputFd);
}

QString ServerProcess::accessLogPath() const
{
    return QDir(m_directory).filePath(QStringLiteral("access.log"));
}

bool ServerProcess::start(const Options &options)
{
    stop();
    if (m_outputFd >= 0)
        ::close(m_outputFd);
    m_outputFd = -1;
    m_output.clear();
    m_databaseURL = options.database.isEmpty()
                        ? QStringLiteral("sqlite:") + QDir(m_directory).filePath(QStringLiteral("quotes.sqlite"))
                        : options.database;
    m_process = std::make_unique<QProcess>();
    m_process->setProcessEnvironment(
        serverEnvironment(options.now, options.timeZone, QDir(m_directory).filePath(QStringLiteral("data"))));
    m_process->setProcessChannelMode(QProcess::SeparateChannels);
    stopWithParent(*m_process);
    m_process->setStandardErrorFile(QDir(m_directory).filePath(QStringLiteral("server.err")), QIODevice::Append);
    int outputPipe[2] = {-1, -1};
    if (options.logToPipe) {
        if (::pipe2(outputPipe, O_CLOEXEC) != 0) {
            m_error = QStringLiteral("no pipe for the server's output");
            return false;
        }
        m_outputFd = outputPipe[0];
        m_process->setStandardOutputFile(QProcess::nullDevice());
    }
    stopWithParent(*m_process, outputPipe[1], rlimit{options.openFilesSoft, options.openFilesHard});
    QStringList arguments{QStringLiteral("--host"), QStringLiteral("127.0.0.1"), QStringLiteral("--port"),
                          QStringLiteral("0"), QStringLiteral("--database"), m_databaseURL,
                          QStringLiteral("--time-zone"), options.timeZone, QStringLiteral("--access-log"),
                          options.logToPipe ? QStringLiteral("-") : accessLogPath()};
    arguments += options.arguments;
    m_sinceStart.start();
    m_process->start(QStringLiteral(OSTQUOTE_SERVER_PATH), arguments);
    if (outputPipe[1] >= 0)
        ::close(outputPipe[1]);   // the server holds the writing end now
    if (!m_process->waitForStarted(5000)) {
        m_error = m_process->errorString();
        return false;
    }
    static const QRegularExpression listening(
        QStringLiteral("(?:^|\n)ostquote-server listening on (http://127\\.0\\.0\\.1:(\\d+))\n"));
    QByteArray output;
    const QDeadlineTimer deadline(30000);
    while (!deadline.hasExpired() && m_process->state() == QProcess::Running) {
        if (m_outputFd >= 0) {
            readSome(m_outputFd, output, 50);
        } else {
            m_process->waitForReadyRead(50);
            output += m_process->readAllStandardOutput();
        }
        const QRegularExpressionMatch match = listening.match(QString::fromUtf8(output));
        if (match.hasMatch()) {
            m_baseURL = match.captured(1);
            m_port = quint16(match.captured(2).toUInt());
            m_output = output.mid(match.capturedEnd(0));
            return true;
        }
    }
    QFile err(QDir(m_directory).filePath(QStringLiteral("server.err")));
    err.open(QIODevice::ReadOnly);
    m_error = QStringLiteral("the server did not start; stdout: %1; stderr: %2")
                  .arg(QString::fromUtf8(output), QString::fromUtf8(err.readAll()));
    return false;
}

bool ServerProcess::stop()
{
    if (!m_process)
        return true;
    bool clean = true;
    if (m_process->state() != QProcess::NotRunning) {
        m_process->terminate();
        if (!m_process->waitForFinished(10000)) {
            m_process->kill();
            m_process->waitForFinished(5000);
            clean = false;
        }
    }
    clean = clean && m_process->exitStatus() == QProcess::NormalExit && m_process->exitCode() == 0;
    m_process.reset();
    return clean;
}

void ServerProcess::requestStop()
{
    if (m_process && m_process->state() == QProcess::Running)
        m_process->terminate();
}

int ServerProcess::waitForExit(int timeoutMs)
{
    if (!m_process)
        return -1;
    if (m_process->state() != QProcess::NotRunning && !m_process->waitForFinished(timeoutMs)) {
        m_process->kill();
        m_process->waitForFinished(5000);
        return -1;
    }
    return m_process->exitStatus() == QProcess::NormalExit ? m_process->exitCode() : -1;
}

TestServer::~TestServer()
{
    stop();
}

QString TestServer::databasePath() const
{
    return m_dir ? m_dir->filePath(QStringLiteral("quotes.sqlite")) : QString();
}

QString TestServer::accessLogPath() const
{
    return m_dir ? m_dir->filePath(QStringLiteral("access.log")) : QString();
}

QStringList TestServer::requestedQuotes() const
{
    QFile file(accessLogPath());
    if (!file.open(QIODevice::ReadOnly))
        return {};
    static const QRegularExpression request(QStringLiteral("GET /api/v2/quote/quotes/([^/ ]+)/"));
    QStringList days;
    for (auto it = request.globalMatch(QString::fromUtf8(file.readAll())); it.hasNext();)
        days.append(it.next().captured(1));
    return days;
}

int TestServer::accessLogLines(const QString &text) const
{
    QFile file(accessLogPath());
    if (!file.open(QIODevice::ReadOnly))
        return 0;
    int count = 0;
    while (!file.atEnd()) {
        if (QString::fromUtf8(file.readLine()).contains(text))
            ++count;
    }
    return count;
}

bool TestServer::start(const Options &options)
{
    stop();
    m_process.reset();
    m_dir = std::make_unique<QTemporaryDir>();
    m_process = std::make_unique<ServerProcess>(m_dir->path());
    ServerProcess::Options serverOptions;
    serverOptions.now = options.now.toString(Qt::ISODateWithMs);
    serverOptions.timeZone = options.timeZone;
    serverOptions.database = options.database;
    serverOptions.arguments = options.extraArguments;
    if (!m_process->start(serverOptions)) {
        m_error = m_process->errorString();
        return false;
    }
    m_baseURL = QUrl(m_process->baseURL());
    return true;
}

void TestServer::stop()
{
    if (m_process)
        m_process->stop();
}

quint16 ot_unusedLoopbackPort()
{
    QTcpServer probe;
    probe.listen(QHostAddress::LocalHost, 0);
    const quint16 port = probe.serverPort();
    probe.close();
    return port;
}

QByteArray ServerProcess::readOutput(int timeoutMs)
{
    QByteArray output = std::exchange(m_output, {});
    if (m_outputFd < 0)
        return output;
    const QDeadlineTimer deadline(timeoutMs);
    while (!deadline.hasExpired() && readSome(m_outputFd, output, int(deadline.remainingTime()))) {
    }
    return output;
}

QByteArray ServerProcess::errorOutput() const
{
    QFile err(QDir(m_directory).filePath(QStringLiteral("server.err")));
    return err.open(QIODevice::ReadOnly) ? err.readAll() : QByteArray();
}

ServerRun runServer(const QStringList &arguments, const QString &now, const QString &timeZone, const QString &dataHome)
{
    QProcess process;
    process.setProcessEnvironment(serverEnvironment(now, timeZone, dataHome));
    stopWithParent(process);
    process.start(QStringLiteral(OSTQUOTE_SERVER_PATH), arguments);
    ServerRun run;
    if (!process.waitForFinished(60000)) {
        process.kill();
        process.waitForFinished();
        return run;
    }
    run.exitCode = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -2;
    run.out = process.readAllStandardOutput();
    run.err = process.readAllStandardError();
    return run;
}

bool HttpResponse::hasHeader(const QByteArray &name) const
{
    return headerCount(name) > 0;
}

QByteArray HttpResponse::header(const QByteArray &name) const
{
    for (const auto &[key, value] : headers) {
        if (key.compare(name, Qt::CaseInsensitive) == 0)
            return value;
    }
    return {};
}

int HttpResponse::headerCount(const QByteArray &name) const
{
    int count = 0;
    for (const auto &header : headers)
        count += header.first.compare(name, Qt::CaseInsensitive) == 0;
    return count;
}

bool RawClient::connectTo(quint16 port)
{
    m_socket.connectToHost(QStringLiteral("127.0.0.1"), port);
    return m_socket.waitForConnected(5000);
}

void RawClient::send(const QByteArray &bytes)
{
    m_socket.write(bytes);
    m_socket.waitForBytesWritten(5000);
}

bool RawClient::fill(int timeoutMs)
{
    if (m_socket.bytesAvailable() == 0 && !m_socket.waitForReadyRead(timeoutMs))
        return false;
    m_buffer += m_socket.readAll();
    return true;
}

std::optional<HttpResponse> RawClient::read(bool head, int timeoutMs)
{
    const QDeadlineTimer deadline(timeoutMs);
    qsizetype end;
    while ((end = m_buffer.indexOf("\r\n\r\n")) < 0) {
        if (deadline.hasExpired() || !fill(int(std::max<qint64>(1, deadline.remainingTime()))))
            return std::nullopt;
    }
    HttpResponse response;
    const QList<QByteArray> lines = m_buffer.left(end).split('\n');
    response.statusLine = lines.first().trimmed();
    const QList<QByteArray> parts = response.statusLine.split(' ');
    response.status = parts.value(1).toInt();
    for (qsizetype i = 1; i < lines.size(); ++i) {
        const QByteArray line = lines.at(i).trimmed();
        const qsizetype colon = line.indexOf(':');
        if (colon > 0)
            response.headers.append({line.left(colon).trimmed(), line.mid(colon + 1).trimmed()});
    }
    m_buffer.remove(0, end + 4);
    const bool bodyless = head || response.status == 304 || response.status / 100 == 1;
    const qsizetype length = bodyless ? 0 : response.header("Content-Length").toLongLong();
    while (m_buffer.size() < length) {
        if (deadline.hasExpired() || !fill(int(std::max<qint64>(1, deadline.remainingTime()))))
            return std::nullopt;
    }
    response.body = m_buffer.left(length);
    m_buffer.remove(0, length);
    return response;
}

bool RawClient::waitForClose(int timeoutMs)
{
    const QDeadlineTimer deadline(timeoutMs);
    while (m_socket.state() == QAbstractSocket::ConnectedState && !deadline.hasExpired()) {
        if (m_socket.waitForReadyRead(int(std::max<qint64>(1, deadline.remainingTime()))))
            m_buffer += m_socket.readAll();
    }
    return m_socket.state() != QAbstractSocket::ConnectedState;
}

HttpResponse request(quint16 port, const QByteArray &method, const QByteArray &target, const QByteArray &extraHeaders)
{
    RawClient client;
    if (!client.connectTo(port))
        return {};
    client.send(method + ' ' + target + " HTTP/1.1\r\nHost: 127.0.0.1\r\n" + extraHeaders + "Connection: close\r\n\r\n");
    return client.read(method == "HEAD").value_or(HttpResponse());
}

QString writeDataset(const QString &path, const QList<QStringList> &quotes)
{
    QJsonArray array;
    for (const QStringList &quote : quotes)
        array.append(QJsonObject{{"author", quote.value(0)}, {"content", quote.value(1)}, {"translation", quote.value(2)}});
    QFile file(path);
    file.open(QIODevice::WriteOnly | QIODevice::Truncate);
    file.write(QJsonDocument(array).toJson());
    return path;
}
