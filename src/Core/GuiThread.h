#pragma once

#include <QCoreApplication>
#include <QThread>

// State, windows and the store belong to the GUI thread; a call from elsewhere is a bug worth
// stopping at in debug builds. Before the application object exists there is only one thread.
inline void assertGuiThread()
{
    Q_ASSERT(!QCoreApplication::instance() ||
             QThread::currentThread() == QCoreApplication::instance()->thread());
}
