#include "ImplSystemSet.h"

#include "AppRootItem.h"
#include "GlobalInfo.h"

#include <QQmlComponent>
#include <QQmlContext>
#include <QQmlEngine>

namespace QSP {

QQuickItem *ImplSystemSet::init(QQmlEngine *engine, int width, int height, int popupZ)
{
    static QQmlComponent *s_component = nullptr;
    GlobalInfo &info = GlobalInfo::instance();
    if (!engine)
        return nullptr;
    if (!s_component) {
        qmlRegisterType<AppRootItem>("QQuickSystemSet", 1, 0, "AppRootItem");
        s_component = new QQmlComponent(engine, QUrl(QStringLiteral("qrc:/setting/main.qml")));
        if (!s_component->isReady()) {
            qWarning("%s", qPrintable(s_component->errorString()));
            return nullptr;
        }
    }
    if (!s_component->isReady())
        return nullptr;

    QObject *object = s_component->beginCreate(engine->rootContext());
    auto *root = qobject_cast<AppRootItem *>(object);
    if (!root) {
        if (object) {
            s_component->completeCreate();
            delete object;
        }
        return nullptr;
    }
    // The real size before completion, so that main.qml's bindings see it from the start.
    root->setWidth(width);
    root->setHeight(height);
    s_component->completeCreate();

    info.setRootPopupZ(popupZ);
    info.setScreenWidth(width);
    info.setScreenHeight(height);
    info.setQmlEngine(engine);
    root->init(engine);
    return root;
}

void ImplSystemSet::open()
{
    if (AppRootItem *root = AppRootItem::instance())
        root->open();
}

void ImplSystemSet::close()
{
    if (AppRootItem *root = AppRootItem::instance())
        root->close();
}

} // namespace QSP
