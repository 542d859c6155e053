#include "shell/QmlPalette.h"

#include "shell/QmlTypes.h"

#include <QQmlEngine>

namespace QSP {

QmlPalette::QmlPalette(QObject *parent)
    : QObject(parent)
{}

void QmlPalette::registerType()
{
    static const int id = qmlRegisterSingletonType<QmlPalette>(
        QmlModule, 1, 0, "Palette", [](QQmlEngine *, QJSEngine *) -> QObject * { return new QmlPalette; });
    Q_UNUSED(id)
}

} // namespace QSP
