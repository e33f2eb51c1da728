// Another application for the clipboard tests: takes the CLIPBOARD selection with several targets at
// once and stays its owner until killed or until standard input closes.
//
//   clipboard_peer [--text T] [--type NAME=VALUE]... [--uri-list URL]... [--data MIME=FILE]... [--stdin]
//
// Prints "ready" once it owns the clipboard. With --stdin, every further line read is copied as plain
// text and answered with "copied <steady clock ns>", taken right after the clipboard was set; the line
// "!burst COUNT INTERVAL_MS PREFIX" copies PREFIX0, PREFIX1, … at that interval and then says "burst done".
#include "PeerLines.h"

#include <QClipboard>
#include <QFile>
#include <QGuiApplication>
#include <QMimeData>
#include <QStringList>
#include <QTimer>

#include <chrono>
#include <memory>

namespace {

qint64 steadyNanoseconds()
{
    return std::chrono::duration_cast<std::chrono::nanoseconds>(
               std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

[[noreturn]] void usage(const char *problem)
{
    std::fprintf(stderr, "clipboard_peer: %s\n", problem);
    std::exit(2);
}

} // namespace

int main(int argc, char **argv)
{
    QGuiApplication app(argc, argv);
    const QStringList args = app.arguments().mid(1);

    auto mime = new QMimeData;
    QByteArrayList uris;
    bool readStdin = false;
    for (qsizetype i = 0; i < args.size(); ++i) {
        const QString &arg = args.at(i);
        if (arg == QLatin1String("--stdin")) {
            readStdin = true;
            continue;
        }
        if (i + 1 >= args.size())
            usage("option needs a value");
        const QString value = args.at(++i);
        if (arg == QLatin1String("--text")) {
            mime->setText(value);
        } else if (arg == QLatin1String("--uri-list")) {
            uris.append(value.toUtf8());
        } else if (arg == QLatin1String("--type") || arg == QLatin1String("--data")) {
            const qsizetype equals = value.indexOf(QLatin1Char('='));
            if (equals <= 0)
                usage("expected NAME=VALUE");
            const QString name = value.left(equals);
            QByteArray bytes = value.mid(equals + 1).toUtf8();
            if (arg == QLatin1String("--data")) {
                QFile file(QString::fromUtf8(bytes));
                if (!file.open(QIODevice::ReadOnly))
                    usage("cannot read data file");
                bytes = file.readAll();
            }
            mime->setData(name, bytes);
        } else {
            usage("unknown option");
        }
    }
    if (!uris.isEmpty())
        mime->setData(QStringLiteral("text/uri-list"), uris.join("\r\n") + "\r\n");

    QClipboard *clipboard = QGuiApplication::clipboard();
    if (!mime->formats().isEmpty()) {
        clipboard->setMimeData(mime, QClipboard::Clipboard);
        if (!clipboard->ownsClipboard())
            usage("could not take the clipboard");
    } else {
        delete mime;
    }
    say("ready");

    StdinLines input([&](const QByteArray &line) {
        if (!readStdin)
            return;
        if (line.startsWith("!burst ")) {
            const QList<QByteArray> parts = line.split(' ');
            if (parts.size() != 4)
                usage("expected !burst COUNT INTERVAL_MS PREFIX");
            const int count = parts.at(1).toInt();
            const QString prefix = QString::fromUtf8(parts.at(3));
            auto timer = new QTimer(&app);
            timer->setTimerType(Qt::PreciseTimer);
            timer->setInterval(parts.at(2).toInt());
            auto next = std::make_shared<int>(0);
            QObject::connect(timer, &QTimer::timeout, &app, [=] {
                auto text = new QMimeData;
                text->setText(prefix + QString::number(*next));
                clipboard->setMimeData(text, QClipboard::Clipboard);
                if (++*next == count) {
                    timer->deleteLater();
                    say("burst done");
                }
            });
            timer->start();
            return;
        }
        auto text = new QMimeData;
        text->setText(QString::fromUtf8(line));
        clipboard->setMimeData(text, QClipboard::Clipboard);
        say("copied " + QByteArray::number(steadyNanoseconds()));
    });
    return app.exec();
}
