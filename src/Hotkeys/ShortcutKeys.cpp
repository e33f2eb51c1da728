#include "Hotkeys/ShortcutKeys.h"

#include <array>
#include <utility>

namespace {

// Letters and digits follow from their character; these do not.
constexpr std::array<std::pair<char16_t, Qt::Key>, 11> punctuation{{
    {u'-', Qt::Key_Minus},
    {u'=', Qt::Key_Equal},
    {u'[', Qt::Key_BracketLeft},
    {u']', Qt::Key_BracketRight},
    {u';', Qt::Key_Semicolon},
    {u'\'', Qt::Key_Apostrophe},
    {u'\\', Qt::Key_Backslash},
    {u',', Qt::Key_Comma},
    {u'.', Qt::Key_Period},
    {u'/', Qt::Key_Slash},
    {u'`', Qt::Key_QuoteLeft},
}};

} // namespace

namespace ShortcutKeys {

std::optional<Qt::Key> keyFor(const QString &key)
{
    if (key.size() != 1)
        return std::nullopt;
    const char16_t c = key.at(0).toLower().unicode();
    if (c >= u'a' && c <= u'z')
        return static_cast<Qt::Key>(Qt::Key_A + (c - u'a'));
    if (c >= u'0' && c <= u'9')
        return static_cast<Qt::Key>(Qt::Key_0 + (c - u'0'));
    for (const auto &[character, qtKey] : punctuation) {
        if (character == c)
            return qtKey;
    }
    return std::nullopt;
}

QStringList all()
{
    QStringList keys;
    for (char16_t c = u'a'; c <= u'z'; ++c)
        keys << QString(QChar(c));
    for (char16_t c = u'0'; c <= u'9'; ++c)
        keys << QString(QChar(c));
    for (const auto &entry : punctuation)
        keys << QString(QChar(entry.first));
    return keys;
}

} // namespace ShortcutKeys
