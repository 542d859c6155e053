#include "AppRootItem.h"
#include "ISystemSet.h"
#include "PanelSimulator.h"

#include <QLibrary>
#include <QPointer>
#include <QQmlEngine>
#include <QQuickWindow>
#include <QtTest>

#include <memory>

using HMI::PanelSimulator;
using QSP::AppRootItem;

/// The orders in which a host may build, close and tear down the screen, one after another in one process;
/// each order must leave the process able to build a working screen again, in a new engine.
class tst_HostOrders : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void teardown_data();
    void teardown();
    void secondScreens();

private:
    std::shared_ptr<ISystemSet> newScreenObject() const { return m_registry->create<ISystemSet>(); }
    /// Builds a screen in a new engine and window and opens it on the Network page with a ping under way.
    bool build(ISystemSet &screen);

    QLibrary m_library{QStringLiteral(QSP_PLUGIN_PATH)};
    Plexa::PluginRegistry *m_registry = nullptr;
    std::unique_ptr<QQuickWindow> m_window;
    QPointer<QQmlEngine> m_engine;
    QPointer<QQuickItem> m_root;
};

void tst_HostOrders::initTestCase()
{
    QVERIFY2(m_library.load(), qPrintable(m_library.errorString()));
    const auto getInstance = reinterpret_cast<PlexaGetInstanceFn>(m_library.resolve("PlexaGetInstance"));
    QVERIFY(getInstance);
    m_registry = getInstance();
    QVERIFY(m_registry);
    QVERIFY(PanelSimulator::loadStateJson(R"({"delaysMs": {"ping": 200, "dhcp": 200}})"));
}

bool tst_HostOrders::build(ISystemSet &screen)
{
    m_window = std::make_unique<QQuickWindow>();
    m_window->resize(1024, 600);
    m_engine = new QQmlEngine; // not the window's: some orders delete the engine alone
    m_root = screen.init(m_engine, 1024, 600, 100);
    if (!m_root)
        return false;
    m_root->setParentItem(m_window->contentItem());
    m_window->show();
    if (!QTest::qWaitForWindowExposed(m_window.get()))
        return false;
    screen.open();
    auto *root = qobject_cast<AppRootItem *>(m_root.data());
    root->setCurrentPage(AppRootItem::MI_Network);
    // Items are parented visually: the search walks the item tree.
    QList<QQuickItem *> items{root};
    while (!items.isEmpty() && items.first()->objectName() != QLatin1String("testButton"))
        items << items.takeFirst()->childItems();
    if (items.isEmpty() || !root->isVisible())
        return false;
    QMetaObject::invokeMethod(items.first(), "clicked");
    return true;
}

void tst_HostOrders::teardown_data()
{
    QTest::addColumn<QByteArray>("steps");
    QTest::newRow("delete while open") << QByteArray("root engine window");
    QTest::newRow("close, then delete") << QByteArray("close root engine window");
    QTest::newRow("engine first") << QByteArray("engine root window");
    QTest::newRow("close, engine, window, root") << QByteArray("close engine window root");
    QTest::newRow("window with the root in it") << QByteArray("close window engine root");
}

void tst_HostOrders::teardown()
{
    QFETCH(QByteArray, steps);
    // Every row starts in a new engine after the last row deleted its own.
    auto screen = newScreenObject();
    QVERIFY(build(*screen));
    for (const QByteArray &step : steps.split(' ')) {
        if (step == "close")
            screen->close();
        else if (step == "root")
            delete m_root.data();
        else if (step == "engine")
            delete m_engine.data();
        else if (step == "window")
            m_window.reset();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
    QVERIFY(!m_root && !m_engine);
    QCOMPARE(AppRootItem::instance(), nullptr);
    QTest::qWait(300); // the ping's answer arrives with nothing to go to
    screen->open();    // the object outlives its screen: open and close do nothing
    screen->close();
}

void tst_HostOrders::secondScreens()
{
    auto first = newScreenObject();
    QVERIFY(build(*first));
    QQuickItem *root = m_root;
    QCOMPARE(first->init(m_engine, 1024, 600, 100), root); // again: the same screen

    auto second = newScreenObject();
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
    delete m_root.data();
    delete m_engine.data();
    QVERIFY(build(*second));
    first->open();
    second->close();
    QVERIFY(!m_root->isVisible());
    delete m_root.data();
    delete m_engine.data();
    m_window.reset();
}

QTEST_MAIN(tst_HostOrders)
#include "tst_hostorders.moc"
