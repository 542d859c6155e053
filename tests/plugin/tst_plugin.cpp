#include "AppRootItem.h"
#include "BeepButton.h"
#include "GlobalInfo.h"
#include "ISystemSet.h"
#include "PanelSimulator.h"

#include <QLibrary>
#include <QQmlEngine>
#include <QQuickWindow>
#include <QtQuick/private/qquickflickable_p.h>
#include <QtQuick/private/qquickrectangle_p.h>
#include <QtQuick/private/qquicktext_p.h>
#include <QtTest>

#include <algorithm>
#include <memory>

using HMI::PanelSimulator;
using QSP::AppRootItem;
using QSP::BeepButton;

/// The settings screen loaded through the library's exports, as a host does, at the screen size and with the
/// application name that the environment gives (TST_SCREEN, TST_APP_NAME).
class tst_Plugin : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void exports();
    void menu();
    void startPage();
    void layout();
    void pageSwitching();
    void menuFillNavigation();
    void bottomButton();
    void closeAndReopen();
    void languageFollowsSystem();
    void teardownWithCallbacksUnderWay(); // deletes the screen: last
    void cleanupTestCase();

private:
    QList<BeepButton *> menuButtons() const;
    BeepButton *menuButton(const QString &text) const;
    QQuickItem *part(const char *name) const;
    void clickButton(QQuickItem *button);
    bool isHighlighted(BeepButton *button) const;
    bool menuFill() const { return m_size.width() < 800; }

    QSize m_size{1024, 600};
    bool m_tavrex = false;
    QLibrary m_library{QStringLiteral(QSP_PLUGIN_PATH)};
    PlexaGetInstanceFn m_getInstance = nullptr;
    PlexaCloseInstanceFn m_closeInstance = nullptr;
    PlexaQueryDataFn m_queryData = nullptr;
    std::shared_ptr<ISystemSet> m_settings;
    std::unique_ptr<QQuickWindow> m_window;
    QQmlEngine *m_engine = nullptr;
    AppRootItem *m_root = nullptr;
};

void tst_Plugin::initTestCase()
{
    const QStringList size =
        qEnvironmentVariable("TST_SCREEN", QStringLiteral("1024x600")).split(QLatin1Char('x'));
    m_size = QSize(size.value(0).toInt(), size.value(1).toInt());
    m_tavrex = qEnvironmentVariable("TST_APP_NAME") == QLatin1String("tavrex");
    QCoreApplication::setApplicationName(qEnvironmentVariable("TST_APP_NAME", QStringLiteral("tst_plugin")));

    QVERIFY2(m_library.load(), qPrintable(m_library.errorString()));
    m_getInstance = reinterpret_cast<PlexaGetInstanceFn>(m_library.resolve("PlexaGetInstance"));
    m_closeInstance = reinterpret_cast<PlexaCloseInstanceFn>(m_library.resolve("PlexaCloseInstance"));
    m_queryData = reinterpret_cast<PlexaQueryDataFn>(m_library.resolve("PlexaQueryData"));
    QVERIFY(m_getInstance && m_closeInstance && m_queryData);

    Plexa::PluginRegistry *registry = m_getInstance();
    QVERIFY(registry);
    m_settings = registry->create<ISystemSet>();
    QVERIFY(m_settings);
    m_settings->open(); // before init: nothing to show, nothing breaks
    m_settings->close();

    m_window = std::make_unique<QQuickWindow>();
    m_window->resize(m_size);
    m_engine = new QQmlEngine(m_window.get());
    QQuickItem *root = m_settings->init(m_engine, m_size.width(), m_size.height(), 4321);
    QVERIFY(root);
    m_root = qobject_cast<AppRootItem *>(root);
    QCOMPARE(AppRootItem::instance(), m_root);
    QCOMPARE(QSP::GlobalInfo::instance().rootPopupZ(), 4321);
    QCOMPARE(QSP::GlobalInfo::instance().screenSize(), m_size);
    QCOMPARE(m_root->size(), QSizeF(m_size));
    root->setParentItem(m_window->contentItem());
    m_window->show();
    QVERIFY(QTest::qWaitForWindowExposed(m_window.get()));

    QSignalSpy opened(m_root, &AppRootItem::opened);
    m_root->setVisible(false);
    m_settings->open();
    QCOMPARE(opened.count(), 1);
}

void tst_Plugin::cleanupTestCase()
{
    m_closeInstance(); // harmless when exports() closed it already
}

void tst_Plugin::init()
{
    QVERIFY(PanelSimulator::loadStateJson("{}"));
    PanelSimulator::clearCallLog();
}

