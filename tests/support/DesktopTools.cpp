#include "DesktopTools.h"

#include "PeerProcess.h"

#include <QDebug>
#include <QTest>

std::optional<QByteArray> xclipOutput(const QString &target)
{
    QStringList arguments{QStringLiteral("-o"), QStringLiteral("-selection"), QStringLiteral("clipboard")};
    if (!target.isEmpty())
        arguments << QStringLiteral("-t") << target;
    const std::optional<ToolResult> result = runTool(QStringLiteral("xclip"), arguments);
    if (!result || result->exitCode != 0)
        return std::nullopt;
    return result->output;
}

bool xdotool(const QStringList &arguments)
{
    const std::optional<ToolResult> result = runTool(QStringLiteral("xdotool"), arguments);
    if (!result || result->exitCode != 0)
        qWarning() << "xdotool" << arguments << (result ? result->exitCode : -1);
    return result && result->exitCode == 0;
}

bool pressKeys(const QString &combination)
{
    return xdotool({QStringLiteral("key"), QStringLiteral("--clearmodifiers"), combination});
}

bool activatePeerWindow(PeerProcess &peer)
{
    return xdotool({QStringLiteral("windowactivate"), QStringLiteral("--sync"),
                    peer.readyLine().section(QLatin1Char(' '), 1, 1)});
}

bool peerHasFocus(PeerProcess &peer)
{
    return QTest::qWaitFor(
        [&] {
            peer.writeLine(QStringLiteral("focus"));
            return peer.readLine(1000) == QStringLiteral("focus 1");
        },
        3000);
}

QString peerText(PeerProcess &peer)
{
    peer.writeLine(QStringLiteral("text"));
    return peer.readLine(1000).value_or(QString()).mid(5);
}
