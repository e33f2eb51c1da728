// A focused one-line text field in another process, for the simulated-paste tests.
//
//   text_field_peer [--class WM_CLASS_CLASS]
//
// Prints "ready <window id>" once its window is shown. Each "text" line on standard input is answered
// with "text <current contents>", each "focus" line with "focus 1" once the field has the keyboard focus
// (else "focus 0").
#include "PeerLines.h"

#include <QApplication>
#include <QKeyEvent>
#include <QLineEdit>

namespace {

// Key events on stderr tell a missed keystroke from a failed clipboard transfer.
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
};

} // namespace

int main(int argc, char **argv)
{
    // WM_CLASS takes its class from the application name, which must be set before any window exists.
    QCoreApplication::setApplicationName(QStringLiteral("HalcyTextFieldPeer"));
    for (int i = 1; i + 1 < argc; ++i) {
        if (qstrcmp(argv[i], "--class") == 0)
            QCoreApplication::setApplicationName(QString::fromUtf8(argv[++i]));
    }
    QApplication app(argc, argv);

    QLineEdit field;
    KeyLogger keyLogger;
    field.installEventFilter(&keyLogger);
    field.resize(400, 40);
    field.show();
    field.activateWindow();
    field.setFocus();

    StdinLines input([&](const QByteArray &line) {
        const QByteArray command = line.trimmed();
        if (command == "text")
            say("text " + field.text().toUtf8());
        else if (command == "focus")
            say(field.isActiveWindow() && field.hasFocus() ? "focus 1" : "focus 0");
    });

    say("ready " + QByteArray::number(static_cast<qulonglong>(field.winId())));
    return app.exec();
}
