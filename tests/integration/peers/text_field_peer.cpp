// A focused one-line text field in another process, for the simulated-paste tests.
//
//   text_field_peer [--class WM_CLASS_CLASS]
//
// Prints "ready <window id>" once its window is shown. Each "text" line on standard input is answered
// with "text <current contents>", each "focus" line with "focus 1" once the field has the keyboard focus
// (else "focus 0").
#include "PeerLines.h"

#include <QApplication>
#include <QLineEdit>

int main(int argc, char **argv)
{
    // WM_CLASS takes its class from the application name, which must be set before any window exists.
    QCoreApplication::setApplicationName(QStringLiteral("HalcyTextFieldPeer"));
    if (argc == 3 && qstrcmp(argv[1], "--class") == 0)
        QCoreApplication::setApplicationName(QString::fromUtf8(argv[2]));
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
