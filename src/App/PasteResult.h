#pragma once

// How a paste command ended; AppState turns it into the status line.
enum class PasteResult
{
    pasted,
    copiedOnly,
    cannotPaste
};
