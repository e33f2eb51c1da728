#include "Platform/LoginItem.h"

#include "Platform/Linux/XdgAutostart.h"

#include <QCoreApplication>

std::unique_ptr<LoginItem> LoginItem::createDefault()
{
    return std::make_unique<XdgAutostart>(XdgAutostart::defaultPath(),
                                          QCoreApplication::applicationFilePath());
}
