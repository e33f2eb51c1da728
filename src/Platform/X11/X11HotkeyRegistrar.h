#pragma once

#include "Platform/HotkeyRegistrar.h"

#include <QAbstractNativeEventFilter>
#include <QList>
#include <QSet>

// Passive key grabs on the root window. A grab is made once for each key code that types the key and
// each state of Caps Lock and Num Lock, so the shortcut works whatever lock is on; presses are read
// from Qt's xcb event stream and handed on from the event loop. A keyboard map change (another layout)
// moves the keys, so every grab is made again for the new map.
class X11HotkeyRegistrar final : public HotkeyRegistrar, public QAbstractNativeEventFilter
{
    Q_OBJECT
public:
    explicit X11HotkeyRegistrar(QObject *parent = nullptr);
    ~X11HotkeyRegistrar() override;

    bool grab(quint32 id, Qt::Key key, Qt::KeyboardModifiers modifiers) override;
    void ungrabAll() override;

    bool nativeEventFilter(const QByteArray &eventType, void *message, qintptr *result) override;

private:
    struct Grab
    {
        quint32 id = 0;
        Qt::Key key = Qt::Key_unknown;
        Qt::KeyboardModifiers requested;
        QList<quint8> keycodes;
        quint16 modifiers = 0; // core modifier mask without the lock bits
        quint16 lockMask = 0;  // Caps Lock and Num Lock bits, ignored when matching a press
    };

    void release(const Grab &grab);
    void ungrabId(quint32 id);
    void regrabAll();

    quint32 m_root = 0;
    // First event number of the XKEYBOARD extension; 0 without it.
    quint8 m_xkbEventBase = 0;
    bool m_regrabQueued = false;
    QList<Grab> m_grabs;
    // Key codes of shortcuts held down right now, and the last release, so that auto-repeat does not
    // fire a shortcut again.
    QSet<quint8> m_held;
    struct
    {
        quint8 keycode = 0;
        quint32 time = 0;
    } m_lastRelease;
};