void tst_Plugin::exports()
{
    QCOMPARE(m_queryData(nullptr), 0);
    int anything = 0;
    QCOMPARE(m_queryData(&anything), -1);
    QCOMPARE(m_queryData(reinterpret_cast<void *>(1)), -1);

    // Each call makes a new registry with the one factory; closing frees only the newest.
    m_closeInstance(); // the registry of initTestCase; the settings object it made lives on
    Plexa::PluginRegistry *first = m_getInstance();
    Plexa::PluginRegistry *second = m_getInstance();
    QVERIFY(first != second);
    QCOMPARE(first->factories().size(), size_t(1));
    std::shared_ptr<ISystemSet> a = first->create<ISystemSet>();
    std::shared_ptr<ISystemSet> b = second->create<ISystemSet>();
    QVERIFY(a && b && a != b);
    m_closeInstance();
    QVERIFY(first->create<ISystemSet>()); // the first registry was left behind, still usable
    m_closeInstance();                    // a second close is harmless
    a->open();                            // objects made before live on
    QVERIFY(m_root->isVisible());
    delete first;
}

QQuickItem *tst_Plugin::part(const char *name) const
{
    return m_root->property(name).value<QQuickItem *>();
}

QList<BeepButton *> tst_Plugin::menuButtons() const
{
    QList<BeepButton *> buttons;
    QQuickItem *menu = part("menuBar");
    QQuickItem *column = menu->property("column").value<QQuickItem *>();
    QQuickItem *bottom = menu->property("bottomContainer").value<QQuickItem *>();
    for (QQuickItem *container : {column, bottom}) {
        for (QQuickItem *child : container->childItems()) {
            if (auto *button = qobject_cast<BeepButton *>(child))
                buttons << button;
        }
    }
    return buttons;
}

BeepButton *tst_Plugin::menuButton(const QString &text) const
{
    for (BeepButton *button : menuButtons()) {
        if (button->text() == text)
            return button;
    }
    return nullptr;
}

void tst_Plugin::clickButton(QQuickItem *button)
{
    QVERIFY(button);
    QVERIFY(button->isVisible());
    auto *abstractButton = qobject_cast<QQuickAbstractButton *>(button);
    QSignalSpy clicked(abstractButton, &QQuickAbstractButton::clicked);
    const QPointF centre = button->mapToScene(QPointF(button->width() / 2, button->height() / 2));
    QTest::mouseClick(m_window.get(), Qt::LeftButton, Qt::NoModifier, centre.toPoint());
    QCOMPARE(clicked.count(), 1);
}

bool tst_Plugin::isHighlighted(BeepButton *button) const
{
    auto *background = qobject_cast<QQuickRectangle *>(button->background());
    return background && background->color() == QColor(QStringLiteral("#F2F3F5"));
}

void tst_Plugin::menu()
{
    QStringList texts;
    for (BeepButton *button : menuButtons())
        texts << button->text();
    const QString bottom = m_tavrex ? QStringLiteral("Exit") : QStringLiteral("Reboot");
    QCOMPARE(texts, (QStringList{QStringLiteral("General"), QStringLiteral("Network"),
                                 QStringLiteral("Language"), QStringLiteral("Version"), bottom}));

    for (BeepButton *button : menuButtons()) {
        QCOMPARE(button->property("imgUrl").toUrl().scheme(), QStringLiteral("qrc"));
        // Right arrows lead into pages where the menu fills the screen.
        bool arrow = false;
        for (QQuickItem *child : button->childItems())
            arrow |=
                child->property("source").toUrl().toString().endsWith(QLatin1String("rightArrow0@2x.png"));
        QCOMPARE(arrow, menuFill() && button->text() != bottom);
    }
    QCOMPARE(part("settingsText")->property("text").toString(), QStringLiteral("Settings"));
}

