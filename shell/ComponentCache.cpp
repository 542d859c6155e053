#include "shell/ComponentCache.h"

#include <QDebug>
#include <QMetaObject>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickItem>

namespace QSP {

ComponentCache::ComponentCache(const QUrl &url, void (*prepare)(), const QString &warningPrefix)
    : m_url(url)
    , m_warningPrefix(warningPrefix)
    , m_prepare(prepare)
{}

QQmlComponent *ComponentCache::component(QQmlEngine *engine)
{
    if (!engine)
        return nullptr;
    if (!m_component || m_engine != engine) {
        if (m_prepare)
            m_prepare();
        delete m_component.data();
        m_engine = engine;
        m_warned = false;
        m_component = new QQmlComponent(engine, m_url, engine);
    }
    if (!m_component->isReady()) {
        warnOnce(m_warningPrefix + m_component->errorString());
        return nullptr;
    }
    return m_component;
}

QQuickItem *ComponentCache::createItem(QQmlEngine *engine, QQuickItem *parent, const QMetaObject &type,
                                       const std::function<void(QQuickItem *)> &beforeComplete)
{
    QQmlComponent *compiled = component(engine);
    if (!compiled)
        return nullptr;
    QObject *object = compiled->beginCreate(engine->rootContext());
    auto *item = qobject_cast<QQuickItem *>(type.cast(object));
    if (!item) {
        if (!object) {
            warnOnce(m_warningPrefix + compiled->errorString());
            return nullptr;
        }
        // Not what the document should make: finish and drop it rather than hand out a half-made object.
        compiled->completeCreate();
        delete object;
        const QString className = QString::fromLatin1(type.className());
        warnOnce(QStringLiteral("%1: %2 did not make a %3")
                     .arg(className, m_url.toString(), className.section(QStringLiteral("::"), -1)));
        return nullptr;
    }
    item->setParent(parent);
    item->setParentItem(parent);
    if (beforeComplete)
        beforeComplete(item);
    compiled->completeCreate();
    return item;
}

void ComponentCache::warnOnce(const QString &message)
{
    if (m_warned)
        return;
    m_warned = true;
    qWarning().noquote() << message;
}

} // namespace QSP
