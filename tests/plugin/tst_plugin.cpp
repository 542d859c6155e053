#include "AppRootItem.h"
#include "BeepButton.h"
#include "GlobalInfo.h"
#include "ISystemSet.h"
#include "PanelSimulator.h"
#include "ScreenFixture.h"

#include <QLibrary>
#include <QPointer>
#include <QQmlEngine>
#include <QQuickWindow>
#include <QtQuick/private/qquickrectangle_p.h>
#include <QtQuickTemplates2/private/qquickabstractbutton_p.h>
#include <QtTest>

using HMI::PanelSimulator;
using QSP::AppRootItem;
using QSP::BeepButton;

/// The settings screen loaded through the library's exports, as a host does, at the screen size and with the
/// application name that the environment gives (TST_SCREEN, TST_APP_NAME); then the orders in which a host
/// may build, close and tear down screens, each leaving the process able to build a working one again.
class tst_Plugin : public QObject
{
    Q_OBJECT

    QSize m_size;
    QString m_bottom; // the menu's last button
    ScreenFixture m_f;
    AppRootItem *m_root = nullptr;
    QLibrary m_library{QStringLiteral(QSP_PLUGIN_PATH)};
    Plexa::PluginRegistry *m_registry = nullptr; // for the screens that build() builds
    std::unique_ptr<QQuickWindow> m_window;      // and what it holds, of a screen built by build()
    QPointer<QQmlEngine> m_engine;
    QPointer<QQuickItem> m_built;

    bool menuFill() const { return m_size.width() < 800; }
    QQuickItem *part(const char *name) const { return m_root->property(name).value<QQuickItem *>(); }

    QList<BeepButton *> menuButtons() const
    {
        QList<BeepButton *> buttons;
        for (const char *container : {"column", "bottomContainer"}) {
            for (QQuickItem *child :
                 part("menuBar")->property(container).value<QQuickItem *>()->childItems()) {
                if (auto *button = qobject_cast<BeepButton *>(child))
                    buttons << button;
            }
        }
        return buttons;
    }

    BeepButton *menuButton(const QString &text) const
    {
        const auto buttons = menuButtons();
        const auto found =
            std::find_if(buttons.begin(), buttons.end(), [&](auto *b) { return b->text() == text; });
        return found == buttons.end() ? nullptr : *found;
    }

    /// The page, its title, the highlighted menu buttons and which of menu, cards and back button show.
    QString shown() const
    {
        QStringList lit;
        for (BeepButton *button : menuButtons()) {
            auto *background = qobject_cast<QQuickRectangle *>(button->background());
            if (background && background->color() == QColor(QStringLiteral("#F2F3F5")))
                lit << button->text();
        }
        auto *back = m_root->findChild<QQuickItem *>(QStringLiteral("returnButton"));
        return QStringLiteral("%1 %2 lit=%3%4%5%6")
            .arg(m_root->currentPage())
            .arg(part("titleText")->property("text").toString(), lit.join(QLatin1Char(',')),
                 QLatin1String(part("menuBar")->isVisible() ? " menu" : ""),
                 QLatin1String(part("cardPool")->isVisible() ? " cards" : ""),
                 QLatin1String(back && back->isVisible() ? " back" : ""));
    }

    QString start() const
    {
        return QLatin1String(menuFill() ? "7  lit= menu" : "0 General lit=General menu cards");
    }

    /// Builds a screen in a new engine and window and opens it with a ping and a Wi-Fi scan under way.
    bool build(ISystemSet &screen)
    {
        PanelSimulator::clearCallLog();
        m_window = std::make_unique<QQuickWindow>();
        m_window->resize(1024, 600);
        m_engine = new QQmlEngine; // not the window's: some orders delete the engine alone
        auto *root = qobject_cast<AppRootItem *>(screen.init(m_engine, 1024, 600, 100));
        m_built = root;
        if (!root)
            return false;
        root->setParentItem(m_window->contentItem());
        m_window->show();
        if (!QTest::qWaitForWindowExposed(m_window.get()))
            return false;
        screen.open();
        root->setCurrentPage(AppRootItem::MI_Network);
        auto *ping = root->findChild<QQuickAbstractButton *>(QStringLiteral("testButton"));
        if (!ping || !root->isVisible())
            return false;
        Q_EMIT ping->clicked();
        root->setCurrentPage(AppRootItem::MI_Wifi);
        return ScreenFixture::calls("pingTest") == 1 && ScreenFixture::calls("scanWifi") == 1;
    }

private Q_SLOTS:
    void initTestCase()
    {
        const QStringList size =
            qEnvironmentVariable("TST_SCREEN", QStringLiteral("1024x600")).split(QLatin1Char('x'));
        m_size = QSize(size.value(0).toInt(), size.value(1).toInt());
        // Only the host named exactly "tavrex" leaves the screen with Exit instead of rebooting the panel.
        const QString name = qEnvironmentVariable("TST_APP_NAME", QStringLiteral("tst_plugin"));
        m_bottom = name == QLatin1String("tavrex") ? QStringLiteral("Exit") : QStringLiteral("Reboot");
        QCoreApplication::setApplicationName(name);
        QVERIFY(m_f.load(m_size, 4321));
        m_root = m_f.root();
        QCOMPARE(AppRootItem::instance(), m_root);
        QCOMPARE(QSP::GlobalInfo::instance().rootPopupZ(), 4321);
        QCOMPARE(QSP::GlobalInfo::instance().screenSize(), m_size);
        QCOMPARE(m_root->size(), QSizeF(m_size));
        QSignalSpy opened(m_root, &AppRootItem::opened);
        m_f.close();
        m_f.open();
        QCOMPARE(opened.count(), 1);
    }

