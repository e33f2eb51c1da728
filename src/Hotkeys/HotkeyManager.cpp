#include "Hotkeys/HotkeyManager.h"

#include "Core/Logging.h"
#include "Hotkeys/ShortcutKeys.h"
#include "Platform/HotkeyRegistrar.h"

HotkeyManager::HotkeyManager(QList<KeyboardShortcutDescriptor> shortcuts,
                             std::unique_ptr<HotkeyRegistrar> registrar, QObject *parent)
    : QObject(parent), m_shortcuts(std::move(shortcuts)),
      m_registrar(registrar ? std::move(registrar) : HotkeyRegistrar::createDefault())
{
    // Presses arrive from the event loop, after the platform's event handling has returned.
    connect(m_registrar.get(), &HotkeyRegistrar::pressed, this, &HotkeyManager::handle);
}

// The registrar releases its grabs when it is destroyed.
HotkeyManager::~HotkeyManager() = default;

void HotkeyManager::start()
{
    unregisterAll();

    quint32 hotKeyID = 0;
    for (const KeyboardShortcutDescriptor &shortcut : std::as_const(m_shortcuts)) {
        ++hotKeyID;
        const std::optional<Qt::Key> key = ShortcutKeys::keyFor(shortcut.key);
        if (!key) {
            qCDebug(lcHotkeys) << "skipping" << shortcut.id << "- key" << shortcut.key
                               << "cannot be registered";
            continue;
        }
        if (!m_registrar->grab(hotKeyID, *key, shortcut.qtModifiers())) {
            qCDebug(lcHotkeys) << "skipping" << shortcut.id << shortcut.displayForm()
                               << "- the desktop refused it (taken by another program?)";
            continue;
        }
        m_actionIDs.insert(hotKeyID, shortcut.id);
        ++m_registrationCount;
        qCDebug(lcHotkeys) << "registered" << shortcut.id << shortcut.displayForm() << "as" << hotKeyID;
    }
}

void HotkeyManager::unregisterAll()
{
    m_registrar->ungrabAll();
    m_actionIDs.clear();
    m_registrationCount = 0;
}

void HotkeyManager::handle(quint32 hotKeyID)
{
    const auto it = m_actionIDs.constFind(hotKeyID);
    if (it == m_actionIDs.cend())
        return;
    qCDebug(lcHotkeys) << "pressed" << it.value();
    emit activated(it.value());
}

bool HotkeyManager::isAvailable() const
{
    return m_registrar && m_registrar->isAvailable();
}
