#include "plugin/ImplSystemSet.h"

#include "cards/CardCatalogue.h"
#include "controls/BeepButton.h"
#include "controls/BeepSwitch.h"
#include "controls/BrightButton.h"
#include "controls/CIpInput.h"
#include "controls/CMacInput.h"
#include "controls/ComboBox.h"
#include "controls/Dialog.h"
#include "shell/AppRootItem.h"
#include "shell/ComponentCache.h"
#include "shell/GlobalInfo.h"
#include "shell/IconProvider.h"
#include "shell/QmlTypes.h"

#include <QQmlComponent>
#include <QQmlContext>
#include <QQmlEngine>

namespace QSP {

namespace {

/// Registers the module's types, once, as a Qt module's registerTypes does: the root item and every control
/// (each registration brings the palette along).
/// Each card registers its own types just before its document is first loaded (see cardCatalogue()).
void registerTypes()
{
    static bool registered = false;
    if (registered)
        return;
    registered = true;
    registerQmlType<AppRootItem>("AppRootItem");
    BeepButton::registerType();
    BeepSwitch::registerType();
    BrightButton::registerType();
    CIpInput::registerType();
    CMacInput::registerType();
    ComboBox::registerType();
    Dialog::registerType();
    AppRootItem::setCardCatalogue(cardCatalogue());
}

} // namespace

QQuickItem *ImplSystemSet::init(QQmlEngine *engine, int width, int height, int popupZ)
{
    if (!engine) {
        qWarning("QSP::ImplSystemSet::init: no QML engine given; no settings screen");
        return nullptr;
    }
    // Once built, the screen is this object's for as long as its root item and its engine live.
    if (m_root && m_root->engine()) {
        if (m_root->engine() == engine)
            return m_root;
        qWarning("QSP::ImplSystemSet::init: this screen was built in another QML engine; no second screen");
        return nullptr;
    }
    // One screen per process: its cards, its keyboard and the screen information are process-wide.
    if (AppRootItem *other = AppRootItem::instance(); other && other->engine()) {
        qWarning("QSP::ImplSystemSet::init: a settings screen exists already; delete its root item or its "
                 "engine before building another");
        return nullptr;
    }

    IconProvider::install(engine);
    // Compiled again for a new engine (the host may replace its engine after deleting the first).
    static ComponentCache document(QUrl(QStringLiteral("qrc:/setting/main.qml")), &registerTypes);
    QQmlComponent *component = document.component(engine);
    if (!component)
        return nullptr;
    QObject *object = component->beginCreate(engine->rootContext());
    auto *root = qobject_cast<AppRootItem *>(object);
    if (!root) {
        if (object) {
            component->completeCreate();
            delete object;
        }
        return nullptr;
    }
    // The real size before completion, so that main.qml's bindings see it from the start.
    root->setWidth(width);
    root->setHeight(height);
    component->completeCreate();

    GlobalInfo &info = GlobalInfo::instance();
    info.setRootPopupZ(popupZ);
    info.setScreenWidth(width);
    info.setScreenHeight(height);
    info.setQmlEngine(engine);
    root->init(engine);
    m_root = root;
    return root;
}

void ImplSystemSet::open()
{
    if (m_root)
        m_root->open();
}

void ImplSystemSet::close()
{
    if (m_root)
        m_root->close();
}

} // namespace QSP
