#pragma once

#include "Platform/Pasteboard.h"
#include "Platform/X11/X11SelectionData.h"

#include <QElapsedTimer>
#include <QHash>
#include <QList>
#include <QPair>
#include <QStringList>

#include <cstdlib>
#include <functional>
#include <memory>

#include <xcb/xcb.h>

// One X connection's side of reading the CLIPBOARD selection: its own unmapped window, the selection
// protocol and INCR transfers. Lives and works on the reader's thread only.
class X11ClipboardSession final
{
public:
    // xcb hands out replies and events allocated with malloc.
    struct FreeDeleter
    {
        void operator()(void *pointer) const { std::free(pointer); }
    };
    using EventPtr = std::unique_ptr<xcb_generic_event_t, FreeDeleter>;

    X11ClipboardSession(xcb_connection_t *connection, int screenNumber, int wakeFd,
                        std::function<bool()> interrupted);
    ~X11ClipboardSession();

    PasteboardContent read(const PasteboardRequest &request);
    // Bytes received from the owner during the last read.
    qint64 bytesRead() const { return m_bytesRead; }
    // Sleeps until woken, throwing away whatever the X server sends meanwhile.
    void idle();

private:
    struct Transfer
    {
        PasteboardData data;
        xcb_atom_t type = XCB_NONE;
    };
    enum class Wait
    {
        matched,
        timedOut,
        interrupted,
        broken
    };

    Transfer convert(xcb_atom_t target, qsizetype limit);
    Transfer readIncrementally(xcb_atom_t property, xcb_atom_t target, qsizetype limit);
    enum class Append
    {
        complete,
        tooLarge,
        failed
    };
    // Appends the property's value to `data` piece by piece and deletes it with the last piece. Stops
    // early, leaving it in place, once `data` would pass its limit.
    Append appendProperty(xcb_atom_t property, X11SelectionData &data, xcb_atom_t &type);
    PasteboardData fetch(const QString &type, qsizetype limit);
    void readEveryType(PasteboardContent &content);
    Wait waitFor(const std::function<bool(const xcb_generic_event_t *)> &match, EventPtr *event);
    // Deals with a wait that ended without its event and says what it means for the transfer.
    PasteboardData giveUp(Wait reason, xcb_atom_t target);
    void discardEvents();
    xcb_atom_t intern(const char *name) const;
    QStringList atomNames(const QList<xcb_atom_t> &atoms);
    void createWindow();
    void retireWindow();
    void destroyRetiredWindows(bool all);

    xcb_connection_t *m_connection;
    xcb_window_t m_root = XCB_NONE;
    xcb_window_t m_window = XCB_NONE;
    int m_wakeFd;
    std::function<bool()> m_interrupted;
    QList<QPair<xcb_window_t, QElapsedTimer>> m_retiredWindows;
    QHash<xcb_atom_t, QString> m_atomNames;
    // Name to atom for the targets of the content being read.
    QHash<QString, quint32> m_offered;
    bool m_reportedBrokenConnection = false;
    qint64 m_bytesRead = 0;

    xcb_atom_t m_clipboard;
    xcb_atom_t m_targets;
    xcb_atom_t m_incr;
    xcb_atom_t m_property;
};
