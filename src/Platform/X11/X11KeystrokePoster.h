#pragma once

#include "Platform/KeystrokePoster.h"

#include <optional>

// Types the paste keystroke through the XTest extension.
class X11KeystrokePoster final : public KeystrokePoster
{
public:
    X11KeystrokePoster();
    ~X11KeystrokePoster() override;

    bool isAvailable() const override;
    bool postPasteKeystroke(PasteKeystroke keystroke) override;

private:
    mutable std::optional<bool> m_available;
};
