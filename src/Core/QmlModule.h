#pragma once

#include <QUrl>
#include <QVariantMap>

#include <memory>

class QLoggingCategory;
class QQmlEngine;
class QQuickView;

// The app's views form one QML module, Halcy. Every window that loads a view prepares its engine here
// and names the view by its folder and file, e.g. viewUrl("UI/HubView.qml").
namespace QmlModule {

void prepare(QQmlEngine *engine);
QUrl viewUrl(const char *folderAndFile);

// A window for one of the views, its root item sized to the window.
std::unique_ptr<QQuickView> createView(const QString &objectName, const QString &title,
                                       Qt::WindowFlags flags);
// Loads the view into `view` with its initial properties; what fails to load goes to `category`.
void load(QQuickView *view, const char *folderAndFile, const QVariantMap &initialProperties,
          const QLoggingCategory &category);

} // namespace QmlModule