    void init()
    {
        QVERIFY(PanelSimulator::loadStateJson("{}"));
        PanelSimulator::clearCallLog();
    }

    void exports()
    {
        QVERIFY(m_library.load());
        const auto getInstance = reinterpret_cast<PlexaGetInstanceFn>(m_library.resolve("PlexaGetInstance"));
        const auto closeInstance =
            reinterpret_cast<PlexaCloseInstanceFn>(m_library.resolve("PlexaCloseInstance"));
        const auto queryData = reinterpret_cast<PlexaQueryDataFn>(m_library.resolve("PlexaQueryData"));
        QVERIFY(getInstance && closeInstance && queryData);
        QCOMPARE(queryData(nullptr), 0);
        QCOMPARE(queryData(reinterpret_cast<void *>(1)), -1);

        // Each call makes a new registry with the one factory; closing frees only the newest.
        closeInstance(); // the fixture's registry; the settings object it made lives on
        Plexa::PluginRegistry *first = getInstance();
        Plexa::PluginRegistry *second = getInstance();
        QVERIFY(first != second);
        QCOMPARE(first->factories().size(), size_t(1));
        std::shared_ptr<ISystemSet> a = first->create<ISystemSet>();
        std::shared_ptr<ISystemSet> b = second->create<ISystemSet>();
        QVERIFY(a && b && a != b);
        closeInstance();
        QVERIFY(first->create<ISystemSet>()); // the first registry was left behind, still usable
        closeInstance();                      // a second close is harmless
        a->open();                            // an object without a screen: nothing to show, nothing breaks
        a->close();
        QVERIFY(m_root->isVisible());
        delete first;
        m_registry = getInstance();
    }

    void menu()
    {
        QStringList texts;
        for (BeepButton *button : menuButtons()) {
            texts << button->text();
            QCOMPARE(button->property("imgUrl").toUrl().scheme(), QStringLiteral("image"));
            // Right arrows lead into pages where the menu fills the screen.
            bool arrow = false;
            for (QQuickItem *child : button->childItems())
                arrow |=
                    child->property("source").toUrl().toString().endsWith(QLatin1String("rightArrow0@2x"));
            QCOMPARE(arrow, menuFill() && button->text() != m_bottom);
        }
        QCOMPARE(texts, (QStringList{QStringLiteral("General"), QStringLiteral("Network"),
                                     QStringLiteral("Language"), QStringLiteral("Version"), m_bottom}));
        QCOMPARE(part("settingsText")->property("text").toString(), QStringLiteral("Settings"));
    }