void tst_Plugin::layout()
{
    // Below 800 pixels of width the menu fills the screen and a page replaces it; from 800 on the menu stays
    // beside the cards, which start right under the title bar.
    QQuickItem *menu = part("menuBar"), *pool = part("cardPool");
    const qreal titleHeight = part("titleBar")->height();
    QVERIFY(titleHeight > 0 && titleHeight < m_size.height() / 5);
    QVERIFY(menu->isVisible());
    // The menu's buttons fit in it, one under the other.
    qreal bottom = 0;
    for (BeepButton *button : menuButtons()) {
        const QRectF r = menu->mapRectFromItem(button, QRectF(0, 0, button->width(), button->height()));
        QVERIFY2(r.top() >= bottom && r.left() >= 0 && r.right() <= menu->width() &&
                     r.bottom() <= menu->height(),
                 qPrintable(button->text()));
        bottom = r.bottom();
    }
    if (!menuFill()) {
        QVERIFY(pool->isVisible() && menu->width() < m_size.width() / 3);
        QVERIFY(pool->x() >= menu->x() + menu->width() && pool->x() + pool->width() <= m_size.width());
        QCOMPARE(pool->y(), titleHeight);
        return;
    }
    QCOMPARE(menu->width(), qreal(m_size.width()));
    clickButton(menuButton(QStringLiteral("General")));
    QVERIFY(!menu->isVisible() && pool->isVisible());
    QVERIFY(pool->x() >= 0 && pool->width() > 0.9 * m_size.width() &&
            pool->x() + pool->width() <= m_size.width());
    QVERIFY(pool->y() >= titleHeight);
    clickButton(m_root->findChild<BeepButton *>(QStringLiteral("returnButton")));
}

void tst_Plugin::startPage()
{
    const QString title = part("titleText")->property("text").toString();
    if (menuFill()) {
        QCOMPARE(m_root->currentPage(), AppRootItem::MI_None);
        QCOMPARE(title, QString());
        for (BeepButton *button : menuButtons())
            QVERIFY(!isHighlighted(button));
    } else {
        QCOMPARE(m_root->currentPage(), AppRootItem::MI_General);
        QCOMPARE(title, QStringLiteral("General"));
        QVERIFY(isHighlighted(menuButton(QStringLiteral("General"))));
        QVERIFY(!isHighlighted(menuButton(QStringLiteral("Network"))));
    }
}

void tst_Plugin::pageSwitching()
{
    if (menuFill())
        QSKIP("pages replace the menu here: see menuFillNavigation");
    QSignalSpy changed(m_root, &AppRootItem::currentPageChanged);
    clickButton(menuButton(QStringLiteral("Network")));
    QCOMPARE(changed.count(), 1);
    QCOMPARE(m_root->currentPage(), AppRootItem::MI_Network);
    QCOMPARE(part("titleText")->property("text").toString(), QStringLiteral("Network"));
    QVERIFY(isHighlighted(menuButton(QStringLiteral("Network"))));
    QVERIFY(!isHighlighted(menuButton(QStringLiteral("General"))));
    QVERIFY(part("menuBar")->isVisible());

    clickButton(menuButton(QStringLiteral("Network"))); // the current page again: nothing happens
    QCOMPARE(changed.count(), 1);

    clickButton(menuButton(QStringLiteral("Version")));
    QCOMPARE(m_root->currentPage(), AppRootItem::MI_Version);
    QCOMPARE(part("titleText")->property("text").toString(), QStringLiteral("Version"));
    clickButton(menuButton(QStringLiteral("General")));
    QCOMPARE(changed.count(), 3);
    QCOMPARE(PanelSimulator::callLog(), (std::vector<std::string>{"beep 1", "beep 1", "beep 1", "beep 1"}));
}

void tst_Plugin::menuFillNavigation()
{
    if (!menuFill())
        QSKIP("the menu stays beside the pages here");
    QQuickItem *menu = part("menuBar");
    QQuickItem *pool = part("cardPool");
    clickButton(menuButton(QStringLiteral("Language")));
    QCOMPARE(m_root->currentPage(), AppRootItem::MI_Language);
    QVERIFY(!menu->isVisible());
    QVERIFY(pool->isVisible());
    QCOMPARE(part("titleText")->property("text").toString(), QStringLiteral("Language"));
    auto *back = m_root->findChild<BeepButton *>(QStringLiteral("returnButton"));
    QVERIFY(back);
    QCOMPARE(back->size(), QSizeF(56, 56));

    clickButton(back);
    QVERIFY(menu->isVisible());
    QVERIFY(!back->isVisible());
    QVERIFY(!pool->isVisible());
    QCOMPARE(part("titleText")->property("text").toString(), QString());
    QCOMPARE(m_root->currentPage(), AppRootItem::MI_Language); // the page is kept behind the menu

    clickButton(menuButton(QStringLiteral("Network")));
    QVERIFY(!menu->isVisible());
    QVERIFY(back->isVisible());
    QCOMPARE(part("titleText")->property("text").toString(), QStringLiteral("Network"));
    clickButton(back);
}

