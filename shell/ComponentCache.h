#pragma once

#include <QPointer>
#include <QString>
#include <QUrl>

#include <functional>

class QQmlComponent;
class QQmlEngine;
class QQuickItem;
struct QMetaObject;

namespace QSP {

/// A QML document's component, compiled once and shared by every object made from it. The component belongs
/// to the engine it was compiled for; asking for another engine compiles it anew. Each compilation writes at
/// most one warning (category "default").
class ComponentCache
{
public:
    /// The document at @p url. @p prepare, when given, runs before every compilation (to register the types
    /// that the document uses). Warnings start with @p warningPrefix.
    explicit ComponentCache(const QUrl &url, void (*prepare)() = nullptr, const QString &warningPrefix = {});

    /// The component compiled for @p engine, ready to make objects; null (warned once) when it failed.
    QQmlComponent *component(QQmlEngine *engine);

    /// An item of class @p type made in @p engine's root context, owned by and shown in @p parent. Null
    /// (warned once) when the component failed or made something else. @p beforeComplete, when given, sets
    /// the item up before its bindings are first evaluated (so that nothing is laid out twice).
    QQuickItem *createItem(QQmlEngine *engine, QQuickItem *parent, const QMetaObject &type,
                           const std::function<void(QQuickItem *)> &beforeComplete = {});

    /// Writes @p message as a warning, unless the current compilation has written one already.
    void warnOnce(const QString &message);

private:
    QUrl m_url;
    QString m_warningPrefix;
    void (*m_prepare)() = nullptr;
    QPointer<QQmlEngine> m_engine;
    QPointer<QQmlComponent> m_component; ///< owned by m_engine
    bool m_warned = false;
};

/// The document of @p T at @p url, compiled once for the engine that asks, after T::registerType().
template<typename T>
ComponentCache &documentOf(const char *url)
{
    static ComponentCache document(QUrl(QString::fromLatin1(url)), &T::registerType);
    return document;
}

/// A @p T made from its document at @p url in @p engine's root context, owned by and shown in @p parent
/// (@p beforeComplete, when given, sets it up before its bindings are first evaluated). Null when there is no
/// engine (warned as "no QML engine to create the @p what in") or when the document cannot be used (warned
/// once).
template<typename T>
T *createFromDocument(const char *url, QQmlEngine *engine, QQuickItem *parent, const char *what,
                      const std::function<void(QQuickItem *)> &beforeComplete = {})
{
    if (!engine) {
        qWarning("%s: no QML engine to create the %s in", T::staticMetaObject.className(), what);
        return nullptr;
    }
    return static_cast<T *>(
        documentOf<T>(url).createItem(engine, parent, T::staticMetaObject, beforeComplete));
}

} // namespace QSP
