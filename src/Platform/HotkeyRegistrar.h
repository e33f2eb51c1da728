#pragma once

#include <QObject>

#include <memory>

// System-wide key combinations, grabbed from the desktop so they work while any application is in front.
// Each grab carries a caller-chosen id that comes back with every press.
class HotkeyRegistrar : public QObject
{
    Q_OBJECT
public:
    using QObject::QObject;
    ~HotkeyRegistrar() override = default;

    // The backend for the running Qt platform; one that grabs nothing where none exists.
    static std::unique_ptr<HotkeyRegistrar> createDefault(QObject *parent = nullptr);

    // Grabs key + modifiers (Meta is the Super key) under `id`. False, with nothing left grabbed, when the
    // key has no place on the keyboard or the combination is taken by another program. Reusing an id replaces
    // its grab.
    virtual bool grab(quint32 id, Qt::Key key, Qt::KeyboardModifiers modifiers) = 0;
    // Releases every grab made through this object.
    virtual void ungrabAll() = 0;
    // False where the platform has no global shortcuts at all, so a failed grab means nothing.
    virtual bool isAvailable() const { return true; }

Q_SIGNALS:
    // A grabbed combination was pressed. Always delivered from the event loop, never from inside the
    // platform's event handling, so receivers may open windows or destroy the registrar.
    void pressed(quint32 id);
};
