#include "TestServer.h"

#include <QDeadlineTimer>
#include <QRegularExpression>
#include <QTcpServer>

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

bool TestServer::start(const Options &options)
{
    stop();
    m_dir = std::make_unique<QTemporaryDir>();
    m_process = std::make_unique<QProcess>();
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("OSTQUOTE_NOW"), options.now.toString(Qt::ISODateWithMs));
    env.insert(QStringLiteral("OSTQUOTE_TIME_ZONE"), options.timeZone);
    env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    env.insert(QStringLiteral("XDG_DATA_HOME"), m_dir->filePath(QStringLiteral("data")));
    m_process->setProcessEnvironment(env);
    m_process->setProcessChannelMode(QProcess::ForwardedErrorChannel);
    QStringList arguments = {QStringLiteral("--host"), QStringLiteral("127.0.0.1"),
                             QStringLiteral("--port"), QStringLiteral("0"),
                             QStringLiteral("--database"),
                             options.database.isEmpty() ? QStringLiteral("sqlite:") + databasePath() : options.database,
                             QStringLiteral("--time-zone"), options.timeZone,
                             QStringLiteral("--access-log"), accessLogPath()};
    arguments += options.extraArguments;
    m_process->start(QStringLiteral(OSTQUOTE_SERVER_BINARY), arguments);
    if (!m_process->waitForStarted(5000)) {
        m_error = m_process->errorString();
        return false;
    }
    static const QRegularExpression listening(QStringLiteral("listening on (http://\\S+)"));
    QByteArray output;
    QDeadlineTimer deadline(30000);
    while (!deadline.hasExpired()) {
        if (!m_process->waitForReadyRead(int(deadline.remainingTime()))) {
            if (m_process->state() != QProcess::Running)
                break;
            continue;
        }
        output += m_process->readAllStandardOutput();
        const QRegularExpressionMatch match = listening.match(QString::fromUtf8(output));
        if (match.hasMatch()) {
            m_baseURL = QUrl(match.captured(1));
            return true;
        }
    }
    m_error = QStringLiteral("the server did not start: %1").arg(QString::fromUtf8(output));
    return false;
}

void TestServer::stop()
{
    if (m_process && m_process->state() != QProcess::NotRunning) {
        m_process->terminate();
        if (!m_process->waitForFinished(5000)) {
            m_process->kill();
            m_process->waitForFinished(5000);
        }
    }
    m_process.reset();
}

quint16 ot_unusedLoopbackPort()
{
    QTcpServer probe;
    probe.listen(QHostAddress::LocalHost, 0);
    const quint16 port = probe.serverPort();
    probe.close();
    return port;
}