    void layout()
    {
        // Below 800 pixels of width the menu fills the screen and a page replaces it; from 800 on the menu
        // stays beside the cards, which start right under the title bar.
        QQuickItem *menu = part("menuBar"), *pool = part("cardPool");
        const qreal titleHeight = part("titleBar")->height();
        QVERIFY(titleHeight > 0 && titleHeight < m_size.height() / 5);
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
            QVERIFY(menu->width() < m_size.width() / 3);
            QVERIFY(pool->x() >= menu->x() + menu->width() && pool->x() + pool->width() <= m_size.width());
            QCOMPARE(pool->y(), titleHeight);
            return;
        }
        QCOMPARE(menu->width(), qreal(m_size.width()));
        QVERIFY(m_f.showPage(AppRootItem::MI_General));
        QVERIFY(pool->x() >= 0 && pool->width() > 0.9 * m_size.width() &&
                pool->x() + pool->width() <= m_size.width());
        QVERIFY(pool->y() >= titleHeight);
        m_f.close();
        m_f.open();
    }

    void navigation()
    {
        // Beside the menu the screen opens on General; where pages replace the menu, on the menu, and a
        // page's back button leads to it again, keeping the page behind it.
        QCOMPARE(shown(), start());
        QSignalSpy changed(m_root, &AppRootItem::currentPageChanged);
        QVERIFY(changed.isValid());
        QVERIFY(m_f.clickButton(menuButton(QStringLiteral("Network"))));
        QCOMPARE(shown(), QLatin1String(menuFill() ? "1 Network lit= cards back"
                                                   : "1 Network lit=Network menu cards"));
        if (menuFill()) {
            QVERIFY(m_f.clickButton(m_root->findChild<QQuickItem *>(QStringLiteral("returnButton"))));
            QCOMPARE(shown(), QLatin1String("1  lit= menu"));
        }
        QVERIFY(m_f.clickButton(menuButton(QStringLiteral("Network")))); // the current page again: no change
        QCOMPARE(changed.count(), 1);
        QVERIFY(m_f.showPage(AppRootItem::MI_Version));
        QCOMPARE(shown(), QLatin1String(menuFill() ? "3 Version lit= cards back"
                                                   : "3 Version lit=Version menu cards"));
        QCOMPARE(changed.count(), 2);
        QCOMPARE(PanelSimulator::callLog(), std::vector<std::string>(menuFill() ? 5 : 3, "beep 1"));

        // Closing and opening again starts afresh.
        m_f.close();
        QVERIFY(!m_root->isVisible());
        m_f.open();
        QCOMPARE(shown(), start());
    }

    void bottomButton()
    {
        QVERIFY(m_f.clickButton(menuButton(m_bottom)));
        if (m_bottom == QLatin1String("Exit")) {
            QVERIFY(!m_root->isVisible()); // Exit leaves the screen
            QCOMPARE(PanelSimulator::callLog(), std::vector<std::string>{"beep 1"});
            m_f.open();
        } else {
            QCOMPARE(PanelSimulator::callLog(), (std::vector<std::string>{"beep 1", "reboot"}));
            QCOMPARE(shown(), menuFill() ? start() : QStringLiteral("0 General lit=Reboot menu cards"));
        }
        QVERIFY(m_f.showPage(AppRootItem::MI_Version));
        m_f.close();
        m_f.open();
        QCOMPARE(shown(), start());
    }

    void languageFollowsSystem()
    {
        QVERIFY(PanelSimulator::loadStateJson(R"({"language": 0})"));
        m_f.close();
        m_f.open();
        QVERIFY(menuButton(QStringLiteral("通用设置")));
        QVERIFY(menuButton(m_bottom == QLatin1String("Exit") ? QStringLiteral("退出设置")
                                                             : QStringLiteral("重启设备")));
        QCOMPARE(part("settingsText")->property("text").toString(), QStringLiteral("设置"));
        if (!menuFill())
            QCOMPARE(part("titleText")->property("text").toString(), QStringLiteral("通用设置"));
        QSP::GlobalInfo::switchLanguage(QLocale(QLocale::English, QLocale::UnitedStates));
        QVERIFY(menuButton(QStringLiteral("General")));
    }

    void teardown_data() // deletes the fixture's screen: last but one
    {
        QTest::addColumn<QByteArray>("steps");
        QTest::newRow("delete while open") << QByteArray("root engine window");
        QTest::newRow("close, then delete") << QByteArray("close root engine window");
        QTest::newRow("engine first") << QByteArray("engine root window");
        QTest::newRow("close, engine, window, root") << QByteArray("close engine window root");
        QTest::newRow("window with the root in it") << QByteArray("close window engine root");
    }

    void teardown()
    {
        QFETCH(QByteArray, steps);
        // The panel's answers to a ping and a scan come after the host deleted the screen, and come to
        // nothing. Every row starts in a new engine after the last one deleted its own.
        delete m_root;
        m_root = nullptr;
        QVERIFY(PanelSimulator::loadStateJson(R"({"delaysMs": {"ping": 200, "dhcp": 200, "scan": 200}})"));
        const auto screen = m_registry->create<ISystemSet>();
        QVERIFY(build(*screen));
        for (const QByteArray &step : steps.split(' ')) {
            if (step == "close")
                screen->close();
            else if (step == "root")
                delete m_built.data();
            else if (step == "engine")
                delete m_engine.data();
            else if (step == "window")
                m_window.reset();
            QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        }
        QVERIFY(!m_built && !m_engine);
        QCOMPARE(AppRootItem::instance(), nullptr);
        PanelSimulator::clearCallLog();
        QTest::qWait(300);
        QCOMPARE(PanelSimulator::callLog(), std::vector<std::string>());
        screen->open(); // the object outlives its screen: open and close do nothing
        screen->close();
    }

    void secondScreens()
    {
        auto first = m_registry->create<ISystemSet>();
        QVERIFY(build(*first));
        QQuickItem *root = m_built;
        QCOMPARE(first->init(m_engine, 1024, 600, 100), root); // again: the same screen

        auto second = m_registry->create<ISystemSet>();
        QTest::ignoreMessage(QtWarningMsg,
                             QRegularExpression(QStringLiteral("a settings screen exists already")));
        QCOMPARE(second->init(m_engine, 1024, 600, 100), nullptr);
        QQmlEngine other;
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("built in another QML engine")));
        QCOMPARE(first->init(&other, 1024, 600, 100), nullptr);
        second->close(); // has no screen: the first stays open
        QVERIFY(root->isVisible());
        first->close();
        QVERIFY(!root->isVisible());

        // Once the first screen is gone, the second object builds one of its own.
        delete m_built.data();
        delete m_engine.data();
        QVERIFY(build(*second));
        first->open();
        second->close();
        QVERIFY(!m_built->isVisible());
        delete m_built.data();
        delete m_engine.data();
        m_window.reset();
    }
};

QTEST_MAIN(tst_Plugin)
#include "tst_plugin.moc"
