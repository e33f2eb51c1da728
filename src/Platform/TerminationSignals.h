#pragma once

#include <QObject>

#include <functional>

// Turns SIGTERM, SIGINT and SIGHUP (session end, `kill`, Ctrl+C) into a call on the GUI thread, so
// that the usual orderly shutdown runs instead of the process vanishing.
namespace TerminationSignals {
void install(QObject *context, std::function<void(int signal)> handler);
} // namespace TerminationSignals
