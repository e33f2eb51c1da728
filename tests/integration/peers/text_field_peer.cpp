// A focused one-line text field in another process, for the simulated-paste tests.
//
//   text_field_peer [--class WM_CLASS_CLASS] [--title TITLE]
//
// Prints "ready <window id>" once its window is shown. Each "text" line on standard input is answered
// with "text <current contents>", each "focus" line with "focus 1" once the field has the keyboard focus
// (else "focus 0"); at the end of input or on SIGTERM it prints "final <contents>" and exits.
#include <QApplication>
#include <QKeyEvent>
#include <QLineEdit>
#include <QSocketNotifier>

#include <csignal>
#include <cstdio>
#include <sys/socket.h>
#include <unistd.h>

namespace {

int signalPipe[2] = {-1, -1};

void onTerminate(int)
{
    const char byte = 1;
    [[maybe_unused]] const ssize_t written = ::write(signalPipe[1], &byte, 1);
}

void say(const QByteArray &line)
{
    std::fwrite(line.constData(), 1, static_cast<size_t>(line.size()), stdout);
    std::fputc('\n', stdout);
    std::fflush(stdout);
}

} // namespace

int main(int argc, char **argv)
{
    // WM_CLASS takes its class from the application name, which must be set before any window exists.
    QString className = QStringLiteral("HalcyTextFieldPeer");
    QString title = QStringLiteral("Halcy text field peer");
    for (int i = 1; i + 1 < argc; ++i) {
        if (qstrcmp(argv[i], "--class") == 0)
            className = QString::fromUtf8(argv[++i]);
        else if (qstrcmp(argv[i], "--title") == 0)
            title = QString::fromUtf8(argv[++i]);
    }
    QCoreApplication::setApplicationName(className);
    QApplication app(argc, argv);

    if (::socketpair(AF_UNIX, SOCK_STREAM, 0, signalPipe) != 0)
        return 1;
    std::signal(SIGTERM, onTerminate);

    QLineEdit field;
    // Key events on stderr help to tell a missed keystroke from a failed clipboard transfer.
    struct KeyLogger : QObject
    {
        bool eventFilter(QObject *, QEvent *event) override
        {
            if (event->type() == QEvent::KeyPress || event->type() == QEvent::KeyRelease) {
                const auto *key = static_cast<QKeyEvent *>(event);
                std::fprintf(stderr, "%s key=0x%x modifiers=0x%x native=%u\n",
                             event->type() == QEvent::KeyPress ? "press" : "release", key->key(),
                             unsigned(key->modifiers()), key->nativeScanCode());
            }
            return false;
        }
    } keyLogger;
    field.installEventFilter(&keyLogger);
    field.setWindowTitle(title);
    field.resize(400, 40);
    field.show();
    field.activateWindow();
    field.setFocus();

    const auto finish = [&] {
        say("final " + field.text().toUtf8());
        QApplication::quit();
    };
    QSocketNotifier terminated(signalPipe[0], QSocketNotifier::Read);
    QObject::connect(&terminated, &QSocketNotifier::activated, &app, finish);

    QSocketNotifier input(STDIN_FILENO, QSocketNotifier::Read);
    QByteArray pending;
    QObject::connect(&input, &QSocketNotifier::activated, &app, [&] {
        char buffer[1024];
        const ssize_t n = ::read(STDIN_FILENO, buffer, sizeof buffer);
        if (n <= 0) {
            input.setEnabled(false);
            finish();
            return;
        }
        pending.append(buffer, n);
        qsizetype newline;
        while ((newline = pending.indexOf('\n')) >= 0) {
            const QByteArray command = pending.left(newline).trimmed();
            pending.remove(0, newline + 1);
            if (command == "text")
                say("text " + field.text().toUtf8());
            else if (command == "focus")
                say(field.isActiveWindow() && field.hasFocus() ? "focus 1" : "focus 0");
        }
    });

    say("ready " + QByteArray::number(static_cast<qulonglong>(field.winId())));
    return app.exec();
}
