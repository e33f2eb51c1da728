#pragma once

#include "Platform/PasteKeystroke.h"

#include <memory>

// Synthesises the paste shortcut in whichever application has the keyboard focus.
class KeystrokePoster
{
public:
    virtual ~KeystrokePoster() = default;

    // The backend for the running Qt platform; one that is never available where none exists.
    static std::unique_ptr<KeystrokePoster> createDefault();

    // Whether the display lets this process type on the user's behalf.
    virtual bool isAvailable() const = 0;
    // Releases modifiers still held from a shortcut, then types `keystroke`. False when nothing could be
    // sent.
    virtual bool postPasteKeystroke(PasteKeystroke keystroke) = 0;
};
