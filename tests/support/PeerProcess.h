#pragma once

#include <QProcess>

#include <optional>

// A helper program of the integration tests (a clipboard owner, a text field …) that talks in lines on
// standard input and output. Every wait keeps this process's event loop running, because the peer may
// be waiting for us in turn (to hand over clipboard content we own). Deadlines are given as on a normal
// build and stretched by the test time factor.
class PeerProcess final
{
public:
    explicit PeerProcess(QString program);
    ~PeerProcess() { stop(2000); }

    // Starts the program and waits for its first line, which must begin with "ready".
    bool start(const QStringList &arguments, int timeoutMs = 10000);
    // The "ready …" line.
    QString readyLine() const { return m_readyLine; }
    std::optional<QString> readLine(int timeoutMs = 5000);
    void writeLine(const QString &line) { m_process.write(line.toUtf8() + '\n'); }
    // SIGTERM, then waits for the exit; returns the output printed after the last readLine().
    QString stop(int timeoutMs = 5000);
    // Closes its standard input, which peers take as the sign to quit cleanly, and waits for the exit.
    bool finish(int timeoutMs = 5000);
    bool isRunning() const { return m_process.state() != QProcess::NotRunning; }
    QString errorOutput() { return QString::fromUtf8(m_process.readAllStandardError()); }

private:
    QString m_program;
    QProcess m_process;
    QString m_readyLine;
};

// Runs a command line tool to the end while keeping the event loop running; nothing when it could not
// be started or did not finish in time.
struct ToolResult
{
    int exitCode = -1;
    QByteArray output;
};
std::optional<ToolResult> runTool(const QString &program, const QStringList &arguments,
                                  const QByteArray &input = QByteArray(), int timeoutMs = 10000);

// Keeps the event loop running for `ms` milliseconds.
void spinEventLoop(int ms);
