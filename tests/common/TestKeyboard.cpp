#include "TestKeyboard.h"

#include <QQuickWindow>
#include <QtQuickTemplates2/private/qquickpopup_p.h>

TestKeyboard::TestKeyboard(qreal keyboardHeight)
    : m_height(keyboardHeight)
{}

TestKeyboard::~TestKeyboard()
{
    delete m_popup;
}

void TestKeyboard::init(QQuickWindow *window, int z)
{
    ++initCalls;
    delete m_popup;
    m_popup = new QQuickPopup;
    m_popup->setModal(true);
    m_popup->setClosePolicy(QQuickPopup::NoAutoClose);
    m_popup->setPadding(0);
    m_popup->setZ(z);
    if (window) {
        m_popup->setParentItem(window->contentItem());
        m_popup->setWidth(window->width());
        m_popup->setY(window->height() - m_height);
    }
    m_popup->setHeight(m_height);
    m_keys = new QQuickItem;
    m_keys->setParent(m_popup); // a content item is only parented visually; the popup owns the keys
    m_keys->setSize(QSizeF(m_popup->width(), m_height));
    m_popup->setContentItem(m_keys);
}

void TestKeyboard::setVisible(bool visible)
{
    if (m_popup)
        visible ? m_popup->open() : m_popup->close();
}

void TestKeyboard::setPosition(const QPointF &position)
{
    if (m_popup)
        m_popup->setPosition(position);
}

bool TestKeyboard::isVisible() const
{
    return m_popup && m_popup->isVisible();
}
