#include "Core/QmlModule.h"

#include <QLoggingCategory>
#include <QQmlEngine>
#include <QQuickView>

// Generated with the module; registers its C++ types the first time an engine imports Halcy.
void qml_register_types_Halcy();

namespace QmlModule {

void prepare(QQmlEngine *engine)
{
    // A static library drops the generated registration unless something refers to it.
    static void (*volatile const registration)() = &qml_register_types_Halcy;
    Q_UNUSED(registration);
    engine->addImportPath(QStringLiteral("qrc:/"));
}

QUrl viewUrl(const char *folderAndFile)
{
    return QUrl(QStringLiteral("qrc:/Halcy/") + QLatin1String(folderAndFile));
}

std::unique_ptr<QQuickView> createView(const QString &objectName, const QString &title, Qt::WindowFlags flags)
{
    auto view = std::make_unique<QQuickView>();
    view->setObjectName(objectName);
    view->setTitle(title);
    view->setFlags(flags);
    view->setResizeMode(QQuickView::SizeRootObjectToView);
    return view;
}

void load(QQuickView *view, const char *folderAndFile, const QVariantMap &initialProperties,
          const QLoggingCategory &category)
{
    view->setInitialProperties(initialProperties);
    prepare(view->engine());
    view->setSource(viewUrl(folderAndFile));
    if (view->status() == QQuickView::Error) {
        for (const QQmlError &error : view->errors())
            qCCritical(category) << folderAndFile << error.toString();
    }
}

} // namespace QmlModule
