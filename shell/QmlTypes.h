#pragma once

#include "shell/QmlPalette.h"

#include <QtQml/qqml.h>

namespace QSP {

/// The QML module that holds the settings screen's types.
constexpr char QmlModule[] = "QQuickSystemSet";

/// Registers @p T as the type @p name of the module, version 1.0, on the first call for @p T (later calls do
/// nothing), together with the module's palette.
template<typename T>
void registerQmlType(const char *name)
{
    QmlPalette::registerType();
    static const int id = qmlRegisterType<T>(QmlModule, 1, 0, name);
    Q_UNUSED(id)
}

} // namespace QSP
