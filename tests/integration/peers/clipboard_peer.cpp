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
#include <QTimer>

#include <chrono>

namespace {

[[noreturn]] void usage(const char *problem)
{
    std::fprintf(stderr, "clipboard_peer: %s\n", problem);
    std::exit(2);
}

void copy(const QString &text)
{
    auto mime = new QMimeData;
    mime->setText(text);
    QGuiApplication::clipboard()->setMimeData(mime, QClipboard::Clipboard);
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
        const QString value = arg == QLatin1String("--stdin") ? QString() : args.value(++i);
        const qsizetype equals = value.indexOf(QLatin1Char('='));
        QFile file(value.mid(equals + 1));
        if (arg == QLatin1String("--stdin"))
            readStdin = true;
        else if (arg == QLatin1String("--text"))
            mime->setText(value);
        else if (arg == QLatin1String("--uri-list"))
            uris.append(value.toUtf8());
        else if (arg == QLatin1String("--type") && equals > 0)
            mime->setData(value.left(equals), value.mid(equals + 1).toUtf8());
        else if (arg == QLatin1String("--data") && equals > 0 && file.open(QIODevice::ReadOnly))
            mime->setData(value.left(equals), file.readAll());
        else
            usage("expected --text T, --type NAME=VALUE, --uri-list URL, --data MIME=FILE or --stdin");
    }
    if (!uris.isEmpty())
        mime->setData(QStringLiteral("text/uri-list"), uris.join("\r\n") + "\r\n");
    QClipboard *clipboard = QGuiApplication::clipboard();
    if (mime->formats().isEmpty()) {
        delete mime;
    } else {
        clipboard->setMimeData(mime, QClipboard::Clipboard);
        if (!clipboard->ownsClipboard())
            usage("could not take the clipboard");
    }
    say("ready");

    readLines([&](const QByteArray &line) {
        const QByteArrayList burst = line.split(' ');
        if (readStdin && burst.size() == 4 && burst.at(0) == "!burst") {
            auto timer = new QTimer(&app);
            timer->setTimerType(Qt::PreciseTimer);
            QObject::connect(timer, &QTimer::timeout, &app, [=, next = 0]() mutable {
                copy(QString::fromUtf8(burst.at(3)) + QString::number(next));
                if (++next == burst.at(1).toInt()) {
                    timer->deleteLater();
                    say("burst done");
                }
            });
            timer->start(burst.at(2).toInt());
        } else if (readStdin) {
            copy(QString::fromUtf8(line));
            const auto now = std::chrono::steady_clock::now().time_since_epoch();
            say("copied " + QByteArray::number(qint64(std::chrono::nanoseconds(now).count())));
        }
    });
    return app.exec();
}
