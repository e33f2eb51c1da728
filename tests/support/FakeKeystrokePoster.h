#pragma once

#include "Platform/KeystrokePoster.h"

#include <optional>

// Records paste keystrokes instead of typing them.
class FakeKeystrokePoster final : public KeystrokePoster
{
public:
    bool available = true;
    bool postSucceeds = true;
    int posts = 0;
    std::optional<PasteKeystroke> lastKeystroke;

    bool isAvailable() const override { return available; }
    bool postPasteKeystroke(PasteKeystroke keystroke) override
    {
        ++posts;
        lastKeystroke = keystroke;
        return postSucceeds;
    }
};
