#include "TestKeyboard.h"

#include <QQuickWindow>
#include <QtQuick/private/qquickrectangle_p.h>
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
    auto *keys = new QQuickRectangle;
    keys->setParent(m_popup); // a content item is only parented visually; the popup owns the keys
    keys->setHeight(m_height);
    keys->setWidth(m_popup->width());
    keys->setColor(QColor(QStringLiteral("#333333")));
    m_popup->setContentItem(m_keys = keys);
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
