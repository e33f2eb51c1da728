// The other applications of the tests, built twice from this source; the program name picks the role.
// Both print "ready…" once set up, answer in single lines on standard output and quit at the end of input.
//
//   clipboard_peer [--text T] [--type NAME=VALUE]... [--data MIME=FILE]... [--stdin]
//
// Takes the CLIPBOARD selection with several targets at once. With --stdin, every further line read is
// copied as plain text and answered with "copied <steady clock ns>", taken right after the clipboard was
// set; the line "!burst COUNT INTERVAL_MS PREFIX" copies PREFIX0, PREFIX1, … at that interval and then
// says "burst done".
//
//   text_field_peer [--class WM_CLASS_CLASS]
//
// A focused one-line text field; prints "ready <window id>". Each "text" line is answered with
// "text <current contents>", each "focus" line with "focus 1" once the field has the keyboard focus.
#include <QApplication>
#include <QClipboard>
#include <QFile>
#include <QLineEdit>
#include <QMimeData>
#include <QSocketNotifier>
#include <QTimer>

#include <chrono>
#include <cstdio>
#include <unistd.h>

namespace {

void say(const QByteArray &line)
{
    std::printf("%s\n", line.constData());
    std::fflush(stdout); // the test never waits on a buffer
}

// Hands every line that arrives on standard input to `onLine`, from the event loop.
template <typename OnLine> void readLines(OnLine onLine)
{
    auto notifier = new QSocketNotifier(STDIN_FILENO, QSocketNotifier::Read, qApp);
    QObject::connect(notifier, &QSocketNotifier::activated, notifier, [=, pending = QByteArray()]() mutable {
        char buffer[4096];
        const ssize_t n = ::read(STDIN_FILENO, buffer, sizeof buffer);
        if (n <= 0) {
            notifier->setEnabled(false);
            QCoreApplication::quit();
            return;
        }
        pending.append(buffer, n);
        for (qsizetype newline; (newline = pending.indexOf('\n')) >= 0; pending.remove(0, newline + 1))
            onLine(pending.left(newline));
    });
}

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

int textField(int argc, char **argv)
{
    // WM_CLASS takes its class from the application name, which must be set before any window exists.
    QCoreApplication::setApplicationName(argc == 3 && qstrcmp(argv[1], "--class") == 0
                                             ? QString::fromUtf8(argv[2])
                                             : QStringLiteral("HalcyTextFieldPeer"));
    QApplication app(argc, argv);
    QLineEdit field;
    field.resize(400, 40);
    field.show();
    field.activateWindow();
    field.setFocus();
    readLines([&](const QByteArray &line) {
        if (line.trimmed() == "text")
            say("text " + field.text().toUtf8());
        else if (line.trimmed() == "focus")
            say(field.isActiveWindow() && field.hasFocus() ? "focus 1" : "focus 0");
    });
    say("ready " + QByteArray::number(static_cast<qulonglong>(field.winId())));
    return app.exec();
}

int clipboardOwner(int argc, char **argv)
{
    QApplication app(argc, argv);
    const QStringList args = app.arguments().mid(1);
    auto mime = new QMimeData;
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
        else if (arg == QLatin1String("--type") && equals > 0)
            mime->setData(value.left(equals), value.mid(equals + 1).toUtf8());
        else if (arg == QLatin1String("--data") && equals > 0 && file.open(QIODevice::ReadOnly))
            mime->setData(value.left(equals), file.readAll());
        else
            usage("expected --text T, --type NAME=VALUE, --data MIME=FILE or --stdin");
    }
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

} // namespace

int main(int argc, char **argv)
{
    return QByteArray(argv[0]).endsWith("text_field_peer") ? textField(argc, argv)
                                                           : clipboardOwner(argc, argv);
}
