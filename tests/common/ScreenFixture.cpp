#include "ScreenFixture.h"

#include "PanelSimulator.h"

#include <QQmlEngine>
#include <QQuickWindow>
#include <QtQuick/private/qquickwindow_p.h>
#include <QtQuickTemplates2/private/qquickabstractbutton_p.h>
#include <QtTest>

#include <algorithm>

ScreenFixture::ScreenFixture()
    : m_library(QStringLiteral(QSP_PLUGIN_PATH))
{}

ScreenFixture::~ScreenFixture()
{
    delete m_root; // as a host does, before the window and the engine in it
}

bool ScreenFixture::load(const QSize &size, int popupZ)
{
    const auto getInstance = reinterpret_cast<PlexaGetInstanceFn>(m_library.resolve("PlexaGetInstance"));
    Plexa::PluginRegistry *registry = getInstance ? getInstance() : nullptr;
    m_settings = registry ? registry->create<ISystemSet>() : nullptr;
    // Done with the registry once the screen's object is made, as a host is.
    if (const auto closeInstance =
            reinterpret_cast<PlexaCloseInstanceFn>(m_library.resolve("PlexaCloseInstance")))
        closeInstance();
    if (!m_settings) {
        qWarning() << m_library.errorString();
        return false;
    }
    m_window = std::make_unique<QQuickWindow>();
    m_window->resize(size);
    auto *engine = new QQmlEngine(m_window.get());
    m_root = qobject_cast<QSP::AppRootItem *>(m_settings->init(engine, size.width(), size.height(), popupZ));
    if (!m_root)
        return false;
    m_root->setParentItem(m_window->contentItem());
    m_window->show();
    const bool exposed = QTest::qWaitForWindowExposed(m_window.get());
    m_settings->open();
    return exposed;
}

bool ScreenFixture::showPage(QSP::AppRootItem::MenuIndex page)
{
    auto *menu = m_root->property("menuBar").value<QQuickItem *>();
    if (m_root->currentPage() == page && menu->isVisible() == !m_root->shouldMenuFill())
        return true;
    if (auto *back = m_root->findChild<QQuickItem *>(QStringLiteral("returnButton"));
        back && back->isVisible())
        click(back);
    QQuickItem *button = findText(menu, QSP::getMenuTitleRuntime(page));
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
    return click(button) && clicked.count() == 1;
}

QQuickItem *ScreenFixture::findText(QQuickItem *under, const QString &text)
{
    if (!under || !under->isVisible() || under->property("text").toString() == text)
        return under && under->isVisible() ? under : nullptr;
    for (QQuickItem *child : under->childItems()) {
        if (QQuickItem *found = findText(child, text))
            return found;
    }
    return nullptr;
}

QStringList ScreenFixture::visibleTexts(QQuickItem *under)
{
    QStringList texts;
    if (under && under->isVisible() && (under->inherits("QQuickText") || under->inherits("QQuickTextInput")))
        texts << under->property("text").toString();
    for (QQuickItem *child : under && under->isVisible() ? under->childItems() : QList<QQuickItem *>())
        texts << visibleTexts(child);
    return texts;
}

int ScreenFixture::calls(const std::string &prefix)
{
    const auto log = HMI::PanelSimulator::callLog();
    return int(
        std::count_if(log.begin(), log.end(), [&](const auto &line) { return line.rfind(prefix, 0) == 0; }));
}