void tst_Plugin::bottomButton()
{
    if (m_tavrex) {
        clickButton(menuButton(QStringLiteral("Exit")));
        QVERIFY(!m_root->isVisible()); // Exit leaves the screen
        QVERIFY(PanelSimulator::callLog() == std::vector<std::string>{"beep 1"});
        m_settings->open();
        QVERIFY(!isHighlighted(menuButton(QStringLiteral("Exit"))));
        return;
    }
    BeepButton *reboot = menuButton(QStringLiteral("Reboot"));
    clickButton(reboot);
    QCOMPARE(PanelSimulator::callLog(), (std::vector<std::string>{"beep 1", "reboot"}));
    if (!menuFill()) {
        QVERIFY(isHighlighted(reboot));
        QVERIFY(!isHighlighted(menuButton(QStringLiteral("General"))));
    }
}

void tst_Plugin::closeAndReopen()
{
    clickButton(menuButton(QStringLiteral("Version")));
    m_settings->close();
    QVERIFY(!m_root->isVisible());
    QSignalSpy opened(m_root, &AppRootItem::opened);
    m_settings->open();
    QVERIFY(m_root->isVisible());
    QCOMPARE(opened.count(), 1);
    if (menuFill()) {
        QCOMPARE(m_root->currentPage(), AppRootItem::MI_None);
        QVERIFY(part("menuBar")->isVisible());
        QVERIFY(!part("cardPool")->isVisible());
    } else {
        QCOMPARE(m_root->currentPage(), AppRootItem::MI_General);
        QCOMPARE(part("titleText")->property("text").toString(), QStringLiteral("General"));
        QVERIFY(isHighlighted(menuButton(QStringLiteral("General"))));
        QVERIFY(!isHighlighted(menuButton(m_tavrex ? QStringLiteral("Exit") : QStringLiteral("Reboot"))));
    }
}

void tst_Plugin::languageFollowsSystem()
{
    QVERIFY(PanelSimulator::loadStateJson(R"({"language": 0})"));
    m_settings->close();
    m_settings->open();
    QVERIFY(menuButton(QStringLiteral("通用设置")));
    QVERIFY(menuButton(m_tavrex ? QStringLiteral("退出设置") : QStringLiteral("重启设备")));
    QCOMPARE(part("settingsText")->property("text").toString(), QStringLiteral("设置"));
    if (!menuFill())
        QCOMPARE(part("titleText")->property("text").toString(), QStringLiteral("通用设置"));
    QSP::GlobalInfo::switchLanguage(QLocale(QLocale::English, QLocale::UnitedStates));
    QVERIFY(menuButton(QStringLiteral("General")));
}

void tst_Plugin::teardownWithCallbacksUnderWay()
{
    // The host may delete the screen while the panel still works on a ping test and a Wi-Fi scan; their
    // answers then come to nothing, and nothing of the deleted screen is touched.
    QVERIFY(PanelSimulator::loadStateJson(R"({"delaysMs": {"ping": 300, "scan": 300}})"));
    clickButton(menuButton(QStringLiteral("Network")));
    const auto button = [](const QString &name) {
        // Items are parented visually, so the search walks the item tree.
        QList<QQuickItem *> items{AppRootItem::instance()};
        while (!items.isEmpty()) {
            QQuickItem *item = items.takeFirst();
            if (item->objectName() == name)
                return qobject_cast<QQuickAbstractButton *>(item);
            items << item->childItems();
        }
        return static_cast<QQuickAbstractButton *>(nullptr);
    };
    // The buttons may lie below the fold at this size: they are pressed by their signal.
    QQuickAbstractButton *ping = button(QStringLiteral("testButton"));
    QQuickAbstractButton *wifiAdapter = button(QStringLiteral("nicButton4"));
    QVERIFY(ping && wifiAdapter);
    Q_EMIT ping->clicked();
    Q_EMIT wifiAdapter->clicked(); // the way into the Wi-Fi page belongs to the Wi-Fi adapter
    QQuickAbstractButton *wifi = button(QStringLiteral("wifiSettingsButton"));
    QVERIFY(wifi);
    Q_EMIT wifi->clicked();
    const auto called = [](const std::string &call) {
        const std::vector<std::string> log = PanelSimulator::callLog();
        return std::count(log.begin(), log.end(), call);
    };
    QTRY_COMPARE(called("scanWifi"), 1);
    QCOMPARE(called("pingTest 1"), 1);

    delete m_root;
    m_root = nullptr;
    QCOMPARE(AppRootItem::instance(), nullptr);
    QTest::qWait(600); // both answers arrive, on the system's thread and then on this one
    QCOMPARE(called("scanWifi"), 1);
}

QTEST_MAIN(tst_Plugin)
#include "tst_plugin.moc"
