#include "Platform/ThreadPriority.h"

#include "Core/Logging.h"

#include <QThread>

#if defined(Q_OS_LINUX)
#include <cerrno>
#include <cstring>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>
#endif

namespace ThreadPriority {

void yieldToInteractiveWork()
{
#if defined(Q_OS_LINUX)
    // Linux keeps a nice value per thread. Five steps is about a third of the GUI thread's share when
    // both want the same core: enough for a frame on time, not enough to starve a transfer the
    // clipboard owner is waiting on.
    constexpr int steps = 5;
    const auto thread = id_t(::syscall(SYS_gettid));
    errno = 0;
    const int current = ::getpriority(PRIO_PROCESS, thread);
    if (errno == 0 && ::setpriority(PRIO_PROCESS, thread, current + steps) == 0)
        return;
    qCDebug(lcPlatform) << "cannot lower the priority of" << QThread::currentThread()->objectName() << ":"
                        << strerror(errno);
#else
    QThread::currentThread()->setPriority(QThread::LowPriority);
#endif
}

} // namespace ThreadPriority
