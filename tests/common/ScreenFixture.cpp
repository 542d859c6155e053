#include "ScreenFixture.h"

#include "PanelSimulator.h"

#include <QQmlEngine>
#include <QQuickWindow>
#include <QtQuick/private/qquickwindow_p.h>
#include <QtQuickTemplates2/private/qquickabstractbutton_p.h>
#include <QtTest>

ScreenFixture::ScreenFixture()
    : m_library(QStringLiteral(QSP_PLUGIN_PATH))
{}

ScreenFixture::~ScreenFixture() = default;

bool ScreenFixture::load(const QSize &size, int popupZ)
{
    if (!m_library.load()) {
        qWarning() << m_library.errorString();
        return false;
    }
    const auto getInstance = reinterpret_cast<PlexaGetInstanceFn>(m_library.resolve("PlexaGetInstance"));
    Plexa::PluginRegistry *registry = getInstance ? getInstance() : nullptr;
    m_settings = registry ? registry->create<ISystemSet>() : nullptr;
    if (!m_settings)
        return false;
    m_window = std::make_unique<QQuickWindow>();
    m_window->resize(size);
    m_engine = new QQmlEngine(m_window.get());
    m_root =
        qobject_cast<QSP::AppRootItem *>(m_settings->init(m_engine, size.width(), size.height(), popupZ));
    if (!m_root)
        return false;
    m_root->setParentItem(m_window->contentItem());
    m_window->show();
    if (!QTest::qWaitForWindowExposed(m_window.get()))
        return false;
    m_settings->open();
    return true;
}

bool ScreenFixture::showPage(QSP::AppRootItem::MenuIndex page)
{
    if (m_root->currentPage() == page &&
        m_root->property("menuBar").value<QQuickItem *>()->isVisible() == !m_root->shouldMenuFill())
        return true;
    if (auto *back = m_root->findChild<QQuickItem *>(QStringLiteral("returnButton"));
        back && back->isVisible())
        click(back);
    QQuickItem *button =
        findText(m_root->property("menuBar").value<QQuickItem *>(), QSP::getMenuTitleRuntime(page));
    return button && clickButton(button) && m_root->currentPage() == page;
}

QPoint ScreenFixture::centreOf(QQuickItem *item)
{
    return item->mapToScene(QPointF(item->width() / 2, item->height() / 2)).toPoint();
}

bool ScreenFixture::click(QQuickItem *item)
{
    if (!item || !item->isVisible() || item->window() != m_window.get())
        return false;
    // Positioners place new rows at the next polish: do it now, so the tap lands where the row will be.
    QQuickWindowPrivate::get(m_window.get())->polishItems();
    QTest::mouseClick(m_window.get(), Qt::LeftButton, Qt::NoModifier, centreOf(item));
    return true;
}

bool ScreenFixture::clickButton(QQuickItem *item)
{
    auto *button = qobject_cast<QQuickAbstractButton *>(item);
    if (!button)
        return false;
    QSignalSpy clicked(button, &QQuickAbstractButton::clicked);
    return clicked.isValid() && click(button) && clicked.count() == 1;
}

QQuickItem *ScreenFixture::findText(QQuickItem *under, const QString &text)
{
    if (!under || !under->isVisible())
        return nullptr;
    if (under->property("text").toString() == text)
        return under;
    for (QQuickItem *child : under->childItems()) {
        if (QQuickItem *found = findText(child, text))
            return found;
    }
    return nullptr;
}

QStringList ScreenFixture::visibleTexts(QQuickItem *under)
{
    QStringList texts;
    if (!under || !under->isVisible())
        return texts;
    if (under->inherits("QQuickText") || under->inherits("QQuickTextInput"))
        texts << under->property("text").toString();
    for (QQuickItem *child : under->childItems())
        texts << visibleTexts(child);
    return texts;
}

int ScreenFixture::calls(const std::string &prefix)
{
    int count = 0;
    for (const auto &line : HMI::PanelSimulator::callLog())
        count += line.rfind(prefix, 0) == 0;
    return count;
}
