#include "Core/QmlModule.h"

#include <QQmlEngine>

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

} // namespace QmlModule
