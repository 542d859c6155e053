#pragma once

#include <QObject>
#include <QVariant>

namespace QSP {

/// The part of a QML document that the property @p name of @p object (the document's root, or one of its
/// parts) holds, when it is a @p T; else null, also for a null @p object.
template<typename T>
T *documentPart(const QObject *object, const char *name)
{
    return object ? qobject_cast<T *>(object->property(name).value<QObject *>()) : nullptr;
}

} // namespace QSP
