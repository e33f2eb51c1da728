#pragma once

#include <QUrl>

class QQmlEngine;

// The app's views form one QML module, Halcy. Every window that loads a view prepares its engine here
// and names the view by its folder and file, e.g. viewUrl("UI/HubView.qml").
namespace QmlModule {

void prepare(QQmlEngine *engine);
QUrl viewUrl(const char *folderAndFile);

} // namespace QmlModule
