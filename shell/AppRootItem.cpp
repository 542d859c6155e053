#include "AppRootItem.h"

#include <QQmlEngine>

namespace QSP {

namespace {
AppRootItem *g_root = nullptr;
}

AppRootItem::AppRootItem(QQuickItem *parent)
    : QQuickRectangle(parent)
{
    g_root = this;
}

AppRootItem::~AppRootItem()
{
    if (g_root == this)
        g_root = nullptr;
}

AppRootItem *AppRootItem::instance()
{
    return g_root;
}

void AppRootItem::init(QQmlEngine *)
{
    m_titleBar = property("titleBar").value<QQuickItem *>();
    m_cardsParent = property("cardsParent").value<QQuickItem *>();
}

int AppRootItem::titleHeight() const
{
    return m_titleBar ? int(m_titleBar->height()) : 0;
}

} // namespace QSP
