#include "Platform/TerminationSignals.h"

#include "Core/Logging.h"

#include <QSocketNotifier>

#include <csignal>
#include <sys/socket.h>
#include <unistd.h>

namespace {

int signalPipe[2] = {-1, -1};

void onSignal(int number)
{
    const char byte = static_cast<char>(number);
    // Only async-signal-safe work here: hand the number to the event loop.
    [[maybe_unused]] const ssize_t written = ::write(signalPipe[0], &byte, 1);
}

} // namespace

namespace TerminationSignals {

void install(QObject *context, std::function<void(int signal)> handler)
{
    if (signalPipe[0] < 0 && ::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, signalPipe) != 0) {
        qCWarning(lcPlatform) << "Cannot watch termination signals";
        return;
    }
    auto *notifier = new QSocketNotifier(signalPipe[1], QSocketNotifier::Read, context);
    QObject::connect(notifier, &QSocketNotifier::activated, context, [handler] {
        char byte = 0;
        if (::read(signalPipe[1], &byte, 1) == 1)
            handler(static_cast<int>(byte));
    });

    struct sigaction action = {};
    action.sa_handler = onSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    for (const int number : {SIGTERM, SIGINT, SIGHUP})
        ::sigaction(number, &action, nullptr);
}

} // namespace TerminationSignals
