#include "PeerProcess.h"

#include "TestTime.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QEventLoop>
#include <QTimer>

#include <algorithm>

namespace {

// Returns when `process` signals progress or after at most `ms`.
void waitOnce(QProcess &process, int ms)
{
    QEventLoop loop;
    QObject::connect(&process, &QProcess::readyReadStandardOutput, &loop, &QEventLoop::quit);
    QObject::connect(&process, &QProcess::finished, &loop, &QEventLoop::quit);
    QTimer::singleShot(ms, &loop, &QEventLoop::quit);
    loop.exec();
}

} // namespace

PeerProcess::PeerProcess(QString program) : m_program(std::move(program))
{
    m_process.setProcessChannelMode(QProcess::SeparateChannels);
}

PeerProcess::~PeerProcess()
{
    if (isRunning())
        stop(2000);
}

bool PeerProcess::start(const QStringList &arguments, int timeoutMs)
{
    m_process.start(m_program, arguments);
    if (!m_process.waitForStarted(scaledTimeout(timeoutMs)))
        return false;
    const std::optional<QString> line = readLine(timeoutMs);
    if (!line || !line->startsWith(QLatin1String("ready")))
        return false;
    m_readyLine = *line;
    return true;
}

bool PeerProcess::waitForLine(int timeoutMs)
{
    const QDeadlineTimer deadline(scaledTimeout(timeoutMs));
    while (!m_process.canReadLine()) {
        if (deadline.hasExpired() || m_process.state() == QProcess::NotRunning)
            return m_process.canReadLine();
        waitOnce(m_process, std::clamp(int(deadline.remainingTime()), 1, 50));
    }
    return true;
}

std::optional<QString> PeerProcess::readLine(int timeoutMs)
{
    if (!waitForLine(timeoutMs))
        return std::nullopt;
    return QString::fromUtf8(m_process.readLine()).chopped(1);
}

void PeerProcess::writeLine(const QString &line)
{
    m_process.write(line.toUtf8() + '\n');
}

QString PeerProcess::stop(int timeoutMs)
{
    if (isRunning()) {
        m_process.terminate();
        const QDeadlineTimer deadline(scaledTimeout(timeoutMs));
        while (isRunning() && !deadline.hasExpired())
            waitOnce(m_process, 20);
        if (isRunning()) {
            m_process.kill();
            m_process.waitForFinished(scaledTimeout(1000));
        }
    }
    return QString::fromUtf8(m_process.readAllStandardOutput());
}

bool PeerProcess::finish(int timeoutMs)
{
    m_process.closeWriteChannel();
    const QDeadlineTimer deadline(scaledTimeout(timeoutMs));
    while (isRunning() && !deadline.hasExpired())
        waitOnce(m_process, 20);
    return !isRunning();
}

QString PeerProcess::errorOutput()
{
    return QString::fromUtf8(m_process.readAllStandardError());
}

std::optional<ToolResult> runTool(const QString &program, const QStringList &arguments,
                                  const QByteArray &input, int timeoutMs)
{
    QProcess process;
    process.start(program, arguments);
    if (!process.waitForStarted(scaledTimeout(timeoutMs)))
        return std::nullopt;
    if (!input.isEmpty())
        process.write(input);
    process.closeWriteChannel();
    const QDeadlineTimer deadline(scaledTimeout(timeoutMs));
    while (process.state() != QProcess::NotRunning) {
        if (deadline.hasExpired()) {
            process.kill();
            process.waitForFinished(scaledTimeout(1000));
            return std::nullopt;
        }
        waitOnce(process, 20);
    }
    ToolResult result;
    result.exitCode = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    result.output = process.readAllStandardOutput();
    return result;
}

void spinEventLoop(int ms)
{
    QEventLoop loop;
    QTimer::singleShot(ms, &loop, &QEventLoop::quit);
    loop.exec();
}
