#include "shell/KeyPressFilter.h"

#include <QKeyEvent>
#include <QQuickItem>

namespace QSP {

KeyPressFilter::KeyPressFilter(QQuickItem *item)
    : m_item(item)
{}

bool KeyPressFilter::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::KeyPress) {
        switch (static_cast<QKeyEvent *>(event)->key()) {
        case 0x00100000: // the on-screen keyboard's confirm key
        case Qt::Key_Escape:
        case Qt::Key_Return:
        case Qt::Key_Enter:
            if (m_item)
                m_item->setFocus(false);
            return true;
        default:
            break;
        }
    }
    return QObject::eventFilter(watched, event);
}

} // namespace QSP
