#include "controls/TimeKeyPressFilter.h"

#include "controls/TimeEditPopup.h"
#include "controls/VkbManager.h"

#include <QKeyEvent>
#include <QtQuick/private/qquicktextinput_p.h>

namespace QSP {

namespace {
/// The key that the on-screen keyboard sends when its hide key is touched.
constexpr int VkbHideKey = 0x00100000;

bool isHandledKey(int key)
{
    switch (key) {
    case VkbHideKey:
    case Qt::Key_Escape:
    case Qt::Key_Return:
    case Qt::Key_Enter:
    case Qt::Key_Delete:
    case Qt::Key_Clear:
        return true;
    default:
        return false;
    }
}
} // namespace

TimeKeyPressFilter::TimeKeyPressFilter(TimeEditPopup *popup)
    : QObject(popup)
    , m_popup(popup)
{}

bool TimeKeyPressFilter::eventFilter(QObject *watched, QEvent *event)
{
    const bool press = event->type() == QEvent::KeyPress;
    const bool shortcutOverride = event->type() == QEvent::ShortcutOverride;
    auto *input = qobject_cast<QQuickTextInput *>(watched);
    if (!input || (!press && !shortcutOverride))
        return QObject::eventFilter(watched, event);

    const int key = static_cast<QKeyEvent *>(event)->key();
    if (shortcutOverride) {
        // The popup closes on Escape through a shortcut; claiming the keys handled here keeps them for the
        // field, which then gets them as ordinary key presses.
        if (isHandledKey(key))
            event->accept();
        return QObject::eventFilter(watched, event);
    }

    switch (key) {
    case VkbHideKey:
    case Qt::Key_Escape:
        input->setFocus(false);
        VkbManager::instance().showVkb(false);
        return true;
    case Qt::Key_Return:
    case Qt::Key_Enter:
        input->setFocus(false);
        VkbManager::instance().showVkb(false);
        if (m_popup)
            m_popup->onConfirmClicked();
        return true;
    case Qt::Key_Delete:
    case Qt::Key_Clear:
        input->clear();
        return true;
    default:
        break;
    }
    return QObject::eventFilter(watched, event);
}

} // namespace QSP
