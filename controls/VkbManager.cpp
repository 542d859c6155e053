#include "controls/VkbManager.h"

#include "shell/AppRootItem.h"
#include "shell/GlobalInfo.h"
#include "vkbloader/QVkbPluginLoader.h"

#include <QGuiApplication>
#include <QQuickItem>
#include <QQuickWindow>
#include <QtQuickTemplates2/private/qquickpopup_p.h>

namespace QSP {

namespace {

/// The item that has the keyboard's input now, if any.
QQuickItem *focusItem()
{
    return qobject_cast<QQuickItem *>(QGuiApplication::focusObject());
}

} // namespace

void VkbManager::loadPlugin()
{
    QQuickWindow *window = nullptr;
    if (AppRootItem *root = AppRootItem::instance())
        window = root->window();
    else if (QQuickItem *focused = focusItem())
        window = focused->window(); // a control shown without the settings screen
    VkbInterface *vkb = QVkbPluginLoader::instance()->vkb();
    if (!vkb)
        return;
    vkb->init(window, GlobalInfo::instance().rootPopupZ());
    m_vkb = vkb;
}

void VkbManager::showVkb(bool show)
{
    static bool _loadTried = false;
    if (!m_vkb) {
        if (_loadTried || !show)
            return;
        loadPlugin();
        _loadTried = true;
        if (!m_vkb)
            return;
    } else if (!show) {
        if (AppRootItem *root = AppRootItem::instance())
            root->forceActiveFocus();
        else if (QQuickItem *focused = focusItem())
            focused->setFocus(false);
        m_vkb->setVisible(false);
        return;
    }

    if (AppRootItem *root = AppRootItem::instance())
        connect(root, &AppRootItem::closing, this, &VkbManager::onScreenClosing, Qt::UniqueConnection);
    QQuickPopup *popup = m_vkb->popup();
    if (popup) {
        if (m_popupConnections.isEmpty()) { // a show while shown is already connected
            m_popupConnections << connect(popup, &QQuickPopup::visibleChanged, this,
                                          &VkbManager::visibleChanged);
            m_popupConnections << connect(popup, &QQuickPopup::visibleChanged, this,
                                          &VkbManager::onVkbVisibleChange);
        }
        if (!popup->isVisible()) // a show while shown must not take our own non-modal state for the original
            m_popupWasModal = popup->isModal();
        popup->setModal(false);
    }
    m_vkb->setVisible(true);
}

bool VkbManager::isVisible() const
{
    return m_vkb && m_vkb->isVisible();
}

void VkbManager::setLayoutType(VkbLayoutType type) const
{
    if (m_vkb)
        m_vkb->setLayoutType(type);
}

double VkbManager::getHeight()
{
    if (!m_vkb || !m_vkb->keyboardItem())
        return 0;
    return m_vkb->keyboardItem()->height();
}

void VkbManager::onVkbVisibleChange()
{
    QQuickPopup *popup = m_vkb ? m_vkb->popup() : nullptr;
    AppRootItem *root = AppRootItem::instance();
    QQuickItem *column = root ? root->getCardContainer() : nullptr;
    if (!popup)
        return;

    if (!popup->isVisible()) {
        popup->setModal(m_popupWasModal);
        for (const auto &connection : qAsConst(m_popupConnections))
            disconnect(connection);
        m_popupConnections.clear();
        if (column)
            column->setY(0);
        return;
    }

    QQuickItem *focused = focusItem();
    QQuickItem *keyboard = m_vkb->keyboardItem();
    if (!focused || !keyboard || !root || !column)
        return;
    const qreal fieldBottom = focused->mapToItem(root, QPointF(0, 0)).y() + focused->height();
    const qreal keyboardTop = keyboard->mapToItem(root, QPointF(0, 0)).y();
    const qreal overlap = fieldBottom - keyboardTop;
    if (overlap > 0)
        column->setY(-overlap);
}

} // namespace QSP
